#pragma once

#include <QElapsedTimer>
#include <QSqlDatabase>
#include <QString>

class QSqlError;

// An open connection to an SQLite database for the time of one operation, so that no lock is
// held between operations. Every statement run on it is bounded: one still running when the
// operation has taken `timeLimitMs` is interrupted and fails, so that a database made to run
// for ever (a recursive view, a huge sort filling the temporary folder) cannot hang its reader.
class StoreConnection
{
public:
    static constexpr int defaultTimeLimitMs = 10000;

    StoreConnection(const QString& path, bool readOnly, int timeLimitMs = defaultTimeLimitMs);
    ~StoreConnection();
    StoreConnection(const StoreConnection&) = delete;
    StoreConnection& operator=(const StoreConnection&) = delete;

    bool isOpen() const { return m_error.isEmpty(); }
    const QString& error() const { return m_error; }
    QSqlDatabase database() const { return QSqlDatabase::database(m_name, false); }

    // The words of SQLite for `error`, or Qt's when there are none; a statement stopped by the
    // time limit says so.
    static QString reason(const QSqlError& error);

private:
    static int checkTime(void* connection);

    QString m_name;
    QString m_error;
    QElapsedTimer m_clock;
    int m_timeLimitMs;
};

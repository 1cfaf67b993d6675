#include "defects/storeconnection.h"

#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>
#include <atomic>
#include <sqlite3.h>

namespace {

// How many steps of SQLite's machine run between two looks at the clock.
constexpr int stepsBetweenChecks = 10000;

} // namespace

StoreConnection::StoreConnection(const QString& path, bool readOnly, int timeLimitMs)
    : m_timeLimitMs(timeLimitMs)
{
    static std::atomic<int> count{0};
    m_name = QStringLiteral("store-%1").arg(++count);
    m_clock.start();
    QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_name);
    database.setDatabaseName(path);
    // Another studio filing at the same moment is waited for, briefly.
    database.setConnectOptions(readOnly ? QStringLiteral("QSQLITE_OPEN_READONLY;"
                                                         "QSQLITE_BUSY_TIMEOUT=3000")
                                        : QStringLiteral("QSQLITE_BUSY_TIMEOUT=3000"));
    if (!database.isValid()) {
        m_error = QStringLiteral("the SQLite driver of Qt SQL is missing "
                                 "(Debian package libqt6sql6-sqlite)");
        return;
    }
    if (!database.open()) {
        m_error = reason(database.lastError());
        return;
    }
    const QVariant handle = database.driver()->handle();
    sqlite3* connection = handle.isValid() && qstrcmp(handle.typeName(), "sqlite3*") == 0
                              ? *static_cast<sqlite3* const*>(handle.constData())
                              : nullptr;
    if (!connection) {
        m_error = QStringLiteral("the SQLite driver of Qt SQL gives no connection to bound");
        return;
    }
    sqlite3_progress_handler(connection, stepsBetweenChecks, &StoreConnection::checkTime, this);
    // Nothing the file holds may call functions with side effects.
    QSqlQuery trust(QStringLiteral("PRAGMA trusted_schema = OFF"), database);
}

StoreConnection::~StoreConnection()
{
    QSqlDatabase::database(m_name, false).close();
    QSqlDatabase::removeDatabase(m_name);
}

int StoreConnection::checkTime(void* connection)
{
    const auto* self = static_cast<const StoreConnection*>(connection);
    return self->m_clock.elapsed() > self->m_timeLimitMs ? 1 : 0;
}

QString StoreConnection::reason(const QSqlError& error)
{
    if (error.nativeErrorCode() == QString::number(SQLITE_INTERRUPT))
        return QStringLiteral("it took too long to answer and was stopped");
    return error.databaseText().isEmpty() ? error.text() : error.databaseText();
}

#pragma once

#include <QList>

class QAReporter;
class QString;

// The registry of the open viewer windows, in the order they were created.
class QAReporterManager
{
public:
    void add(QAReporter* window) { m_windows.append(window); }
    void remove(QAReporter* window) { m_windows.removeAll(window); }
    const QList<QAReporter*>& windows() const { return m_windows; }

    // The first window that holds `file`, or null.
    QAReporter* openedReporter(const QString& file) const;

private:
    QList<QAReporter*> m_windows; // not owned: each window unregisters itself
};

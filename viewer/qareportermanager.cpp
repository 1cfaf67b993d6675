#include "viewer/qareportermanager.h"

#include "viewer/qareporter.h"

QAReporter* QAReporterManager::openedReporter(const QString& file) const
{
    for (QAReporter* window : m_windows) {
        if (window->contain(file))
            return window;
    }
    return nullptr;
}

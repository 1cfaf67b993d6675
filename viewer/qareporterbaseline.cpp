// Comparing the files shown with a baseline run: choosing, forgetting and re-applying it, and the
// mode that shows the new failures only.
#include "viewer/qareporter.h"
#include "viewer/qareporterhost.h"

#include "compare/baselinecomparison.h"
#include "model/qareporterdata.h"
#include "prefs/qareporterpref.h"
#include "sdk/qadialogs.h"
#include "sdk/qaoutputwindow.h"
#include "sdk/studiointerface.h"
#include "session/reportsession.h"
#include "viewer/qartoolbar.h"
#include "viewer/studiosessioncontext.h"

#include <QDir>
#include <QFileInfo>
#include <QMainWindow>
#include <QStatusBar>

namespace {

void tellStatus(const QString& message)
{
    StudioInterface* studio = hostStudio();
    if (auto* window = qobject_cast<QMainWindow*>(studio ? studio->mainWindow() : nullptr))
        window->statusBar()->showMessage(message, 10000);
}

} // namespace

bool QAReporter::hasBaseline() const
{
    return m_session->baseline() != nullptr;
}

QString QAReporter::baselineKey() const
{
    // A converted file is remembered by the file the user opened.
    return m_session->records().empty()
               ? QString()
               : m_context->originalFileOf(m_session->records().front()->fileName);
}

void QAReporter::compareWithBaseline()
{
    if (m_session->records().empty())
        return;
    StudioInterface* studio = hostStudio();
    const QString start = m_baselinePath.isEmpty()
                              ? (studio ? studio->currentDirectory() : QDir::currentPath())
                              : QFileInfo(m_baselinePath).absolutePath();
    const QStringList chosen = QADialogs::current().openFileNames(
        this, tr("Compare with Baseline"), start,
        tr("Runs (*.crc *.sarif *.sarif.json *.json *.xml);;All files (*)"));
    if (chosen.isEmpty())
        return;
    const QString base = QFileInfo(chosen.first()).absoluteFilePath();
    QString error;
    if (!m_session->setBaseline(base, &error)) {
        // The view stays as it was: the baseline in force before, if any, again.
        QString again;
        if (!m_baselinePath.isEmpty() && !m_session->setBaseline(m_baselinePath, &again))
            m_baselinePath.clear();
        QADialogs::warning(this, tr("Compare with Baseline"),
                           tr("Cannot compare with %1:\n%2").arg(base, error));
        m_session->setNewFailuresOnly(newFailuresOnlyWanted());
        analyseData();
        return;
    }
    m_baselinePath = base;
    if (s_preference)
        s_preference->baselines.insert(baselineKey(), base);
    showBaseline();
}

void QAReporter::clearBaseline()
{
    if (!m_session->baseline())
        return;
    m_baselinePath.clear();
    if (s_preference)
        s_preference->baselines.remove(baselineKey());
    m_newFailuresOnly = false;
    m_session->clearBaseline();
    if (m_toolBar)
        m_toolBar->setNewFailuresOnly(false);
    analyseData();
    tellStatus(tr("No baseline"));
}

void QAReporter::switchNewFailuresOnly()
{
    if (!m_session->baseline()) {
        if (m_toolBar)
            m_toolBar->setNewFailuresOnly(false);
        tellStatus(tr("Compare with a baseline first (File > Compare with Baseline...)"));
        return;
    }
    m_newFailuresOnly = !m_newFailuresOnly;
    m_session->setNewFailuresOnly(m_newFailuresOnly);
    if (m_toolBar)
        m_toolBar->setNewFailuresOnly(m_newFailuresOnly);
    analyseData();
}

bool QAReporter::newFailuresOnlyWanted() const
{
    return m_newFailuresOnly && m_session->baseline();
}

void QAReporter::applyRememberedBaseline()
{
    if (m_baselinePath.isEmpty() && s_preference)
        m_baselinePath = s_preference->baselines.value(baselineKey());
    if (m_baselinePath.isEmpty())
        return;
    QString error;
    if (!m_session->setBaseline(m_baselinePath, &error)) {
        // The baseline went away since: say so where the output goes, and show the files as
        // they are.
        StudioInterface* studio = hostStudio();
        if (QAOutputWindow* output = studio ? studio->outputWindow() : nullptr)
            output->appendOutput(tr("Cannot compare with %1: %2\n").arg(m_baselinePath, error));
        m_baselinePath.clear();
        m_newFailuresOnly = false;
        return;
    }
    m_session->setNewFailuresOnly(m_newFailuresOnly);
}

void QAReporter::showBaseline()
{
    m_headerShown = true;
    m_session->setNewFailuresOnly(m_newFailuresOnly);
    analyseData();
    const QString name = QFileInfo(m_baselinePath).fileName();
    if (!m_session->newFailuresMarked()) {
        QADialogs::warning(
            this, tr("Compare with Baseline"),
            tr("The failures shown could not be matched one for one with those compared with "
               "%1; no failure is marked as new.")
                .arg(name));
        return;
    }
    const RunComparison& comparison = m_session->baseline()->comparison();
    tellStatus(tr("Since %1: %2 new, %3 fixed, %4 still failing")
                   .arg(name)
                   .arg(comparison.added.size())
                   .arg(comparison.fixed.size())
                   .arg(comparison.still));
}

// The user's triage in the window: the reviews and defects marked in the outline, and the mode
// that hides the results dismissed in review.
#include "viewer/qareporter.h"
#include "viewer/qareporterhost.h"

#include "prefs/qareporterpref.h"
#include "sdk/studiointerface.h"
#include "sdk/triagerecords.h"
#include "session/reportsession.h"
#include "session/triagemarks.h"
#include "viewer/qarlistview.h"
#include "viewer/qartoolbar.h"

void QAReporter::refreshTriage()
{
    StudioInterface* studio = hostStudio();
    if (!studio)
        return;
    m_session->setTriage(studio->reviewRecords(), studio->openDefects());
    if (m_session->records().empty())
        return;
    if (!m_session->isAnalysed())
        analyseData();
    else if (m_outline)
        m_outline->viewport()->update();
}

void QAReporter::switchHideDismissed()
{
    const bool on = !m_session->hideDismissed();
    if (s_preference)
        s_preference->hideDismissed = on;
    m_session->setHideDismissed(on);
    if (m_toolBar)
        m_toolBar->setHideDismissed(on);
    if (!m_session->records().empty())
        analyseData();
}

void QAReporter::followHideDismissed()
{
    if (!s_preference || s_preference->hideDismissed == m_session->hideDismissed())
        return;
    m_session->setHideDismissed(s_preference->hideDismissed);
    if (!m_session->records().empty())
        analyseData();
}

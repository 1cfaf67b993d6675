#pragma once

// What the viewer window's parts ask of the studio and the preferences they share.

#include "folio/styles/dstyle.h"
#include "prefs/qareporterpref.h"
#include "prefs/qareporterprefstyles.h"
#include "viewer/qareporter.h"

inline StudioInterface* hostStudio()
{
    const QAReporterPref* preference = QAReporter::preference();
    return preference ? preference->studio : nullptr;
}

inline DStyleList currentStyles()
{
    const QAReporterPref* preference = QAReporter::preference();
    return preference ? preference->styles->styles : DStyleList();
}

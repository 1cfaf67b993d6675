#pragma once

#include "folio/view/dfolioview.h"

// The document view a report window embeds: the document view with the conveniences of a
// window that shows a set of reports and returns to the one shown before.
class DReportWidget : public DFolioView
{
    Q_OBJECT

public:
    explicit DReportWidget(QWidget* parent = nullptr);

    // Shows `documents` in order in place of the shown ones; null entries are skipped.
    void setDocuments(const QList<DDocument*>& documents);
    // The tag of the document at the top of the view; empty when none is shown.
    QString currentTag() const;
};

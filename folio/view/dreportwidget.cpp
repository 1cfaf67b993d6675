#include "folio/view/dreportwidget.h"

#include "folio/model/ddocument.h"

DReportWidget::DReportWidget(QWidget* parent) : DFolioView(parent) {}

void DReportWidget::setDocuments(const QList<DDocument*>& documents)
{
    clearDocs();
    for (DDocument* document : documents)
        setDocument(document, false);
}

QString DReportWidget::currentTag() const
{
    const DDocument* document = currentDocument();
    return document ? document->tag() : QString();
}

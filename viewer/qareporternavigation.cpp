// Navigation: stepping through failures, following links, find.
#include "viewer/qareporter.h"
#include "viewer/qareporterhost.h"

#include "filter/qareporterfilter.h"
#include "folio/dlink.h"
#include "folio/dreportwidget.h"
#include "model/qareporterdata.h"
#include "model/qareporternode.h"
#include "model/reversesearch.h"
#include "prefs/qareporterprefgeneral.h"
#include "sdk/qaviewerfinddialog.h"
#include "sdk/studiointerface.h"
#include "viewer/qarlistview.h"
#include "viewer/qarlistviewitem.h"

#include <QDir>
#include <QFileInfo>

void QAReporter::nextKO()
{
    if (m_outline)
        m_outline->nextKO();
}

void QAReporter::prevKO()
{
    if (m_outline)
        m_outline->prevKO();
}

void QAReporter::moveDoc(QTreeWidgetItem* entry)
{
    const auto* outlineEntry = dynamic_cast<QARListViewItem*>(entry);
    if (outlineEntry && outlineEntry->item)
        m_documentView->moveTo(outlineEntry->item);
}

void QAReporter::moveDocRaise(QTreeWidgetItem* entry)
{
    moveDoc(entry);
    if (s_preference && s_preference->general->autoRaise)
        m_documentView->setFocus();
}

void QAReporter::moveDoc(const QString& tag)
{
    if (tag.isEmpty())
        return;
    QString file, document, name;
    DLink(tag).split(file, document, name);
    m_documentView->moveTo(file, document, name);
    if (s_preference && s_preference->general->autoRaise)
        m_documentView->setFocus();
}

void QAReporter::activateHeader(DLink* link)
{
    if (!link || link->target().isEmpty())
        return;
    QString file, document, tag;
    link->split(file, document, tag);
    m_documentView->moveTo(file, document, tag);
    m_documentView->setFocus();
}

void QAReporter::selItemChanged(QTreeWidgetItem* entry)
{
    if (!s_preference || !hostStudio())
        return;
    m_currentItem = entry;
    updateSubmitEntry(m_submitEntry, entry);
}

void QAReporter::scrollToTag(const QString& tag, int, int)
{
    moveDoc(tag);
}

QAReporterNode* QAReporter::searchReporterNode(DItem* item) const
{
    if (!m_filter)
        return nullptr;
    QList<QAReporterData*> displayed;
    for (const auto& record : m_filter->filtered())
        displayed.append(record.get());
    return ::searchReporterNode(displayed, item);
}

void QAReporter::resolveLink(DLink* link)
{
    if (!link)
        return;
    QString target = link->target();
    const QLatin1String reportScheme("xrdlink://");
    if (target.startsWith(reportScheme)) {
        const QString rest = target.mid(reportScheme.size());
        const qsizetype hash = rest.indexOf(QLatin1Char('#'));
        QString file = hash < 0 ? rest : rest.left(hash);
        const QString anchor = hash < 0 ? QString() : rest.mid(hash + 1);
        if (!file.isEmpty()) {
            if (QFileInfo(file).isRelative()) {
                if (m_dataList.empty())
                    return;
                file = QFileInfo(m_dataList.front()->fileName).path() + QDir::separator() + file;
            }
            m_fileList = {file};
            m_dataAnalysed = false;
            refreshContents();
        }
        if (!anchor.isEmpty())
            scrollToTag(anchor, -1, -1);
        return;
    }

    static const QRegularExpression sourceLine(QStringLiteral("(.*)line (\\d+)"));
    const QRegularExpressionMatch match = sourceLine.match(target);
    if (match.hasMatch()) {
        const QString file = match.captured(1).trimmed();
        const QFileInfo info(file);
        if (file.isEmpty() || (info.isRelative() && !info.exists())) {
            if (const QAReporterNode* node = searchReporterNode(link))
                target = node->base + file + QStringLiteral(" line ") + match.captured(2);
        }
    }
    if (StudioInterface* studio = hostStudio())
        studio->openLocation(target, 3, true);
}

void QAReporter::find(const QString& text)
{
    static QPointer<QAViewerFindDialog> dialog; // one for all windows
    delete dialog.data();
    if (!text.isNull()) {
        m_findExpression.setPattern(text);
        findDialogSearch(m_findExpression);
        return;
    }
    StudioInterface* studio = hostStudio();
    QWidget* parent = studio ? studio->mainWindow() : nullptr;
    if (!parent)
        return;
    dialog = new QAViewerFindDialog(parent);
    dialog->setObjectName(QStringLiteral("reporter-find-dialog"));
    connect(dialog, &QAViewerFindDialog::search, this, &QAReporter::findDialogSearch);
    dialog->setRegExp(m_findExpression);
    dialog->exec();
    if (dialog)
        m_findExpression = dialog->regExp();
}

void QAReporter::findDialogSearch(const QRegularExpression& expression)
{
    m_documentView->search(expression);
}

void QAReporter::setNode(const nodeData& node)
{
    QAStViewerWindow::setNode(node);
    if (node.name.isEmpty())
        return;
    setWindowTitle(
        QStringLiteral("%1 [%2]").arg(m_title, node.name.section(QLatin1Char('.'), -1, -1)));
}

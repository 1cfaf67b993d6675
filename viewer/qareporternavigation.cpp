// Navigation: stepping through failures, following links, find.
#include "viewer/qareporter.h"
#include "viewer/qareporterhost.h"

#include "folio/model/ddocument.h"
#include "folio/model/dlink.h"
#include "folio/view/dreportwidget.h"
#include "model/qareporternode.h"
#include "prefs/qareporterprefgeneral.h"
#include "sdk/qaviewerfinddialog.h"
#include "sdk/sourcerequest.h"
#include "sdk/studiointerface.h"
#include "session/findingdetails.h"
#include "session/placehistory.h"
#include "session/reportsession.h"
#include "viewer/outlinemodel.h"
#include "viewer/qarlistview.h"

#include <QDesktopServices>
#include <QDir>
#include <QMainWindow>
#include <QRegularExpression>
#include <QScrollBar>
#include <QStatusBar>
#include <QUrl>

// Stepping moves the outline and the view; the keyboard stays where it was, so that the next
// key steps on.
void QAReporter::stepOutline(void (QARListView::*move)())
{
    if (!m_outline)
        return;
    m_stepping = true;
    (m_outline->*move)();
    m_stepping = false;
}

// In the new failures only mode the failed results shown are the new ones: F8 steps them.
void QAReporter::nextKO()
{
    stepOutline(newFailuresOnlyWanted() ? &QARListView::nextFinding : &QARListView::nextKO);
}

void QAReporter::prevKO()
{
    stepOutline(newFailuresOnlyWanted() ? &QARListView::previousFinding : &QARListView::prevKO);
}

void QAReporter::nextFinding()
{
    stepOutline(&QARListView::nextFinding);
}

void QAReporter::previousFinding()
{
    stepOutline(&QARListView::previousFinding);
}

// A selection made with a click or a key moves the view only: the keyboard stays in the
// outline, so that Up and Down go on choosing entries.
void QAReporter::moveDoc(const QModelIndex& entry)
{
    DItem* item = m_outline ? m_outline->outlineModel()->documentItem(entry) : nullptr;
    if (item)
        m_documentView->moveTo(item);
}

// A double click or Return on an entry also hands the keyboard to the report, with auto-raise.
void QAReporter::moveDocRaise(const QModelIndex& entry)
{
    DItem* item = m_outline ? m_outline->outlineModel()->documentItem(entry) : nullptr;
    if (!item)
        return;
    m_documentView->moveTo(item);
    if (!m_stepping && s_preference && s_preference->general->autoRaise)
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

void QAReporter::selItemChanged(const QModelIndex& entry)
{
    if (!s_preference || !hostStudio())
        return;
    updateSubmitEntry(m_submitEntry, entry.siblingAtColumn(OutlineModel::NameColumn));
}

void QAReporter::scrollToTag(const QString& tag, int, int)
{
    moveDoc(tag);
}

// The place a source link leads to; for a link of a finding (its own place or a step of its code
// flow), with what the finding says there and the steps of its flow. The finding is the node
// whose section holds the link or, failing that, the entry selected in the outline.
SourceRequest QAReporter::sourceRequest(DLink* link, const QString& location) const
{
    static const QRegularExpression atLine(QStringLiteral("^(.+) line (\\d+)\\s*$"));
    const auto placeOf = [](const QString& text, SourceRequest* into) {
        const QRegularExpressionMatch place = atLine.match(text);
        into->path = place.hasMatch() ? place.captured(1) : text;
        into->line = place.captured(2).toInt();
    };
    SourceRequest request;
    placeOf(location, &request);
    // Whether the link is the finding's own place (1), one of its steps (2), or neither (0).
    const auto linkOf = [&](const FindingDetails& details) {
        if (details.sourceLine == request.line && !details.sourcePath.isEmpty() &&
            QDir::cleanPath(request.path).endsWith(QDir::cleanPath(details.sourcePath)))
            return 1;
        for (const FindingDetails::Step& step : details.steps) {
            if (step.link == link)
                return 2;
        }
        return 0;
    };
    const QAReporterNode* node = m_session->searchReporterNode(link);
    FindingDetails details = node ? FindingDetails::of(*node) : FindingDetails();
    int kind = linkOf(details);
    if (kind == 0) {
        const OutlineNode* selected = OutlineModel::nodeOf(currentEntry());
        details =
            selected && selected->data ? FindingDetails::of(*selected->data) : FindingDetails();
        kind = linkOf(details);
    }
    if (kind == 0)
        return request;
    if (kind == 1) {
        request.message = details.level.isEmpty()
                              ? details.message
                              : details.level + QStringLiteral(": ") + details.message;
        request.snippet = details.snippet;
    }
    for (const FindingDetails::Step& step : details.steps) {
        const ReportSession::LinkAction action = m_session->followLink(step.link);
        if (action.kind != ReportSession::LinkAction::OpenSource)
            continue;
        SourceStep place;
        SourceRequest resolved;
        placeOf(action.location, &resolved);
        place.path = resolved.path;
        place.line = resolved.line;
        place.message = step.text;
        if (step.link == link) {
            request.step = int(request.steps.size());
            request.message = step.text;
        }
        request.steps.append(place);
    }
    return request;
}

void QAReporter::resolveLink(DLink* link)
{
    const ReportSession::LinkAction action = m_session->followLink(link);
    PlaceHistory& history = m_session->history();
    switch (action.kind) {
    case ReportSession::LinkAction::Nothing:
        return;
    case ReportSession::LinkAction::ShowReport: {
        const Place here = currentPlace();
        if (!showPlace(Place{{action.file}, {}, {}, {}, 0}))
            return; // cancelled: still where the link was
        history.leave(here);
        Q_EMIT stateChanged();
        if (m_session->records().empty()) {
            // Nothing of it could be read (the user was told): back to where the link was.
            showPlace(history.takeBack());
            Q_EMIT stateChanged();
            return;
        }
        break;
    }
    case ReportSession::LinkAction::ShowAnchor:
        history.leave(currentPlace());
        Q_EMIT stateChanged();
        break;
    case ReportSession::LinkAction::OpenTag:
        history.leave(currentPlace()); // the studio moves this window
        Q_EMIT stateChanged();
        if (StudioInterface* studio = hostStudio())
            studio->openLocation(action.location, 3, true);
        return;
    case ReportSession::LinkAction::OpenSource:
        if (StudioInterface* studio = hostStudio())
            studio->openSource(sourceRequest(link, action.location));
        return;
    case ReportSession::LinkAction::OpenWeb:
        QDesktopServices::openUrl(QUrl(action.location, QUrl::StrictMode));
        return;
    }
    if (!action.anchor.isEmpty())
        scrollToTag(action.anchor, -1, -1);
}

namespace {
// One find dialog for all windows, alive from one Find to the next.
QPointer<QAViewerFindDialog> findDialog;
} // namespace

void QAReporter::find(const QString& text)
{
    delete findDialog.data();
    if (!text.isNull()) {
        m_findExpression.setPattern(text);
        m_findText = text;
        m_findRegularExpression = true;
        findDialogSearch(m_findExpression);
        return;
    }
    StudioInterface* studio = hostStudio();
    QWidget* parent = studio ? studio->mainWindow() : nullptr;
    if (!parent)
        return;
    findDialog = new QAViewerFindDialog(parent);
    findDialog->setObjectName(QStringLiteral("reporter-find-dialog"));
    connect(findDialog, &QAViewerFindDialog::search, this, &QAReporter::findDialogSearch);
    findDialog->setRegExp(m_findExpression);
    // The user's own text and choices come back as they were left.
    findDialog->setSearch(
        m_findText,
        !(m_findExpression.patternOptions() & QRegularExpression::CaseInsensitiveOption),
        m_findRegularExpression);
    findDialog->exec();
    if (findDialog) {
        m_findExpression = findDialog->regExp();
        m_findText = findDialog->text();
        m_findRegularExpression = findDialog->isRegularExpression();
        disconnect(findDialog, &QAViewerFindDialog::search, this, &QAReporter::findDialogSearch);
    }
}

void QAReporter::findNext()
{
    if (m_findExpression.pattern().isEmpty())
        find();
    else
        searchDocuments(m_findExpression, false);
}

void QAReporter::findPrevious()
{
    if (m_findExpression.pattern().isEmpty())
        find();
    else
        searchDocuments(m_findExpression, true);
}

void QAReporter::findDialogSearch(const QRegularExpression& expression)
{
    if (findDialog && sender() == findDialog) {
        m_findText = findDialog->text();
        m_findRegularExpression = findDialog->isRegularExpression();
        m_findExpression = expression;
    }
    searchDocuments(expression, false);
}

// Searches and says how it went, in the Find dialog when it is open and in the status bar.
void QAReporter::searchDocuments(const QRegularExpression& expression, bool backward)
{
    const DFolioView::SearchResult result = m_documentView->find(expression, backward);
    const QString shown = m_findText.isEmpty() ? expression.pattern() : m_findText;
    QString status;
    if (!expression.isValid())
        status = tr("Not a valid regular expression: %1").arg(expression.errorString());
    else if (result == DFolioView::NotFound)
        status = tr("\"%1\" not found").arg(shown);
    else if (result == DFolioView::Wrapped)
        status = backward ? tr("Wrapped around to the end") : tr("Wrapped around to the start");
    if (findDialog && findDialog->isVisible())
        findDialog->setStatus(status);
    StudioInterface* studio = hostStudio();
    if (auto* studioWindow = qobject_cast<QMainWindow*>(studio ? studio->mainWindow() : nullptr)) {
        if (status.isEmpty())
            studioWindow->statusBar()->clearMessage();
        else
            studioWindow->statusBar()->showMessage(status, 5000);
    }
}

Place QAReporter::currentPlace() const
{
    Place place;
    place.files = m_session->files();
    if (m_outline)
        place.entryPath = QARListView::entryPath(m_outline->currentEntry());
    DDocument* document = m_documentView->currentDocument();
    if (!document)
        return place;
    place.document = document->tag();
    // The nearest tagged part around what shows at the top of the view: the first item met
    // going down from the top, a few pixels at a time past spacing and margins.
    DItem* top = nullptr;
    const int width = m_documentView->viewport()->width();
    for (int y = 1; y < 60 && !top; y += 4) {
        for (int x : {m_documentView->margin() + 2, width / 4, width / 2}) {
            if ((top = m_documentView->itemAt(QPoint(x, y))))
                break;
        }
    }
    for (DItem* item = top; item; item = item->parent()) {
        const auto* tagged = item->isTagged() ? static_cast<DTaggedItemContainer*>(item) : nullptr;
        if (tagged && !tagged->tag().isEmpty() && item != document) {
            place.anchor = tagged->tag();
            place.anchorTop = m_documentView->itemRect(item).top();
            break;
        }
    }
    return place;
}

bool QAReporter::moveToDocument(const QString& tag)
{
    for (const DDocument* document : m_documentView->documents()) {
        if (document->tag() == tag)
            return m_documentView->moveTo(document);
    }
    return false;
}

void QAReporter::restorePlace(const Place& place)
{
    if (place.files != m_session->files())
        return;
    if (m_outline) {
        const QModelIndex entry = m_outline->entryAt(place.entryPath);
        if (entry.isValid())
            m_outline->showEntry(entry);
    }
    if (place.anchor.isEmpty()) {
        if (!place.document.isEmpty())
            moveToDocument(place.document);
        return;
    }
    if (!m_documentView->moveTo(QString(), place.document, place.anchor))
        return;
    // Back to the same distance from the part's top as before.
    const Place now = currentPlace();
    if (now.anchor == place.anchor && now.anchorTop != place.anchorTop) {
        QScrollBar* scrollBar = m_documentView->verticalScrollBar();
        scrollBar->setValue(scrollBar->value() + now.anchorTop - place.anchorTop);
    }
}

void QAReporter::setNode(const nodeData& node)
{
    QAStViewerWindow::setNode(node);
    if (node.name.isEmpty())
        return;
    setWindowTitle(
        QStringLiteral("%1 [%2]").arg(m_title, node.name.section(QLatin1Char('.'), -1, -1)));
    Q_EMIT captionChanged(this);
}

// Shows `place`, reading its files first when they are not the ones shown. False when the user
// cancelled the reading: the window still shows what it showed.
bool QAReporter::showPlace(const Place& place)
{
    if (place.files == m_session->files() && !m_session->records().empty()) {
        restorePlace(place);
        return true;
    }
    const QStringList shownFiles = m_session->files();
    m_session->setFiles(place.files);
    m_pendingPlace = std::make_unique<Place>(place);
    refreshContents();
    if (m_loadCancelled) {
        m_session->setFiles(shownFiles);
        m_pendingPlace.reset();
        return false;
    }
    Q_EMIT captionChanged(this);
    return true;
}

void QAReporter::goBack()
{
    PlaceHistory& history = m_session->history();
    if (!history.canGoBack())
        return;
    const Place here = currentPlace();
    if (!showPlace(history.backPlace()))
        return; // cancelled: still here, with both ways kept
    history.wentBack(here);
    Q_EMIT stateChanged();
}

void QAReporter::goForward()
{
    PlaceHistory& history = m_session->history();
    if (!history.canGoForward())
        return;
    const Place here = currentPlace();
    if (!showPlace(history.forwardPlace()))
        return; // cancelled: still here, with both ways kept
    history.wentForward(here);
    Q_EMIT stateChanged();
}

// Loading and analysis of the result files, and the display modes.
#include "viewer/qareporter.h"
#include "viewer/qareporterhost.h"

#include "filter/qareporterfilter.h"
#include "filter/qareporternodevalidator.h"
#include "folio/model/ddocument.h"
#include "folio/view/dreportwidget.h"
#include "model/qareporterdata.h"
#include "model/qareporterdatatree.h"
#include "prefs/qareporterprefgeneral.h"
#include "reader/reportloader.h"
#include "sdk/qadialogs.h"
#include "sdk/qaoutputwindow.h"
#include "sdk/studiointerface.h"
#include "viewer/qarlistview.h"
#include "viewer/qartoolbar.h"
#include "viewer/studioreadprogress.h"

#include <QFileInfo>
#include <QHash>
#include <QMainWindow>
#include <QSet>
#include <QStatusBar>
#include <optional>
#include <utility>

namespace {

// A cancelled reading changes nothing; the status bar says that it stopped.
void tellCancelled(StudioInterface* studio)
{
    if (auto* window = qobject_cast<QMainWindow*>(studio ? studio->mainWindow() : nullptr))
        window->statusBar()->showMessage(QAReporter::tr("Opening cancelled"), 5000);
}

} // namespace

bool QAReporter::readFiles(const QStringList& files, bool skipShown,
                           std::vector<std::unique_ptr<QAReporterData>>* read, QStringList* failed,
                           QStringList* reasons) const
{
    std::optional<StudioReadProgress> progress;
    if (StudioInterface* studio = hostStudio())
        progress.emplace(studio);
    const DStyleList styles = currentStyles();
    QSet<QString> seen;
    QHash<QString, DDocument*> documentByTag;
    for (qsizetype i = 0; i < files.size(); ++i) {
        const QString& path = files.at(i);
        if (seen.contains(path) || (skipShown && contain(path)))
            continue;
        seen.insert(path);
        ReportLoadError error;
        std::unique_ptr<QAReporterData> record =
            QFileInfo::exists(path)
                ? loadReport(path, styles, progress ? &*progress : nullptr, &error)
                : nullptr;
        if (error.cancelled) {
            read->clear();
            failed->clear();
            reasons->clear();
            return false;
        }
        if (!record) {
            failed->append(path);
            reasons->append(error.line > 0 ? QStringLiteral("%1:%2:%3: %4")
                                                 .arg(path)
                                                 .arg(error.line)
                                                 .arg(error.column)
                                                 .arg(error.message)
                                           : QStringLiteral("%1: %2").arg(
                                                 path, error.message.isEmpty() ? tr("no such file")
                                                                               : error.message));
            continue;
        }
        if (DDocument* document = record->document.get()) {
            if (documentByTag.contains(document->tag()))
                document->setTag(document->tag() + QString::number(i));
            else
                documentByTag.insert(document->tag(), document);
        }
        read->push_back(std::move(record));
    }
    return true;
}

void QAReporter::analyse(const QStringList& files)
{
    std::vector<std::unique_ptr<QAReporterData>> read;
    QStringList failed;
    QStringList reasons;
    m_loadCancelled = !readFiles(files, true, &read, &failed, &reasons);
    if (m_loadCancelled) {
        m_pendingPlace.reset();
        tellCancelled(hostStudio());
        return;
    }
    showRead(std::move(read), failed, reasons);
}

void QAReporter::showRead(std::vector<std::unique_ptr<QAReporterData>> read,
                          const QStringList& failed, const QStringList& reasons)
{
    StudioInterface* studio = hostStudio();
    // The types are those of the files read now, all shown, as the menu will list them.
    m_typeNames.clear();
    m_validator->unsetAttribut(QAReporterNodeValidator::AttrType);
    m_typeVisibility.clear();
    m_typeVisibilityInitialised = false;
    for (auto& record : read)
        m_dataList.push_back(std::move(record));

    if (!failed.isEmpty()) {
        QString message = tr("File(s) not found or corrupted:\n");
        for (const QString& path : std::as_const(failed))
            message += tr("\t") + path + tr("\n");
        if (QAOutputWindow* output = studio ? studio->outputWindow() : nullptr) {
            output->appendOutput(message);
            for (const QString& reason : std::as_const(reasons))
                output->appendOutput(reason + QLatin1Char('\n'));
        }
        // The dialog names each file with its reason; the list above keeps the usual form.
        QADialogs::warning(this, tr("Test Report"),
                           message + QLatin1Char('\n') + reasons.join(QLatin1Char('\n')));
    }
    if (m_dataList.empty()) {
        m_pendingPlace.reset();
        return;
    }
    m_headerShown = m_dataList.size() >= 2;
    if (m_outline)
        m_outline->clear();
    updateTypes();
    if (m_toolBar && m_toolBar->isFiltered())
        displayKO();
    else
        displayreport();
}

void QAReporter::analyseData()
{
    if (m_dataAnalysed)
        return;
    // Filtering, the outline and the summary take a while on large reports: the studio says
    // what happens meanwhile. These steps cannot be cancelled.
    StudioInterface* studio = hostStudio();
    const auto phase = [studio](const QString& label) {
        if (studio)
            studio->startProgress(0, label, QString());
    };
    phase(tr("Filtering the results"));
    QString savedTag;
    // A reload keeps the place it started from; a mode or type change starts from here.
    const Place place = m_pendingPlace ? *m_pendingPlace : currentPlace();
    m_pendingPlace.reset();
    if (!m_filter) {
        m_filter = std::make_unique<QAReporterFilter>();
    } else {
        if (DDocument* shown = m_documentView->currentDocument())
            savedTag = shown->tag();
        m_headerView->clearDocs();
        m_documentView->clearDocs();
        // The outline's rows are the filtered trees: they go first.
        if (m_outline)
            m_outline->clear();
        m_filter->clear();
    }
    makeTagsUnique();
    m_filter->setValidator(*m_validator);
    QList<QAReporterData*> records;
    for (const auto& record : m_dataList)
        records.append(record.get());
    m_filter->applyFilter(records);
    phase(tr("Building the outline"));
    updateListView();
    phase(tr("Writing the summary"));
    std::unique_ptr<DDocument> header = m_filter->doHeaderDoc(records, m_title, currentStyles());
    phase(tr("Laying out the documents"));
    header->setTag(QStringLiteral("index"));
    updateView(m_filter->filtered(), std::move(header));
    if (m_headerShown)
        showHeaderDock();
    if (!savedTag.isNull())
        moveToDocument(savedTag);
    restorePlace(place);
    m_dataAnalysed = true;
    if (studio)
        studio->endProgress();
}

void QAReporter::makeTagsUnique()
{
    // A later duplicate takes the first holder's tag with "_1"; the map keeps the original, so
    // each pass adds one more "_1" to documents that still share a tag.
    QHash<QString, QString> seen;
    for (const auto& record : m_dataList) {
        DDocument* document = record->document.get();
        if (!document)
            continue;
        const auto found = seen.constFind(document->tag());
        if (found == seen.constEnd())
            seen.insert(document->tag(), document->tag());
        else
            document->setTag(found.value() + QStringLiteral("_1"));
    }
}

void QAReporter::updateView(const std::vector<QAReporterData*>& shown,
                            std::unique_ptr<DDocument> header)
{
    m_headerView->clearDocs();
    m_headerDocument = std::move(header);
    if (isActivatedDisplay())
        m_headerView->setDocument(m_headerDocument.get(), true);
    if (shown.empty() || !isActivatedDisplay())
        return;
    bool first = true;
    for (const QAReporterData* record : shown) {
        if (!record->document)
            continue;
        m_documentView->setDocument(record->document.get(), first);
        first = false;
    }
    Q_EMIT viewUpdated();
}

void QAReporter::updateListView()
{
    if (m_dataList.empty() || !m_outline)
        return;
    m_outline->clear();
    m_outline->setHeaderHidden(true);
    m_outline->setRootIsDecorated(true);
    m_outline->setAllColumnsShowFocus(false);
    m_outline->setSortingEnabled(false);
    if (m_filter) {
        for (const QAReporterData* record : m_filter->filtered())
            m_outline->addReport(record->tree, record->fileName);
    }
    m_outline->openToDepth(s_preference ? s_preference->general->autoDepth : 4);
    const QModelIndex first = m_outline->model()->index(0, 0);
    if (first.isValid())
        m_outline->showEntry(first);
}

void QAReporter::updateTypes()
{
    // Looked up in a set, not in the list: a file may hold a million types.
    QSet<QString> known(m_typeNames.cbegin(), m_typeNames.cend());
    for (const auto& record : m_dataList) {
        for (const QString& type : std::as_const(record->typeList)) {
            if (!known.contains(type)) {
                known.insert(type);
                m_typeNames.append(type);
            }
        }
    }
}

bool QAReporter::contain(const QString& file) const
{
    for (const auto& record : m_dataList) {
        if (record->fileName == file)
            return true;
    }
    return false;
}

int QAReporter::testPassed() const
{
    int total = 0;
    for (const auto& record : m_dataList)
        total += record->passed;
    return total;
}

int QAReporter::testFailed() const
{
    int total = 0;
    for (const auto& record : m_dataList)
        total += record->failed;
    return total;
}

void QAReporter::refreshContents()
{
    // The files are read before anything shown goes: a cancelled reading leaves all as it was.
    std::vector<std::unique_ptr<QAReporterData>> read;
    QStringList failed;
    QStringList reasons;
    m_loadCancelled = !readFiles(m_fileList, false, &read, &failed, &reasons);
    if (m_loadCancelled) {
        tellCancelled(hostStudio());
        return;
    }
    if (!m_pendingPlace && !m_dataList.empty())
        m_pendingPlace = std::make_unique<Place>(currentPlace());
    m_headerView->clearDocs();
    m_headerDocument.reset();
    m_documentView->clearDocs();
    if (m_outline)
        m_outline->clear();
    if (m_filter)
        m_filter->clear();
    m_dataList.clear();
    showRead(std::move(read), failed, reasons);
}

void QAReporter::reload()
{
    const bool analysed = std::exchange(m_dataAnalysed, false);
    refreshContents();
    if (m_loadCancelled)
        m_dataAnalysed = analysed;
}

void QAReporter::reload(const QString&)
{
    reload();
}

std::unique_ptr<DDocument> QAReporter::readXrdFile(const QString& path, QString* reason) const
{
    std::optional<StudioReadProgress> progress;
    if (StudioInterface* studio = hostStudio())
        progress.emplace(studio);
    ReportLoadError error;
    std::unique_ptr<QAReporterData> record =
        loadReport(path, currentStyles(), progress ? &*progress : nullptr, &error);
    if (!record && reason)
        *reason = error.line > 0 ? QStringLiteral("%1:%2:%3: %4")
                                       .arg(path)
                                       .arg(error.line)
                                       .arg(error.column)
                                       .arg(error.message)
                                 : QStringLiteral("%1: %2").arg(path, error.message);
    return record ? std::move(record->document) : nullptr;
}

void QAReporter::displayKO()
{
    m_validator->setAttribut(QAReporterNodeValidator::AttrState,
                             QRegularExpression(QStringLiteral("ko")));
    m_dataAnalysed = false;
    if (testFailed() == 0) {
        StudioInterface* studio = hostStudio();
        const QMessageBox::StandardButton answer = QADialogs::question(
            this, studio ? studio->caption() : windowTitle(),
            tr("The filtered report is empty. \nDo you want to show all tests instead of "
               "filtered report"),
            QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes);
        if (answer == QMessageBox::Yes) {
            alltests();
            return;
        }
    }
    analyseData();
}

void QAReporter::displayreport()
{
    m_validator->unsetAttribut(QAReporterNodeValidator::AttrState);
    m_dataAnalysed = false;
    analyseData();
}

void QAReporter::switchFilter()
{
    if (m_toolBar && m_toolBar->isFiltered())
        displayKO();
    else
        displayreport();
}

void QAReporter::alltests()
{
    if (!m_toolBar)
        return;
    if (m_toolBar->isFiltered())
        m_toolBar->switchFilter();
    displayreport();
}

void QAReporter::failedtests()
{
    if (!m_toolBar)
        return;
    if (!m_toolBar->isFiltered())
        m_toolBar->switchFilter();
    displayKO();
}

void QAReporter::setTypeVisible(const QString& type, bool visible)
{
    const QRegularExpression expression(type);
    m_typeVisibility.insert(type, visible);
    if (visible)
        m_validator->unsetType(expression);
    else
        m_validator->setAttribut(QAReporterNodeValidator::AttrType, expression);
    m_dataAnalysed = false;
    analyseData();
}

// Loading and analysis of the result files, and the display modes.
#include "viewer/qareporter.h"
#include "viewer/qareporterhost.h"

#include "filter/qareporterfilter.h"
#include "filter/qareporternodevalidator.h"
#include "folio/model/ddocument.h"
#include "folio/view/dreportwidget.h"
#include "model/qareporterdata.h"
#include "model/qareporterdatatree.h"
#include "model/reportloader.h"
#include "prefs/qareporterprefgeneral.h"
#include "sdk/qadialogs.h"
#include "sdk/qaoutputwindow.h"
#include "sdk/studiointerface.h"
#include "viewer/qarlistview.h"
#include "viewer/qartoolbar.h"

#include <QFileInfo>
#include <QHash>

void QAReporter::analyse(const QStringList& files)
{
    StudioInterface* studio = hostStudio();
    const DStyleList styles = currentStyles();
    QStringList failed;
    QStringList reasons;
    // The types are those of the files read now, all shown, as the menu will list them.
    m_typeNames.clear();
    m_validator->unsetAttribut(QAReporterNodeValidator::AttrType);
    m_typeVisibility.clear();
    m_typeVisibilityInitialised = false;
    QHash<QString, DDocument*> documentByTag;
    for (qsizetype i = 0; i < files.size(); ++i) {
        const QString& path = files.at(i);
        if (contain(path))
            continue;
        ReportLoadError error;
        std::unique_ptr<QAReporterData> record =
            QFileInfo::exists(path) ? loadReport(path, styles, studio, &error) : nullptr;
        if (!record) {
            failed.append(path);
            reasons.append(error.line > 0 ? QStringLiteral("%1:%2:%3: %4")
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
        m_dataList.push_back(std::move(record));
    }

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
        m_filter->clear();
    }
    makeTagsUnique();
    m_filter->setValidator(*m_validator);
    QList<QAReporterData*> records;
    for (const auto& record : m_dataList)
        records.append(record.get());
    m_filter->applyFilter(records);
    updateListView();
    std::unique_ptr<DDocument> header = m_filter->doHeaderDoc(records, m_title, currentStyles());
    header->setTag(QStringLiteral("index"));
    updateView(m_filter->filtered(), std::move(header));
    if (m_headerShown)
        showHeaderDock();
    if (!savedTag.isNull())
        m_documentView->moveTo(QString(), QString(), savedTag);
    restorePlace(place);
    m_dataAnalysed = true;
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
    if (QTreeWidgetItem* first = m_outline->topLevelItem(0)) {
        m_outline->setCurrentItem(first);
        first->setSelected(true);
    }
}

void QAReporter::updateTypes()
{
    for (const auto& record : m_dataList) {
        for (const QString& type : std::as_const(record->typeList)) {
            if (!m_typeNames.contains(type))
                m_typeNames.append(type);
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
    if (!m_pendingPlace && !m_dataList.empty())
        m_pendingPlace = std::make_unique<Place>(currentPlace());
    m_headerView->clearDocs();
    m_headerDocument.reset();
    m_documentView->clearDocs();
    if (m_filter)
        m_filter->clear();
    if (m_outline)
        m_outline->clear();
    m_dataList.clear();
    analyse(m_fileList);
}

void QAReporter::reload()
{
    m_dataAnalysed = false;
    refreshContents();
}

void QAReporter::reload(const QString&)
{
    reload();
}

std::unique_ptr<DDocument> QAReporter::readXrdFile(const QString& path, QString* reason) const
{
    ReportLoadError error;
    std::unique_ptr<QAReporterData> record =
        loadReport(path, currentStyles(), hostStudio(), &error);
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

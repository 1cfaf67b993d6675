#include "plugin/qastcrcplugin.h"

#include "prefs/qareporterpref.h"
#include "prefs/qareporterprefgeneral.h"
#include "sdk/qapixmapcenter.h"
#include "sdk/qaucmverification.h"
#include "viewer/qareporter.h"
#include "viewer/qareportermanager.h"

namespace {
#include "data/icons/reporter.xpm"
} // namespace

QString QAStCRCPlugin::name() const
{
    return QStringLiteral("CRC");
}

QString QAStCRCPlugin::description() const
{
    return tr("The Code Review Viewer", "CRC Plugin Description");
}

QString QAStCRCPlugin::author() const
{
    return tr("Korvex Arvendel", "CRC Plugin Author");
}

QString QAStCRCPlugin::version() const
{
    return tr("Version 1.0.0", "CRC Plugin Version");
}

void QAStCRCPlugin::initialize(QUnknownInterface* iface, QARes* resources)
{
    StudioInterface* studio = nullptr;
    if (iface && !iface->queryInterface(IID_StudioInterface, reinterpret_cast<void**>(&studio)))
        studio = nullptr;
    QAReporter::initialize(resources, studio);
}

QStringList QAStCRCPlugin::accept()
{
    return {QStringLiteral("*.crc")};
}

QStringList QAStCRCPlugin::filters()
{
    return {tr("Code Review", "CRC Plugin Extended Filters") + QStringLiteral(" (*.crc)")};
}

QAStViewerWindow* QAStCRCPlugin::create(QStringList& files, QWidget* parent, const char* name)
{
    return create(files, true, parent, name);
}

QAStViewerWindow* QAStCRCPlugin::create(QStringList& files, bool activate, QWidget* parent,
                                        const char* name)
{
    auto* window = new QAReporter(tr("Code Review", "Code Review Window Title"),
                                  GETPIX("reporter_xpm", reporter_xpm), parent, {}, activate);
    window->setAttribute(Qt::WA_DeleteOnClose); // closing the window destroys it
    if (name)
        window->setObjectName(QString::fromLatin1(name));
    if (!files.isEmpty())
        window->setFiles(&files, nullptr, QAStViewerWindow::Normal);
    return window;
}

bool QAStCRCPlugin::exportHTML(const QString&, const QString&, QAIProgressMonitor*, QAILogMonitor*)
{
    return false; // windows export their own reports
}

QAStViewerWindow* QAStCRCPlugin::openedWindow(const QString& file)
{
    return QAReporter::manager() ? QAReporter::manager()->openedReporter(file) : nullptr;
}

bool QAStCRCPlugin::connectAccepted(QObject* sender, const char* signal)
{
    return QAReporter::preference() &&
           QObject::connect(sender, signal, QAReporter::preference(), SLOT(prefDialogAccepted()));
}

bool QAStCRCPlugin::connectRejected(QObject* sender, const char* signal)
{
    return QAReporter::preference() &&
           QObject::connect(sender, signal, QAReporter::preference(), SLOT(prefDialogRejected()));
}

PreferenceItem* QAStCRCPlugin::preferenceSettings()
{
    return QAReporter::preference() ? QAReporter::preference()->preferenceSettings() : nullptr;
}

QString QAStCRCPlugin::pluginName()
{
    return tr("Korvex Arvendel Code Review", "Plugin Name");
}

QString QAStCRCPlugin::pluginIcon()
{
    return QLatin1String("");
}

QString QAStCRCPlugin::pluginDescription()
{
    return tr("Korvex Arvendel Code Review Viewer Description", "Plugin Description");
}

QString QAStCRCPlugin::pluginCompanyName()
{
    return tr("Korvex", "Plugin Company Name");
}

QString QAStCRCPlugin::pluginCompanyIcon()
{
    return QStringLiteral("logo_90x90.xpm");
}

QString QAStCRCPlugin::pluginCompanyDescription()
{
    return tr("This plugin provides a code review viewer for Korvex Arvendel.",
              "Plugin Company Description");
}

QString QAStCRCPlugin::pluginCopyRight()
{
    return tr("Copyright (C) 2026 Korvex. All rights reserved.", "Plugin CopyRight");
}

QString QAStCRCPlugin::pluginVersion()
{
    return tr("Version 1.1.0", "Plugin Version");
}

QDate QAStCRCPlugin::pluginCreation()
{
    return QDate::currentDate();
}

QList<QToolBar*> QAStCRCPlugin::toolbars()
{
    return {};
}

// The two entry points the studio's loader looks for: first the verification text, then the
// plug-in object, which the studio owns from then on through its component interface.
extern "C" Q_DECL_EXPORT const char* qt_ucm_query_verification_data()
{
    return QA_UCM_VERIFICATION_DATA;
}

extern "C" Q_DECL_EXPORT QUnknownInterface* ucm_instantiate()
{
    return (new QAStCRCPlugin)->iface();
}

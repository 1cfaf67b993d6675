// crcstudio: a desktop studio that loads the code review viewer plug-in and shows result files.

#include "host/studiomainwindow.h"
#include "sdk/qadialogs.h"

#include <QApplication>
#include <QCommandLineParser>
#include <iostream>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("crcstudio"));
    QApplication::setDesktopFileName(QStringLiteral("crcstudio"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Shows code review result files."));
    parser.addHelpOption();
    const QCommandLineOption pluginOption(
        QStringLiteral("plugin"),
        QStringLiteral("The viewer plug-in library (default: $CRCSTUDIO_PLUGIN, else %1).")
            .arg(StudioMainWindow::defaultPluginPath()),
        QStringLiteral("PATH"));
    const QCommandLineOption settingsOption(QStringLiteral("settings"),
                                            QStringLiteral("The settings file (default: %1).")
                                                .arg(StudioMainWindow::defaultSettingsPath()),
                                            QStringLiteral("FILE"));
    parser.addOption(pluginOption);
    parser.addOption(settingsOption);
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("Result files to open."),
                                 QStringLiteral("[FILE...]"));
    parser.process(app);

    QString pluginPath = parser.value(pluginOption);
    if (pluginPath.isEmpty())
        pluginPath = qEnvironmentVariable("CRCSTUDIO_PLUGIN");
    if (pluginPath.isEmpty())
        pluginPath = StudioMainWindow::defaultPluginPath();
    const QString settingsPath = parser.isSet(settingsOption)
                                     ? parser.value(settingsOption)
                                     : StudioMainWindow::defaultSettingsPath();

    StudioMainWindow window(pluginPath, settingsPath);
    if (!window.plugin()) {
        std::cerr << "crcstudio: " << window.pluginError().toLocal8Bit().constData() << "\n";
        QADialogs::warning(nullptr, window.caption(), window.pluginError());
        return 1;
    }
    window.show();
    window.openFiles(parser.positionalArguments());
    return app.exec();
}

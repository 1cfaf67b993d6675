// crcstudio: a desktop studio that loads the code review viewer plug-in and shows result files.

#include "defects/defectstore.h"
#include "host/studiomainwindow.h"
#include "sdk/qadialogs.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QEvent>
#include <QTimer>
#include <iostream>
#include <memory>
#include <vector>

namespace {

// Qt's own command line knows "-plugin" (and "--plugin") as one of its options: ours is taken out
// before the application sees the arguments. Returns the path given, or an empty string.
QString takePluginArgument(std::vector<char*>& arguments)
{
    QString path;
    for (size_t i = 1; i < arguments.size();) {
        const QByteArray argument(arguments[i]);
        if (argument == "--plugin" && i + 1 < arguments.size()) {
            path = QString::fromLocal8Bit(arguments[i + 1]);
            arguments.erase(arguments.begin() + i, arguments.begin() + i + 2);
        } else if (argument.startsWith("--plugin=")) {
            path = QString::fromLocal8Bit(argument.mid(9));
            arguments.erase(arguments.begin() + i);
        } else {
            ++i;
        }
    }
    return path;
}

// Prints the seconds since `clock` started when the watched widget is first painted, then ends
// the event loop.
class FirstPaint : public QObject
{
public:
    explicit FirstPaint(const QElapsedTimer& clock) : m_clock(clock) {}

    void report()
    {
        std::cout << m_clock.nsecsElapsed() / 1e9 << "\n" << std::flush;
        QTimer::singleShot(0, qApp, [] { QCoreApplication::exit(0); });
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint) {
            watched->removeEventFilter(this);
            report();
        }
        return false;
    }

private:
    const QElapsedTimer& m_clock;
};

// The options crcstudio takes, described for --help.
struct Options
{
    QCommandLineOption plugin{
        QStringLiteral("plugin"),
        QStringLiteral("The viewer plug-in library (default: $CRCSTUDIO_PLUGIN, else %1).")
            .arg(StudioMainWindow::defaultPluginPath()),
        QStringLiteral("PATH")};
    QCommandLineOption settings{QStringLiteral("settings"),
                                QStringLiteral("The settings file (default: %1).")
                                    .arg(StudioMainWindow::defaultSettingsPath()),
                                QStringLiteral("FILE")};
    QCommandLineOption defects{
        QStringLiteral("defects"),
        QStringLiteral("The defect store (default: %1).").arg(DefectStore::defaultPath()),
        QStringLiteral("FILE")};
    QCommandLineOption exitAfterOpen{
        QStringLiteral("exit-after-open"),
        QStringLiteral("Open the files given, print the seconds until the outline of the last one "
                       "is shown, and exit (status 0, or 2 when a file could not be opened).")};

    void addTo(QCommandLineParser& parser) const
    {
        parser.setApplicationDescription(QStringLiteral("Shows code review result files."));
        parser.addHelpOption();
        parser.addVersionOption();
        parser.addOptions({plugin, settings, defects, exitAfterOpen});
        parser.addPositionalArgument(QStringLiteral("FILE"),
                                     QStringLiteral("Result files to open."),
                                     QStringLiteral("[FILE...]"));
    }
};

void nameTheApplication()
{
    QCoreApplication::setApplicationName(QStringLiteral("crcstudio"));
    QCoreApplication::setApplicationVersion(QStringLiteral(CRC_VERSION));
}

// Whether the command line only asks for the usage or the version: those are answered without
// a display.
bool asksOnlyForText(const std::vector<char*>& arguments)
{
    for (size_t i = 1; i < arguments.size(); ++i) {
        const QByteArray argument(arguments[i]);
        if (argument == "--")
            return false;
        if (argument == "-h" || argument == "--help" || argument == "-?" ||
            argument == "--help-all" || argument == "-v" || argument == "--version")
            return true;
    }
    return false;
}

} // namespace

int main(int argc, char** argv)
{
    QElapsedTimer clock;
    clock.start();
    std::vector<char*> arguments(argv, argv + argc);
    QString pluginPath = takePluginArgument(arguments);
    int count = int(arguments.size());
    arguments.push_back(nullptr);
    if (asksOnlyForText(arguments)) {
        QCoreApplication core(count, arguments.data());
        nameTheApplication();
        QCommandLineParser parser;
        const Options options;
        options.addTo(parser);
        parser.process(core); // prints and exits
        return 0;
    }
    QApplication app(count, arguments.data());
    nameTheApplication();
    QApplication::setDesktopFileName(QStringLiteral("crcstudio"));

    QCommandLineParser parser;
    const Options options;
    options.addTo(parser);
    parser.process(app);

    if (pluginPath.isEmpty())
        pluginPath = qEnvironmentVariable("CRCSTUDIO_PLUGIN");
    if (pluginPath.isEmpty())
        pluginPath = StudioMainWindow::defaultPluginPath();
    const QString settingsPath = parser.isSet(options.settings)
                                     ? parser.value(options.settings)
                                     : StudioMainWindow::defaultSettingsPath();

    // A timed run must not wait for anyone: its messages are recorded and go to standard error.
    const bool exitAfterOpen = parser.isSet(options.exitAfterOpen);
    ScriptedDialogs* recorded = nullptr;
    if (exitAfterOpen) {
        auto dialogs = std::make_unique<ScriptedDialogs>();
        recorded = dialogs.get();
        QADialogs::install(std::move(dialogs));
    }

    StudioMainWindow window(pluginPath, settingsPath);
    if (parser.isSet(options.defects))
        window.setDefectStore(parser.value(options.defects));
    if (!window.plugin()) {
        std::cerr << "crcstudio: " << window.pluginError().toLocal8Bit().constData() << "\n";
        // Only a screen someone looks at gets the message box: a headless run would wait forever.
        if (QGuiApplication::platformName() != QLatin1String("offscreen"))
            QADialogs::warning(nullptr, QCoreApplication::applicationName(), window.pluginError());
        return 1;
    }
    window.show();
    window.openFiles(parser.positionalArguments());
    if (!exitAfterOpen)
        return app.exec();

    for (const ScriptedDialogs::Asked& message : std::as_const(recorded->asked))
        std::cerr << "crcstudio: " << message.text.toLocal8Bit().constData() << "\n";
    QWidget* outline = window.currentOutline();
    if (!recorded->asked.isEmpty() || !outline)
        return 2;
    // An outline dock the settings keep closed is never painted: the time is then that of the
    // opening.
    FirstPaint firstPaint(clock);
    if (outline->isVisibleTo(&window))
        outline->installEventFilter(&firstPaint);
    else
        firstPaint.report();
    return app.exec();
}

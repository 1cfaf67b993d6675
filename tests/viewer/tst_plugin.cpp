// The plug-in as the studio meets it: through the two entry points of the built library.

#include "host/studiocomponent.h"
#include "prefs/qareporterpref.h"
#include "sdk/qadialogs.h"
#include "sdk/qastviewerplugin.h"
#include "sdk/qaucmverification.h"
#include "tests/teststudio.h"
#include "viewer/qareporter.h"

#include <QLibrary>
#include <QPointer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

using Instantiate = QUnknownInterface* (*)();
using Verification = const char* (*)();

// A sender with one signal, to hook the preferences dialog to.
class Dialog : public QObject
{
    Q_OBJECT
Q_SIGNALS:
    void accepted();
    void rejected();
};

} // namespace

class TestPlugin : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void verificationTextIsChecked()
    {
        QLibrary library(QStringLiteral(CRCPLUGIN_PATH));
        QVERIFY2(library.load(), qPrintable(library.errorString()));
        auto verification =
            reinterpret_cast<Verification>(library.resolve("qt_ucm_query_verification_data"));
        QVERIFY(verification);
        QString problem;
        QVERIFY2(QAUcmVerification::accepts(verification(), &problem), qPrintable(problem));
        QVERIFY(QString::fromLatin1(verification())
                    .startsWith(QLatin1String("pattern=QT_UCM_VERIFICATION_DATA\nversion=")));

        QVERIFY(!QAUcmVerification::accepts(
            "pattern=QT_UCM_VERIFICATION_DATA\nversion=3.3.8\nflags=01\n"
            "buildkey=x86_64 Linux g++-4 full-config",
            &problem));
        QVERIFY(problem.startsWith(QLatin1String("version is \"3.3.8\"")));
        QVERIFY(!QAUcmVerification::accepts(nullptr, &problem));
        const QByteArray otherKey =
            QByteArray(QAUcmVerification::expected()).replace("shared", "static");
        QVERIFY(!QAUcmVerification::accepts(otherKey.constData(), &problem));
        QVERIFY(problem.startsWith(QLatin1String("buildkey")));
    }

    void pluginAnswersTheStudio()
    {
        QLibrary library(QStringLiteral(CRCPLUGIN_PATH));
        QVERIFY(library.load());
        auto instantiate = reinterpret_cast<Instantiate>(library.resolve("ucm_instantiate"));
        QVERIFY(instantiate);
        QUnknownInterface* component = instantiate();
        QAStViewerPlugin* plugin = nullptr;
        QVERIFY(component->queryInterface(IID_QAStViewerPlugin, reinterpret_cast<void**>(&plugin)));
        QVERIFY(plugin);
        void* nothing = nullptr;
        QVERIFY(!component->queryInterface(IID_StudioInterface, &nothing));
        QCOMPARE(nothing, nullptr);

        QCOMPARE(plugin->name(), QStringLiteral("CRC"));
        QCOMPARE(plugin->accept(), QStringList(QStringLiteral("*.crc")));
        QCOMPARE(plugin->filters().size(), 1);
        QVERIFY(plugin->filters().first().endsWith(QLatin1String(" (*.crc)")));
        QCOMPARE(plugin->version(), QStringLiteral("Version 1.0.0"));
        QCOMPARE(plugin->pluginVersion(), QStringLiteral("Version 1.1.0"));
        QVERIFY(plugin->pluginIcon().isEmpty() && !plugin->pluginIcon().isNull());
        QCOMPARE(plugin->pluginCompanyIcon(), QStringLiteral("logo_90x90.xpm"));
        QCOMPARE(plugin->pluginCreation(), QDate::currentDate());
        QVERIFY(plugin->toolbars().isEmpty());
        QVERIFY(!plugin->preferenceSettings()); // before initialisation

        TestStudio studio;
        StudioComponent studioComponent(&studio);
        plugin->initialize(&studioComponent, nullptr);
        QVERIFY(QAReporter::preference());
        QVERIFY(plugin->preferenceSettings());
        QCOMPARE(studio.producers.size(), 1);

        Dialog dialog;
        QSignalSpy changed(QAReporter::preference(), &QAReporterPref::preferencesChanged);
        QVERIFY(plugin->connectAccepted(&dialog, SIGNAL(accepted())));
        QVERIFY(plugin->connectRejected(&dialog, SIGNAL(rejected())));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("No such signal")));
        QVERIFY(!plugin->connectAccepted(&dialog, SIGNAL(missing())));
        Q_EMIT dialog.rejected();
        QCOMPARE(changed.count(), 0);
        Q_EMIT dialog.accepted();
        QCOMPARE(changed.count(), 1);

        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("run.crc"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("<XROD><DOCUMENT tag='d'><XROD:NODE name='n' type='t' state='ok' sum='1'>"
                   "<SECTION/></XROD:NODE></DOCUMENT></XROD>");
        file.close();
        QADialogs::install(std::make_unique<ScriptedDialogs>());
        QStringList files{path};
        QPointer<QAStViewerWindow> window = plugin->create(files, nullptr, "first");
        QVERIFY(window);
        QVERIFY(window->testAttribute(Qt::WA_DeleteOnClose));
        QVERIFY(window->isActivatedDisplay());
        QCOMPARE(plugin->openedWindow(path), window.data());
        QStringList none;
        QPointer<QAStViewerWindow> empty = plugin->create(none, false, nullptr, nullptr);
        QVERIFY(!empty->isActivatedDisplay());
        QVERIFY(!plugin->openedWindow(dir.filePath(QStringLiteral("other.crc"))));
        window->show();
        window->close();
        QTRY_VERIFY(window.isNull()); // closing destroys it
        QVERIFY(!plugin->openedWindow(path));
        delete empty.data();
        QADialogs::install(nullptr);

        QCOMPARE(component->release(), 1ul); // the reference the query added
        QCOMPARE(component->release(), 0ul); // the studio lets go: the plug-in is gone
    }
};

QTEST_MAIN(TestPlugin)
#include "tst_plugin.moc"

// The viewer's preferences: general settings, display styles, their pages and the settings
// they keep.

#include "folio/styleeditor/dstyleview.h"
#include "folio/styles/dstyleserialize.h"
#include "prefs/qareporterpref.h"
#include "prefs/qareporterprefgeneral.h"
#include "prefs/qareporterprefstyles.h"
#include "sdk/qacolorbutton.h"
#include "sdk/qaresfile.h"
#include "session/sessioncontext.h"
#include "tests/teststudio.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QListWidget>
#include <QMainWindow>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>
#include <QTextEdit>
#include <QVBoxLayout>

namespace {

// The style names the viewer relies on, in the order of the shipped style file.
QStringList fixedStyleNames()
{
    auto withVerdicts = [](const QString& name) {
        return QStringList{name, name + QStringLiteral(" Failed"),
                           name + QStringLiteral(" Passed")};
    };
    QStringList names = withVerdicts(QStringLiteral("Normal"));
    names.append(QStringLiteral("Title0"));
    for (int level = 1; level <= 6; ++level)
        names += withVerdicts(QStringLiteral("Title%1").arg(level));
    names.append(QStringLiteral("Array Title"));
    names += withVerdicts(QStringLiteral("Array"));
    return names + QStringList{QStringLiteral("Warning"), QStringLiteral("Link")};
}

// An installation directory whose lib/reporterstyle.aml holds `styles`.
class Installation
{
public:
    explicit Installation(const QByteArray& styles)
    {
        QDir(m_dir.path()).mkpath(QStringLiteral("lib"));
        QFile file(styleFile());
        if (file.open(QIODevice::WriteOnly))
            file.write(styles);
    }
    QString path() const { return m_dir.path(); }
    QString styleFile() const { return SessionContext::styleFilePath(m_dir.path()); }

private:
    QTemporaryDir m_dir;
};

const QByteArray twoStyles = "<DOCUMENT><STYLES>\n"
                             "<STYLE name=\"Normal\" size=\"10\" color=\"#222222\"/>\n"
                             "<STYLE name=\"Title0\" size=\"20\" bold=\"1\" align=\"center\"/>\n"
                             "</STYLES></DOCUMENT>\n";

QAReporterPrefStyles stylePage(const QString& file)
{
    return QAReporterPrefStyles(QStringLiteral("Styles"), QStringLiteral("pref-crc"),
                                QStringLiteral("pref-cr"), file);
}

DStylePtr styleNamed(const DStyleList& styles, const QString& name)
{
    for (const DStylePtr& style : styles) {
        if (style->name() == name)
            return style;
    }
    return DStylePtr();
}

QStringList childNames(const QAResGroup& group)
{
    QStringList names;
    for (const auto& child : group.children())
        names.append(QARes::kindName(child->kind()) + QLatin1Char(' ') + child->name());
    return names;
}

std::unique_ptr<QAResGroup> crcGroup()
{
    return std::make_unique<QAResGroup>(QStringLiteral("CRC"));
}

} // namespace

class TestPrefs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QAColorButton::setChooser({}); }

    // --- general settings -----------------------------------------------------------------

    void generalDefaultsAndLayoutOfTheResources()
    {
        Installation install(twoStyles);
        TestStudio studio;
        studio.directory = install.path();
        QAReporterPref pref(&studio);
        QAReporterPrefGeneral& general = *pref.general;
        QCOMPARE(general.background,
                 QApplication::palette().color(QPalette::Active, QPalette::Base));
        QCOMPARE(general.autoRaise, true);
        QCOMPARE(general.autoDepth, 4);
        QCOMPARE(pref.preferenceSettings(), pref.general.get());
        QCOMPARE(general.child(), pref.styles.get());
        QCOMPARE(pref.styles->styleFile, install.styleFile());
        QCOMPARE(general.tag(), QStringLiteral("pref-crc"));
        QCOMPARE(general.helpTag(), QStringLiteral("pref-cr"));

        std::unique_ptr<QARes> res = pref.toResources(nullptr);
        QCOMPARE(res->name(), QStringLiteral("CRC"));
        QCOMPARE(
            childNames(*res->toResGroup()),
            QStringList({QStringLiteral("rgb background"), QStringLiteral("boolean auto_raise"),
                         QStringLiteral("int auto_depth"), QStringLiteral("group STYLES")}));
        QCOMPARE(res->search(QStringLiteral("STYLES"))->toResGroup()->count(), 2);
        QCOMPARE(pref.toResources("Other")->name(), QStringLiteral("Other"));
    }

    void fromResourcesTakesOnlyWhatFits()
    {
        QAReporterPref pref(nullptr);
        QAReporterPrefGeneral& general = *pref.general;
        const QColor defaultBackground = general.background;

        // Only "auto_depth": the rest keeps its defaults.
        auto crc = crcGroup();
        crc->add<QAResInt>(QStringLiteral("auto_depth"), 2);
        pref.fromResources(crc.get(), "ignored");
        QCOMPARE(general.autoDepth, 2);
        QCOMPARE(general.background, defaultBackground);
        QCOMPARE(general.autoRaise, true);

        // Values of the wrong kind are skipped; of two values the later wins; no range check.
        crc = crcGroup();
        crc->add<QAResString>(QStringLiteral("background"), QStringLiteral("#ff0000"));
        crc->add<QAResInt>(QStringLiteral("auto_raise"), 0);
        crc->add<QAResBoolean>(QStringLiteral("auto_depth"), true);
        crc->add<QAResGroup>(QStringLiteral("auto_depth"));
        crc->add<QAResInt>(QStringLiteral("auto_depth"), 5);
        crc->add<QAResInt>(QStringLiteral("auto_depth"), 9);
        pref.fromResources(crc.get(), nullptr);
        QCOMPARE(general.background, defaultBackground);
        QCOMPARE(general.autoRaise, true);
        QCOMPARE(general.autoDepth, 9);

        // Anything but a group named "CRC" is ignored.
        QAResGroup other(QStringLiteral("crc"));
        other.add<QAResInt>(QStringLiteral("auto_depth"), 1);
        pref.fromResources(&other, "CRC");
        QAResInt notAGroup(QStringLiteral("CRC"), 1);
        pref.fromResources(&notAGroup, "CRC");
        pref.fromResources(nullptr, "CRC");
        QCOMPARE(general.autoDepth, 9);
    }

    void settingsRoundTripThroughTheSettingsFile()
    {
        Installation install(twoStyles);
        TestStudio studio;
        studio.directory = install.path();
        QAReporterPref pref(&studio);
        pref.general->background = QColor(12, 34, 56);
        pref.general->autoRaise = false;
        pref.general->autoDepth = 6;
        DStylePtr normal = styleNamed(pref.styles->styles, QStringLiteral("Normal"));
        normal->setFamily(QStringLiteral("Serif"));
        normal->setItalic(true);
        normal->setColor(DColor());
        normal->setBackground(DColor(250, 240, 230));
        normal->setAlign(DStyle::AlignJustify);
        normal->setIndent(12);
        // Paths with markup and spaces come back as they were.
        pref.baselines.insert(QStringLiteral("/runs/head <1>.sarif"),
                              QStringLiteral("/runs/base & old.sarif"));
        pref.baselines.insert(QStringLiteral("/runs/b.crc"), QStringLiteral("/runs/a.crc"));
        pref.hideDismissed = true;

        QAResGroup root;
        root.append(pref.toResources(nullptr));
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("settings.xml"));
        QString error;
        QVERIFY2(QAResFile::write(root, path, &error), qPrintable(error));
        std::unique_ptr<QAResGroup> read = QAResFile::read(path, &error);
        QVERIFY2(read, qPrintable(error));

        QAReporterPref restored(&studio);
        restored.fromResources(read->search(QStringLiteral("CRC")), "CRC");
        QCOMPARE(restored.general->background, QColor(12, 34, 56));
        QCOMPARE(restored.general->autoRaise, false);
        QCOMPARE(restored.general->autoDepth, 6);
        QVERIFY(restored.hideDismissed);
        DStylePtr back = styleNamed(restored.styles->styles, QStringLiteral("Normal"));
        QCOMPARE(back->family(), QStringLiteral("Serif"));
        QCOMPARE(back->size(), 10);
        QVERIFY(back->italic() && !back->bold());
        QVERIFY(!back->color().isValid()); // "the view's colour" survives, not the file's
        QCOMPARE(back->background(), DColor(250, 240, 230));
        QCOMPARE(back->align(), DStyle::AlignJustify);
        QCOMPARE(back->indent(), 12);
        QCOMPARE(styleNamed(restored.styles->styles, QStringLiteral("Title0"))->size(), 20);
        QCOMPARE(restored.baselines, pref.baselines);
    }

    void generalPageShowsAndTakesTheValues()
    {
        QAReporterPrefGeneral general(QStringLiteral("General"), QStringLiteral("pref-crc"),
                                      QStringLiteral("pref-cr"));
        QWidget dialog;
        QWidget* page = general.createWidget(&dialog);
        QCOMPARE(page->parentWidget(), &dialog);
        QVERIFY(general.colorButton && general.raiseCheck && general.depthSpin);
        QCOMPARE(general.depthSpin->minimum(), 1);
        QCOMPARE(general.depthSpin->maximum(), 6);
        QVERIFY(!general.raiseCheck->isEnabled()); // no studio, nothing to raise

        general.background = QColor(Qt::darkCyan);
        general.autoRaise = false;
        general.autoDepth = 9;
        general.updateContents();
        QCOMPARE(general.colorButton->color(), QColor(Qt::darkCyan));
        QVERIFY(!general.raiseCheck->isChecked());
        QCOMPARE(general.depthSpin->value(), 6); // shown at the spin box's limit...
        QCOMPARE(general.autoDepth, 9);          // ...until the user applies

        QAColorButton::setChooser([](const QColor&, QWidget*) { return QColor(Qt::yellow); });
        QTest::mouseClick(general.colorButton, Qt::LeftButton);
        general.raiseCheck->setChecked(true);
        general.apply();
        QCOMPARE(general.background, QColor(Qt::yellow));
        QCOMPARE(general.autoRaise, true);
        QCOMPARE(general.autoDepth, 6);

        // A cancelled colour choice changes nothing.
        QAColorButton::setChooser([](const QColor&, QWidget*) { return QColor(); });
        QTest::mouseClick(general.colorButton, Qt::LeftButton);
        QCOMPARE(general.colorButton->color(), QColor(Qt::yellow));

        // defaults() resets the values, not the widgets; cancel() keeps both.
        general.cancel();
        general.defaults();
        QCOMPARE(general.autoDepth, 4);
        QCOMPARE(general.depthSpin->value(), 6);

        // Once the dialog is gone the page keeps its values and forgets the widgets.
        delete page;
        QVERIFY(!general.colorButton && !general.depthSpin);
        general.updateContents();
        general.apply();
        QCOMPARE(general.autoDepth, 4);
    }

    void raiseNeedsAStudioWithAMainWindow()
    {
        TestStudio studio;
        QAReporterPrefGeneral general(QString(), QString(), QString(), &studio);
        QWidget dialog;
        general.createWidget(&dialog);
        QVERIFY(!general.raiseCheck->isEnabled());
        QMainWindow window;
        studio.window = &window;
        general.createWidget(&dialog);
        QVERIFY(general.raiseCheck->isEnabled());
    }

    void onlyAnAcceptedDialogAnnouncesAChange()
    {
        QAReporterPref pref(nullptr);
        QSignalSpy changed(&pref, &QAReporterPref::preferencesChanged);
        pref.prefDialogRejected();
        QCOMPARE(changed.count(), 0);
        pref.prefDialogAccepted();
        QCOMPARE(changed.count(), 1);
    }

    // --- the style file -------------------------------------------------------------------

    void styleFileDefinesNamesAndStylesInOrder()
    {
        Installation install(twoStyles);
        QAReporterPrefStyles page = stylePage(install.styleFile());
        QCOMPARE(page.styleNames,
                 QStringList({QStringLiteral("Normal"), QStringLiteral("Title0")}));
        QCOMPARE(page.styles.size(), 2);
        QCOMPARE(page.styles[1]->name(), QStringLiteral("Title0"));
        QCOMPARE(page.styles[1]->align(), DStyle::AlignCenter);
        QCOMPARE(page.translations.size(), 28);
        QCOMPARE(page.translations.value(QStringLiteral("Array Title")),
                 QStringLiteral("Array Title"));
        QVERIFY(page.styleFileError().isEmpty());
    }

    void shippedStyleFileServesTheViewer()
    {
        // The copy beside the executables, where an installation looks for it.
        TestStudio studio;
        studio.directory = QStringLiteral(BUILD_DIR);
        QAReporterPref pref(&studio);
        const QAReporterPrefStyles& page = *pref.styles;
        QVERIFY2(page.styleFileError().isEmpty(), qPrintable(page.styleFileError()));
        // The fixed names, then the preformatted styles of code and stack traces.
        QCOMPARE(page.styleNames, fixedStyleNames() + (QStringList{QStringLiteral("Code"),
                                                                   QStringLiteral("Code Failed")}));
        QCOMPARE(page.translations.size(), 28);
        for (const QString& name : fixedStyleNames())
            QVERIFY2(page.translations.contains(name), qPrintable(name));

        // Verdicts must read at a glance: failed in red, passed in green, the rest neither.
        for (const DStylePtr& style : page.styles) {
            const DColor color = style->color();
            QVERIFY2(color.isValid(), qPrintable(style->name()));
            if (style->name().endsWith(QLatin1String(" Failed")))
                QVERIFY2(color.red() > 2 * color.green(), qPrintable(style->name()));
            else if (style->name().endsWith(QLatin1String(" Passed")))
                QVERIFY2(color.green() > 2 * color.red(), qPrintable(style->name()));
        }
        // Titles step down in size.
        for (int level = 1; level <= 6; ++level) {
            QVERIFY(styleNamed(page.styles, QStringLiteral("Title%1").arg(level - 1))->size() >=
                    styleNamed(page.styles, QStringLiteral("Title%1").arg(level))->size());
        }
        QVERIFY(styleNamed(page.styles, QStringLiteral("Link"))->underline());
    }

    void missingStyleFileLeavesNoStyles()
    {
        QTemporaryDir dir;
        const QString file = dir.filePath(QStringLiteral("lib/reporterstyle.aml"));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("missing")));
        QAReporterPrefStyles page = stylePage(file);
        QVERIFY(page.styles.isEmpty());
        QVERIFY(page.styleNames.isEmpty());
        QVERIFY(page.translations.isEmpty());
        QVERIFY(page.styleFileError().startsWith(file));
        QCOMPARE(page.toResources()->count(), 0);

        // The page still works, and says what went wrong.
        QWidget dialog;
        page.createWidget(&dialog);
        page.updateContents();
        page.apply();
        const auto* said = dialog.findChild<QLabel*>(QStringLiteral("styleFileError"));
        QVERIFY(said);
        QCOMPARE(said->textFormat(), Qt::PlainText); // it quotes the file
        QCOMPARE(page.view->findChild<QListWidget*>()->count(), 0);
    }

    void brokenStyleFilesKeepTheStylesReadBefore_data()
    {
        QTest::addColumn<QByteArray>("markup");
        QTest::addColumn<QStringList>("kept");
        QTest::addColumn<int>("line");
        QTest::addColumn<QString>("words");
        const QByteArray head = "<DOCUMENT><STYLES>\n<STYLE name=\"Normal\"/>\n";
        QTest::newRow("markup error")
            << head + "<STYLE name=\"Link\"/>\n<STYLE name=\"Oops\" size=\"1\"\n</STYLES>"
            << QStringList({QStringLiteral("Normal"), QStringLiteral("Link")}) << 5 << QString();
        QTest::newRow("not a colour")
            << head + "<STYLE name=\"Warning\" color=\"#ff00zz\"/>\n</STYLES></DOCUMENT>"
            << QStringList({QStringLiteral("Normal")}) << 3 << "is not a colour";
        QTest::newRow("repeated name")
            << head + "<STYLE name=\"Link\"/>\n<STYLE name=\"Normal\" bold=\"1\"/>\n</STYLES>"
            << QStringList({QStringLiteral("Normal"), QStringLiteral("Link")}) << 4
            << "defined twice";
        QTest::newRow("unknown alignment")
            << head + "<STYLE name=\"Link\" align=\"middle\"/>\n</STYLES></DOCUMENT>"
            << QStringList({QStringLiteral("Normal")}) << 3 << "middle";
    }

    void brokenStyleFilesKeepTheStylesReadBefore()
    {
        QFETCH(QByteArray, markup);
        QFETCH(QStringList, kept);
        QFETCH(int, line);
        QFETCH(QString, words);
        Installation install(markup);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral(".")));
        QAReporterPrefStyles page = stylePage(install.styleFile());
        QStringList names;
        for (const DStylePtr& style : page.styles)
            names.append(style->name());
        QCOMPARE(names, kept);
        QVERIFY(!styleNamed(page.styles, QStringLiteral("Normal"))->bold()); // the first one
        QVERIFY(page.styleNames.isEmpty());
        const QString where = install.styleFile() + QStringLiteral(":%1: ").arg(line);
        QVERIFY2(page.styleFileError().startsWith(where), qPrintable(page.styleFileError()));
        QVERIFY2(page.styleFileError().contains(words), qPrintable(page.styleFileError()));
    }

    // --- stored style edits ---------------------------------------------------------------

    void storedStylesChangeOnlyTheStylesTheyName()
    {
        Installation install(twoStyles);
        QAReporterPrefStyles page = stylePage(install.styleFile());
        auto crc = crcGroup();
        auto* stored = crc->add<QAResGroup>(QStringLiteral("STYLES"));
        stored->add<QAResInt>(QStringLiteral("style"), 1); // not a group: skipped
        auto* normal = stored->add<QAResGroup>(QStringLiteral("style"));
        normal->add<QAResString>(QStringLiteral("name"), QStringLiteral("Normal"));
        normal->add<QAResInt>(QStringLiteral("size"), 14);
        auto* unknown = stored->add<QAResGroup>(QStringLiteral("style"));
        unknown->add<QAResString>(QStringLiteral("name"), QStringLiteral("Gone"));
        unknown->add<QAResInt>(QStringLiteral("size"), 99);
        auto* wrongName = stored->add<QAResGroup>(QStringLiteral("style"));
        wrongName->add<QAResInt>(QStringLiteral("name"), 0);
        crc->add<QAResInt>(QStringLiteral("STYLES"), 3); // a value of that name: skipped

        page.fromResources(crc.get());
        QCOMPARE(styleNamed(page.styles, QStringLiteral("Normal"))->size(), 14);
        QCOMPARE(styleNamed(page.styles, QStringLiteral("Title0"))->size(), 20);
        QCOMPARE(page.styles.size(), 2);

        QCOMPARE(QAReporterPrefStyles::findStyleResource(stored, QStringLiteral("Normal")), normal);
        QVERIFY(!QAReporterPrefStyles::findStyleResource(stored, QStringLiteral("normal")));
        QVERIFY(!QAReporterPrefStyles::findStyleResource(nullptr, QStringLiteral("Normal")));

        // Under any group but "CRC" nothing is read.
        QAResGroup other(QStringLiteral("OTHER"));
        other.append(crc->take(0));
        normal->toResGroup()->child(1)->toResInt()->setValue(30);
        page.fromResources(&other);
        QCOMPARE(styleNamed(page.styles, QStringLiteral("Normal"))->size(), 14);
    }

    void storedValuesOfTheWrongKindOrRangeAreSkipped()
    {
        DStyle style(QStringLiteral("Normal"));
        style.setSize(10);
        style.setColor(DColor(0, 0, 0));
        auto stored = std::make_unique<QAResGroup>(QStringLiteral("style"));
        stored->add<QAResString>(QStringLiteral("size"), QStringLiteral("12"));
        stored->add<QAResString>(QStringLiteral("color"), QStringLiteral("#ff0000"));
        stored->add<QAResInt>(QStringLiteral("indent"), -4);
        stored->add<QAResString>(QStringLiteral("align"), QStringLiteral("middle"));
        stored->add<QAResBoolean>(QStringLiteral("bold"), true); // usable: taken
        stored->add<QAResInt>(QStringLiteral("unknown"), 1);     // unknown: ignored
        QString problem;
        QVERIFY(!DStyleSerialize::styleFromResources(stored.get(), style, &problem));
        QVERIFY2(problem.contains(QStringLiteral("'size' is a string, not a int")),
                 qPrintable(problem));
        QCOMPARE(style.size(), 10);
        QCOMPARE(style.color(), DColor(0, 0, 0));
        QCOMPARE(style.indent(), 0);
        QCOMPARE(style.align(), DStyle::AlignLeft);
        QVERIFY(style.bold());

        QAResInt notAGroup(QStringLiteral("style"), 1);
        QVERIFY(!DStyleSerialize::styleFromResources(&notAGroup, style, &problem));
        QVERIFY(!DStyleSerialize::styleFromResources(nullptr, style, nullptr));
        QCOMPARE(style.name(), QStringLiteral("Normal"));
    }

    void everyStylePropertyRoundTrips()
    {
        for (int align = DStyle::AlignLeft; align <= DStyle::AlignJustify; ++align) {
            DStyle style(QStringLiteral("Title1 Failed"));
            style.setFamily(QStringLiteral("Serif"));
            style.setSize(align + 7);
            style.setBold(align % 2);
            style.setItalic(!(align % 2));
            style.setUnderline(align == 3);
            style.setColor(align % 2 ? DColor(1, 2, 3) : DColor());
            style.setBackground(align % 2 ? DColor() : DColor(4, 5, 6));
            style.setAlign(DStyle::Alignment(align));
            style.setIndent(align * 10);
            style.setPre(align % 2);

            std::unique_ptr<QAResGroup> res = DStyleSerialize::styleToResources("style", style);
            QCOMPARE(res->name(), QStringLiteral("style"));
            DStyle copy(QStringLiteral("Title1 Failed"));
            copy.setColor(DColor(0, 255, 0)); // to be reset where the original has none
            copy.setBackground(DColor(0, 255, 0));
            QVERIFY(DStyleSerialize::styleFromResources(res.get(), copy));
            QCOMPARE(copy.family(), style.family());
            QCOMPARE(copy.size(), style.size());
            QCOMPARE(copy.bold(), style.bold());
            QCOMPARE(copy.italic(), style.italic());
            QCOMPARE(copy.underline(), style.underline());
            QCOMPARE(copy.color(), style.color());
            QCOMPARE(copy.background(), style.background());
            QCOMPARE(copy.align(), style.align());
            QCOMPARE(copy.indent(), style.indent());
            QCOMPARE(copy.pre(), style.pre());
        }
    }

    void defaultsReloadTheFileAndLetGoOfEditedStyles()
    {
        Installation install(twoStyles);
        QAReporterPrefStyles page = stylePage(install.styleFile());
        DStylePtr heldByADocument = styleNamed(page.styles, QStringLiteral("Normal"));
        heldByADocument->setSize(30);
        page.defaults();
        DStylePtr reloaded = styleNamed(page.styles, QStringLiteral("Normal"));
        QVERIFY(reloaded.data() != heldByADocument.data());
        QCOMPARE(reloaded->size(), 10);
        QCOMPARE(heldByADocument->size(), 30);            // still alive for whoever holds it
        QVERIFY(heldByADocument->ref.loadRelaxed() == 1); // the page holds it no more
        QCOMPARE(page.styleNames.size(), 2);
    }

    // --- the style editor -----------------------------------------------------------------

    void styleViewEditsCopiesUntilWrittenBack()
    {
        Installation install(twoStyles);
        QAReporterPrefStyles page = stylePage(install.styleFile());
        page.translations[QStringLiteral("Title0")] = QStringLiteral("Document title");
        QWidget dialog;
        page.createWidget(&dialog);
        DStyleView* view = page.view;
        QVERIFY(view);
        auto* list = view->findChild<QListWidget*>(QStringLiteral("styleList"));
        QCOMPARE(list->count(), 2);
        QCOMPARE(list->item(1)->text(), QStringLiteral("Document title"));
        page.updateContents();

        DStylePtr title = styleNamed(page.styles, QStringLiteral("Title0"));
        DStylePtr heldByADocument = title;
        list->setCurrentRow(1);
        QCOMPARE(view->currentStyleName(), QStringLiteral("Title0"));
        auto* size = view->findChild<QSpinBox*>(QStringLiteral("sizeSpin"));
        auto* bold = view->findChild<QCheckBox*>(QStringLiteral("boldCheck"));
        auto* italic = view->findChild<QCheckBox*>(QStringLiteral("italicCheck"));
        auto* align = view->findChild<QComboBox*>(QStringLiteral("alignCombo"));
        auto* indent = view->findChild<QSpinBox*>(QStringLiteral("indentSpin"));
        auto* colorCheck = view->findChild<QCheckBox*>(QStringLiteral("colorCheck"));
        auto* colorButton = view->findChild<QAColorButton*>(QStringLiteral("colorButton"));
        auto* family = view->findChild<QComboBox*>(QStringLiteral("familyCombo"));
        QCOMPARE(size->value(), 20);
        QVERIFY(bold->isChecked());
        QCOMPARE(align->currentData().toInt(), int(DStyle::AlignCenter));
        QVERIFY(!colorCheck->isChecked() && !colorButton->isEnabled());
        QCOMPARE(family->currentData().toString(), QString());

        QSignalSpy edited(view, &DStyleView::styleEdited);
        size->setValue(24);
        italic->setChecked(true);
        align->setCurrentIndex(align->findData(int(DStyle::AlignRight)));
        indent->setValue(40);
        colorCheck->setChecked(true);
        QAColorButton::setChooser([](const QColor&, QWidget*) { return QColor(10, 20, 30); });
        QTest::mouseClick(colorButton, Qt::LeftButton);
        family->setCurrentIndex(family->count() - 1);
        QCOMPARE(edited.count(), 7);
        QCOMPARE(edited.first().first().toString(), QStringLiteral("Title0"));

        // The sample shows the edited style.
        auto* sample = view->findChild<QTextEdit*>(QStringLiteral("sample"));
        const QTextBlock block = sample->document()->firstBlock();
        QVERIFY(block.blockFormat().alignment() & Qt::AlignRight);
        QCOMPARE(block.blockFormat().leftMargin(), 40.0);
        QCOMPARE(block.charFormat().foreground().color(), QColor(10, 20, 30));
        QVERIFY(block.charFormat().font().italic());
        QVERIFY(!block.text().isEmpty());

        // Nothing reaches the styles before apply()...
        QCOMPARE(title->size(), 20);
        QVERIFY(!title->italic());
        // ...which edits the shared objects in place, so open documents see the change.
        page.apply();
        QCOMPARE(heldByADocument->size(), 24);
        QVERIFY(heldByADocument->italic() && heldByADocument->bold());
        QCOMPARE(heldByADocument->align(), DStyle::AlignRight);
        QCOMPARE(heldByADocument->indent(), 40);
        QCOMPARE(heldByADocument->color(), DColor(10, 20, 30));
        QCOMPARE(heldByADocument->family(), family->itemData(family->count() - 1).toString());
        QCOMPARE(styleNamed(page.styles, QStringLiteral("Normal"))->size(), 10);

        // Switching a colour off gives the view's colour back.
        colorCheck->setChecked(false);
        page.apply();
        QVERIFY(!heldByADocument->color().isValid());
    }

    void styleViewPassesValuesItCannotShowThroughUnchanged()
    {
        DStylePtr wide(new DStyle(QStringLiteral("Normal")));
        wide->setSize(5000);                               // beyond the size spin box
        wide->setFamily(QStringLiteral("No Such Family")); // not installed here
        DStyleList styles{wide};
        DStyleView view(QStringList{QStringLiteral("Normal"), QStringLiteral("Missing")});
        view.setStyles(styles);
        view.findChild<QCheckBox*>(QStringLiteral("underlineCheck"))->setChecked(true);
        view.writeStyles(styles);
        QCOMPARE(wide->size(), 5000);
        QCOMPARE(wide->family(), QStringLiteral("No Such Family"));
        QVERIFY(wide->underline());

        // A name without a style cannot be edited.
        view.setCurrentStyle(QStringLiteral("Missing"));
        QCOMPARE(view.currentStyleName(), QStringLiteral("Missing"));
        QVERIFY(!view.editedStyle(QStringLiteral("Missing")));
        QVERIFY(!view.findChild<QSpinBox*>(QStringLiteral("sizeSpin"))->isEnabled());
    }

    // --- how the pages look ---------------------------------------------------------------

    void pagesRenderForScreenshots()
    {
        TestStudio studio;
        studio.directory = QStringLiteral(BUILD_DIR);
        QMainWindow window;
        studio.window = &window;
        QAReporterPref pref(&studio);
        const QString shots = qEnvironmentVariable("CRC_SCREENSHOT_DIR");

        struct Shot
        {
            PreferenceItem* page;
            const char* file;
            QSize size;
        };
        const Shot pages[] = {{pref.general.get(), "prefs-general.png", QSize(460, 230)},
                              {pref.styles.get(), "prefs-styles.png", QSize(760, 520)}};
        for (const Shot& shot : pages) {
            QWidget dialog;
            auto* layout = new QVBoxLayout(&dialog);
            layout->setContentsMargins(0, 0, 0, 0);
            layout->addWidget(shot.page->createWidget(&dialog));
            shot.page->updateContents();
            dialog.resize(shot.size);
            dialog.show();
            QVERIFY(QTest::qWaitForWindowExposed(&dialog));
            if (DStyleView* view = pref.styles->view)
                view->setCurrentStyle(QStringLiteral("Title1 Failed"));
            const QImage image = dialog.grab().toImage();
            QCOMPARE(image.size(), shot.size * dialog.devicePixelRatio());
            if (!shots.isEmpty())
                QVERIFY(image.save(QDir(shots).filePath(QLatin1String(shot.file))));
        }
    }
};

QTEST_MAIN(TestPrefs)
#include "tst_prefs.moc"

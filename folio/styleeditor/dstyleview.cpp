#include "folio/styleeditor/dstyleview.h"

#include "folio/styles/dstyleserialize.h"
#include "folio/view/dqcolor.h"
#include "sdk/qacolorbutton.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFontDatabase>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QListWidget>
#include <QSpinBox>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextEdit>
#include <QVBoxLayout>

namespace {

constexpr int nameRole = Qt::UserRole;

void copyProperties(const DStyle& from, DStyle& to)
{
    to.setFamily(from.family());
    to.setSize(from.size());
    to.setBold(from.bold());
    to.setItalic(from.italic());
    to.setUnderline(from.underline());
    to.setColor(from.color());
    to.setBackground(from.background());
    to.setAlign(from.align());
    to.setIndent(from.indent());
    to.setPre(from.pre());
}

// A check box that switches a colour on, beside the button that chooses it.
QWidget* colorRow(QCheckBox* check, QAColorButton* button)
{
    auto* row = new QWidget;
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(check);
    layout->addWidget(button);
    layout->addStretch(1);
    return row;
}

} // namespace

DStyleView::DStyleView(const QStringList& styleNames, QWidget* parent)
    : QWidget(parent), m_names(styleNames)
{
    m_list = new QListWidget;
    m_list->setObjectName(QStringLiteral("styleList"));
    for (const QString& name : m_names) {
        auto* item = new QListWidgetItem(name, m_list);
        item->setData(nameRole, name);
    }

    m_family = new QComboBox;
    m_family->setObjectName(QStringLiteral("familyCombo"));
    m_family->addItem(tr("Default"), QString());
    for (const QString& family : QFontDatabase::families())
        m_family->addItem(family, family);
    m_size = new QSpinBox;
    m_size->setObjectName(QStringLiteral("sizeSpin"));
    m_size->setRange(0, DStyleSerialize::maxSize);
    m_size->setSpecialValueText(tr("Default"));
    m_size->setSuffix(tr(" pt"));
    m_bold = new QCheckBox(tr("&Bold"));
    m_bold->setObjectName(QStringLiteral("boldCheck"));
    m_italic = new QCheckBox(tr("&Italic"));
    m_italic->setObjectName(QStringLiteral("italicCheck"));
    m_underline = new QCheckBox(tr("&Underline"));
    m_underline->setObjectName(QStringLiteral("underlineCheck"));
    auto* faces = new QHBoxLayout;
    faces->addWidget(m_bold);
    faces->addWidget(m_italic);
    faces->addWidget(m_underline);
    faces->addStretch(1);

    m_colorSet = new QCheckBox(tr("Own colour"));
    m_colorSet->setObjectName(QStringLiteral("colorCheck"));
    m_color = new QAColorButton;
    m_color->setObjectName(QStringLiteral("colorButton"));
    m_backgroundSet = new QCheckBox(tr("Own colour"));
    m_backgroundSet->setObjectName(QStringLiteral("backgroundCheck"));
    m_background = new QAColorButton;
    m_background->setObjectName(QStringLiteral("backgroundButton"));

    m_align = new QComboBox;
    m_align->setObjectName(QStringLiteral("alignCombo"));
    m_align->addItem(tr("Left"), int(DStyle::AlignLeft));
    m_align->addItem(tr("Centre"), int(DStyle::AlignCenter));
    m_align->addItem(tr("Right"), int(DStyle::AlignRight));
    m_align->addItem(tr("Justify"), int(DStyle::AlignJustify));
    m_indent = new QSpinBox;
    m_indent->setObjectName(QStringLiteral("indentSpin"));
    m_indent->setRange(0, DStyleSerialize::maxIndent);
    m_indent->setSuffix(tr(" px"));

    m_size->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    m_indent->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    m_align->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    auto* form = new QFormLayout;
    form->addRow(tr("&Font:"), m_family);
    form->addRow(tr("&Size:"), m_size);
    form->addRow(QString(), faces);
    form->addRow(tr("&Text:"), colorRow(m_colorSet, m_color));
    form->addRow(tr("Bac&kground:"), colorRow(m_backgroundSet, m_background));
    form->addRow(tr("&Alignment:"), m_align);
    form->addRow(tr("I&ndent:"), m_indent);
    m_editor = new QGroupBox(tr("Appearance"));
    m_editor->setLayout(form);

    m_sample = new QTextEdit;
    m_sample->setObjectName(QStringLiteral("sample"));
    m_sample->setReadOnly(true);
    m_sample->setTextInteractionFlags(Qt::NoTextInteraction);
    m_sample->setFocusPolicy(Qt::NoFocus);
    m_sample->setMinimumHeight(6 * fontMetrics().height());
    auto* sampleBox = new QGroupBox(tr("Sample"));
    auto* sampleLayout = new QVBoxLayout(sampleBox);
    sampleLayout->addWidget(m_sample);

    auto* listBox = new QGroupBox(tr("Styles"));
    auto* listLayout = new QVBoxLayout(listBox);
    listLayout->addWidget(m_list);
    m_list->setMinimumWidth(m_list->fontMetrics().horizontalAdvance(QLatin1Char('M')) * 12);

    auto* right = new QVBoxLayout;
    right->addWidget(m_editor);
    right->addWidget(sampleBox, 1);
    auto* top = new QHBoxLayout(this);
    top->setContentsMargins(0, 0, 0, 0);
    top->addWidget(listBox, 1);
    top->addLayout(right, 3);

    connect(m_list, &QListWidget::currentRowChanged, this, &DStyleView::showCurrent);
    connect(m_family, &QComboBox::currentIndexChanged, this, &DStyleView::edited);
    connect(m_size, &QSpinBox::valueChanged, this, &DStyleView::edited);
    connect(m_indent, &QSpinBox::valueChanged, this, &DStyleView::edited);
    connect(m_align, &QComboBox::currentIndexChanged, this, &DStyleView::edited);
    for (QCheckBox* check : {m_bold, m_italic, m_underline, m_colorSet, m_backgroundSet})
        connect(check, &QCheckBox::toggled, this, &DStyleView::edited);
    connect(m_color, &QAColorButton::colorChanged, this, &DStyleView::edited);
    connect(m_background, &QAColorButton::colorChanged, this, &DStyleView::edited);

    if (!m_names.isEmpty())
        m_list->setCurrentRow(0);
    showCurrent();
}

DStyleView::~DStyleView() = default;

void DStyleView::setStyleNameTranslation(const QMap<QString, QString>& translations)
{
    m_translations = translations;
    for (int row = 0; row < m_list->count(); ++row) {
        QListWidgetItem* item = m_list->item(row);
        const QString name = item->data(nameRole).toString();
        const QString shown = translations.value(name, name);
        item->setText(shown);
        item->setToolTip(shown == name ? QString() : name);
    }
}

void DStyleView::setStyles(const DStyleList& styles)
{
    m_copies.clear();
    for (const DStylePtr& style : styles) {
        if (style && m_names.contains(style->name()) && !m_copies.contains(style->name()))
            m_copies.insert(style->name(), DStylePtr(new DStyle(*style)));
    }
    for (int row = 0; row < m_list->count(); ++row)
        showInList(m_list->item(row));
    showCurrent();
}

void DStyleView::writeStyles(const DStyleList& styles) const
{
    QSet<QString> written;
    for (const DStylePtr& style : styles) {
        if (!style || written.contains(style->name()))
            continue;
        if (const DStyle* copy = editedStyle(style->name())) {
            copyProperties(*copy, *style);
            written.insert(style->name());
        }
    }
}

QString DStyleView::currentStyleName() const
{
    const QListWidgetItem* item = m_list->currentItem();
    return item ? item->data(nameRole).toString() : QString();
}

void DStyleView::setCurrentStyle(const QString& name)
{
    const int row = int(m_names.indexOf(name));
    if (row >= 0)
        m_list->setCurrentRow(row);
}

const DStyle* DStyleView::editedStyle(const QString& name) const
{
    const DStylePtr copy = m_copies.value(name);
    return copy.data();
}

DStyle* DStyleView::current() const
{
    return m_copies.value(currentStyleName()).data();
}

void DStyleView::selectFamily(const QString& family)
{
    int index = m_family->findData(family);
    if (index < 0) {
        // A family the font database does not list (an alias, or a font not installed here):
        // keep it on offer so that it survives the editing unchanged.
        m_family->insertItem(1, family, family);
        index = 1;
    }
    m_family->setCurrentIndex(index);
}

// Shows the current style in the editor widgets.
void DStyleView::showCurrent()
{
    const DStyle* style = current();
    m_editor->setEnabled(style != nullptr);
    m_loading = true;
    if (style) {
        const QPalette& colors = palette();
        selectFamily(style->family());
        m_size->setValue(style->size());
        m_bold->setChecked(style->bold());
        m_italic->setChecked(style->italic());
        m_underline->setChecked(style->underline());
        m_colorSet->setChecked(style->color().isValid());
        m_color->setColor(style->color().isValid() ? toQColor(style->color())
                                                   : colors.color(QPalette::Text),
                          false);
        m_backgroundSet->setChecked(style->background().isValid());
        m_background->setColor(style->background().isValid() ? toQColor(style->background())
                                                             : colors.color(QPalette::Base),
                               false);
        m_align->setCurrentIndex(m_align->findData(int(style->align())));
        m_indent->setValue(style->indent());
    }
    m_color->setEnabled(m_colorSet->isChecked());
    m_background->setEnabled(m_backgroundSet->isChecked());
    m_loading = false;
    showSample();
}

// Takes the editor widgets' values into the current copy. Only properties the user changed are
// taken, so that a value outside what a widget can show passes through unchanged.
void DStyleView::edited()
{
    m_color->setEnabled(m_colorSet->isChecked());
    m_background->setEnabled(m_backgroundSet->isChecked());
    DStyle* style = current();
    if (m_loading || !style)
        return;
    QObject* changed = sender();
    if (changed == m_family)
        style->setFamily(m_family->currentData().toString());
    else if (changed == m_size)
        style->setSize(m_size->value());
    else if (changed == m_bold)
        style->setBold(m_bold->isChecked());
    else if (changed == m_italic)
        style->setItalic(m_italic->isChecked());
    else if (changed == m_underline)
        style->setUnderline(m_underline->isChecked());
    else if (changed == m_colorSet || changed == m_color)
        style->setColor(m_colorSet->isChecked() ? toDColor(m_color->color()) : DColor());
    else if (changed == m_backgroundSet || changed == m_background)
        style->setBackground(m_backgroundSet->isChecked() ? toDColor(m_background->color())
                                                          : DColor());
    else if (changed == m_align)
        style->setAlign(DStyle::Alignment(m_align->currentData().toInt()));
    else if (changed == m_indent)
        style->setIndent(m_indent->value());
    showSample();
    showInList(m_list->currentItem());
    Q_EMIT styleEdited(style->name());
}

// Shows a list entry in the face and colours of its style (sizes stay the list's own); names
// without a style are greyed.
void DStyleView::showInList(QListWidgetItem* item)
{
    if (!item)
        return;
    const DStyle* style = editedStyle(item->data(nameRole).toString());
    QFont font = m_list->font();
    font.setBold(style && style->bold());
    font.setItalic(style && style->italic());
    font.setUnderline(style && style->underline());
    item->setFont(font);
    const QPalette& colors = m_list->palette();
    item->setForeground(!style ? colors.color(QPalette::Disabled, QPalette::Text)
                        : style->color().isValid() ? toQColor(style->color())
                                                   : colors.color(QPalette::Text));
    item->setBackground(
        style && style->background().isValid() ? QBrush(toQColor(style->background())) : QBrush());
}

// Renders a paragraph of text in the current style, as a document view would.
void DStyleView::showSample()
{
    m_sample->clear();
    const DStyle* style = current();
    if (!style)
        return;
    QTextBlockFormat block;
    block.setAlignment(DStyle::qtAlignment(style->align()));
    block.setLeftMargin(style->indent());
    if (style->background().isValid())
        block.setBackground(toQColor(style->background()));
    QFont font = m_sample->font();
    if (!style->family().isEmpty())
        font.setFamily(style->family());
    if (style->size() > 0)
        font.setPointSize(style->size());
    font.setBold(style->bold());
    font.setItalic(style->italic());
    font.setUnderline(style->underline());
    QTextCharFormat chars;
    chars.setFont(font);
    if (style->color().isValid())
        chars.setForeground(toQColor(style->color()));

    QTextCursor cursor(m_sample->document());
    cursor.setBlockFormat(block);
    cursor.setBlockCharFormat(chars);
    cursor.setCharFormat(chars);
    cursor.insertText(tr("The quick brown fox jumps over the lazy dog. Report text in this style "
                         "wraps like this, so that its alignment and indent show."));
}

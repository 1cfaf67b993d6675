#pragma once

#include "folio/styles/dstyle.h"

#include <QHash>
#include <QMap>
#include <QStringList>
#include <QWidget>

class QAColorButton;
class QCheckBox;
class QComboBox;
class QListWidget;
class QListWidgetItem;
class QSpinBox;
class QTextEdit;

// The style editor: a list of style names, shown through their display translations, and for the
// chosen style its font, colours and paragraph settings with a live sample. The editor works on
// copies: setStyles() loads them, writeStyles() puts the edits into the real styles.
class DStyleView : public QWidget
{
    Q_OBJECT

public:
    // Shows the styles named in `styleNames`, in that order.
    explicit DStyleView(const QStringList& styleNames, QWidget* parent = nullptr);
    ~DStyleView() override;

    // Display names by style name; names without one are shown as they are.
    void setStyleNameTranslation(const QMap<QString, QString>& translations);

    // Loads copies of the styles of `styles` whose names the view shows. Names without a style
    // in the list are shown but cannot be edited.
    void setStyles(const DStyleList& styles);
    // Writes the edited copies into the styles of `styles` of the same name (the first of a
    // name); styles the view does not show are left alone.
    void writeStyles(const DStyleList& styles) const;

    const QStringList& styleNames() const { return m_names; }
    // The name of the style being edited, or empty.
    QString currentStyleName() const;
    void setCurrentStyle(const QString& name);
    // The edited copy of the style `name`, or null when the view holds none of that name.
    const DStyle* editedStyle(const QString& name) const;

Q_SIGNALS:
    // The user changed a property of the style `name`.
    void styleEdited(const QString& name);

private:
    DStyle* current() const;
    void showCurrent();
    void showSample();
    void showInList(QListWidgetItem* item);
    void edited();
    void selectFamily(const QString& family);

    QStringList m_names;
    QMap<QString, QString> m_translations;
    QHash<QString, DStylePtr> m_copies;
    bool m_loading = false;

    // Children of this widget, deleted with it.
    QListWidget* m_list;
    QComboBox* m_family;
    QSpinBox* m_size;
    QCheckBox* m_bold;
    QCheckBox* m_italic;
    QCheckBox* m_underline;
    QCheckBox* m_colorSet;
    QAColorButton* m_color;
    QCheckBox* m_backgroundSet;
    QAColorButton* m_background;
    QComboBox* m_align;
    QSpinBox* m_indent;
    QTextEdit* m_sample;
    QWidget* m_editor;
};

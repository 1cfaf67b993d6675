#pragma once

#include "folio/styles/dstyle.h"
#include "sdk/preferenceitem.h"

#include <QMap>
#include <QPointer>
#include <QStringList>
#include <memory>

class DStyleView;
class QARes;
class QAResGroup;

// The style page of the viewer's preferences. The styles come from the style file shipped with
// the studio, overlaid by the user's edits kept in the settings; every document read afterwards
// uses them. Documents share the style objects, so edits reach the documents already open.
class QAReporterPrefStyles : public PreferenceItem
{
    Q_OBJECT

public:
    QAReporterPrefStyles(const QString& title, const QString& tag, const QString& helpTag,
                         const QString& styleFile);
    ~QAReporterPrefStyles() override;

    QWidget* createWidget(QWidget* parent) override;
    void updateContents() override;
    void apply() override;
    void cancel() override;
    // Reloads the styles from the style file, dropping every edit.
    void defaults() override;

    // A group "STYLES" with one group "style" per style, in the order of `styles`.
    std::unique_ptr<QAResGroup> toResources() const;
    // Applies the stored edits found in `res`, a group "CRC", to the styles of the same name.
    void fromResources(QARes* res);
    // The first child group of `group` whose string child "name" is `name`, or null.
    static QAResGroup* findStyleResource(QAResGroup* group, const QString& name);

    // Why the last loading of the style file failed, as "FILE:LINE: message"; empty when it
    // did not.
    const QString& styleFileError() const { return m_styleFileError; }

    // The editor, while the dialog that owns it shows the page.
    QPointer<DStyleView> view;
    // The current styles, in the order the style file defines them.
    DStyleList styles;
    // Display names by style name.
    QMap<QString, QString> translations;
    // The names of the styles the style file defines, in file order; empty when it is unreadable.
    QStringList styleNames;
    QString styleFile;

private:
    void fillTranslations();

    QString m_styleFileError;
};

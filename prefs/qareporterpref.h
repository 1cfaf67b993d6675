#pragma once

#include "sdk/qares.h"

#include <QMap>
#include <QObject>
#include <QString>
#include <memory>

class QAReporterPrefGeneral;
class QAReporterPrefStyles;
class StudioInterface;

// The viewer's preferences, one object for the whole process: the general page and its child, the
// style page, and their settings in the group "CRC" of the studio's settings tree.
class QAReporterPref : public QObject, public QAResProducer
{
    Q_OBJECT

public:
    // `studio` is borrowed and may be null; the style file is then looked for in "./lib".
    explicit QAReporterPref(StudioInterface* studio);
    ~QAReporterPref() override;

    // The root of the page tree, for the studio's preferences dialog.
    QAReporterPrefGeneral* preferenceSettings() const { return general.get(); }

    // A new group named `name` ("CRC" when null) with background, auto_raise, auto_depth and the
    // style page's "STYLES", in that order.
    std::unique_ptr<QARes> toResources(const char* name) override;
    // Reads the settings from `res` when it is a group named "CRC"; `name` is not consulted.
    // Children of another name or kind are skipped; of two children of one name the later wins.
    void fromResources(QARes* res, const char* name);

    StudioInterface* studio;
    std::unique_ptr<QAReporterPrefGeneral> general;
    std::unique_ptr<QAReporterPrefStyles> styles;
    // The baseline run each set of result files is compared with, by the first file of the set;
    // kept in "baselines", one group "baseline" with "file" and "base" for each.
    QMap<QString, QString> baselines;
    // Whether the results reviewed as false positive or intentional are hidden; kept in
    // "hide_dismissed" after "STYLES" while it is on.
    bool hideDismissed = false;

public Q_SLOTS:
    virtual void prefDialogAccepted();
    virtual void prefDialogRejected();

Q_SIGNALS:
    void preferencesChanged();

private:
    void readBaselines(const QAResGroup* list);
};

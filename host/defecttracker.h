#pragma once

#include "defects/defectstore.h"
#include "sdk/trackwellinterface.h"
#include "sdk/triagerecords.h"

#include <QByteArray>
#include <QObject>
#include <functional>
#include <optional>

class StudioInterface;
class SubmitCommand;

// What the user chose for filing defects.
struct DefectTrackerSettings
{
    // A team tracker's client with its placeholders (see SubmitCommand); empty keeps defects in
    // the local store only.
    QString submitCommand;
    int timeLimitSeconds = 60;
    // Show each step's command line in the output window.
    bool echoCommandLines = false;
    // Show each defect for review before it is filed.
    bool reviewBeforeFiling = true;
};

// The studio's defect tracker: open() starts a draft, the next steps fill it, submit()
// shows it for review when asked to, then files it into the defect store in one short
// transaction, handing it to the team's tracker first when a submit command is set (its failure
// files nothing). The store is not held while
// the team's client runs, and the studio shows its progress with a Cancel. Every step leaves the
// command line a user could run for the same effect, and every failure its reason.
class DefectTracker : public QObject, public TrackwellInterface
{
    Q_OBJECT

public:
    explicit DefectTracker(const QString& storePath, QObject* parent = nullptr);
    ~DefectTracker() override;

    const QString& storePath() const { return m_storePath; }
    void setStorePath(const QString& path);
    const DefectTrackerSettings& settings() const { return m_settings; }
    void setSettings(const DefectTrackerSettings& settings) { m_settings = settings; }
    // Answers the outline texts, from the result file down, of the item being filed.
    void setItemLocator(std::function<QStringList()> locator) { m_locateItem = std::move(locator); }
    // The studio whose progress display shows the team's client running, with its Cancel.
    void setStudio(StudioInterface* studio) { m_studio = studio; }
    // Shows a defect about to be filed for review, when the settings ask for it; false when
    // the user gives it up. It may change the headline and the description.
    void setReviewer(std::function<bool(Defect&)> reviewer) { m_review = std::move(reviewer); }
    // Asked when the item about to be filed already has an open defect (the first filed);
    // false files nothing.
    void setDuplicateCheck(std::function<bool(const Defect&)> check)
    {
        m_duplicate = std::move(check);
    }

    // Keeps the user's review of the result `identity` found by `rule` in the defect store, made
    // now by the user the environment names. False, with the reason naming the store, when it
    // cannot be written.
    bool recordReview(const QString& identity, const QString& rule, const QString& status,
                      const QString& comment, QString* error);

    // Every review that is not "unreviewed", and every open defect, read at once; none when the
    // store cannot be read.
    QList<ReviewRecord> reviewRecords() const;
    QList<DefectRecord> openDefects() const;

    quint16 open() override;
    quint16 setHeadline(const char* headline) override;
    quint16 setDescription(const char* description) override;
    quint16 attachFile(const char* label, const char* path) override;
    quint16 setDetail(const char* name, const char* value) override;
    quint16 submit(int mode) override;
    const char* getCmdLine() override;
    int activatedCmdLine() const override;
    const char* getErrorMessage() const override;

Q_SIGNALS:
    void filed(qint64 id);
    void reviewed();
    void storePathChanged();
    // Defects were closed or reopened.
    void defectsChanged();

private:
    // "Reviewed: STATUS by WHO at WHEN" and the comment below.
    static QString noteOf(const Review& review);
    quint16 succeeded();
    quint16 failed(const QString& reason);
    bool hashAttachments(QString* error);
    // Runs the team's client on the draft filed as `id`; its answer goes to `reference`.
    bool handToTeamTracker(const SubmitCommand& command, qint64 id, QString* reference,
                           QString* reason);
    // The command line for the draft as it stands: the team's command with the values known so
    // far, or the sqlite3 command that stores the same rows.
    QString commandLine(const QString& descriptionFile = QString(), qint64 id = 0) const;
    QString storeCommandLine() const;

    QString m_storePath;
    DefectTrackerSettings m_settings;
    std::function<QStringList()> m_locateItem;
    std::function<bool(Defect&)> m_review;
    std::function<bool(const Defect&)> m_duplicate;
    StudioInterface* m_studio = nullptr;
    std::optional<Defect> m_draft;
    QByteArray m_commandLine;
    QByteArray m_error;
};

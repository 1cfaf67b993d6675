#pragma once

#include "host/defecttracker.h"

#include <QDialog>

class QCheckBox;
class QLineEdit;
class QSpinBox;

// The studio's settings for filing defects: the team tracker's submit command, its time limit,
// whether each step's command line is shown in the output window, and whether each defect is
// shown for review before it is filed.
class DefectSettingsDialog : public QDialog
{
    Q_OBJECT

public:
    DefectSettingsDialog(const DefectTrackerSettings& settings, const QString& storePath,
                         QWidget* parent);

    DefectTrackerSettings settings() const;
    // Refuses a submit command that cannot be run as it stands, saying why.
    void accept() override;

private:
    QLineEdit* m_command;
    QSpinBox* m_timeLimit;
    QCheckBox* m_echo;
    QCheckBox* m_review;
};

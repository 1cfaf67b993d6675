#pragma once

#include <QDialog>

class QCheckBox;
class QLineEdit;
class QPlainTextEdit;
struct Defect;

// The defect about to be filed, for the user to read and amend: its headline and description
// can be changed, what the finding says and the files attached are shown as they are. "File"
// files it, Cancel gives it up; unchecking "Review each defect" stops these reviews.
class DefectReviewDialog : public QDialog
{
    Q_OBJECT

public:
    DefectReviewDialog(const Defect& defect, QWidget* parent);

    QString headline() const;
    QString description() const;
    bool keepReviewing() const;

private:
    QLineEdit* m_headline;
    QPlainTextEdit* m_description;
    QCheckBox* m_keepReviewing;
};

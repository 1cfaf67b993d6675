#pragma once

#include <QDialog>
#include <QRegularExpression>

class QCheckBox;
class QLineEdit;

// The studio's find dialog for viewers: a text, whole regular expression or plain text, case
// sensitivity; every press of Find emits search() with the expression.
class QAViewerFindDialog : public QDialog
{
    Q_OBJECT

public:
    explicit QAViewerFindDialog(QWidget* parent = nullptr);

    void setRegExp(const QRegularExpression& expression);
    QRegularExpression regExp() const;

Q_SIGNALS:
    void search(const QRegularExpression& expression);

private:
    QLineEdit* m_text;
    QCheckBox* m_caseSensitive;
    QCheckBox* m_regularExpression;
};

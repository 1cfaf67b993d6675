#pragma once

#include <QDialog>
#include <QRegularExpression>

class QCheckBox;
class QLabel;
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

    // What the user typed and chose, given back as it was: plain text stays plain text.
    void setSearch(const QString& text, bool caseSensitive, bool regularExpression);
    QString text() const;
    bool isCaseSensitive() const;
    bool isRegularExpression() const;
    // A line under the options saying how the last search went ("not found", "wrapped").
    void setStatus(const QString& status);
    QString status() const;

Q_SIGNALS:
    void search(const QRegularExpression& expression);

private:
    QLineEdit* m_text;
    QCheckBox* m_caseSensitive;
    QCheckBox* m_regularExpression;
    QLabel* m_status;
};

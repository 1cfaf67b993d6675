#pragma once

#include <QDialog>

class QPlainTextEdit;

// Asks for the comment of a review about to be kept: what was decided about which result.
class ReviewDialog : public QDialog
{
    Q_OBJECT

public:
    // `decision` is the status as the menu names it, `item` the result's text in the outline.
    ReviewDialog(const QString& decision, const QString& item, QWidget* parent = nullptr);

    QString comment() const;

private:
    QPlainTextEdit* m_comment;
};

#include "viewer/reviewdialog.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QVBoxLayout>

ReviewDialog::ReviewDialog(const QString& decision, const QString& item, QWidget* parent)
    : QDialog(parent), m_comment(new QPlainTextEdit(this))
{
    setObjectName(QStringLiteral("reviewDialog"));
    setWindowTitle(tr("Review: %1").arg(decision));
    auto* layout = new QVBoxLayout(this);
    auto* what = new QLabel(tr("%1: %2").arg(decision, item), this);
    what->setTextFormat(Qt::PlainText); // the item's text comes from the result file
    what->setWordWrap(true);
    layout->addWidget(what);
    auto* prompt = new QLabel(tr("&Comment:"), this);
    prompt->setBuddy(m_comment);
    layout->addWidget(prompt);
    m_comment->setObjectName(QStringLiteral("reviewComment"));
    m_comment->setTabChangesFocus(true);
    layout->addWidget(m_comment);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    m_comment->setFocus();
}

QString ReviewDialog::comment() const
{
    return m_comment->toPlainText().trimmed();
}

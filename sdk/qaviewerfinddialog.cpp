#include "sdk/qaviewerfinddialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

QAViewerFindDialog::QAViewerFindDialog(QWidget* parent)
    : QDialog(parent), m_text(new QLineEdit(this)),
      m_caseSensitive(new QCheckBox(tr("&Case sensitive"), this)),
      m_regularExpression(new QCheckBox(tr("&Regular expression"), this))
{
    setWindowTitle(tr("Find"));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    QPushButton* find = buttons->addButton(tr("&Find"), QDialogButtonBox::ActionRole);
    find->setDefault(true);
    connect(find, &QPushButton::clicked, this, [this] { Q_EMIT search(regExp()); });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_text);
    layout->addWidget(m_caseSensitive);
    layout->addWidget(m_regularExpression);
    layout->addWidget(buttons);
}

void QAViewerFindDialog::setRegExp(const QRegularExpression& expression)
{
    m_text->setText(expression.pattern());
    m_caseSensitive->setChecked(
        !(expression.patternOptions() & QRegularExpression::CaseInsensitiveOption));
}

QRegularExpression QAViewerFindDialog::regExp() const
{
    const QString text = m_text->text();
    return QRegularExpression(
        m_regularExpression->isChecked() ? text : QRegularExpression::escape(text),
        m_caseSensitive->isChecked() ? QRegularExpression::NoPatternOption
                                     : QRegularExpression::CaseInsensitiveOption);
}

#include "sdk/qaviewerfinddialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

QAViewerFindDialog::QAViewerFindDialog(QWidget* parent)
    : QDialog(parent), m_text(new QLineEdit(this)),
      m_caseSensitive(new QCheckBox(tr("&Case sensitive"), this)),
      m_regularExpression(new QCheckBox(tr("&Regular expression"), this)),
      m_status(new QLabel(this))
{
    setWindowTitle(tr("Find"));
    m_status->setTextFormat(Qt::PlainText); // it quotes what was searched for
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    QPushButton* find = buttons->addButton(tr("&Find"), QDialogButtonBox::ActionRole);
    find->setDefault(true);
    connect(find, &QPushButton::clicked, this, [this] { Q_EMIT search(regExp()); });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_text);
    layout->addWidget(m_caseSensitive);
    layout->addWidget(m_regularExpression);
    layout->addWidget(m_status);
    layout->addWidget(buttons);
    connect(m_text, &QLineEdit::textChanged, m_status, &QLabel::clear);
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

void QAViewerFindDialog::setSearch(const QString& text, bool caseSensitive, bool regularExpression)
{
    m_text->setText(text);
    m_text->selectAll();
    m_caseSensitive->setChecked(caseSensitive);
    m_regularExpression->setChecked(regularExpression);
}

QString QAViewerFindDialog::text() const
{
    return m_text->text();
}

bool QAViewerFindDialog::isCaseSensitive() const
{
    return m_caseSensitive->isChecked();
}

bool QAViewerFindDialog::isRegularExpression() const
{
    return m_regularExpression->isChecked();
}

void QAViewerFindDialog::setStatus(const QString& status)
{
    m_status->setText(status);
}

QString QAViewerFindDialog::status() const
{
    return m_status->text();
}

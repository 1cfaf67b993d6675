#include "host/defectreviewdialog.h"

#include "defects/defectstore.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

// What the finding says, one line per detail given, the snippet below: plain text throughout.
QString detailsOf(const Defect& defect)
{
    QStringList lines;
    const auto add = [&lines](const QString& label, const QString& value) {
        if (!value.isEmpty())
            lines.append(label + value);
    };
    QString source = QDir::toNativeSeparators(defect.sourcePath);
    if (!source.isEmpty() && defect.sourceLine > 0)
        source += DefectReviewDialog::tr(" line %1").arg(defect.sourceLine);
    add(DefectReviewDialog::tr("Source: "), source);
    add(DefectReviewDialog::tr("Rule: "), defect.rule);
    add(DefectReviewDialog::tr("Level: "), defect.level);
    add(DefectReviewDialog::tr("Message: "), defect.message);
    if (!defect.snippet.isEmpty())
        lines.append(DefectReviewDialog::tr("Code:\n") + defect.snippet);
    for (const DefectAttachment& attachment : defect.attachments)
        lines.append(DefectReviewDialog::tr("Attached: %1 (%2)")
                         .arg(QDir::toNativeSeparators(attachment.path), attachment.label));
    return lines.join(QLatin1Char('\n'));
}

QPlainTextEdit* textBox(const QString& text, bool readOnly, QWidget* parent)
{
    auto* box = new QPlainTextEdit(parent);
    box->setPlainText(text);
    box->setReadOnly(readOnly);
    return box;
}

} // namespace

DefectReviewDialog::DefectReviewDialog(const Defect& defect, QWidget* parent) : QDialog(parent)
{
    setWindowTitle(tr("Review Defect"));
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    m_headline = new QLineEdit(defect.headline, this);
    m_headline->setMinimumWidth(480);
    auto* headlineLabel = new QLabel(tr("&Headline:"), this);
    headlineLabel->setBuddy(m_headline);
    form->addRow(headlineLabel, m_headline);
    m_description = textBox(defect.description, false, this);
    auto* descriptionLabel = new QLabel(tr("&Description:"), this);
    descriptionLabel->setBuddy(m_description);
    form->addRow(descriptionLabel, m_description);
    auto* details = textBox(detailsOf(defect), true, this);
    details->setObjectName(QStringLiteral("details"));
    details->setLineWrapMode(QPlainTextEdit::NoWrap);
    auto* detailsLabel = new QLabel(tr("D&etails:"), this);
    detailsLabel->setBuddy(details);
    form->addRow(detailsLabel, details);
    layout->addLayout(form);

    m_keepReviewing = new QCheckBox(tr("&Review each defect before it is filed"), this);
    m_keepReviewing->setChecked(true);
    layout->addWidget(m_keepReviewing);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
    QPushButton* file = buttons->addButton(tr("&File"), QDialogButtonBox::AcceptRole);
    file->setDefault(true);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

QString DefectReviewDialog::headline() const
{
    return m_headline->text().trimmed();
}

QString DefectReviewDialog::description() const
{
    return m_description->toPlainText();
}

bool DefectReviewDialog::keepReviewing() const
{
    return m_keepReviewing->isChecked();
}

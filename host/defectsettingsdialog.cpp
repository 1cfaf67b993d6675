#include "host/defectsettingsdialog.h"

#include "host/submitcommand.h"
#include "sdk/qadialogs.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>
#include <QVBoxLayout>

DefectSettingsDialog::DefectSettingsDialog(const DefectTrackerSettings& settings,
                                           const QString& storePath, QWidget* parent)
    : QDialog(parent)
{
    setWindowTitle(tr("Defect Tracker"));
    auto* layout = new QVBoxLayout(this);
    auto* where = new QLabel(this);
    where->setTextFormat(Qt::PlainText);
    where->setText(tr("Defects are kept in %1.").arg(QDir::toNativeSeparators(storePath)));
    where->setWordWrap(true);
    where->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(where);

    auto* form = new QFormLayout;
    m_command = new QLineEdit(settings.submitCommand, this);
    m_command->setPlaceholderText(tr("none: defects stay in the store above"));
    m_command->setMinimumWidth(420);
    auto* commandLabel = new QLabel(tr("&Submit command:"), this);
    commandLabel->setBuddy(m_command);
    form->addRow(commandLabel, m_command);
    auto* help = new QLabel(
        tr("A program and its arguments, run without a shell when a defect is filed. "
           "{headline}, {description_file}, {attachment} and {id} stand for the defect's "
           "values. Its exit status decides whether the defect is filed; what it prints is "
           "kept as the defect's external reference, what it prints on standard error is "
           "shown when it fails."),
        this);
    help->setWordWrap(true);
    form->addRow(QString(), help);
    m_timeLimit = new QSpinBox(this);
    m_timeLimit->setRange(1, 3600);
    m_timeLimit->setSuffix(tr(" s"));
    m_timeLimit->setValue(settings.timeLimitSeconds);
    auto* limitLabel = new QLabel(tr("&Time limit:"), this);
    limitLabel->setBuddy(m_timeLimit);
    form->addRow(limitLabel, m_timeLimit);
    layout->addLayout(form);

    m_echo = new QCheckBox(tr("Show each step's &command line in the output window"), this);
    m_echo->setChecked(settings.echoCommandLines);
    layout->addWidget(m_echo);
    m_review = new QCheckBox(tr("&Review each defect before it is filed"), this);
    m_review->setChecked(settings.reviewBeforeFiling);
    layout->addWidget(m_review);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

DefectTrackerSettings DefectSettingsDialog::settings() const
{
    DefectTrackerSettings settings;
    settings.submitCommand = m_command->text().trimmed();
    settings.timeLimitSeconds = m_timeLimit->value();
    settings.echoCommandLines = m_echo->isChecked();
    settings.reviewBeforeFiling = m_review->isChecked();
    return settings;
}

void DefectSettingsDialog::accept()
{
    const SubmitCommand command(m_command->text());
    if (!command.problem().isEmpty()) {
        QADialogs::warning(this, windowTitle(),
                           tr("The submit command cannot be run: %1.").arg(command.problem()));
        m_command->setFocus();
        return;
    }
    QDialog::accept();
}

#include "sdk/qaprogressdialog.h"

#include <QLabel>

QAProgressDialog::QAProgressDialog(const QString& label, const QString& cancelText, int steps,
                                   QWidget* parent)
    : QProgressDialog(QString(), cancelText, 0, steps, parent)
{
    // The label names the files worked on: plain text, whatever they are called.
    auto* plain = new QLabel(this);
    plain->setTextFormat(Qt::PlainText);
    setLabel(plain);
    QProgressDialog::setLabelText(label);
    setMinimumDuration(500); // short work shows no dialog at all
}

void QAProgressDialog::setTotalSteps(int steps)
{
    setMaximum(steps);
}

void QAProgressDialog::setProgress(int step)
{
    setValue(step);
}

void QAProgressDialog::setLabelText(const QString& text)
{
    QProgressDialog::setLabelText(text);
}

bool QAProgressDialog::isCanceled() const
{
    return wasCanceled();
}

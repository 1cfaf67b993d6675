#include "sdk/qaprogressdialog.h"

QAProgressDialog::QAProgressDialog(const QString& label, const QString& cancelText, int steps,
                                   QWidget* parent)
    : QProgressDialog(label, cancelText, 0, steps, parent)
{
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

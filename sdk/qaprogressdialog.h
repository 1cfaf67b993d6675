#pragma once

#include "sdk/qaiprogressmonitor.h"

#include <QProgressDialog>

// The studio's progress dialog for long work; it is also the monitor that work reports to.
class QAProgressDialog : public QProgressDialog, public QAIProgressMonitor
{
    Q_OBJECT

public:
    QAProgressDialog(const QString& label, const QString& cancelText, int steps,
                     QWidget* parent = nullptr);

    void setTotalSteps(int steps) override;
    void setProgress(int step) override;
    void setLabelText(const QString& text) override;
    bool isCanceled() const override;
};

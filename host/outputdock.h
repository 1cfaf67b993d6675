#pragma once

#include "sdk/qailogmonitor.h"
#include "sdk/qaoutputwindow.h"

#include <QDockWidget>

class QPlainTextEdit;

// The studio's output window: a dock with a read-only log of the messages for the user. Long
// operations write their log here too.
class OutputDock : public QDockWidget, public QAOutputWindow, public QAILogMonitor
{
    Q_OBJECT

public:
    explicit OutputDock(QWidget* parent);

    void appendOutput(const QString& text) override;
    void logMessage(const QString& message) override;

private:
    QPlainTextEdit* m_text;
};

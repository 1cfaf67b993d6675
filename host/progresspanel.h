#pragma once

#include <QElapsedTimer>
#include <QWidget>

class QLabel;
class QProgressBar;
class QPushButton;

// The studio's progress display in the status bar: a label, a bar and a cancel button, shown from
// start() to end(). While a long operation runs on the GUI thread, setStep() lets the window
// repaint now and then, without letting user input in.
class ProgressPanel : public QWidget
{
    Q_OBJECT

public:
    explicit ProgressPanel(QWidget* parent);

    void start(int steps, const QString& label, const QString& cancelText);
    void setStep(int step);
    void end();

    // How often the display repaints during an operation, at most.
    static constexpr int repaintInterval = 50; // ms

    QLabel* label() const { return m_label; }
    QProgressBar* bar() const { return m_bar; }
    QPushButton* cancelButton() const { return m_cancel; }

private:
    QLabel* m_label;
    QProgressBar* m_bar;
    QPushButton* m_cancel;
    QElapsedTimer m_sinceRepaint;
};

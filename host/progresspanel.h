#pragma once

#include <QElapsedTimer>
#include <QWidget>

class QLabel;
class QProgressBar;
class QPushButton;

// The studio's progress display in the status bar: a label, a bar and a cancel button, shown from
// start() to end(). While a long operation runs on the GUI thread, setStep() lets the window
// repaint and its timers run now and then. Meanwhile user input reaches only the cancel button:
// every other click, key, wheel turn, shortcut, drop or close request is dropped, so that nothing
// re-enters the operation. Escape and closing the main window cancel, as the button does.
class ProgressPanel : public QWidget
{
    Q_OBJECT

public:
    explicit ProgressPanel(QWidget* parent);
    ~ProgressPanel() override;

    // An empty `cancelText` shows an operation that cannot be cancelled: the button is disabled.
    void start(int steps, const QString& label, const QString& cancelText);
    void setStep(int step);
    void end();

    bool isRunning() const { return m_running; }
    // Whether the user cancelled the operation last started; kept after end() until the next
    // start(), so that its caller can ask.
    bool cancelled() const { return m_cancelled; }
    // Asks the running operation to stop, as the cancel button does; nothing when it cannot be
    // cancelled or nothing runs.
    void cancel();

    // How often the display repaints during an operation, at most.
    static constexpr int repaintInterval = 50; // ms

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QLabel* m_label;
    QProgressBar* m_bar;
    QPushButton* m_cancel;
    QElapsedTimer m_sinceRepaint;
    bool m_running = false;
    bool m_cancellable = false;
    bool m_cancelled = false;
};

#include "host/progresspanel.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

namespace {

// Events by which a user acts on a widget.
bool isUserInput(QEvent::Type type)
{
    switch (type) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
    case QEvent::Wheel:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::ContextMenu:
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::Drop:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::TabletPress:
    case QEvent::TabletMove:
    case QEvent::TabletRelease:
    case QEvent::NativeGesture:
    case QEvent::InputMethod:
        return true;
    default:
        return false;
    }
}

} // namespace

ProgressPanel::ProgressPanel(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("progress"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    m_label = new QLabel(this);
    m_label->setTextFormat(Qt::PlainText); // it names the file being read
    m_bar = new QProgressBar(this);
    m_bar->setMaximumWidth(200);
    m_cancel = new QPushButton(tr("Cancel"), this);
    m_cancel->setEnabled(false);
    connect(m_cancel, &QPushButton::clicked, this, &ProgressPanel::cancel);
    layout->addWidget(m_label);
    layout->addWidget(m_bar);
    layout->addWidget(m_cancel);
    hide();
}

ProgressPanel::~ProgressPanel()
{
    if (m_running)
        qApp->removeEventFilter(this);
}

void ProgressPanel::start(int steps, const QString& label, const QString& cancelText)
{
    m_label->setText(label);
    m_cancellable = !cancelText.isEmpty();
    m_cancelled = false;
    m_cancel->setText(m_cancellable ? cancelText : tr("Cancel"));
    m_cancel->setEnabled(m_cancellable);
    m_cancel->setToolTip(m_cancellable ? QString() : tr("This step cannot be interrupted"));
    m_bar->setRange(0, qMax(steps, 0)); // no steps: a busy indicator
    m_bar->setValue(0);
    if (!m_running)
        qApp->installEventFilter(this);
    m_running = true;
    show();
    QCoreApplication::processEvents();
    m_sinceRepaint.start();
}

void ProgressPanel::setStep(int step)
{
    // Called once per element read: the bar moves, and the window repaints, only now and then.
    if (m_sinceRepaint.isValid() && m_sinceRepaint.elapsed() < repaintInterval)
        return;
    if (step >= m_bar->minimum() && step <= m_bar->maximum())
        m_bar->setValue(step);
    QCoreApplication::processEvents();
    m_sinceRepaint.restart();
}

void ProgressPanel::end()
{
    if (m_running)
        qApp->removeEventFilter(this);
    m_running = false;
    m_bar->setValue(m_bar->maximum());
    m_cancel->setEnabled(false);
    hide();
    m_sinceRepaint.invalidate();
}

void ProgressPanel::cancel()
{
    if (!m_running || !m_cancellable || m_cancelled)
        return;
    m_cancelled = true;
    m_cancel->setEnabled(false);
    m_label->setText(tr("Cancelling..."));
    m_label->repaint(); // the operation may not let the window repaint again before it ends
}

bool ProgressPanel::eventFilter(QObject* watched, QEvent* event)
{
    const QEvent::Type type = event->type();
    // Shortcuts go to actions and shortcut objects: none runs meanwhile. Claiming the override
    // makes the key a plain key press, dropped below.
    if (type == QEvent::Shortcut)
        return true;
    if (type == QEvent::ShortcutOverride) {
        event->accept();
        return true;
    }
    // Input arrives at the toolkit's windows first, then at the widget it is for: only the
    // widget is judged.
    if (!watched->isWidgetType())
        return false;
    auto* widget = static_cast<QWidget*>(watched);
    if (type == QEvent::Close && widget->isWindow() &&
        !(widget->windowType() == Qt::ToolTip || widget->windowType() == Qt::Popup)) {
        // Closing the window that runs the operation means giving it up; the window stays, and
        // other windows (dialogs, floating docks) stay open until it ends.
        if (widget == window())
            cancel();
        event->ignore();
        return true;
    }
    if (!isUserInput(type) || widget == m_cancel)
        return false;
    if (type == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape)
        cancel();
    event->ignore();
    return true;
}

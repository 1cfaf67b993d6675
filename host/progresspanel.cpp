#include "host/progresspanel.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

ProgressPanel::ProgressPanel(QWidget* parent) : QWidget(parent)
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    m_label = new QLabel(this);
    m_bar = new QProgressBar(this);
    m_bar->setMaximumWidth(200);
    m_cancel = new QPushButton(this);
    // The operations the plug-in runs here read on the GUI thread with user input held back,
    // and nothing tells them to stop: the button shows the text they give, but cannot be used.
    m_cancel->setEnabled(false);
    m_cancel->setToolTip(tr("This operation cannot be interrupted"));
    layout->addWidget(m_label);
    layout->addWidget(m_bar);
    layout->addWidget(m_cancel);
    hide();
}

void ProgressPanel::start(int steps, const QString& label, const QString& cancelText)
{
    m_label->setText(label);
    m_cancel->setText(cancelText.isEmpty() ? tr("Cancel") : cancelText);
    m_bar->setRange(0, qMax(steps, 0)); // no steps: a busy indicator
    m_bar->setValue(0);
    show();
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    m_sinceRepaint.start();
}

void ProgressPanel::setStep(int step)
{
    if (step >= m_bar->minimum() && step <= m_bar->maximum())
        m_bar->setValue(step);
    if (!m_sinceRepaint.isValid() || m_sinceRepaint.elapsed() >= repaintInterval) {
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
        m_sinceRepaint.restart();
    }
}

void ProgressPanel::end()
{
    m_bar->setValue(m_bar->maximum());
    hide();
    m_sinceRepaint.invalidate();
}

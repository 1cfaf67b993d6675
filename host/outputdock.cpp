#include "host/outputdock.h"

#include <QPlainTextEdit>

OutputDock::OutputDock(QWidget* parent) : QDockWidget(tr("Output"), parent)
{
    setObjectName(QStringLiteral("output"));
    m_text = new QPlainTextEdit(this);
    m_text->setReadOnly(true);
    m_text->setLineWrapMode(QPlainTextEdit::NoWrap);
    setWidget(m_text);
}

void OutputDock::appendOutput(const QString& text)
{
    // Messages often end in a line feed of their own; each one gets exactly one line break.
    QString line = text;
    while (line.endsWith(QLatin1Char('\n')))
        line.chop(1);
    m_text->appendPlainText(line);
}

void OutputDock::logMessage(const QString& message)
{
    appendOutput(message);
}

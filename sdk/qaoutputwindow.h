#pragma once

class QString;

// The studio's output window: a log of messages for the user.
class QAOutputWindow
{
public:
    virtual ~QAOutputWindow() = default;
    virtual void appendOutput(const QString& text) = 0;
};

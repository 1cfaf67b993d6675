#pragma once

class QString;

// Where a long operation reports what went wrong without stopping it.
class QAILogMonitor
{
public:
    virtual ~QAILogMonitor() = default;

    virtual void logMessage(const QString& message) = 0;
};

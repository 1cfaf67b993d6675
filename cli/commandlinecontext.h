#pragma once

#include "session/sessioncontext.h"

// What crcview's session asks: the files a result file was converted from, the current
// directory for pictures and the exporter's settings, and the display styles shipped beside
// crcview.
class CommandLineContext : public SessionContext
{
public:
    // Reads the styles of the installation: lib/ beside bin/.
    CommandLineContext();

    QString originalFileOf(const QString& path) const override;
    QStringList documentSearchPath() const override;
    DStyleList styles() const override { return m_styles; }

private:
    DStyleList m_styles;
};

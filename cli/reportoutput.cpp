#include "cli/reportoutput.h"

#include "sdk/qasafefile.h"

#include <iostream>

bool writeReport(const QString& file, const QByteArray& bytes)
{
    if (file.isEmpty()) {
        std::cout.write(bytes.constData(), bytes.size());
        std::cout.flush();
        if (std::cout)
            return true;
        std::cerr << "crcview: cannot write to standard output\n";
        return false;
    }
    QString error;
    if (QASafeWrite::writeFile(file, bytes, &error))
        return true;
    std::cerr << error.toLocal8Bit().constData() << "\n";
    return false;
}

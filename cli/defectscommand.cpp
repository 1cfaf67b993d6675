#include "cli/defectscommand.h"

#include "cli/exitstatus.h"
#include "defects/defectstore.h"

#include <QFileInfo>
#include <iostream>

int defectsCommand(const QStringList& arguments, int (*usage)())
{
    QString path;
    QString format = QStringLiteral("csv");
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (argument == QLatin1String("--defects") && i + 1 < arguments.size())
            path = arguments.at(++i);
        else if (argument == QLatin1String("--format") && i + 1 < arguments.size())
            format = arguments.at(++i);
        else
            return usage();
    }
    if (format != QLatin1String("csv") && format != QLatin1String("json"))
        return usage();
    // A store named on the command line must be there; the default one may not exist yet.
    if (!path.isEmpty() && !QFileInfo::exists(path)) {
        std::cerr << "crcview: there is no defect store " << path.toLocal8Bit().constData() << "\n";
        return exitUnreadable;
    }
    DefectStore store(path.isEmpty() ? DefectStore::defaultPath() : path);
    QList<Defect> defects;
    if (!store.read(&defects)) {
        std::cerr << "crcview: " << store.errorString().toLocal8Bit().constData() << "\n";
        return exitUnreadable;
    }
    const QByteArray text = format == QLatin1String("json") ? DefectFormat::toJson(defects)
                                                            : DefectFormat::toCsv(defects);
    std::cout.write(text.constData(), text.size());
    std::cout.flush();
    return std::cout ? 0 : exitUnreadable;
}

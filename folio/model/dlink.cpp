#include "folio/model/dlink.h"

void DLink::split(QString& file, QString& document, QString& tag) const
{
    const QLatin1String separator("::");
    const QString target = this->target();
    const int first = target.indexOf(separator);
    if (first < 0) {
        file = QString();
        document = QString();
        tag = target;
        return;
    }
    file = target.left(first);
    const int rest = first + separator.size();
    const int second = target.indexOf(separator, rest);
    if (second < 0) {
        document = QString();
        tag = target.mid(rest);
        return;
    }
    document = target.mid(rest, second - rest);
    tag = target.mid(second + separator.size());
}

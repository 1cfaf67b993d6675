#include "folio/dlink.h"

void DLink::split(QString& file, QString& document, QString& tag) const
{
    const QLatin1String separator("::");
    const int first = m_target.indexOf(separator);
    if (first < 0) {
        file = QString();
        document = QString();
        tag = m_target;
        return;
    }
    file = m_target.left(first);
    const int rest = first + separator.size();
    const int second = m_target.indexOf(separator, rest);
    if (second < 0) {
        document = QString();
        tag = m_target.mid(rest);
        return;
    }
    document = m_target.mid(rest, second - rest);
    tag = m_target.mid(second + separator.size());
}

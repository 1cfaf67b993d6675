#include "cli/reviewedresults.h"

#include "compare/runidentities.h"
#include "defects/defectstore.h"

#include <QFileInfo>
#include <iostream>

namespace {

QString keyOf(const QString& identity, const QString& rule)
{
    return identity + QLatin1Char('\n') + rule;
}

} // namespace

bool ReviewedResults::read(const QString& path)
{
    m_reviews.clear();
    m_suppressing = 0;
    if (!path.isEmpty() && !QFileInfo::exists(path)) {
        std::cerr << "crcview: there is no defect store " << path.toLocal8Bit().constData() << "\n";
        return false;
    }
    DefectStore store(path.isEmpty() ? DefectStore::defaultPath() : path);
    QList<Review> reviews;
    if (!store.readReviews(&reviews)) {
        std::cerr << "crcview: " << store.errorString().toLocal8Bit().constData() << "\n";
        return false;
    }
    for (const Review& review : std::as_const(reviews)) {
        m_reviews.insert(keyOf(review.identity, review.rule), review);
        m_suppressing += review.suppresses() ? 1 : 0;
    }
    return true;
}

const Review* ReviewedResults::suppressing(const RunFailure& failure) const
{
    if (m_reviews.isEmpty())
        return nullptr;
    const QString identity = QString::fromUtf8(failure.identity);
    // The review of the result and its rule decides; one of the identity alone stands for any
    // rule.
    auto found = m_reviews.constFind(keyOf(identity, failure.rule));
    if (found == m_reviews.constEnd() && !failure.rule.isEmpty())
        found = m_reviews.constFind(keyOf(identity, QString()));
    return found != m_reviews.constEnd() && found->suppresses() ? &*found : nullptr;
}

bool ReviewedResults::takeStoreOption(QStringList* arguments, QString* path)
{
    const qsizetype at = arguments->indexOf(QLatin1String("--defects"));
    if (at < 0)
        return true;
    if (at + 1 >= arguments->size())
        return false;
    *path = arguments->at(at + 1);
    arguments->remove(at, 2);
    return true;
}

#pragma once

#include "defects/defectstore.h"

#include <QHash>
#include <QString>

struct RunFailure;

// The failed results people reviewed as false positives or intentional, which the gate leaves
// out: a review names a result's identity and its rule, or the identity alone for any rule.
class ReviewedResults
{
public:
    // Reads the reviews of the store `path` (the default store when empty; a store named must
    // exist). False, with the reason naming the store on standard error, when it cannot be read.
    bool read(const QString& path);

    // Whether any review leaves a result out.
    bool anySuppressing() const { return m_suppressing > 0; }
    // Whether `failure` is reviewed as one the gate leaves out.
    bool suppresses(const RunFailure& failure) const { return suppressing(failure) != nullptr; }
    // The review that leaves `failure` out, null when none does.
    const Review* suppressing(const RunFailure& failure) const;

    // The store a command names with --defects FILE, taken out of `arguments`; false when
    // --defects has no value.
    static bool takeStoreOption(QStringList* arguments, QString* path);

private:
    QHash<QString, Review> m_reviews; // by identity, a newline and the rule
    int m_suppressing = 0;
};

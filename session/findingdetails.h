#pragma once

#include <QList>
#include <QString>
#include <utility>

class DLink;
class QAReporterNode;

// What an analyzer's finding says of itself, read from its node and its section of the report:
// the rule and level the node carries, the message after its level, the source it points at
// and the code quoted for it. Empty for items that are no findings.
struct FindingDetails
{
    QString sourcePath; // as the link gives it, after the node's base when relative
    int sourceLine = 0;
    QString rule;
    QString level;
    QString message;
    QString snippet;
    // The steps of its code flows: each step's link and its paragraph's text, in order.
    struct Step
    {
        DLink* link;
        QString text;
    };
    QList<Step> steps;

    static FindingDetails of(const QAReporterNode& node);

    // The details given, by the names the defect tracker takes them under.
    QList<std::pair<QByteArray, QString>> named() const;
};

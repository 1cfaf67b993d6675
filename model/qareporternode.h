#pragma once

#include "folio/model/dstring.h"

#include <QString>
#include <QtGlobal>
#include <iosfwd>

class DItem;

// The verdicts the outline and the failed-only filter compare a node's state with.
extern const QString QSOK; // "ok": passed
extern const QString QSKO; // "ko": failed
extern const QString QSNE; // "ne": not evaluated

// One reviewed item of a result file. `item` and `endItem` bound the item's section in the
// report document; the document owns them. A file holds millions: the texts are UTF-8 and those
// that repeat (types, states, rules) share one copy.
class QAReporterNode
{
public:
    QAReporterNode() = default;

    DItem* item = nullptr;
    DItem* endItem = nullptr;
    DString tag;  // sequence number in the file: "1" for the first node read
    DString name; // shown in the outline
    DString type; // kind of item, free text
    DString stat; // verdict: QSOK, QSKO, QSNE or anything else (no verdict)
    DString icon; // picture file name
    DString base; // directory that relative source paths of the item start from
    // What identifies the result across runs (the converter's "key" attribute), empty when the
    // file gives none.
    DString key;
    // How grave an analyzer's finding is ("error", "warning", "note" or "none") and the rule
    // that found it; empty for other nodes.
    DString level;
    DString rule;
    // Against a baseline: a failed result that the baseline does not have, and a node that holds
    // such results below it.
    bool newFailure = false;
    bool holdsNewFailure = false;
    // What the user decided about the result, and the first open defect filed for it (0: none).
    enum class Review : quint8
    {
        None,
        Confirmed,
        FalsePositive,
        Intentional
    };
    Review review = Review::None;
    qint64 defectId = 0;
    // With dismissed results hidden: the node is one, or holds some and nothing else shown.
    bool hiddenAsDismissed = false;

    // Reviewed as a false positive or as intended.
    bool dismissed() const
    {
        return review == Review::FalsePositive || review == Review::Intentional;
    }
};

// Debug dump: name, type, state and tag, then the kinds of the bounding items when set.
std::ostream& operator<<(std::ostream& os, QAReporterNode& node);

#include "compare/runcomparison.h"

#include "compare/runidentities.h"

#include <QHash>
#include <limits>

namespace {

constexpr std::size_t None = std::numeric_limits<std::size_t>::max();

// The failures of BASE of one identity not matched yet, as a chain in the order of the run.
struct Chain
{
    std::size_t next = None; // the first one not matched yet
    std::size_t last = None;
};

} // namespace

RunComparison compareRuns(const RunIdentities& base, const RunIdentities& head)
{
    RunComparison comparison;
    const std::vector<RunFailure>& before = base.failures;
    std::vector<std::size_t> following(before.size(), None);
    QHash<quint64, Chain> chains;
    chains.reserve(qsizetype(before.size()));
    for (std::size_t i = 0; i < before.size(); ++i) {
        Chain& chain = chains[before[i].id];
        if (chain.next == None)
            chain.next = i;
        else
            following[chain.last] = i;
        chain.last = i;
    }
    std::vector<bool> matched(before.size(), false);
    comparison.baseOf.reserve(head.failures.size());
    for (const RunFailure& failure : head.failures) {
        const auto chain = chains.find(failure.id);
        if (chain == chains.end() || chain->next == None) {
            if (base.failedAbove.contains(failure.id))
                ++comparison.still;
            else
                comparison.added.push_back(&failure);
            comparison.baseOf.push_back(nullptr);
            continue;
        }
        const std::size_t at = chain->next;
        chain->next = following[at];
        matched[at] = true;
        comparison.baseOf.push_back(&before[at]);
        ++comparison.still;
    }
    for (std::size_t i = 0; i < before.size(); ++i) {
        if (matched[i])
            continue;
        if (head.failedAbove.contains(before[i].id))
            ++comparison.still;
        else
            comparison.fixed.push_back(&before[i]);
    }
    return comparison;
}

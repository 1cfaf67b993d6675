#pragma once

#include <vector>

struct RunFailure;
struct RunIdentities;

// Two runs matched by the identities of their failed results: new failed in HEAD and not in
// BASE, fixed failed in BASE and not in HEAD (gone, or passed), still failed in both. Results of
// one identity are matched in the order they come: the third of HEAD with the third of BASE. A
// failed result of one run whose identity, in the other, is a node that failed with failures
// below it (a rule whose findings are listed in one run and not in the other) is still failing.
struct RunComparison
{
    std::vector<const RunFailure*> added; // new, in HEAD's order
    std::vector<const RunFailure*> fixed; // in BASE's order
    std::size_t still = 0;
    // For each failure of HEAD, the failure of BASE it is the same as; null when it is new or
    // still fails as a node with failures below it in BASE.
    std::vector<const RunFailure*> baseOf;
};

RunComparison compareRuns(const RunIdentities& base, const RunIdentities& head);

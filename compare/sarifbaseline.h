#pragma once

#include <QByteArray>
#include <QString>
#include <functional>
#include <optional>

struct RunComparison;
struct RunFailure;
struct RunIdentities;

// The justification of a failure of HEAD suppressed outside the log (reviewed away), none when it
// is not suppressed.
using SuppressionOf = std::function<std::optional<QString>(const RunFailure&)>;

// HEAD as a SARIF log for tools that read baselines. A SARIF HEAD is its own log with a
// baselineState on every result (new, unchanged, or updated when its place or message changed)
// and the results fixed since BASE added from BASE as absent; a result file's HEAD gives a log of
// its failed results (one run of the tool "crcview") with the same states. Every run gets
// BASE's automationDetails.guid as its baselineGuid, or a UUID made from BASE's bytes when BASE
// has none. The log goes to `write` piece by piece, which returns false when it cannot take one.
// False with "FILE: reason" in `error` when a run cannot be read again (nothing written then),
// false without a reason when `write` failed. The failures of a SARIF HEAD and of BASE are freed
// once the log has what it needs of them: `comparison` is not to be used after. The results of
// HEAD that `suppression` (when given) names get an external suppression with its justification.
bool sarifWithBaseline(RunIdentities& base, RunIdentities& head, const RunComparison& comparison,
                       const std::function<bool(const QByteArray&)>& write, QString* error,
                       const SuppressionOf& suppression = {});

#pragma once

#include <QByteArray>
#include <QString>

struct RunComparison;
struct RunIdentities;

// HEAD as a SARIF log for tools that read baselines. A SARIF HEAD is its own log with a
// baselineState on every result (new, unchanged, or updated when its place or message changed)
// and the results fixed since BASE added from BASE as absent; a result file's HEAD gives a log of
// its failed results (one run of the tool "crcview") with the same states. Every run gets
// BASE's automationDetails.guid as its baselineGuid, or a UUID made from BASE's bytes when BASE
// has none. False with "FILE: reason" in `error` when a run cannot be read again.
bool sarifWithBaseline(const RunIdentities& base, const RunIdentities& head,
                       const RunComparison& comparison, QByteArray* log, QString* error);

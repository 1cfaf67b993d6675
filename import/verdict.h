#pragma once

#include <QByteArray>

// The verdict of an imported result. A group (file, rule, suite) takes the highest verdict of
// what it holds: failed before passed before not evaluated.
enum class Verdict : char
{
    NotEvaluated,
    Passed,
    Failed
};

// The node state the reader counts: "NE", "ok" or "ko".
const char* stateOf(Verdict verdict);
// The title style of a node at `level` (1 to 6; deeper levels take 6) with this verdict.
QByteArray titleStyle(int level, Verdict verdict);

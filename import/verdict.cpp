#include "import/verdict.h"

#include <algorithm>

namespace {

constexpr int MaxTitleLevel = 6;

} // namespace

const char* stateOf(Verdict verdict)
{
    switch (verdict) {
    case Verdict::Failed:
        return "ko";
    case Verdict::Passed:
        return "ok";
    case Verdict::NotEvaluated:
        break;
    }
    return "NE";
}

QByteArray titleStyle(int level, Verdict verdict)
{
    QByteArray style = "Title" + QByteArray::number(std::clamp(level, 1, MaxTitleLevel));
    if (verdict == Verdict::Failed)
        style += " Failed";
    else if (verdict == Verdict::Passed)
        style += " Passed";
    return style;
}

#include "filter/qareporternodevalidator.h"

#include "model/qareporternode.h"

#include <algorithm>

namespace {

// True when a match of `expression` begins at the start of `text`. The leftmost match begins
// there exactly when some match does, so an anchored match decides it without scanning the text.
bool matchesAtStart(const QRegularExpression& expression, const QString& text)
{
    return expression
        .match(text, 0, QRegularExpression::NormalMatch,
               QRegularExpression::AnchorAtOffsetMatchOption)
        .hasMatch();
}

// True when `expression` matches exactly its own pattern text: no option and no character with a
// meaning of its own.
bool isLiteral(const QRegularExpression& expression)
{
    if (expression.patternOptions() != QRegularExpression::NoPatternOption)
        return false;
    static const QString special = QStringLiteral("\\^$.|?*+()[]{}");
    for (const QChar c : expression.pattern()) {
        if (special.contains(c))
            return false;
    }
    return true;
}

constexpr qsizetype maxRememberedTexts = 4096;

// The remembered result for `text`, computing and remembering it on first use.
template <class Compute>
bool remembered(QHash<QString, bool>& results, const QString& text, Compute compute)
{
    const auto found = results.constFind(text);
    if (found != results.constEnd())
        return found.value();
    const bool result = compute();
    if (results.size() < maxRememberedTexts)
        results.insert(text, result);
    return result;
}

} // namespace

QAReporterNodeValidator::Criterion::Criterion(const QRegularExpression& expression)
    : expression(expression), literal(isLiteral(expression))
{
}

bool QAReporterNodeValidator::Criterion::matchesAtStart(const QString& text) const
{
    if (literal)
        return text.startsWith(expression.pattern());
    return ::matchesAtStart(expression, text);
}

void QAReporterNodeValidator::forgetResults()
{
    m_typeHidden.clear();
    m_stateAccepted.clear();
}

void QAReporterNodeValidator::indexType(const QRegularExpression& hidden)
{
    if (!isLiteral(hidden)) {
        m_hiddenPatterns.append(hidden);
        return;
    }
    const QString& text = hidden.pattern();
    if (m_hiddenTexts.contains(text))
        return;
    m_hiddenTexts.insert(text);
    const auto at =
        std::lower_bound(m_hiddenTextLengths.begin(), m_hiddenTextLengths.end(), text.size());
    if (at == m_hiddenTextLengths.end() || *at != text.size())
        m_hiddenTextLengths.insert(at, text.size());
}

void QAReporterNodeValidator::indexTypes()
{
    m_hiddenTexts.clear();
    m_hiddenTextLengths.clear();
    m_hiddenPatterns.clear();
    for (const QRegularExpression& hidden : std::as_const(m_typeExps))
        indexType(hidden);
}

bool QAReporterNodeValidator::typeHidden(const QString& type) const
{
    return remembered(m_typeHidden, type, [&] {
        for (const qsizetype length : m_hiddenTextLengths) {
            if (length > type.size())
                break;
            if (m_hiddenTexts.contains(type.left(length)))
                return true;
        }
        for (const QRegularExpression& hidden : m_hiddenPatterns) {
            if (matchesAtStart(hidden, type))
                return true;
        }
        return false;
    });
}

bool QAReporterNodeValidator::stateAccepted(const QString& state) const
{
    if (m_stateExp->literal)
        return m_stateExp->matchesAtStart(state);
    return remembered(m_stateAccepted, state, [&] { return m_stateExp->matchesAtStart(state); });
}

void QAReporterNodeValidator::setAttribut(Attribut attribute, const QRegularExpression& expression)
{
    switch (attribute) {
    case AttrName:
        m_nameExp.emplace(expression);
        break;
    case AttrType:
        m_typeExps.append(expression);
        indexType(expression);
        break;
    case AttrState:
        m_stateExp.emplace(expression);
        break;
    default:
        return;
    }
    m_active |= attribute;
    forgetResults();
}

void QAReporterNodeValidator::unsetAttribut(Attribut attribute)
{
    switch (attribute) {
    case AttrName:
        if (!m_nameExp)
            return;
        m_nameExp.reset();
        break;
    case AttrType:
        m_typeExps.clear();
        indexTypes();
        break;
    case AttrState:
        if (!m_stateExp)
            return;
        m_stateExp.reset();
        break;
    default:
        return;
    }
    m_active &= ~unsigned(attribute);
    forgetResults();
}

void QAReporterNodeValidator::unsetType(const QRegularExpression& expression)
{
    const qsizetype index = m_typeExps.indexOf(expression);
    if (index < 0)
        return;
    m_typeExps.removeAt(index);
    indexTypes();
    forgetResults();
    if (m_typeExps.isEmpty())
        m_active &= ~unsigned(AttrType);
}

int QAReporterNodeValidator::isValid(const QAReporterNode& node) const
{
    int result = AttrName;
    if ((m_active & AttrName) && !node.name.isNull() && !m_nameExp->matchesAtStart(node.name))
        result &= ~AttrName;

    if (!(m_active & AttrType) || node.type.isNull() || !typeHidden(node.type))
        result |= AttrType;
    if (!(m_active & AttrState) || node.stat.isNull() || stateAccepted(node.stat))
        result |= AttrState;
    if (m_newFailuresOnly && !node.newFailure && !node.holdsNewFailure)
        result &= ~AttrState;
    if (m_hideDismissed && node.hiddenAsDismissed)
        result &= ~AttrState;
    return result;
}

#include "import/sourcerefs.h"

#include <algorithm>

namespace {

constexpr int MaxLineDigits = 9;
constexpr qsizetype MaxQuotedPath = 4096;

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// Characters of a path as traces write them; any byte of a UTF-8 sequence is one.
bool isPathCharacter(char c)
{
    return isLetter(c) || isDigit(c) || c == '.' || c == '/' || c == '\\' || c == '_' || c == '-' ||
           c == '+' || c == '~' || c == '@' || c == '$' || static_cast<unsigned char>(c) >= 0x80;
}

// The line number at `at`, from 1, and where it ends; 0 when there is none.
int lineAt(QByteArrayView text, qsizetype at, qsizetype* end)
{
    qsizetype i = at;
    int line = 0;
    while (i < text.size() && isDigit(text.at(i)) && i - at < MaxLineDigits)
        line = line * 10 + (text.at(i++) - '0');
    if (i == at || (i < text.size() && isDigit(text.at(i))))
        return 0;
    *end = i;
    return std::max(line, 1);
}

// Whether `path` can name a source file: it has a letter and a folder or an extension, and is
// not the host part of an address.
bool looksLikeSource(QByteArrayView path)
{
    if (path.isEmpty() || path.startsWith("//"))
        return false;
    bool letter = false;
    for (const char c : path)
        letter = letter || isLetter(c);
    if (!letter)
        return false;
    if (path.contains('/') || path.contains('\\'))
        return true;
    const qsizetype dot = path.lastIndexOf('.');
    return dot > 0 && dot + 1 < path.size() && isLetter(path.at(dot + 1));
}

// "path:LINE", "path:LINE:COLUMN" or "path:line LINE" whose colon is at `colon`.
bool colonForm(QByteArrayView text, qsizetype colon, SourceRef* ref)
{
    qsizetype start = colon;
    while (start > 0 && isPathCharacter(text.at(start - 1)))
        --start;
    // "https://host:8080" and "C:\x.c:3" are not taken apart.
    if (start > 0 && text.at(start - 1) == ':')
        return false;
    const QByteArrayView path = text.sliced(start, colon - start);
    if (!looksLikeSource(path))
        return false;
    qsizetype at = colon + 1;
    if (text.sliced(at).startsWith("line "))
        at += 5;
    qsizetype end = 0;
    const int line = lineAt(text, at, &end);
    if (line == 0)
        return false;
    qsizetype column = 0;
    if (end + 1 < text.size() && text.at(end) == ':' && lineAt(text, end + 1, &column) > 0)
        end = column;
    *ref = SourceRef{start, end, path.toByteArray(), line};
    return true;
}

// Python's `File "path", line LINE`, the quote at `quote`: the place from the quote to the
// number.
bool pythonForm(QByteArrayView text, qsizetype quote, SourceRef* ref)
{
    const QByteArrayView quoted =
        text.sliced(quote + 1, std::min(MaxQuotedPath, text.size() - quote - 1));
    const qsizetype length = quoted.indexOf('"');
    if (length <= 0 || quoted.first(length).contains('\n'))
        return false;
    const qsizetype close = quote + 1 + length;
    const QByteArrayView rest = text.sliced(close + 1);
    if (!rest.startsWith(", line "))
        return false;
    qsizetype end = 0;
    const int line = lineAt(text, close + 8, &end);
    if (line == 0)
        return false;
    *ref = SourceRef{quote, end, text.sliced(quote + 1, close - quote - 1).toByteArray(), line};
    return true;
}

} // namespace

std::vector<SourceRef> findSourceRefs(QByteArrayView text)
{
    std::vector<SourceRef> refs;
    qsizetype from = 0; // nothing before is looked at again
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char c = text.at(i);
        SourceRef ref;
        bool found = false;
        if (c == ':' && i + 1 < text.size())
            found = colonForm(text, i, &ref) && ref.start >= from;
        else if (c == '"' && i >= 5 && text.sliced(i - 5, 5) == "File ")
            found = pythonForm(text, i, &ref);
        if (!found)
            continue;
        refs.push_back(ref);
        from = ref.end;
        i = ref.end - 1;
    }
    return refs;
}

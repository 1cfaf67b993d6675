#include "import/sariflog.h"

#include "import/resultimport.h"
#include "import/sarifjson.h"

#include <QFile>
#include <algorithm>
#include <cstring>
#include <rapidjson/error/en.h>

using namespace SarifJson;

namespace {

// Line and column of a byte offset, counted in the bytes as read.
void positionOf(const QByteArray& original, size_t offset, ImportError* error)
{
    const qsizetype end = std::min(qsizetype(offset), original.size());
    int line = 1;
    qsizetype lineStart = 0;
    for (qsizetype i = 0; i < end; ++i) {
        if (original.at(i) == '\n') {
            ++line;
            lineStart = i + 1;
        }
    }
    error->line = line;
    error->column = int(end - lineStart) + 1;
}

// The UTF-16 unit of the four hex digits at `digits`, or -1.
int unitAt(const char* digits)
{
    int unit = 0;
    for (int i = 0; i < 4; ++i) {
        const char c = digits[i];
        const int digit = c >= '0' && c <= '9'   ? c - '0'
                          : c >= 'a' && c <= 'f' ? c - 'a' + 10
                          : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                 : -1;
        if (digit < 0)
            return -1;
        unit = unit * 16 + digit;
    }
    return unit;
}

// A surrogate escape without its other half (as JSON writers give an undecodable file name)
// names no character: each becomes \uFFFD, the replacement character, in place, so that the
// text reads as UTF-8 and every offset the parser reports is still one of the file.
void replaceLoneSurrogates(char* json, qsizetype size)
{
    if (size == 0)
        return;
    char* const end = json + size;
    for (char* escape = static_cast<char*>(std::memchr(json, '\\', size_t(size)));
         escape && end - escape >= 2;
         escape = static_cast<char*>(std::memchr(escape, '\\', size_t(end - escape)))) {
        const int unit = escape[1] == 'u' && end - escape >= 6 ? unitAt(escape + 2) : -1;
        if (unit < 0xD800 || unit > 0xDFFF) {
            escape += 2; // any other escape, a backslash escaped included
            continue;
        }
        const bool paired = unit < 0xDC00 && end - escape >= 12 && escape[6] == '\\' &&
                            escape[7] == 'u' && unitAt(escape + 8) >= 0xDC00 &&
                            unitAt(escape + 8) <= 0xDFFF;
        if (paired) {
            escape += 12;
            continue;
        }
        std::memcpy(escape + 2, "FFFD", 4);
        escape += 6;
    }
}

} // namespace

bool parseSarifLog(QFile& input, QByteArray& json, Document& log, ImportError* error,
                   const std::function<void()>& read)
{
    json = input.readAll();
    if (input.error() != QFileDevice::NoError) {
        error->message = QStringLiteral("cannot read the file: %1").arg(input.errorString());
        return false;
    }
    if (read)
        read();
    // Parsed in place, the fastest way; nesting however deep is parsed without recursion.
    constexpr unsigned Flags =
        rapidjson::kParseIterativeFlag | rapidjson::kParseValidateEncodingFlag;
    // A byte order mark, as some tools write, is not JSON.
    const size_t start = json.startsWith("\xEF\xBB\xBF") ? 3 : 0;
    replaceLoneSurrogates(json.data(), json.size());
    log.ParseInsitu<Flags>(json.data() + start);
    if (log.HasParseError()) {
        // The parse overwrote the bytes: the position is counted in the file as it is.
        input.seek(0);
        positionOf(input.readAll(), start + log.GetErrorOffset(), error);
        error->message = QString::fromUtf8(rapidjson::GetParseError_En(log.GetParseError()));
        return false;
    }
    if (!log.IsObject()) {
        error->message = QStringLiteral("$: a SARIF log (a JSON object) was expected");
        return false;
    }
    const Bytes version = textOf(member(&log, "version"));
    if (!version.isEmpty() && !version.startsWith("2.1")) {
        error->message = QStringLiteral("$.version: SARIF %1 cannot be read, only 2.1.0")
                             .arg(QString::fromUtf8(version));
        return false;
    }
    const Value* runs = member(&log, "runs");
    if (!runs || !runs->IsArray()) {
        error->message = QStringLiteral("$.runs: an array of runs was expected");
        return false;
    }
    return true;
}

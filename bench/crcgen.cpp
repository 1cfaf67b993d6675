// crcgen: writes a synthetic but realistic code-review result file (.crc)
// for the reader and viewer benchmarks.
//
//   crcgen NODES SEED OUTFILE
//
// The file holds exactly NODES result items (XROD:NODE elements): files at
// the top, the rules checked on each file below them, findings below failed
// rules, and now and then a call trace a few levels deeper (at most six node
// levels). About one item in ten fails, one in twenty is not evaluated, the
// rest pass. Every item opens a SECTION with a unique tag ("s" + its number
// in document order), a TITLE and one or two PARAGRAPHs carrying a LINK;
// a metric rule sometimes adds a small TABLE. The output is about 295 bytes
// per item (100,000 items make 29.5 MB; 85,000 make 25 MB) and depends
// only on NODES and SEED: the random numbers come from
// our own splitmix64 generator, not from the standard library, so the same
// arguments give the same bytes on every platform.
//
// The last paragraph of the document states the totals a reader must find
// (the "sum" attributes of passed, failed and not evaluated items), so tests
// can check a reader against a generated file without parsing it twice.
//
// Exit status: 0 on success (nothing printed), 64 on bad arguments, 1 when
// the output file cannot be written (a partial regular file is removed).

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

// ---------------------------------------------------------------- random

// splitmix64: one 64-bit state word, full period, good enough mixing for
// picking words and numbers, and trivially portable.
class Random
{
public:
    explicit Random(std::uint64_t seed) : state_(seed) {}

    std::uint64_t next()
    {
        std::uint64_t z = (state_ += 0x9E3779B97F4A7C15ULL);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
        return z ^ (z >> 31);
    }

    // A number in [0, n); n > 0. The modulo bias is irrelevant here.
    std::uint32_t below(std::uint32_t n) { return static_cast<std::uint32_t>((next() >> 16) % n); }

    // A number in [lo, hi].
    std::uint32_t between(std::uint32_t lo, std::uint32_t hi) { return lo + below(hi - lo + 1); }

    // True with a probability of perMille / 1000.
    bool chance(std::uint32_t perMille) { return below(1000) < perMille; }

private:
    std::uint64_t state_;
};

// ---------------------------------------------------------------- output

// Buffered writer over a stdio stream. Errors are sticky and checked once
// at the end, so the hot path is a bounds check and a memcpy.
class Writer
{
public:
    explicit Writer(std::FILE* file) : file_(file), buffer_(1 << 20) {}

    void put(std::string_view s)
    {
        if (s.size() > buffer_.size() - used_) {
            flush();
            if (s.size() > buffer_.size()) {
                write(s.data(), s.size());
                return;
            }
        }
        std::memcpy(buffer_.data() + used_, s.data(), s.size());
        used_ += s.size();
    }

    void put(char c)
    {
        if (used_ == buffer_.size())
            flush();
        buffer_[used_++] = c;
    }

    void number(std::uint64_t value)
    {
        char digits[20];
        int n = 0;
        do {
            digits[n++] = static_cast<char>('0' + value % 10);
            value /= 10;
        } while (value != 0);
        if (static_cast<std::size_t>(n) > buffer_.size() - used_)
            flush();
        while (n > 0)
            buffer_[used_++] = digits[--n];
    }

    void flush()
    {
        write(buffer_.data(), used_);
        used_ = 0;
    }

    bool failed() const { return failed_; }
    int error() const { return error_; }

private:
    void write(const char* data, std::size_t size)
    {
        if (failed_ || size == 0)
            return;
        if (std::fwrite(data, 1, size, file_) != size) {
            failed_ = true;
            error_ = errno;
        }
    }

    std::FILE* file_;
    std::vector<char> buffer_;
    std::size_t used_ = 0;
    bool failed_ = false;
    int error_ = 0;
};

// ---------------------------------------------------------------- vocabulary

constexpr const char* kProjects[] = {"netcalc", "tidepool",    "mqlite",   "zcache",
                                     "orbitd",  "fastq-tools", "pktscope", "libsonde"};

constexpr const char* kDirs[] = {"src",    "src/core",  "src/net",   "src/util",
                                 "src/io", "lib/codec", "lib/store", "tools"};

constexpr const char* kBases[] = {
    "parser", "lexer", "buffer", "socket", "config", "hash", "list", "alloc", "thread", "timer",
    "log",    "cache", "codec",  "crc32",  "json",   "url",  "path", "queue", "pool",   "sched"};

constexpr const char* kVerbs[] = {"parse", "read",   "write",  "init",   "free",
                                  "find",  "update", "encode", "decode", "flush",
                                  "open",  "close",  "lookup", "append", "reset"};

constexpr const char* kNouns[] = {"header", "buffer", "token",  "entry", "node",   "config",
                                  "frame",  "packet", "record", "table", "stream", "key"};

constexpr const char* kVariables[] = {"depth",   "verbose",  "cache_size", "last_error",
                                      "retries", "cursor",   "pending",    "scratch",
                                      "tmpbuf",  "refcount", "max_len",    "handle"};

constexpr const char* kNotEvaluated[] = {
    "Not evaluated: the preprocessor configuration of {p} is incomplete (HAVE_CONFIG_H undefined).",
    "Not evaluated: {f} calls through a function pointer and the call graph is incomplete.",
    "Not evaluated: the file could not be parsed past line {l}.",
};

template <typename T, std::size_t N> constexpr std::uint32_t countOf(const T (&)[N])
{
    return static_cast<std::uint32_t>(N);
}

struct Rule
{
    const char* name;
    const char* type;
    const char* statement;    // what the rule asks for
    const char* findingTitle; // title of one violation
    const char* findingText;  // text of one violation, followed by a source link
    std::uint32_t valueMin;   // range of {n} in violations,
    std::uint32_t valueMax;   // 0 when the rule measures nothing
    std::uint32_t limit;      // {m}
};

// Placeholders: {f} a function, {F} the same in camelCase, {g} another
// function, {v} a variable, {p} the file, {l} a line,
// {n} a value, {m} the rule's limit.
constexpr Rule kRules[] = {
    {"no-goto", "Rule",
     "The goto statement shall not be used; leave through a single exit path or a cleanup "
     "function.",
     "goto used at line {l}", "goto used in {f} at", 0, 0, 0},
    {"cyclomatic-complexity", "Metric",
     "The cyclomatic complexity of a function shall not exceed {m}.", "{f}: complexity {n}",
     "function {f} has cyclomatic complexity {n} (limit {m}), defined at", 16, 41, 15},
    {"function-length", "Metric", "A function shall not exceed {m} statements.",
     "{f}: {n} statements", "function {f} has {n} statements (limit {m}), starting at", 61, 190,
     60},
    {"nesting-depth", "Metric", "Control statements shall not nest deeper than {m} levels.",
     "{f}: nesting depth {n}", "nesting depth {n} in {f} (limit {m}) at", 5, 8, 4},
    {"function-names", "Naming", "Function names shall be lower_snake_case.",
     "{F} is not lower_snake_case", "function {F} does not follow lower_snake_case, declared at", 0,
     0, 0},
    {"global-prefix", "Naming",
     "File-scope variables shall be static, or carry the prefix g_ when external.",
     "variable {v} has no prefix", "external variable {v} has no g_ prefix, defined at", 0, 0, 0},
    {"macro-names", "Naming", "Macro names shall be upper case.", "macro {v} is not upper case",
     "function-like macro {v} is not upper case, defined at", 0, 0, 0},
    {"switch-default", "Rule", "Every switch statement shall have a default label.",
     "switch without default at line {l}", "switch in {f} has no default label:", 0, 0, 0},
    {"return-value-checked", "Rule",
     "The return value of a non-void function shall be used or cast to (void).",
     "return value of {g} ignored at line {l}", "return value of {g} ignored in {f} at", 0, 0, 0},
    {"magic-numbers", "Rule", "Numeric literals other than 0 and 1 shall be named constants.",
     "literal {n} at line {l}", "numeric literal {n} used in {f} at", 2, 4096, 0},
    {"null-check", "Rule",
     "A pointer returned by an allocation or a lookup shall be tested before use.",
     "{v} dereferenced before NULL check",
     "pointer {v} returned by {g} is dereferenced before the NULL check in {f} at", 0, 0, 0},
    {"implicit-narrowing", "Rule", "Implicit conversions shall not lose precision.",
     "size_t narrowed to int at line {l}", "implicit conversion from size_t to int in {f} at", 0, 0,
     0},
    {"header-comment", "Comment",
     "Every function shall be preceded by a comment stating its purpose.",
     "{f} has no header comment", "function {f} has no header comment, defined at", 0, 0, 0},
    {"no-recursion", "Rule", "Functions shall not call themselves, directly or indirectly.",
     "{f} is recursive", "function {f} calls itself through {g} at", 0, 0, 0},
    {"const-parameters", "Rule", "Pointer parameters that are only read shall be declared const.",
     "parameter {v} of {f} could be const",
     "parameter {v} of {f} is only read but not declared const, at", 0, 0, 0},
    {"unsafe-string", "Rule", "strcpy, strcat and sprintf shall not be used.", "strcpy at line {l}",
     "strcpy in {f} copies without a length check at", 0, 0, 0},
};

// ---------------------------------------------------------------- planning

enum class Kind : std::uint8_t
{
    File,
    Rule,
    Finding,
    Trace,
    Check
};
enum class State : std::uint8_t
{
    Passed,
    Failed,
    NotEvaluated
};

struct Planned
{
    Kind kind;
    State state;
    std::uint8_t depth; // 1 for files
    std::uint8_t rule;  // index into kRules (rules and what lies below them)
    std::uint32_t sum;  // rules only
};

constexpr std::uint32_t kRuleCount = countOf(kRules);

// Plans one file and everything below it, in document order, within a
// budget of items. Truncating a document-order list keeps a valid tree, so
// the last file of the output simply ends early.
void planFile(Random& rng, std::uint64_t budget, std::vector<Planned>& plan)
{
    plan.clear();
    plan.push_back({Kind::File, State::Passed, 1, 0, 0});

    // Distinct rules per file: a partial shuffle of the rule table.
    std::uint8_t order[kRuleCount];
    for (std::uint32_t i = 0; i < kRuleCount; ++i)
        order[i] = static_cast<std::uint8_t>(i);
    const std::uint32_t rules = rng.between(3, 12);
    for (std::uint32_t i = 0; i < rules; ++i) {
        const std::uint32_t j = i + rng.below(kRuleCount - i);
        std::swap(order[i], order[j]);
        const std::uint8_t rule = order[i];

        const std::uint32_t roll = rng.below(1000);
        if (roll < 30) {
            plan.push_back({Kind::Rule, State::Failed, 2, rule, 0});
            const std::uint32_t findings = rng.between(1, 3);
            for (std::uint32_t k = 0; k < findings; ++k) {
                plan.push_back({Kind::Finding, State::Failed, 3, rule, 0});
                if (rng.chance(250)) {
                    const std::uint32_t steps = rng.between(1, 3);
                    for (std::uint32_t s = 0; s < steps; ++s)
                        plan.push_back({Kind::Trace, State::Failed,
                                        static_cast<std::uint8_t>(4 + s), rule, 0});
                }
            }
        } else if (roll < 75) {
            plan.push_back({Kind::Rule, State::NotEvaluated, 2, rule, rng.between(1, 3)});
        } else {
            const std::uint32_t checks = rng.chance(120) ? rng.between(1, 2) : 0;
            plan.push_back({Kind::Rule, State::Passed, 2, rule, checks + rng.between(1, 30)});
            for (std::uint32_t k = 0; k < checks; ++k)
                plan.push_back({Kind::Check, State::Passed, 3, rule, 0});
        }
    }

    if (plan.size() > budget)
        plan.resize(budget);

    // A failed rule stands for its findings; the file's verdict follows its rules.
    bool anyFailed = false;
    bool anyNotEvaluated = false;
    for (std::size_t i = 1; i < plan.size(); ++i) {
        Planned& p = plan[i];
        if (p.kind != Kind::Rule)
            continue;
        if (p.state == State::Failed) {
            anyFailed = true;
            std::uint32_t findings = 0;
            for (std::size_t k = i + 1; k < plan.size() && plan[k].depth > 2; ++k)
                findings += plan[k].kind == Kind::Finding;
            p.sum = findings == 0 ? 1 : findings;
        } else if (p.state == State::NotEvaluated) {
            anyNotEvaluated = true;
        }
    }
    plan[0].state = anyFailed         ? State::Failed
                    : anyNotEvaluated ? State::NotEvaluated
                                      : State::Passed;
}

// ---------------------------------------------------------------- writing

struct Words
{
    std::string path;          // {p}
    std::string function;      // {f}
    std::string camel;         // {F}
    std::string other;         // {g}
    const char* variable = ""; // {v}
    std::uint32_t line = 0;    // {l}
    std::uint32_t value = 0;   // {n}
    std::uint32_t limit = 0;   // {m}
};

std::string functionName(Random& rng)
{
    std::string name = kVerbs[rng.below(countOf(kVerbs))];
    name += '_';
    name += kNouns[rng.below(countOf(kNouns))];
    return name;
}

std::string camelCase(const std::string& snake)
{
    std::string out;
    bool upper = false;
    for (char c : snake) {
        if (c == '_') {
            upper = true;
            continue;
        }
        out += upper ? static_cast<char>(c - 'a' + 'A') : c;
        upper = false;
    }
    return out;
}

void expand(Writer& out, std::string_view text, const Words& w)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '{' || i + 2 >= text.size() || text[i + 2] != '}') {
            out.put(text[i]);
            continue;
        }
        switch (text[i + 1]) {
        case 'p':
            out.put(w.path);
            break;
        case 'f':
            out.put(w.function);
            break;
        case 'F':
            out.put(w.camel);
            break;
        case 'g':
            out.put(w.other);
            break;
        case 'v':
            out.put(w.variable);
            break;
        case 'l':
            out.number(w.line);
            break;
        case 'n':
            out.number(w.value);
            break;
        case 'm':
            out.number(w.limit);
            break;
        default:
            out.put(text.substr(i, 3));
            break;
        }
        i += 2;
    }
}

// How each verdict is written: the state attribute, the title style suffix, the paragraph style.
struct StateMarkup
{
    const char* state;
    const char* titleSuffix;
    const char* paragraphStyle;
};

const StateMarkup& markupOf(State s)
{
    static const StateMarkup markups[] = {
        {"ok", " Passed", "Normal Passed"},
        {"ko", " Failed", "Normal Failed"},
        {"NE", "", "Warning"},
    };
    return markups[static_cast<int>(s)];
}

class Generator
{
public:
    Generator(Writer& out, std::uint64_t nodes, std::uint64_t seed)
        : out_(out), nodes_(nodes), seed_(seed), rng_(seed)
    {
    }

    void run()
    {
        const char* project = kProjects[seed_ % countOf(kProjects)];
        base_ = "/home/ci/work/";
        base_ += project;
        base_ += '/';

        out_.put("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<XROD>\n <DOCUMENT tag=\"rules\" "
                 "title=\"Rule checking of ");
        out_.put(project);
        out_.put("\" style=\"Normal\">\n  <TITLE style=\"Title0\">Rule checking of ");
        out_.put(project);
        out_.put("</TITLE>\n  <PARAGRAPH style=\"Normal\">Coding rules, naming conventions and "
                 "metrics of rule set core-c 2.4 checked on ");
        out_.put(base_);
        out_.put(" (generated run ");
        out_.number(seed_);
        out_.put(", ");
        out_.number(nodes_);
        out_.put(" result items).</PARAGRAPH>\n");

        std::vector<Planned> plan;
        std::vector<std::uint8_t> open; // depths of the nodes whose section is still open
        while (written_ < nodes_) {
            planFile(rng_, nodes_ - written_, plan);
            for (std::size_t i = 0; i < plan.size(); ++i) {
                const Planned& p = plan[i];
                while (!open.empty() && open.back() >= p.depth) {
                    close();
                    open.pop_back();
                }
                node(p, i + 1 < plan.size() && plan[i + 1].depth > p.depth);
                open.push_back(p.depth);
            }
            while (!open.empty()) {
                close();
                open.pop_back();
            }
        }

        out_.put("  <PARAGRAPH style=\"Normal\">Totals: ");
        out_.number(passed_);
        out_.put(" passed, ");
        out_.number(failed_);
        out_.put(" failed, ");
        out_.number(notEvaluated_);
        out_.put(" not evaluated, in ");
        out_.number(files_);
        out_.put(files_ == 1 ? " file.</PARAGRAPH>\n" : " files.</PARAGRAPH>\n");
        out_.put(" </DOCUMENT>\n</XROD>\n");
    }

private:
    void close()
    {
        out_.put("</SECTION>\n");
        out_.put("</XROD:NODE>\n");
    }

    void node(const Planned& p, bool hasChildren)
    {
        const std::uint64_t number = ++written_;
        hasChildren_ = hasChildren;
        const Rule& rule = kRules[p.rule];

        if (p.kind == Kind::File) {
            fileNumber_ = number;
            startFile();
        }
        w_.limit = rule.limit;
        if (p.kind == Kind::Finding) {
            // A finding fixes the place that its trace steps lead to.
            w_.function = functionName(rng_);
            w_.camel = camelCase(w_.function);
            w_.other = functionName(rng_);
            w_.variable = kVariables[rng_.below(countOf(kVariables))];
            w_.line = rng_.between(12, 1480);
            w_.value = rule.valueMax != 0 ? rng_.between(rule.valueMin, rule.valueMax) : 0;
            caller_ = w_.function;
        } else if (p.kind == Kind::Trace) {
            // One step up the call chain from the finding's function.
            w_.function = caller_;
            w_.other = functionName(rng_);
            caller_ = w_.other;
            w_.line = rng_.between(12, 1480);
        } else if (p.kind == Kind::Check) {
            w_.function = functionName(rng_);
            w_.line = rng_.between(12, 1480);
        }

        // <XROD:NODE name=... type=... state=... [sum=...] [base=...]>
        out_.put("<XROD:NODE name=\"");
        switch (p.kind) {
        case Kind::File:
            out_.put(w_.path);
            break;
        case Kind::Rule:
            out_.put(rule.name);
            break;
        case Kind::Finding:
            if (rng_.chance(500)) {
                out_.put("line ");
                out_.number(w_.line);
            } else {
                out_.put(w_.function);
            }
            break;
        case Kind::Trace:
            out_.put(w_.other);
            break;
        case Kind::Check:
            out_.put(w_.function);
            break;
        }
        out_.put("\" type=\"");
        switch (p.kind) {
        case Kind::File:
            out_.put("File");
            break;
        case Kind::Rule:
            out_.put(rule.type);
            break;
        case Kind::Finding:
            out_.put("Finding");
            break;
        case Kind::Trace:
            out_.put("Trace");
            break;
        case Kind::Check:
            out_.put("Function");
            break;
        }
        out_.put("\" state=\"");
        out_.put(markupOf(p.state).state);
        if (p.kind == Kind::Rule) {
            out_.put("\" sum=\"");
            out_.number(p.sum);
            switch (p.state) {
            case State::Passed:
                passed_ += p.sum;
                break;
            case State::Failed:
                failed_ += p.sum;
                break;
            case State::NotEvaluated:
                notEvaluated_ += p.sum;
                break;
            }
        } else if (p.kind == Kind::File) {
            out_.put("\" base=\"");
            out_.put(base_);
        }
        out_.put("\">\n");

        // <SECTION tag="sN"><TITLE ...>
        out_.put("<SECTION tag=\"s");
        out_.number(number);
        out_.put("\">\n");
        out_.put("<TITLE style=\"Title");
        out_.number(p.depth);
        out_.put(markupOf(p.state).titleSuffix);
        out_.put("\">");
        title(p, rule);
        out_.put("</TITLE>\n");

        out_.put("<PARAGRAPH style=\"");
        out_.put(markupOf(p.state).paragraphStyle);
        out_.put("\">");
        body(p, rule);
        out_.put("</PARAGRAPH>\n");

        if (p.kind == Kind::Rule && std::string_view(rule.type) == "Metric" && rng_.chance(100))
            table(rule, p.state);

        if (rng_.chance(50)) {
            out_.put("<PARAGRAPH style=\"Normal\">");
            seeAlso(number);
            out_.put("</PARAGRAPH>\n");
        }
    }

    void startFile()
    {
        const std::uint64_t i = files_++;
        const std::uint64_t dirs = countOf(kDirs);
        const std::uint64_t combos = dirs * countOf(kBases);
        w_.path = kDirs[i % dirs];
        w_.path += '/';
        w_.path += kBases[(i / dirs) % countOf(kBases)];
        if (i >= combos) {
            w_.path += '_';
            w_.path += std::to_string(i / combos);
        }
        w_.path += rng_.chance(200) ? ".cpp" : ".c";
        w_.function = functionName(rng_);
        w_.line = rng_.between(12, 1480);
    }

    void title(const Planned& p, const Rule& rule)
    {
        switch (p.kind) {
        case Kind::File:
            out_.put(w_.path);
            break;
        case Kind::Rule:
            out_.put(rule.name);
            break;
        case Kind::Finding:
            expand(out_, rule.findingTitle, w_);
            break;
        case Kind::Trace:
            expand(out_, "reached from {g}", w_);
            break;
        case Kind::Check:
            out_.put(w_.function);
            break;
        }
    }

    void sourceLink(std::string_view text)
    {
        out_.put("<LINK target=\"");
        out_.put(w_.path);
        out_.put(" line ");
        out_.number(w_.line);
        out_.put("\">");
        out_.put(text);
        out_.put("</LINK>");
    }

    void lineLink()
    {
        out_.put("<LINK target=\"");
        out_.put(w_.path);
        out_.put(" line ");
        out_.number(w_.line);
        out_.put("\">line ");
        out_.number(w_.line);
        out_.put("</LINK>");
    }

    void body(const Planned& p, const Rule& rule)
    {
        switch (p.kind) {
        case Kind::File:
            out_.number(rng_.between(80, 2400));
            out_.put(" lines, ");
            out_.number(rng_.between(3, 60));
            out_.put(" functions, first at ");
            lineLink();
            out_.put('.');
            break;
        case Kind::Rule:
            if (p.state == State::Failed) {
                expand(out_, rule.statement, w_);
                out_.put(' ');
            }
            if (p.state == State::NotEvaluated) {
                w_.line = rng_.between(12, 1480);
                expand(out_, kNotEvaluated[rng_.below(countOf(kNotEvaluated))], w_);
                out_.put(" See ");
                sourceLink("the first unresolved use");
                out_.put('.');
            } else if (p.state == State::Failed) {
                out_.number(p.sum);
                out_.put(p.sum == 1 ? " violation" : " violations");
                out_.put(hasChildren_ ? ", listed from " : " in ");
                tagLink(hasChildren_ ? written_ + 1 : fileNumber_,
                        hasChildren_ ? "the first finding" : "the file");
                out_.put('.');
            } else {
                out_.number(p.sum);
                out_.put(p.sum == 1 ? " check passed (" : " checks passed (");
                tagLink(fileNumber_, "file");
                out_.put(").");
            }
            break;
        case Kind::Finding:
            expand(out_, rule.findingText, w_);
            out_.put(' ');
            lineLink();
            out_.put('.');
            break;
        case Kind::Trace:
            expand(out_, "{f} is called from {g} at ", w_);
            lineLink();
            out_.put('.');
            break;
        case Kind::Check:
            out_.put("Compliant at ");
            lineLink();
            out_.put('.');
            break;
        }
    }

    void tagLink(std::uint64_t target, std::string_view text)
    {
        out_.put("<LINK target=\"::s");
        out_.number(target);
        out_.put("\">");
        out_.put(text);
        out_.put("</LINK>");
    }

    void seeAlso(std::uint64_t number)
    {
        if (rng_.chance(80)) {
            out_.put("Function metrics are detailed in <LINK target=\"xrdlink://detail.xrd#x");
            out_.number(rng_.between(1, 40));
            out_.put("\">the metrics report</LINK>.");
            return;
        }
        const std::uint64_t target = 1 + (rng_.next() >> 16) % number;
        out_.put("The same pattern was reported in <LINK target=\"::s");
        out_.number(target);
        out_.put("\">result ");
        out_.number(target);
        out_.put("</LINK> of this run.");
    }

    // Values per function; only a failed rule has values above its limit.
    void table(const Rule& rule, State state)
    {
        out_.put("<TABLE style=\"Array\" widths=\"0.5 0.25 0.25\">\n");
        out_.put("<ROW style=\"Array Title\"><CELLTEXT style=\"Array Title\" text=\"Function\"/>"
                 "<CELLTEXT style=\"Array Title\" text=\"Value\"/><CELLTEXT style=\"Array Title\" "
                 "text=\"Limit\"/></ROW>\n");
        const std::uint32_t rows = rng_.between(2, 3);
        for (std::uint32_t r = 0; r < rows; ++r) {
            const std::uint32_t value =
                rng_.between(1, state == State::Failed ? rule.valueMax : rule.limit);
            const char* style = value > rule.limit ? "Array Failed" : "Array Passed";
            out_.put("<ROW style=\"");
            out_.put(style);
            out_.put("\"><CELL>");
            out_.put(functionName(rng_));
            out_.put("</CELL><CELL>");
            out_.number(value);
            out_.put("</CELL><CELL>");
            out_.number(rule.limit);
            out_.put("</CELL></ROW>\n");
        }
        out_.put("</TABLE>\n");
    }

    Writer& out_;
    const std::uint64_t nodes_;
    const std::uint64_t seed_;
    Random rng_;
    std::string base_;
    Words w_;
    std::string caller_;           // innermost caller reached by the current finding's trace
    std::uint64_t fileNumber_ = 0; // number of the current file's node
    bool hasChildren_ = false;     // whether the node being written has nodes below it
    std::uint64_t written_ = 0;
    std::uint64_t files_ = 0;
    std::uint64_t passed_ = 0;
    std::uint64_t failed_ = 0;
    std::uint64_t notEvaluated_ = 0;
};

bool parseNumber(const char* text, std::uint64_t& value)
{
    if (*text == '\0')
        return false;
    std::uint64_t v = 0;
    for (const char* c = text; *c != '\0'; ++c) {
        if (*c < '0' || *c > '9')
            return false;
        const std::uint64_t digit = static_cast<std::uint64_t>(*c - '0');
        if (v > (UINT64_MAX - digit) / 10)
            return false;
        v = v * 10 + digit;
    }
    value = v;
    return true;
}

int usage()
{
    std::fputs("usage: crcgen NODES SEED OUTFILE\n"
               "  NODES    number of result items (XROD:NODE elements) to write\n"
               "  SEED     unsigned decimal seed; the same seed gives the same file\n"
               "  OUTFILE  path of the .crc file to write\n",
               stderr);
    return 64;
}

} // namespace

int main(int argc, char** argv)
{
    std::uint64_t nodes = 0;
    std::uint64_t seed = 0;
    if (argc != 4 || !parseNumber(argv[1], nodes) || !parseNumber(argv[2], seed) ||
        argv[3][0] == '\0')
        return usage();

    const char* path = argv[3];
    std::FILE* file = std::fopen(path, "wb");
    if (file == nullptr) {
        std::fprintf(stderr, "crcgen: cannot write %s: %s\n", path, std::strerror(errno));
        return 1;
    }

    Writer out(file);
    Generator(out, nodes, seed).run();
    out.flush();

    int error = out.failed() ? out.error() : 0;
    if (std::fclose(file) != 0 && error == 0)
        error = errno != 0 ? errno : EIO;
    if (out.failed() || error != 0) {
        std::fprintf(stderr, "crcgen: cannot write %s: %s\n", path,
                     std::strerror(error != 0 ? error : EIO));
        // Drop the truncated output, but never a device or anything else
        // that is not a plain file (writing to /dev/full is a fine test).
        std::error_code ignored;
        if (std::filesystem::is_regular_file(path, ignored))
            std::filesystem::remove(path, ignored);
        return 1;
    }
    return 0;
}

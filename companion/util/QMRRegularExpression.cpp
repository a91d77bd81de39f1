#include "companion/util/QMRRegularExpression.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <array>
#include <utility>

#include <fmt/format.h>

#include "companion/util/comQuillmereUtil_ExceptionUtil.h"

namespace {
// Without an assigned stack the JIT uses 32 KB of the machine stack. A pattern such as
// "(?:(?!</x>).)+" keeps a backtracking frame per character (8 to 32 bytes measured), so a long
// element needs far more: a search that overflows is run again on a stack that may grow to this
// size. Only the pages touched are committed, and the stack lives for that one search.
constexpr PCRE2_SIZE kLargeJitStackStartBytes = 256 * 1024;
constexpr PCRE2_SIZE kLargeJitStackMaxBytes = 64 * 1024 * 1024;

// Bounds the interpreter, used when the JIT is unavailable: a runaway backtrack ends in an error
// instead of taking the process's memory.
constexpr std::uint32_t kHeapLimitKibibytes = 256 * 1024;

std::string pcre2Message(int errorCode) {
    std::array<PCRE2_UCHAR, 256> buffer{};
    if (pcre2_get_error_message(errorCode, buffer.data(), buffer.size()) < 0) return "unknown error";
    return reinterpret_cast<const char*>(buffer.data());
}

struct MatchDataDeleter {
    void operator()(pcre2_match_data* data) const { pcre2_match_data_free(data); }
};
struct MatchContextDeleter {
    void operator()(pcre2_match_context* context) const { pcre2_match_context_free(context); }
};
struct JitStackDeleter {
    void operator()(pcre2_jit_stack* stack) const { pcre2_jit_stack_free(stack); }
};
struct CompileContextDeleter {
    void operator()(pcre2_compile_context* context) const { pcre2_compile_context_free(context); }
};

// Repeated searches over one subject. The first search validates the whole subject as UTF-8; later
// ones skip the check, which would otherwise rescan the subject each time and make a walk over
// all matches quadratic.
class SubjectMatcher {
public:
    SubjectMatcher(const pcre2_code* code, std::string_view subject)
        : _code(code),
          _subject(subject),
          _matchData(pcre2_match_data_create_from_pattern(code, nullptr)),
          _context(pcre2_match_context_create(nullptr)) {
        if (!_matchData || !_context) throw std::bad_alloc();
        pcre2_set_heap_limit(_context.get(), kHeapLimitKibibytes);
    }

    // True for a match, false for none; throws when the search cannot be completed.
    bool matchAt(PCRE2_SIZE offset, std::uint32_t options) {
        if (_validated) options |= PCRE2_NO_UTF_CHECK;
        int result = run(offset, options);
        if (result == PCRE2_ERROR_JIT_STACKLIMIT && !_largeStack) {
            _largeStack.reset(pcre2_jit_stack_create(kLargeJitStackStartBytes, kLargeJitStackMaxBytes, nullptr));
            if (_largeStack) {
                pcre2_jit_stack_assign(_context.get(), nullptr, _largeStack.get());
                result = run(offset, options);
            }
        }
        if (result == PCRE2_ERROR_NOMATCH) {
            _validated = true;
            return false;
        }
        if (result <= 0) fail(result);
        _validated = true;
        const PCRE2_SIZE* ovector = pcre2_get_ovector_pointer(_matchData.get());
        // Only \K inside a look-around could put the start after the end; PCRE2 refuses that by default.
        if (ovector[0] > ovector[1]) fail(PCRE2_ERROR_BADOFFSET);
        return true;
    }

    PCRE2_SIZE matchStart() const { return pcre2_get_ovector_pointer(_matchData.get())[0]; }
    PCRE2_SIZE matchEnd() const { return pcre2_get_ovector_pointer(_matchData.get())[1]; }

    // The last match with ranges moved by base (where the subject starts in the caller's text).
    QMRRegularExpressionMatch match(std::size_t base) const {
        const PCRE2_SIZE* ovector = pcre2_get_ovector_pointer(_matchData.get());
        const std::uint32_t pairs = pcre2_get_ovector_count(_matchData.get());
        std::vector<QMRTextRange> ranges(pairs);
        for (std::uint32_t i = 0; i < pairs; ++i) {
            const PCRE2_SIZE start = ovector[2 * i];
            const PCRE2_SIZE end = ovector[2 * i + 1];
            if (start != PCRE2_UNSET && end >= start) ranges[i] = QMRTextRange{base + start, end - start};
        }
        return QMRRegularExpressionMatch(std::move(ranges));
    }

private:
    int run(PCRE2_SIZE offset, std::uint32_t options) {
        return pcre2_match(_code, reinterpret_cast<PCRE2_SPTR>(_subject.data()), _subject.size(), offset, options,
                           _matchData.get(), _context.get());
    }

    [[noreturn]] void fail(int errorCode) const {
        std::string what = fmt::format("Regular expression search failed: {}", pcre2Message(errorCode));
        if (errorCode <= PCRE2_ERROR_UTF8_ERR1 && errorCode >= PCRE2_ERROR_UTF8_ERR21)
            what += fmt::format(" at byte {} of the searched text", pcre2_get_startchar(_matchData.get()));
        throw QMRRegularExpressionMatchException(what, errorCode);
    }

    const pcre2_code* _code;
    std::string_view _subject;
    std::unique_ptr<pcre2_match_data, MatchDataDeleter> _matchData;
    std::unique_ptr<pcre2_match_context, MatchContextDeleter> _context;
    std::unique_ptr<pcre2_jit_stack, JitStackDeleter> _largeStack;
    bool _validated = false;
};

// The offset of the character after the one at offset; a CRLF counts as one character, as it is
// one line end.
PCRE2_SIZE nextCharacterOffset(std::string_view subject, PCRE2_SIZE offset) {
    if (subject[offset] == '\r' && offset + 1 < subject.size() && subject[offset + 1] == '\n') return offset + 2;
    ++offset;
    while (offset < subject.size() && (static_cast<unsigned char>(subject[offset]) & 0xC0) == 0x80) ++offset;
    return offset;
}

std::string_view subjectWithin(std::string_view text, QMRTextRange range) {
    if (range.location > text.size() || range.length > text.size() - range.location)
        comQuillmereUtil_ExceptionUtil::raise(
            QMRRangeException::exceptionName,
            fmt::format("Range {{{}, {}}} beyond the text of {} bytes", range.location, range.length, text.size()));
    return text.substr(range.location, range.length);
}

QMRTextRange wholeOf(std::string_view text) {
    return QMRTextRange{0, text.size()};
}
}  // namespace

class QMRRegularExpression::CompiledPattern {
public:
    explicit CompiledPattern(pcre2_code* code) : _code(code) {}
    ~CompiledPattern() { pcre2_code_free(_code); }
    CompiledPattern(const CompiledPattern&) = delete;
    CompiledPattern& operator=(const CompiledPattern&) = delete;

    const pcre2_code* code() const { return _code; }

private:
    pcre2_code* _code;
};

QMRRegularExpression::QMRRegularExpression(std::string_view pattern, QMRRegularExpressionOptions options)
    : _pattern(pattern), _options(options) {
    std::unique_ptr<pcre2_compile_context, CompileContextDeleter> context(pcre2_compile_context_create(nullptr));
    if (!context) throw std::bad_alloc();
    pcre2_set_newline(context.get(), PCRE2_NEWLINE_ANYCRLF);

    // UCP gives \w, \d, \b and caseless matching their Unicode meaning; \C could stop a match inside
    // a character, which the walk over matches relies on never happening.
    std::uint32_t compileOptions = PCRE2_UTF | PCRE2_UCP | PCRE2_NEVER_BACKSLASH_C;
    if (options & QMRRegularExpressionOptions::CaseInsensitive) compileOptions |= PCRE2_CASELESS;
    if (options & QMRRegularExpressionOptions::DotMatchesLineSeparators) compileOptions |= PCRE2_DOTALL;
    if (options & QMRRegularExpressionOptions::AnchorsMatchLines) compileOptions |= PCRE2_MULTILINE;

    int errorCode = 0;
    PCRE2_SIZE errorOffset = 0;
    pcre2_code* code = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.data()), pattern.size(), compileOptions,
                                     &errorCode, &errorOffset, context.get());
    if (!code)
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              fmt::format("Invalid regular expression \"{}\": {} at offset {}",
                                                          _pattern, pcre2Message(errorCode), errorOffset));
    _compiled = std::make_shared<const CompiledPattern>(code);

    // Without the JIT (unsupported platform, no executable memory) the interpreter gives the same results.
    pcre2_jit_compile(code, PCRE2_JIT_COMPLETE);

    std::uint32_t captureCount = 0;
    pcre2_pattern_info(code, PCRE2_INFO_CAPTURECOUNT, &captureCount);
    _captureGroupCount = captureCount;
}

void QMRRegularExpression::enumerateMatchesInString(std::string_view text, QMRTextRange range,
                                                    const MatchBlock& block) const {
    const std::string_view subject = subjectWithin(text, range);
    SubjectMatcher matcher(_compiled->code(), subject);
    PCRE2_SIZE offset = 0;
    // After an empty match, first look for a non-empty one at the same place (as Perl does).
    std::uint32_t options = 0;
    for (;;) {
        if (!matcher.matchAt(offset, options)) {
            if (options == 0) return;
            offset = nextCharacterOffset(subject, offset);
            options = 0;
            continue;
        }
        bool stop = false;
        block(matcher.match(range.location), stop);
        if (stop) return;
        const PCRE2_SIZE end = matcher.matchEnd();
        if (matcher.matchStart() == end) {
            if (end == subject.size()) return;
            options = PCRE2_NOTEMPTY_ATSTART | PCRE2_ANCHORED;
        } else {
            options = 0;
        }
        offset = end;
    }
}

void QMRRegularExpression::enumerateMatchesInString(std::string_view text, const MatchBlock& block) const {
    enumerateMatchesInString(text, wholeOf(text), block);
}

std::optional<QMRRegularExpressionMatch> QMRRegularExpression::firstMatchInString(std::string_view text,
                                                                                  QMRTextRange range) const {
    std::optional<QMRRegularExpressionMatch> first;
    enumerateMatchesInString(text, range, [&first](const QMRRegularExpressionMatch& match, bool& stop) {
        first = match;
        stop = true;
    });
    return first;
}

std::optional<QMRRegularExpressionMatch> QMRRegularExpression::firstMatchInString(std::string_view text) const {
    return firstMatchInString(text, wholeOf(text));
}

std::vector<QMRRegularExpressionMatch> QMRRegularExpression::matchesInString(std::string_view text,
                                                                             QMRTextRange range) const {
    std::vector<QMRRegularExpressionMatch> matches;
    enumerateMatchesInString(text, range,
                             [&matches](const QMRRegularExpressionMatch& match, bool&) { matches.push_back(match); });
    return matches;
}

std::vector<QMRRegularExpressionMatch> QMRRegularExpression::matchesInString(std::string_view text) const {
    return matchesInString(text, wholeOf(text));
}

std::size_t QMRRegularExpression::numberOfMatchesInString(std::string_view text, QMRTextRange range) const {
    std::size_t count = 0;
    enumerateMatchesInString(text, range, [&count](const QMRRegularExpressionMatch&, bool&) { ++count; });
    return count;
}

std::size_t QMRRegularExpression::numberOfMatchesInString(std::string_view text) const {
    return numberOfMatchesInString(text, wholeOf(text));
}

std::string QMRRegularExpression::stringByReplacingMatchesInString(std::string_view text,
                                                                   std::string_view replacement) const {
    std::string result;
    std::size_t copiedUpTo = 0;
    enumerateMatchesInString(text, [&](const QMRRegularExpressionMatch& match, bool&) {
        const QMRTextRange range = match.range();
        result.append(text.substr(copiedUpTo, range.location - copiedUpTo));
        result.append(replacement);
        copiedUpTo = range.end();
    });
    result.append(text.substr(copiedUpTo));
    return result;
}

#include "companion/util/QMRRegularExpression.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <array>
#include <cstring>
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

[[noreturn]] void failSearch(int errorCode, pcre2_match_data* matchData) {
    std::string what = fmt::format("Regular expression search failed: {}", pcre2Message(errorCode));
    if (errorCode <= PCRE2_ERROR_UTF8_ERR1 && errorCode >= PCRE2_ERROR_UTF8_ERR21)
        what += fmt::format(" at byte {} of the searched text", pcre2_get_startchar(matchData));
    throw QMRRegularExpressionMatchException(what, errorCode);
}

// Match data and context for one search. Creating them costs more than a short search itself, so
// each thread keeps a few for reuse; a list, as a block called during a walk may search again.
struct MatchScratch {
    std::unique_ptr<pcre2_match_data, MatchDataDeleter> data;
    std::uint32_t pairs = 0;
    std::unique_ptr<pcre2_match_context, MatchContextDeleter> context;
};

class MatchScratchPool {
public:
    std::unique_ptr<MatchScratch> acquire(std::uint32_t pairs) {
        std::unique_ptr<MatchScratch> scratch;
        if (_free.empty()) {
            scratch = std::make_unique<MatchScratch>();
            scratch->context.reset(pcre2_match_context_create(nullptr));
            if (!scratch->context) throw std::bad_alloc();
            pcre2_set_heap_limit(scratch->context.get(), kHeapLimitKibibytes);
        } else {
            scratch = std::move(_free.back());
            _free.pop_back();
        }
        if (scratch->pairs < pairs) {
            scratch->data.reset(pcre2_match_data_create(pairs, nullptr));
            if (!scratch->data) throw std::bad_alloc();
            scratch->pairs = pairs;
        }
        return scratch;
    }

    void release(std::unique_ptr<MatchScratch> scratch) noexcept {
        if (_free.size() >= kKept) return;
        try {
            _free.push_back(std::move(scratch));
        } catch (const std::bad_alloc&) {  // the scratch is freed instead
        }
    }

private:
    static constexpr std::size_t kKept = 8;
    std::vector<std::unique_ptr<MatchScratch>> _free;
};

thread_local MatchScratchPool scratchPool;

// Repeated searches over one subject. Unless the subject is known to be valid UTF-8, the first
// search checks it whole; later ones skip the check, which would otherwise rescan the subject each
// time and make a walk over all matches quadratic.
class SubjectMatcher {
public:
    SubjectMatcher(const pcre2_code* code, std::uint32_t pairs, std::string_view subject, bool validated)
        : _code(code), _pairs(pairs), _subject(subject), _scratch(scratchPool.acquire(pairs)), _validated(validated) {}
    ~SubjectMatcher() {
        // The context goes back to the pool: it must not keep the stack freed with this matcher.
        if (_largeStack) pcre2_jit_stack_assign(_scratch->context.get(), nullptr, nullptr);
        scratchPool.release(std::move(_scratch));
    }
    SubjectMatcher(const SubjectMatcher&) = delete;
    SubjectMatcher& operator=(const SubjectMatcher&) = delete;

    // True for a match, false for none; throws when the search cannot be completed.
    bool matchAt(PCRE2_SIZE offset, std::uint32_t options) {
        if (_validated) options |= PCRE2_NO_UTF_CHECK;
        int result = run(offset, options);
        if (result == PCRE2_ERROR_JIT_STACKLIMIT && !_largeStack) {
            _largeStack.reset(pcre2_jit_stack_create(kLargeJitStackStartBytes, kLargeJitStackMaxBytes, nullptr));
            if (_largeStack) {
                pcre2_jit_stack_assign(_scratch->context.get(), nullptr, _largeStack.get());
                result = run(offset, options);
            }
        }
        if (result == PCRE2_ERROR_NOMATCH) {
            _validated = true;
            return false;
        }
        if (result <= 0) failSearch(result, _scratch->data.get());
        _validated = true;
        const PCRE2_SIZE* ovector = pcre2_get_ovector_pointer(_scratch->data.get());
        // Only \K inside a look-around could put the start after the end; PCRE2 refuses that by default.
        if (ovector[0] > ovector[1]) failSearch(PCRE2_ERROR_BADOFFSET, _scratch->data.get());
        return true;
    }

    PCRE2_SIZE matchStart() const { return pcre2_get_ovector_pointer(_scratch->data.get())[0]; }
    PCRE2_SIZE matchEnd() const { return pcre2_get_ovector_pointer(_scratch->data.get())[1]; }

    // The last match with ranges moved by base (where the subject starts in the caller's text).
    QMRRegularExpressionMatch match(std::size_t base) const {
        const PCRE2_SIZE* ovector = pcre2_get_ovector_pointer(_scratch->data.get());
        // The pooled match data may hold more pairs than the pattern has groups: read only the pattern's.
        std::vector<QMRTextRange> ranges(_pairs);
        for (std::uint32_t i = 0; i < _pairs; ++i) {
            const PCRE2_SIZE start = ovector[2 * i];
            const PCRE2_SIZE end = ovector[2 * i + 1];
            if (start != PCRE2_UNSET && end >= start) ranges[i] = QMRTextRange{base + start, end - start};
        }
        return QMRRegularExpressionMatch(std::move(ranges));
    }

private:
    int run(PCRE2_SIZE offset, std::uint32_t options) {
        return pcre2_match(_code, reinterpret_cast<PCRE2_SPTR>(_subject.data()), _subject.size(), offset, options,
                           _scratch->data.get(), _scratch->context.get());
    }

    const pcre2_code* _code;
    std::uint32_t _pairs;
    std::string_view _subject;
    std::unique_ptr<MatchScratch> _scratch;
    std::unique_ptr<pcre2_jit_stack, JitStackDeleter> _largeStack;
    bool _validated;
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

bool isCharacterBound(std::string_view text, std::size_t offset) {
    return offset >= text.size() || (static_cast<unsigned char>(text[offset]) & 0xC0) != 0x80;
}

// Matches in subject order, never overlapping; visit(matcher) returns false to stop. After an
// empty match, first look for a non-empty one at the same place (as Perl does), then go on one
// character further, so the walk always ends.
template <class Visit>
void walkMatches(const pcre2_code* code, std::uint32_t pairs, std::string_view subject, bool validated, Visit visit) {
    SubjectMatcher matcher(code, pairs, subject, validated);
    PCRE2_SIZE offset = 0;
    std::uint32_t options = 0;
    for (;;) {
        if (!matcher.matchAt(offset, options)) {
            if (options == 0) return;
            offset = nextCharacterOffset(subject, offset);
            options = 0;
            continue;
        }
        if (!visit(std::as_const(matcher))) return;
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
}  // namespace

namespace {
// Well-formed UTF-8 as RFC 3629 has it (no overlong forms, no surrogates, nothing past U+10FFFF):
// what PCRE2 accepts in UTF mode. Runs of ASCII, most of a page, are checked four words at a time.
bool isWellFormedUtf8(std::string_view text) {
    const auto* at = reinterpret_cast<const unsigned char*>(text.data());
    const auto* const end = at + text.size();
    while (at < end) {
        if (end - at >= 32) {
            std::uint64_t words[4];
            std::memcpy(words, at, sizeof words);
            if (((words[0] | words[1] | words[2] | words[3]) & 0x8080808080808080ULL) == 0) {
                at += 32;
                continue;
            }
        }
        const unsigned char lead = *at;
        if (lead < 0x80) {
            ++at;
            continue;
        }
        // The range of the byte after the lead narrows for the leads that could start an overlong
        // form, a surrogate or a value past U+10FFFF; every later byte is 80..BF.
        std::size_t length = 0;
        unsigned char low = 0x80, high = 0xBF;
        if (lead >= 0xC2 && lead <= 0xDF) {
            length = 2;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            length = 3;
            if (lead == 0xE0) low = 0xA0;
            if (lead == 0xED) high = 0x9F;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            length = 4;
            if (lead == 0xF0) low = 0x90;
            if (lead == 0xF4) high = 0x8F;
        } else {
            return false;
        }
        if (static_cast<std::size_t>(end - at) < length || at[1] < low || at[1] > high) return false;
        for (std::size_t index = 2; index < length; ++index)
            if (at[index] < 0x80 || at[index] > 0xBF) return false;
        at += length;
    }
    return true;
}
}  // namespace

QMRUtf8Text QMRUtf8Text::validated(std::string_view text) {
    if (isWellFormedUtf8(text)) return QMRUtf8Text(text);
    // PCRE2's own check says how and where the text fails: a search checks its whole text first,
    // and the empty pattern then matches at once.
    static const QMRRegularExpression empty("");
    empty.firstMatchInString(text);
    return QMRUtf8Text(text);
}

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

std::uint32_t QMRRegularExpression::pairCount() const {
    return static_cast<std::uint32_t>(_captureGroupCount) + 1;
}

void QMRRegularExpression::enumerate(std::string_view text, QMRTextRange range, bool validated,
                                     const MatchBlock& block) const {
    walkMatches(_compiled->code(), pairCount(), subjectWithin(text, range), validated,
                [&](const SubjectMatcher& matcher) {
                    bool stop = false;
                    block(matcher.match(range.location), stop);
                    return !stop;
                });
}

std::optional<QMRRegularExpressionMatch> QMRRegularExpression::firstMatch(std::string_view text, QMRTextRange range,
                                                                          bool validated) const {
    std::optional<QMRRegularExpressionMatch> first;
    walkMatches(_compiled->code(), pairCount(), subjectWithin(text, range), validated,
                [&](const SubjectMatcher& matcher) {
                    first = matcher.match(range.location);
                    return false;
                });
    return first;
}

void QMRRegularExpression::enumerateMatchesInString(std::string_view text, QMRTextRange range,
                                                    const MatchBlock& block) const {
    enumerate(text, range, false, block);
}

void QMRRegularExpression::enumerateMatchesInString(std::string_view text, const MatchBlock& block) const {
    enumerate(text, wholeOf(text), false, block);
}

void QMRRegularExpression::enumerateMatchesInString(const QMRUtf8Text& text, const MatchBlock& block) const {
    enumerate(text.view(), wholeOf(text.view()), true, block);
}

std::optional<QMRRegularExpressionMatch> QMRRegularExpression::firstMatchInString(std::string_view text,
                                                                                  QMRTextRange range) const {
    return firstMatch(text, range, false);
}

std::optional<QMRRegularExpressionMatch> QMRRegularExpression::firstMatchInString(std::string_view text) const {
    return firstMatch(text, wholeOf(text), false);
}

std::optional<QMRRegularExpressionMatch> QMRRegularExpression::firstMatchInString(const QMRUtf8Text& text,
                                                                                  QMRTextRange range) const {
    const std::string_view whole = text.view();
    // A range cutting a character would hand PCRE2 unchecked text that is not UTF-8.
    if (!isCharacterBound(whole, range.location) || !isCharacterBound(whole, range.end()))
        comQuillmereUtil_ExceptionUtil::raise(
            QMRRangeException::exceptionName,
            fmt::format("Range {{{}, {}}} cuts a character of the text", range.location, range.length));
    return firstMatch(whole, range, true);
}

std::vector<QMRRegularExpressionMatch> QMRRegularExpression::matchesInString(std::string_view text,
                                                                             QMRTextRange range) const {
    std::vector<QMRRegularExpressionMatch> matches;
    walkMatches(_compiled->code(), pairCount(), subjectWithin(text, range), false, [&](const SubjectMatcher& matcher) {
        matches.push_back(matcher.match(range.location));
        return true;
    });
    return matches;
}

std::vector<QMRRegularExpressionMatch> QMRRegularExpression::matchesInString(std::string_view text) const {
    return matchesInString(text, wholeOf(text));
}

std::size_t QMRRegularExpression::numberOfMatchesInString(std::string_view text, QMRTextRange range) const {
    std::size_t count = 0;
    walkMatches(_compiled->code(), pairCount(), subjectWithin(text, range), false, [&count](const SubjectMatcher&) {
        ++count;
        return true;
    });
    return count;
}

std::size_t QMRRegularExpression::numberOfMatchesInString(std::string_view text) const {
    return numberOfMatchesInString(text, wholeOf(text));
}

std::string QMRRegularExpression::stringByReplacingMatchesInString(std::string_view text,
                                                                   std::string_view replacement) const {
    std::string result;
    std::size_t copiedUpTo = 0;
    walkMatches(_compiled->code(), pairCount(), text, false, [&](const SubjectMatcher& matcher) {
        result.append(text.substr(copiedUpTo, matcher.matchStart() - copiedUpTo));
        result.append(replacement);
        copiedUpTo = matcher.matchEnd();
        return true;
    });
    result.append(text.substr(copiedUpTo));
    return result;
}

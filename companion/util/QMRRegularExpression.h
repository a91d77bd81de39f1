#pragma once
// Regular expressions with Perl syntax over UTF-8 text (PCRE2, JIT-compiled). Compiled once in the
// constructor; the object is immutable afterwards, so it may be reused for any number of texts and
// shared between threads. Copies share the compiled pattern.
//
// Line ends are LF, CR and CRLF alike: "." does not match them (unless DotMatchesLineSeparators)
// and, with AnchorsMatchLines, "^" and "$" match next to each of them.
//
// Searching a range of a text behaves as if the range were the whole text: "^" and "$" match at its
// bounds and look-arounds do not see past them. Ranges in results are byte ranges of the full text.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "companion/util/QMRRegularExpressionMatch.h"
#include "companion/util/QMRTextRange.h"

// Bit values as the platform numbered them, so combined values read the same (9 = case-insensitive
// and dot-matches-line-separators).
enum class QMRRegularExpressionOptions : std::uint32_t {
    None = 0,
    CaseInsensitive = 1U << 0,
    DotMatchesLineSeparators = 1U << 3,
    AnchorsMatchLines = 1U << 4,
};

constexpr QMRRegularExpressionOptions operator|(QMRRegularExpressionOptions a, QMRRegularExpressionOptions b) {
    return static_cast<QMRRegularExpressionOptions>(static_cast<std::uint32_t>(a) | static_cast<std::uint32_t>(b));
}
constexpr bool operator&(QMRRegularExpressionOptions a, QMRRegularExpressionOptions b) {
    return (static_cast<std::uint32_t>(a) & static_cast<std::uint32_t>(b)) != 0;
}

// A search that could not be completed: the text is not valid UTF-8, or the match ran out of the
// resources it may use (backtracking stack, match or heap limit). The text must then be treated as
// unrecognised: it is neither a match nor a no-match.
class QMRRegularExpressionMatchException : public std::runtime_error {
public:
    QMRRegularExpressionMatchException(const std::string& what, int errorCode)
        : std::runtime_error(what), _errorCode(errorCode) {}
    // PCRE2's (negative) error code.
    int errorCode() const noexcept { return _errorCode; }

private:
    int _errorCode;
};

// A view of a text that has passed the UTF-8 check every search otherwise makes, so that searches
// of it, or of ranges of it, skip that check: a page whose rows are searched one by one is then
// checked once instead of once more per row. The text must outlive the view and must not change.
class QMRUtf8Text {
public:
    // Raises QMRRegularExpressionMatchException (with PCRE2's UTF-8 error code) when text is not
    // valid UTF-8.
    static QMRUtf8Text validated(std::string_view text);

    std::string_view view() const noexcept { return _text; }

private:
    explicit QMRUtf8Text(std::string_view text) : _text(text) {}

    std::string_view _text;
};

class QMRRegularExpression {
public:
    // Raises QMRInvalidArgumentException, with PCRE2's message and the offset in the pattern, when
    // the pattern does not compile.
    explicit QMRRegularExpression(std::string_view pattern,
                                  QMRRegularExpressionOptions options = QMRRegularExpressionOptions::None);
    // Copies share the compiled pattern. There is deliberately no move: a moved-from object stays usable.
    QMRRegularExpression(const QMRRegularExpression&) = default;
    QMRRegularExpression& operator=(const QMRRegularExpression&) = default;

    const std::string& pattern() const noexcept { return _pattern; }
    QMRRegularExpressionOptions options() const noexcept { return _options; }
    std::size_t numberOfCaptureGroups() const noexcept { return _captureGroupCount; }

    // Every function below raises QMRRangeException when range does not lie within text, and
    // QMRRegularExpressionMatchException when the search cannot be completed.

    // Matches in text order, never overlapping. After an empty match the search goes on one
    // character further, so the walk always ends. Set stop to end the walk early.
    using MatchBlock = std::function<void(const QMRRegularExpressionMatch& match, bool& stop)>;
    void enumerateMatchesInString(std::string_view text, QMRTextRange range, const MatchBlock& block) const;
    void enumerateMatchesInString(std::string_view text, const MatchBlock& block) const;

    std::optional<QMRRegularExpressionMatch> firstMatchInString(std::string_view text) const;
    std::optional<QMRRegularExpressionMatch> firstMatchInString(std::string_view text, QMRTextRange range) const;

    // The same searches over a text already checked: no UTF-8 check. The range must also start and
    // end at character bounds (as the range of any match in the text does); otherwise
    // QMRRangeException.
    void enumerateMatchesInString(const QMRUtf8Text& text, const MatchBlock& block) const;
    std::optional<QMRRegularExpressionMatch> firstMatchInString(const QMRUtf8Text& text, QMRTextRange range) const;

    std::vector<QMRRegularExpressionMatch> matchesInString(std::string_view text) const;
    std::vector<QMRRegularExpressionMatch> matchesInString(std::string_view text, QMRTextRange range) const;

    std::size_t numberOfMatchesInString(std::string_view text) const;
    std::size_t numberOfMatchesInString(std::string_view text, QMRTextRange range) const;

    // text with every match replaced by replacement. The replacement is literal: "$" and "\" have no
    // special meaning. An empty replacement removes the matches.
    std::string stringByReplacingMatchesInString(std::string_view text, std::string_view replacement) const;

private:
    class CompiledPattern;

    // Ovector pairs a search needs: the whole match and each group.
    std::uint32_t pairCount() const;
    // validated: the text is known to be UTF-8, so PCRE2 need not check it.
    void enumerate(std::string_view text, QMRTextRange range, bool validated, const MatchBlock& block) const;
    std::optional<QMRRegularExpressionMatch> firstMatch(std::string_view text, QMRTextRange range,
                                                        bool validated) const;

    std::string _pattern;
    QMRRegularExpressionOptions _options;
    std::shared_ptr<const CompiledPattern> _compiled;
    std::size_t _captureGroupCount = 0;
};

#pragma once
// One match of a QMRRegularExpression: the range of the whole match and of each capture group, as
// byte ranges of the text that was searched (not of a sub-range given to the search).
#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "companion/util/QMRTextRange.h"

class QMRRegularExpressionMatch {
public:
    // ranges[0] is the whole match, ranges[i] capture group i.
    explicit QMRRegularExpressionMatch(std::vector<QMRTextRange> ranges);

    // The whole match.
    QMRTextRange range() const { return _ranges.front(); }
    // One more than the number of capture groups in the pattern.
    std::size_t numberOfRanges() const { return _ranges.size(); }
    // Group index (0 = whole match); a group that took no part in the match is not found().
    // An index beyond the pattern's groups raises QMRRangeException.
    QMRTextRange rangeAtIndex(std::size_t index) const;

    // The text of group index within the text that was searched; nullopt for a group that took no
    // part in the match. The view points into text.
    std::optional<std::string_view> substringAtIndex(std::string_view text, std::size_t index) const;

private:
    std::vector<QMRTextRange> _ranges;
};

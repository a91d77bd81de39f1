#include "companion/util/QMRRegularExpressionMatch.h"

#include <utility>

#include <fmt/format.h>

#include "companion/util/comQuillmereUtil_ExceptionUtil.h"

QMRRegularExpressionMatch::QMRRegularExpressionMatch(std::vector<QMRTextRange> ranges) : _ranges(std::move(ranges)) {
    if (_ranges.empty() || !_ranges.front().found())
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              "A match needs the range of the whole match");
}

QMRTextRange QMRRegularExpressionMatch::rangeAtIndex(std::size_t index) const {
    if (index >= _ranges.size())
        comQuillmereUtil_ExceptionUtil::raise(
            QMRRangeException::exceptionName,
            fmt::format("Capture group index {} beyond the {} ranges of the match", index, _ranges.size()));
    return _ranges[index];
}

std::optional<std::string_view> QMRRegularExpressionMatch::substringAtIndex(std::string_view text,
                                                                            std::size_t index) const {
    const QMRTextRange range = rangeAtIndex(index);
    if (!range.found()) return std::nullopt;
    if (range.location > text.size() || range.length > text.size() - range.location)
        comQuillmereUtil_ExceptionUtil::raise(QMRRangeException::exceptionName,
                                              "The text is shorter than the one the match was found in");
    return text.substr(range.location, range.length);
}

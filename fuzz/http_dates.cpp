// The date texts servers send: HTTP "Date" headers and WebDAV's getlastmodified (RFC 1123), the
// WebDAV custom properties (XML dates), the media server's compact dates, and ownCloud's listing
// titles of both releases. A date read and written again must read back the same, to the second.
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "companion/util/QMRDateFormat.h"
#include "fuzz/FuzzSupport.h"

namespace {

using Reader = std::optional<QMRDate> (*)(std::string_view);
using Writer = std::string (*)(QMRDate);

void readAndWriteBack(std::string_view text, Reader read, Writer write) {
    const std::optional<QMRDate> date = read(text);
    if (!date) return;
    (void)QMRDateFormat::toLocalTimeDisplayString(*date);
    const QMRDate second = std::chrono::floor<std::chrono::seconds>(*date);
    fuzz::require(read(write(*date)) == second, "a date written out reads back to the second");
}

std::optional<QMRDate> withCommaAfterYear(std::string_view text) {
    return QMRDateFormat::fromMonthDayYearTimeString(text, true);
}

std::optional<QMRDate> withoutCommaAfterYear(std::string_view text) {
    return QMRDateFormat::fromMonthDayYearTimeString(text, false);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = fuzz::textOf(data, size);
    readAndWriteBack(text, QMRDateFormat::fromRfc1123String, QMRDateFormat::toRfc1123String);
    readAndWriteBack(text, QMRDateFormat::fromXmlDateString, QMRDateFormat::toXmlDateString);
    readAndWriteBack(text, QMRDateFormat::fromCompactDateString, QMRDateFormat::toCompactDateString);
    for (Reader read : {withCommaAfterYear, withoutCommaAfterYear})
        if (const std::optional<QMRDate> date = read(text)) (void)QMRDateFormat::toLocalTimeDisplayString(*date);
    return 0;
}

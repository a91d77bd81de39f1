#include "companion/util/QMRBase64.h"

#include <cstddef>
#include <cstdint>

namespace {
constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
}  // namespace

std::string QMRBase64::base64EncodedString(QMRDataView data) {
    std::string encoded;
    encoded.reserve((data.size() + 2) / 3 * 4);
    std::size_t i = 0;
    for (; i + 3 <= data.size(); i += 3) {
        const std::uint32_t group = (std::uint32_t{data[i]} << 16) | (std::uint32_t{data[i + 1]} << 8) | data[i + 2];
        encoded += kAlphabet[(group >> 18) & 0x3F];
        encoded += kAlphabet[(group >> 12) & 0x3F];
        encoded += kAlphabet[(group >> 6) & 0x3F];
        encoded += kAlphabet[group & 0x3F];
    }
    const std::size_t rest = data.size() - i;
    if (rest > 0) {
        const std::uint32_t group = (std::uint32_t{data[i]} << 16) | (rest == 2 ? std::uint32_t{data[i + 1]} << 8 : 0);
        encoded += kAlphabet[(group >> 18) & 0x3F];
        encoded += kAlphabet[(group >> 12) & 0x3F];
        encoded += rest == 2 ? kAlphabet[(group >> 6) & 0x3F] : '=';
        encoded += '=';
    }
    return encoded;
}

std::string QMRBase64::base64EncodedString(std::string_view text) {
    return base64EncodedString(QMRDataView(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
}

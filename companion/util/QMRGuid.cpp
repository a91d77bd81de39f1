#include "companion/util/QMRGuid.h"

#include <cstddef>
#include <random>

namespace {
constexpr std::size_t kDashedLength = 36;
constexpr std::size_t kUndashedLength = 32;

bool isDashPosition(std::size_t index) {
    return index == 8 || index == 13 || index == 18 || index == 23;
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}
}  // namespace

QMRGuid QMRGuid::newGuid() {
    // random_device reads the kernel's generator (getrandom or /dev/urandom), not a seeded PRNG.
    std::random_device source;
    Bytes bytes{};
    for (std::size_t i = 0; i < bytes.size(); i += 4) {
        const std::uint32_t word = source();
        for (std::size_t k = 0; k < 4; ++k) bytes[i + k] = static_cast<std::uint8_t>(word >> (8 * k));
    }
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);  // version 4
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);  // RFC 4122 variant
    return QMRGuid(bytes);
}

std::string QMRGuid::toStringIncludeDash(bool includeDash) const {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    text.reserve(kDashedLength);
    for (std::size_t i = 0; i < _bytes.size(); ++i) {
        if (includeDash && (i == 4 || i == 6 || i == 8 || i == 10)) text += '-';
        text += kDigits[_bytes[i] >> 4];
        text += kDigits[_bytes[i] & 0x0F];
    }
    return text;
}

std::optional<QMRGuid> QMRGuid::tryParse(std::string_view text, bool excludeDashAsValidChar) {
    const bool dashed = text.size() == kDashedLength;
    if (!(text.size() == kUndashedLength || (dashed && !excludeDashAsValidChar))) return std::nullopt;
    Bytes bytes{};
    std::size_t digitCount = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (dashed && isDashPosition(i)) {
            if (text[i] != '-') return std::nullopt;
            continue;
        }
        const int value = hexValue(text[i]);
        if (value < 0) return std::nullopt;
        auto& byte = bytes[digitCount / 2];
        byte = static_cast<std::uint8_t>(digitCount % 2 == 0 ? value << 4 : byte | value);
        ++digitCount;
    }
    return QMRGuid(bytes);
}

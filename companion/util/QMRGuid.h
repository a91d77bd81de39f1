#pragma once
// A random (version 4) GUID and its two text forms: 8-4-4-4-12 with dashes, or 32 hex digits.
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

class QMRGuid {
public:
    using Bytes = std::array<std::uint8_t, 16>;

    // The bytes in text order (the first byte gives the first two hex digits).
    explicit QMRGuid(const Bytes& bytes) : _bytes(bytes) {}

    // A fresh GUID from the operating system's random source.
    static QMRGuid newGuid();

    // With includeDash "0f8fad5b-d9cb-469f-a165-70867728950e", without "0f8fad5bd9cb469fa16570867728950e";
    // always lower case.
    std::string toStringIncludeDash(bool includeDash) const;

    // excludeDashAsValidChar: only 32 hex digits are accepted. Otherwise the dashed 8-4-4-4-12 form
    // is accepted as well. Hex digits may be of either case; anything else gives nullopt.
    static std::optional<QMRGuid> tryParse(std::string_view text, bool excludeDashAsValidChar);

    const Bytes& bytes() const noexcept { return _bytes; }

    friend bool operator==(const QMRGuid&, const QMRGuid&) = default;

private:
    Bytes _bytes;
};

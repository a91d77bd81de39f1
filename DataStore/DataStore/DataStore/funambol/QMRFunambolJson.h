#pragma once
// Reading the media server's JSON without trusting its shape: a member that is missing or of the
// wrong kind counts as absent, and numbers that do not fit give nothing instead of wrapping.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

namespace QMRFunambolJson {

// The type of every JSON request body.
inline constexpr char contentType[] = "application/json; charset=UTF-8";

// The parsed answer's root, or null when the answer was empty.
inline const nlohmann::json* rootOf(const std::optional<nlohmann::json>& answer) {
    return answer ? &*answer : nullptr;
}

// The member of an object, or null when the value is no object or lacks it.
const nlohmann::json* member(const nlohmann::json* object, std::string_view key);
// The member when it is an array, else null.
const nlohmann::json* arrayMember(const nlohmann::json* object, std::string_view key);
// A whole number that fits in 64 signed bits (a fraction is cut off).
std::optional<std::int64_t> toInt64(const nlohmann::json* value);
// Any number as a double.
std::optional<double> toDouble(const nlohmann::json* value);
// A string as it stands, a whole number in decimal; nothing for other kinds.
std::optional<std::string> toText(const nlohmann::json* value);
// Compact text; invalid UTF-8 in a caller's string is replaced rather than raising.
std::string serialize(const nlohmann::json& value);
// Decimal ids as the server's numbers: leading digits count, an id without any is 0.
nlohmann::json toFileIdArray(const std::vector<std::string>& fileIds);

}  // namespace QMRFunambolJson

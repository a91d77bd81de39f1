#pragma once
// Reading the sharing endpoint's JSON without trusting its shape. The server writes numbers as JSON
// numbers or as texts (straight from its database), and leaves a member out or sends false where
// there is nothing; a missing or mistyped member reads as 0 or the empty text, never as a failure.
// Objects keep the server's member order.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "companion/util/QMRError.h"
#include "companion/util/QMRTypes.h"

namespace QMROcSharingJson {

// The answer's root, or none with the parser's error in the slot. As with the platform's parser, a
// bare value (false, a number) is not JSON at the root.
std::optional<nlohmann::ordered_json> parse(const QMRData& body, QMRErrorSlot& error);
// The member of an object, or null when the value is no object or lacks it.
const nlohmann::ordered_json* member(const nlohmann::ordered_json* object, std::string_view key);
// A number, truncated; a text by its leading decimal number; true as 1; anything else 0.
std::int32_t integerValue(const nlohmann::ordered_json* value);
// A text as it stands, a number in decimal; anything else the empty text.
std::string textValue(const nlohmann::ordered_json* value);

}  // namespace QMROcSharingJson

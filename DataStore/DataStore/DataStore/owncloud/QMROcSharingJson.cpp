#include "DataStore/owncloud/QMROcSharingJson.h"

#include <cmath>
#include <cstdlib>

namespace {
// The platform parser's domain and code, so that a caller sees the error it always saw.
constexpr char jsonParserErrorDomain[] = "NSCocoaErrorDomain";
constexpr long jsonParserErrorCode = 3840;
}  // namespace

namespace QMROcSharingJson {

std::optional<nlohmann::ordered_json> parse(const QMRData& body, QMRErrorSlot& error) {
    try {
        nlohmann::ordered_json root = nlohmann::ordered_json::parse(body.begin(), body.end());
        if (root.is_object() || root.is_array()) return root;
        error = QMRError::withDescription(jsonParserErrorDomain, jsonParserErrorCode,
                                          "JSON text did not start with array or object");
    } catch (const nlohmann::ordered_json::exception& failure) {
        error = QMRError::withDescription(jsonParserErrorDomain, jsonParserErrorCode, failure.what());
    }
    return std::nullopt;
}

const nlohmann::ordered_json* member(const nlohmann::ordered_json* object, std::string_view key) {
    if (!object || !object->is_object()) return nullptr;
    const auto found = object->find(key);
    return found == object->end() ? nullptr : &*found;
}

std::int32_t integerValue(const nlohmann::ordered_json* value) {
    if (!value) return 0;
    std::int64_t number = 0;
    if (value->is_number_integer())
        number = value->get<std::int64_t>();
    else if (value->is_number_float() && std::abs(value->get<double>()) < 9.2e18)  // beyond: no integer
        number = static_cast<std::int64_t>(value->get<double>());
    else if (value->is_string())
        number = std::strtoll(value->get_ref<const std::string&>().c_str(), nullptr, 10);  // "27", " -1", "5x"
    else if (value->is_boolean())
        number = value->get<bool>() ? 1 : 0;
    return static_cast<std::int32_t>(number);
}

std::string textValue(const nlohmann::ordered_json* value) {
    if (!value) return {};
    if (value->is_string()) return value->get<std::string>();
    if (value->is_number()) return value->dump();
    return {};
}

}  // namespace QMROcSharingJson

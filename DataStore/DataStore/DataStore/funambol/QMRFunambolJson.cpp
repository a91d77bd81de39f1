#include "DataStore/funambol/QMRFunambolJson.h"

#include <fmt/format.h>

#include <cctype>
#include <charconv>
#include <cmath>
#include <limits>

namespace QMRFunambolJson {

const nlohmann::json* member(const nlohmann::json* object, std::string_view key) {
    if (!object || !object->is_object()) return nullptr;
    auto found = object->find(key);
    return found == object->end() ? nullptr : &*found;
}

const nlohmann::json* arrayMember(const nlohmann::json* object, std::string_view key) {
    const nlohmann::json* value = member(object, key);
    return value && value->is_array() ? value : nullptr;
}

std::optional<std::int64_t> toInt64(const nlohmann::json* value) {
    if (!value) return std::nullopt;
    if (value->is_number_unsigned()) {
        auto number = value->get<std::uint64_t>();
        if (number > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) return std::nullopt;
        return static_cast<std::int64_t>(number);
    }
    if (value->is_number_integer()) return value->get<std::int64_t>();
    if (value->is_number_float()) {
        double number = std::trunc(value->get<double>());
        // 2^63 itself is out of range, so the upper bound is exclusive.
        if (!(number >= -0x1p63 && number < 0x1p63)) return std::nullopt;
        return static_cast<std::int64_t>(number);
    }
    return std::nullopt;
}

std::optional<double> toDouble(const nlohmann::json* value) {
    if (!value || !value->is_number()) return std::nullopt;
    return value->get<double>();
}

std::optional<std::string> toText(const nlohmann::json* value) {
    if (!value) return std::nullopt;
    if (value->is_string()) return value->get<std::string>();
    if (value->is_number_unsigned()) return std::to_string(value->get<std::uint64_t>());
    if (value->is_number_integer()) return std::to_string(value->get<std::int64_t>());
    if (value->is_number_float()) {
        double number = value->get<double>();
        if (std::isfinite(number) && number == std::trunc(number)) return fmt::format("{:.0f}", number);
        return value->dump();
    }
    return std::nullopt;
}

std::string serialize(const nlohmann::json& value) {
    return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

namespace {
std::int64_t toFileIdNumber(std::string_view fileId) {
    std::size_t start = 0;
    while (start < fileId.size() && std::isspace(static_cast<unsigned char>(fileId[start]))) ++start;
    // A sign may lead, but only one.
    if (start + 1 < fileId.size() && fileId[start] == '+' && fileId[start + 1] != '-') ++start;
    const char* first = fileId.data() + start;
    const char* last = fileId.data() + fileId.size();
    std::int64_t number = 0;
    auto [end, failure] = std::from_chars(first, last, number);
    if (failure == std::errc::result_out_of_range)
        return first < last && *first == '-' ? std::numeric_limits<std::int64_t>::min()
                                             : std::numeric_limits<std::int64_t>::max();
    return failure == std::errc() ? number : 0;
}
}  // namespace

nlohmann::json toFileIdArray(const std::vector<std::string>& fileIds) {
    nlohmann::json numbers = nlohmann::json::array();
    for (const std::string& fileId : fileIds) numbers.push_back(toFileIdNumber(fileId));
    return numbers;
}

}  // namespace QMRFunambolJson

#include "DataStore/owncloud/QMROcSharingJson.h"

#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <unordered_map>
#include <utility>
#include <vector>

namespace {

using Json = nlohmann::ordered_json;

// The platform parser's domain and code, so that a caller sees the error it always saw.
constexpr char jsonParserErrorDomain[] = "NSCocoaErrorDomain";
constexpr long jsonParserErrorCode = 3840;

// Builds the document as nlohmann's own parser does (a repeated member keeps its first place and
// takes the last value), except that a member is looked up through a hash index: the parser's
// builder searches the object's members one by one, so an answer of n members took n² steps (a
// 1.6 MB object of 100,000 members took 9 s).
class DocumentBuilder final : public nlohmann::json_sax<Json> {
public:
    explicit DocumentBuilder(Json& root) : _root(root) {}

    const std::string& failure() const noexcept { return _failure; }

    bool null() override { return store(nullptr); }
    bool boolean(bool value) override { return store(value); }
    bool number_integer(number_integer_t value) override { return store(value); }
    bool number_unsigned(number_unsigned_t value) override { return store(value); }
    bool number_float(number_float_t value, const string_t&) override { return store(value); }
    bool string(string_t& value) override { return store(std::move(value)); }
    bool binary(binary_t& value) override { return store(Json::binary(std::move(value))); }
    bool start_object(std::size_t) override { return open(Json::object()); }
    bool key(string_t& name) override {
        _key = std::move(name);
        return true;
    }
    bool end_object() override { return close(); }
    bool start_array(std::size_t) override { return open(Json::array()); }
    bool end_array() override { return close(); }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& failure) override {
        _failure = failure.what();
        return false;
    }

private:
    struct OpenValue {
        Json* value;
        std::unordered_map<std::string, std::size_t> memberIndex;  // an object's member names
    };

    // Places value in the innermost open array or object (under the last key), or as the root.
    // Open values stay in place: only the innermost one grows.
    Json& add(Json value) {
        if (_open.empty()) return _root = std::move(value);
        OpenValue& parent = _open.back();
        if (parent.value->is_array()) {
            parent.value->push_back(std::move(value));
            return parent.value->back();
        }
        Json::object_t& members = parent.value->get_ref<Json::object_t&>();
        const auto [indexed, isNew] = parent.memberIndex.try_emplace(_key, members.size());
        if (isNew) return members.emplace_back(std::move(_key), std::move(value)).second;
        return (members.begin() + static_cast<std::ptrdiff_t>(indexed->second))->second = std::move(value);
    }

    bool store(Json value) {
        add(std::move(value));
        return true;
    }

    bool open(Json value) {
        _open.push_back({&add(std::move(value)), {}});
        return true;
    }

    bool close() {
        _open.pop_back();
        return true;
    }

    Json& _root;
    std::vector<OpenValue> _open;
    std::string _key;
    std::string _failure;
};

}  // namespace

namespace QMROcSharingJson {

std::optional<nlohmann::ordered_json> parse(const QMRData& body, QMRErrorSlot& error) {
    Json root;
    DocumentBuilder builder(root);
    if (!Json::sax_parse(body.begin(), body.end(), &builder)) {
        error = QMRError::withDescription(jsonParserErrorDomain, jsonParserErrorCode, builder.failure());
        return std::nullopt;
    }
    if (root.is_object() || root.is_array()) return root;
    error = QMRError::withDescription(jsonParserErrorDomain, jsonParserErrorCode,
                                      "JSON text did not start with array or object");
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

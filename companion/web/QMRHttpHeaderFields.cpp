#include "companion/web/QMRHttpHeaderFields.h"

#include <algorithm>
#include <iterator>

QMRHttpHeaderFields::QMRHttpHeaderFields(std::initializer_list<Field> fields) : _fields(fields) {}

bool QMRHttpHeaderFields::namesEqual(std::string_view a, std::string_view b) noexcept {
    // Field names are ASCII tokens, so a byte-wise ASCII fold is exact and locale-independent.
    auto fold = [](char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::ranges::equal(a, b, [&](char x, char y) { return fold(x) == fold(y); });
}

void QMRHttpHeaderFields::setValue(std::string value, std::string_view name) {
    auto sameName = [&](const Field& field) { return namesEqual(field.first, name); };
    auto first = std::ranges::find_if(_fields, sameName);
    if (first == _fields.end()) {
        _fields.emplace_back(std::string(name), std::move(value));
        return;
    }
    first->second = std::move(value);
    auto later = std::remove_if(std::next(first), _fields.end(), sameName);
    _fields.erase(later, _fields.end());
}

void QMRHttpHeaderFields::addValue(std::string_view value, std::string_view name) {
    auto first = std::ranges::find_if(_fields, [&](const Field& field) { return namesEqual(field.first, name); });
    if (first == _fields.end()) {
        _fields.emplace_back(std::string(name), std::string(value));
        return;
    }
    first->second.append(", ").append(value);
}

void QMRHttpHeaderFields::append(std::string name, std::string value) {
    _fields.emplace_back(std::move(name), std::move(value));
}

void QMRHttpHeaderFields::removeValue(std::string_view name) {
    std::erase_if(_fields, [&](const Field& field) { return namesEqual(field.first, name); });
}

std::optional<std::string> QMRHttpHeaderFields::value(std::string_view name) const {
    std::optional<std::string> joined;
    for (const auto& [fieldName, fieldValue] : _fields) {
        if (!namesEqual(fieldName, name)) continue;
        if (joined)
            joined->append(", ").append(fieldValue);
        else
            joined = fieldValue;
    }
    return joined;
}

std::vector<std::string> QMRHttpHeaderFields::values(std::string_view name) const {
    std::vector<std::string> found;
    for (const auto& [fieldName, fieldValue] : _fields)
        if (namesEqual(fieldName, name)) found.push_back(fieldValue);
    return found;
}

bool QMRHttpHeaderFields::contains(std::string_view name) const {
    return std::ranges::any_of(_fields, [&](const Field& field) { return namesEqual(field.first, name); });
}

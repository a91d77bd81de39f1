#pragma once
// HTTP header fields in the order they were set or received. Names compare without regard to case,
// as HTTP requires; the spelling first given is kept for the wire.
#include <cstddef>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class QMRHttpHeaderFields {
public:
    using Field = std::pair<std::string, std::string>;  // name, value

    QMRHttpHeaderFields() = default;
    QMRHttpHeaderFields(std::initializer_list<Field> fields);

    // Gives the first field of that name the new value in place and drops any later ones;
    // appends a field when there is none.
    void setValue(std::string value, std::string_view name);
    // Extends an existing field with ", value" (HTTP list syntax), or appends a field.
    void addValue(std::string_view value, std::string_view name);
    // Appends a separate field even if one of that name exists (a received Set-Cookie list).
    void append(std::string name, std::string value);
    void removeValue(std::string_view name);

    // The values of all fields of that name joined with ", ", or none.
    std::optional<std::string> value(std::string_view name) const;
    // The values of all fields of that name, in order.
    std::vector<std::string> values(std::string_view name) const;
    bool contains(std::string_view name) const;

    const std::vector<Field>& fields() const noexcept { return _fields; }
    std::vector<Field>::const_iterator begin() const noexcept { return _fields.begin(); }
    std::vector<Field>::const_iterator end() const noexcept { return _fields.end(); }
    std::size_t size() const noexcept { return _fields.size(); }
    bool empty() const noexcept { return _fields.empty(); }

    static bool namesEqual(std::string_view a, std::string_view b) noexcept;

    friend bool operator==(const QMRHttpHeaderFields&, const QMRHttpHeaderFields&) = default;

private:
    std::vector<Field> _fields;
};

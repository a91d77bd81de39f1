#pragma once
// A key with a value: a query parameter of a read (a text), or the extra user-info entry that the
// error converter puts on an error (the array of file ids the server did not know).
#include <map>
#include <string>
#include <utility>
#include <variant>
#include <vector>

class QMRFunambolKeyValuePair {
public:
    using Value = std::variant<std::string, std::vector<std::string>>;

    QMRFunambolKeyValuePair() = delete;
    // initWithKey:andValue:
    QMRFunambolKeyValuePair(std::string key, Value value) : _key(std::move(key)), _value(std::move(value)) {}

    const std::string& key() const noexcept { return _key; }
    void setKey(std::string key) { _key = std::move(key); }
    const Value& value() const noexcept { return _value; }
    void setValue(Value value) { _value = std::move(value); }

private:
    std::string _key;
    Value _value;
};

// Extra user info for an error, by the server's error code ("MED-1005").
using QMRFunambolErrorExtraInfo = std::map<std::string, QMRFunambolKeyValuePair, std::less<>>;

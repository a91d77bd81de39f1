#pragma once
// Where qmrstore gets passwords: never from its arguments, which every user of the machine can read
// in the process list. From an environment variable when set, otherwise asked for on standard
// input, without echo when that is a terminal.
#include <optional>
#include <string>

class QMRStorePassword {
public:
    QMRStorePassword() = delete;

    // The variable's value when it is set (even to ""); otherwise the prompt is written to stderr
    // and one line is read from stdin. Nothing when stdin ends first.
    static std::optional<std::string> obtain(const char* environmentVariable, const std::string& prompt);
};

#include "QMRStorePassword.h"

#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>

namespace {

// Turns echo off on the terminal for its lifetime.
class EchoOff {
public:
    EchoOff() : _active(tcgetattr(STDIN_FILENO, &_saved) == 0) {
        if (!_active) return;
        termios quiet = _saved;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
    }
    ~EchoOff() {
        if (!_active) return;
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &_saved);
        std::cerr << '\n';  // the newline the user typed was not echoed
    }
    EchoOff(const EchoOff&) = delete;
    EchoOff& operator=(const EchoOff&) = delete;

private:
    termios _saved{};
    bool _active;
};

}  // namespace

std::optional<std::string> QMRStorePassword::obtain(const char* environmentVariable, const std::string& prompt) {
    if (const char* value = std::getenv(environmentVariable)) return std::string(value);
    std::cerr << prompt << std::flush;
    std::string line;
    bool read = false;
    {
        std::optional<EchoOff> echoOff;
        if (isatty(STDIN_FILENO)) echoOff.emplace();
        read = static_cast<bool>(std::getline(std::cin, line));
    }
    if (!read) return std::nullopt;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

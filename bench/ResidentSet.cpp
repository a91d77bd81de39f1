#include "ResidentSet.h"

#include <charconv>
#include <fstream>
#include <string>

std::optional<std::int64_t> statusKilobytes(std::string_view key) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.starts_with(key)) {
            std::int64_t value = 0;
            const char* at = line.data() + key.size();
            while (*at == ' ' || *at == '\t') ++at;
            std::from_chars(at, line.data() + line.size(), value);
            return value;
        }
    return std::nullopt;
}

bool resetPeakResidentSet() {
    std::ofstream clearRefs("/proc/self/clear_refs");
    clearRefs << "5";
    clearRefs.flush();
    return clearRefs.good();
}

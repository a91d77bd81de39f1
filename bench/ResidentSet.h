#pragma once
// The process's resident set as /proc/self/status shows it, for the benchmarks that state how much
// memory a walk or a transfer takes.
#include <cstdint>
#include <optional>
#include <string_view>

// The figure of a status line such as "VmRSS:" or "VmHWM:", in KiB; none when there is no such line.
std::optional<std::int64_t> statusKilobytes(std::string_view key);

// Sets the peak resident set (VmHWM) back to the current one; false where the system does not allow it.
bool resetPeakResidentSet();

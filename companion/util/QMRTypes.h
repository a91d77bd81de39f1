#pragma once
// The platform's value types as this library spells them in C++.
#include <chrono>
#include <cstdint>
#include <span>
#include <vector>

// Bytes (the platform's data object).
using QMRData = std::vector<std::uint8_t>;
using QMRDataView = std::span<const std::uint8_t>;

// An absolute point in time (the platform's date object).
using QMRDate = std::chrono::system_clock::time_point;

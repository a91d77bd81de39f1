#pragma once
// Where in the source something happened: file, function and line of the caller, taken with the
// compiler built-ins as a default argument. Works with every compiler the project builds with,
// including those whose standard library lacks <source_location>.
#include <cstdint>
#if __has_include(<source_location>)
#include <source_location>
#endif

struct QMRSourceLocation {
    const char* fileName = "";
    const char* functionName = "";
    std::uint_least32_t line = 0;

    static constexpr QMRSourceLocation current(const char* fileName = __builtin_FILE(),
                                               const char* functionName = __builtin_FUNCTION(),
                                               std::uint_least32_t line = __builtin_LINE()) noexcept {
        return QMRSourceLocation{fileName, functionName, line};
    }

#if defined(__cpp_lib_source_location)
    // Accepts a standard location where one is at hand.
    constexpr QMRSourceLocation(const std::source_location& location) noexcept
        : fileName(location.file_name()), functionName(location.function_name()), line(location.line()) {}
#endif
    constexpr QMRSourceLocation() noexcept = default;
    constexpr QMRSourceLocation(const char* file, const char* function, std::uint_least32_t atLine) noexcept
        : fileName(file), functionName(function), line(atLine) {}
};

#pragma once
// Checks and splits of ownCloud server paths: absolute, "/"-separated, "/" being the user's root.
// Bad paths are the caller's programming error and raise QMRInvalidArgumentException.
#include <string>
#include <string_view>

class QMROcPathUtil {
public:
    QMROcPathUtil() = delete;

    static std::string pathSeparator() { return "/"; }
    // The parent's path: "/" for /a, /a for /a/b, "" for "/" and a bare name. Inner components are
    // joined without separators (/ab for /a/b/c); that is deliberate and callers rely on it.
    static std::string extractParentFolderFromPath(std::string_view path);
    // The last component: b for /a/b.
    static std::string extractFolderOrFileFromPath(std::string_view path);
    // Refuses an empty path, any of \<>:"|?* and a component "shared" in any letter case.
    static void validatePath(std::string_view path);
    // The same; with excludeReservedKeyword true the "shared" rule is skipped.
    static void validatePath(std::string_view path, bool excludeReservedKeyword);
};

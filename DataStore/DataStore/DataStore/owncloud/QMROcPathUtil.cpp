#include "DataStore/owncloud/QMROcPathUtil.h"

#include <fmt/format.h>

#include <vector>

#include "companion/util/comQuillmereUtil_ExceptionUtil.h"

namespace {

// Components as the platform split paths: a leading "/" is a component of its own, repeated
// separators count once, and a trailing "/" ends the list as a component of its own.
std::vector<std::string> pathComponents(std::string_view path) {
    std::vector<std::string> components;
    if (path.empty()) return components;
    if (path.front() == '/') components.emplace_back("/");
    std::size_t start = 0;
    while (start < path.size()) {
        const std::size_t slash = path.find('/', start);
        const std::size_t end = slash == std::string_view::npos ? path.size() : slash;
        if (end > start) components.emplace_back(path.substr(start, end - start));
        start = end + 1;
    }
    if (path.size() > 1 && path.back() == '/') components.emplace_back("/");
    return components;
}

void raiseInvalidPathUnlessPresent(std::string_view path) {
    if (path.empty())
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              fmt::format("Invalid Path - \"{}\"", path));
}

}  // namespace

std::string QMROcPathUtil::extractParentFolderFromPath(std::string_view path) {
    raiseInvalidPathUnlessPresent(path);
    const std::vector<std::string> components = pathComponents(path);
    if (components.empty() || components.front() == path) return "";
    std::string parent;
    // Joined without separators (/a/b/c gives /ab): deliberate, the server is sent exactly this.
    for (std::size_t i = 0; i + 1 < components.size(); ++i) parent += components[i];
    return parent;
}

std::string QMROcPathUtil::extractFolderOrFileFromPath(std::string_view path) {
    raiseInvalidPathUnlessPresent(path);
    const std::size_t end = path.find_last_not_of('/');
    if (end == std::string_view::npos) return "/";
    const std::size_t slash = path.rfind('/', end);
    const std::size_t start = slash == std::string_view::npos ? 0 : slash + 1;
    return std::string(path.substr(start, end + 1 - start));
}

void QMROcPathUtil::validatePath(std::string_view path) {
    validatePath(path, false);
}

void QMROcPathUtil::validatePath(std::string_view path, bool excludeReservedKeyword) {
    raiseInvalidPathUnlessPresent(path);
    if (path.find_first_of("\\<>:\"|?*") != std::string_view::npos)
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              "Characters \\<>:\"|?* are disallowed");
    if (excludeReservedKeyword) return;
    for (const std::string& component : pathComponents(path)) {
        std::string lower = component;
        for (char& c : lower)
            if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        if (lower == "shared")
            comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                                  "Shared is a reserved keyword and not allowed");
    }
}

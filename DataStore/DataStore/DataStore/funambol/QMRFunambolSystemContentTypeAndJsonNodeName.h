#pragma once
// One of the server's media collections: its name in request paths ("picture") and the name of its
// array in answers and request bodies ("pictures").
#include <string>
#include <utility>

class QMRFunambolSystemContentTypeAndJsonNodeName {
public:
    QMRFunambolSystemContentTypeAndJsonNodeName() = delete;
    // initWithSystemContentType:andJsonNodeName:
    QMRFunambolSystemContentTypeAndJsonNodeName(std::string systemContentType, std::string jsonNodeName)
        : _systemContentType(std::move(systemContentType)), _jsonNodeName(std::move(jsonNodeName)) {}

    const std::string& systemContentType() const noexcept { return _systemContentType; }
    const std::string& jsonNodeName() const noexcept { return _jsonNodeName; }

private:
    std::string _systemContentType;
    std::string _jsonNodeName;
};

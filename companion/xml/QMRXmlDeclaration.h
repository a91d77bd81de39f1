#pragma once
// The XML declaration that opens a document: <?xml version="1.0" encoding="utf-8"?>.
#include <optional>
#include <string>

class QMRXmlDeclaration {
public:
    // The writer produces XML 1.0 in UTF-8 only, so any other version or encoding would mislabel the
    // bytes: they raise QMRInvalidArgumentException. The encoding label is written as given ("utf-8",
    // "UTF-8"). Without `standalone` no standalone mark is written.
    QMRXmlDeclaration(std::string version, std::string encoding, std::optional<bool> standalone = std::nullopt);

    const std::string& version() const noexcept { return _version; }
    const std::string& encoding() const noexcept { return _encoding; }
    std::optional<bool> standalone() const noexcept { return _standalone; }

    std::string toString() const;

private:
    std::string _version;
    std::string _encoding;
    std::optional<bool> _standalone;
};

#include "companion/xml/QMRXmlDeclaration.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include "companion/util/comQuillmereUtil_ExceptionUtil.h"

namespace {
bool isUtf8Label(const std::string& encoding) {
    std::string lower(encoding);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return lower == "utf-8";
}
}  // namespace

QMRXmlDeclaration::QMRXmlDeclaration(std::string version, std::string encoding, std::optional<bool> standalone)
    : _version(std::move(version)), _encoding(std::move(encoding)), _standalone(standalone) {
    if (_version != "1.0")
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              "Only XML version \"1.0\" is written");
    if (!isUtf8Label(_encoding))
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              "Only the \"utf-8\" encoding is written");
}

std::string QMRXmlDeclaration::toString() const {
    std::string text = "<?xml version=\"" + _version + "\" encoding=\"" + _encoding + "\"";
    if (_standalone) text += *_standalone ? " standalone=\"yes\"" : " standalone=\"no\"";
    text += "?>";
    return text;
}

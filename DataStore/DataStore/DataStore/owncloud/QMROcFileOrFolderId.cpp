#include "DataStore/owncloud/QMROcFileOrFolderId.h"

#include <cstddef>

#include "DataStore/contract/QMRFileMetadata.h"
#include "companion/util/comQuillmereUtil_ExceptionUtil.h"
#include "companion/xml/QMRXmlElement.h"
#include "companion/xml/RXMLElement.h"

QMROcFileOrFolderId::QMROcFileOrFolderId(std::string identifier, std::string path, std::int32_t resourceType)
    : _identifier(std::move(identifier)),
      _path(std::move(path)),
      _resourceType(resourceType),
      _resourceTypeName(toStringFromResourceType(resourceType)) {}

QMROcFileOrFolderId::QMROcFileOrFolderId(std::string_view idText) {
    const RXMLElement element = RXMLElement::elementFromXMLString(idText);
    _identifier = element.child("Id").text();
    _path = element.child("Path").text();
    _resourceTypeName = element.child("Type").text();
    _resourceType = toResourceTypeFromString(_resourceTypeName);
}

std::string QMROcFileOrFolderId::toString() const {
    // Written straight into one string, as listings make one id per row; room for the tags and a
    // few escapes.
    static constexpr std::size_t markupBytes = 96;
    std::string text;
    text.reserve(markupBytes + _identifier.size() + _path.size() + _resourceTypeName.size());
    text += "<OwnCloudId>";
    QMRXmlElement::appendTextElement(text, "Id", _identifier);
    QMRXmlElement::appendTextElement(text, "Path", _path);
    QMRXmlElement::appendTextElement(text, "Type", _resourceTypeName);
    text += "</OwnCloudId>";
    return text;
}

std::string QMROcFileOrFolderId::toStringFromResourceType(std::int32_t resourceType) {
    if (resourceType == QMRFileMetadata::resourceTypeFolder) return "folder";
    if (resourceType == QMRFileMetadata::resourceTypeFile) return "file";
    comQuillmereUtil_ExceptionUtil::raise(QMRInvalidOperationException::exceptionName, "Invalid Resource Type");
}

std::int32_t QMROcFileOrFolderId::toResourceTypeFromString(std::string_view resourceTypeName) {
    if (resourceTypeName == "file") return QMRFileMetadata::resourceTypeFile;
    if (resourceTypeName == "folder") return QMRFileMetadata::resourceTypeFolder;
    comQuillmereUtil_ExceptionUtil::raise(QMRInvalidOperationException::exceptionName, "Invalid Resource Type");
}

#include "DataStore/owncloud/QMROcFileOrFolderId.h"

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

namespace {
// An element holding only text, built by moves: a braced list of constructs would copy each one.
QMRXmlElement textElement(std::string name, std::string text) {
    QMRXmlElement element(std::move(name));
    element.add(std::move(text));
    return element;
}
}  // namespace

std::string QMROcFileOrFolderId::toString() const {
    QMRXmlElement id("OwnCloudId");
    id.add(textElement("Id", _identifier));
    id.add(textElement("Path", _path));
    id.add(textElement("Type", _resourceTypeName));
    return id.toStringWithIndentation(0);
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

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>

#include "DataStore/contract/QMRDataStoreConstants.h"
#include "DataStore/webdav/QMRWebDavDataStore.h"
#include "DataStore/webdav/QMRWebDavTransceiver.h"
#include "DataStore/webdav/QMRWebDavXml.h"
#include "companion/io/ComQuillmereIO_MemoryStream.h"

namespace {
using enum QMRWebDavDataStore::Property::Namespace;


bool isBlank(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isspace(c) != 0; });
}

std::optional<std::int64_t> toInt64(std::string_view text) {
    std::int64_t value = 0;
    auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (failure != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

std::string lastPathComponent(const std::string& href) { return href.substr(href.rfind('/') + 1); }

bool isHiddenChange(const std::string& change) {
    return change == QMRWebDavDataStoreChangeIsDeleted || change == QMRWebDavDataStoreChangeIsPending;
}

const std::vector<std::string> hiddenChanges = {QMRWebDavDataStoreChangeIsDeleted, QMRWebDavDataStoreChangeIsPending};

template <class Records>
QMREnumerablePtr<QMRFileMetadataPtr> toEnumerable(const Records& records) {
    return QMRMakeArrayEnumerable(std::vector<QMRFileMetadataPtr>(records.begin(), records.end()));
}
}  // namespace

const QMRWebDavDataStore::PropertyList QMRWebDavDataStore::allMetadataElements = {
    {custom, "name"},          {dav, "getlastmodified"},  {custom, "clientSideCreationDateInUtc"},
    {custom, "clientSideModificationDateInUtc"},          {custom, "mimeContentType"},
    {dav, "getcontentlength"}, {custom, "change"},
};
const QMRWebDavDataStore::PropertyList QMRWebDavDataStore::byDateElements = {
    {custom, "name"},
    {dav, "getlastmodified"},
    {custom, "serverSideCreationDateInUtc"},
    {custom, "clientSideCreationDateInUtc"},
    {custom, "clientSideModificationDateInUtc"},
    {custom, "mimeContentType"},
    {dav, "getcontentlength"},
    {custom, "change"},
};
const QMRWebDavDataStore::PropertyList QMRWebDavDataStore::changeElements = {{custom, "change"},
                                                                             {custom, "changeDateInUtc"}};

QMREnumerablePtr<QMRFileMetadataPtr> QMRWebDavDataStore::readAllFileMetadata(QMRErrorSlot& error) {
    auto records = readAllFileMetadataWithRequiredElements(allMetadataElements, hiddenChanges, nullptr, error);
    return records ? toEnumerable(*records) : nullptr;
}

QMREnumerablePtr<QMRFileMetadataPtr> QMRWebDavDataStore::readFileMetadataWithSpecificDate(const QMRDate& date,
                                                                                          QMRErrorSlot& error) {
    auto records = readAllFileMetadataWithRequiredElements(byDateElements, hiddenChanges, nullptr, error);
    if (!records) return nullptr;
    std::erase_if(*records, [&date](const QMRWebDavFileMetadataPtr& record) {
        return !record->serverSideCreationDateInLocalTime() || *record->serverSideCreationDateInLocalTime() < date;
    });
    return toEnumerable(*records);
}

QMREnumerablePtr<QMRFileMetadataPtr> QMRWebDavDataStore::readFileMetadataWithSpecificFileIds(
    const std::vector<std::string>& fileIds, QMRErrorSlot& error) {
    QMRErrorSlot readError;
    auto records = readFileMetadataWithSpecificFileIds(fileIds, allMetadataElements, hiddenChanges, nullptr, readError);
    error = std::move(readError);
    return records ? toEnumerable(*records) : nullptr;
}

void QMRWebDavDataStore::openFileForReading(const std::string& fileId, QMRErrorSlot& error,
                                            const QMRStreamBlock& block) {
    QMRWebDavFileMetadataPtr state = readChangeFromFileId(fileId, nullptr, error);
    if (error) return;
    if (isHiddenChange(state->change())) {
        error = fileNotFoundError({fileId});
        return;
    }
    QMRWebDavTransceiver get = newTransceiver("GET", constructFileUri(QMRWebDavDataStoreUserFileParentCollection, fileId));
    get.send();
    error = get.constructError(std::vector<std::string>{fileId});
    if (error) return;
    ComQuillmereIO_MemoryStream stream(std::move(get.respRawData));
    block(stream);
    stream.close();
}

std::optional<std::vector<QMRWebDavFileMetadataPtr>> QMRWebDavDataStore::readAllFileMetadataWithRequiredElements(
    const PropertyList& requiredElements, const std::vector<std::string>& unwantedChangeElementValues,
    std::optional<QMRDate>* latestServerDate, QMRErrorSlot& error) {
    QMRWebDavTransceiver propfind =
        newTransceiver("PROPFIND", constructCollectionUri(QMRWebDavDataStoreUserFileParentCollection));
    propfind.reqDepth = "1";
    propfind.reqContentType = QMRWebDavXml::contentType;
    propfind.reqContent = constructReadAllFileMetadataRequestBody(requiredElements);
    propfind.respFilterForChange = unwantedChangeElementValues;
    propfind.send();
    error = propfind.constructError();
    if (error) return std::nullopt;
    if (latestServerDate) *latestServerDate = propfind.respDate;
    return extractAllFileMetadataFromXml(propfind.respXml);
}

std::optional<std::vector<QMRWebDavFileMetadataPtr>> QMRWebDavDataStore::readFileMetadataWithSpecificFileIds(
    const std::vector<std::string>& fileIds, const PropertyList& requiredElements,
    const std::vector<std::string>& unwantedChangeElementValues, std::optional<QMRDate>* latestServerDate,
    QMRErrorSlot& error) {
    std::vector<QMRWebDavFileMetadataPtr> records;
    std::vector<std::string> notFound;
    const QMRData body = constructReadAllFileMetadataRequestBody(requiredElements);
    for (const std::string& fileId : fileIds) {
        QMRWebDavTransceiver propfind =
            newTransceiver("PROPFIND", constructFileUri(QMRWebDavDataStoreUserFileParentCollection, fileId));
        propfind.reqContentType = QMRWebDavXml::contentType;
        propfind.reqContent = body;
        propfind.respFilterForChange = unwantedChangeElementValues;
        propfind.send();
        if (QMRErrorSlot exchangeError = propfind.constructError()) {
            if (propfind.respCode == 404) {
                notFound.push_back(fileId);
                continue;
            }
            error = std::move(exchangeError);
            return std::nullopt;
        }
        if (latestServerDate) *latestServerDate = propfind.respDate;
        // The filter removed the response of a deleted or pending file, or one lacking a property.
        if (RXMLElement response = propfind.respXml.child("response"); response.isValid())
            records.push_back(extractFileMetadataFromXml(response));
        else
            notFound.push_back(fileId);
    }
    // An error already in the slot counts as a failure of this read.
    if (error) return std::nullopt;
    if (!notFound.empty()) {
        error = fileNotFoundError(std::move(notFound));
        return std::nullopt;
    }
    return records;
}

QMRWebDavFileMetadataPtr QMRWebDavDataStore::readChangeFromFileId(const std::string& fileId,
                                                                  std::optional<QMRDate>* latestServerDate,
                                                                  QMRErrorSlot& error) {
    QMRErrorSlot readError;
    auto records = readFileMetadataWithSpecificFileIds({fileId}, changeElements, {}, latestServerDate, readError);
    error = std::move(readError);
    return records ? records->front() : nullptr;
}

QMRData QMRWebDavDataStore::constructReadAllFileMetadataRequestBody(const PropertyList& requiredElements) {
    std::vector<QMRXmlConstruct> properties{QMRWebDavXml::customNamespace()};
    for (const Property& property : requiredElements) properties.push_back(QMRWebDavXml::element(property));
    return QMRWebDavXml::document(QMRXmlElement(QMRWebDavXml::davNamespace(), "propfind",
                                                {QMRWebDavXml::davNamespace(),
                                                 QMRXmlElement(QMRWebDavXml::davNamespace(), "prop", properties)}));
}

std::vector<QMRWebDavFileMetadataPtr> QMRWebDavDataStore::extractAllFileMetadataFromXml(const RXMLElement& multistatus) {
    std::vector<QMRWebDavFileMetadataPtr> records;
    for (const RXMLElement& response : multistatus.children("response"))
        records.push_back(extractFileMetadataFromXml(response));
    return records;
}

QMRWebDavFileMetadataPtr QMRWebDavDataStore::extractFileMetadataFromXml(const RXMLElement& response) {
    auto record = std::make_shared<QMRWebDavFileMetadata>();
    record->setFileId(lastPathComponent(response.child("href").text()));
    for (const RXMLElement& property : response.child("propstat.prop").childElements()) {
        std::string text = property.text();
        if (isBlank(text)) continue;
        std::string name = property.tag();
        if (name == "name") record->setName(text);
        else if (name == "serverSideCreationDateInUtc") record->setServerSideCreationDateInLocalTime(toDateFromXmlDateString(text));
        else if (name == "getlastmodified") record->setServerSideModificationDateInLocalTime(toDateFromRfc1123DateString(text));
        else if (name == "clientSideCreationDateInUtc") record->setClientSideCreationDateInLocalTime(toDateFromXmlDateString(text));
        else if (name == "clientSideModificationDateInUtc") record->setClientSideModificationDateInLocalTime(toDateFromXmlDateString(text));
        else if (name == "mimeContentType") record->setMimeContentType(text);
        else if (name == "getcontentlength") record->setSizeInBytes(toInt64(text).value_or(QMRFileMetadata::sizeNotAvailable));
        else if (name == "change") record->setChange(text);
        else if (name == "changeDateInUtc") record->setChangeDate(toDateFromXmlDateString(text));
    }
    return record;
}

// One answer of the media server, judged as every exchange judges it (login, logout, uploads and
// saves stop there), then read as each kind of successful answer: a listing page of every
// collection (also the answer to a read by ids), the changes since a token, the storage space.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "DataStore/contract/QMRDataStoreConstants.h"
#include "DataStore/funambol/QMRFunambolAnswers.h"
#include "DataStore/funambol/QMRFunambolErrorConverter.h"
#include "DataStore/funambol/QMRFunambolJson.h"
#include "fuzz/FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // The extra information a metadata save gives, so that "MED-1005" names the file.
    static const QMRFunambolErrorExtraInfo unknownFileId =
        QMRFunambolDataStore::singleEntryErrorMapper("MED-1005", QMRUnknownFileIds, std::vector<std::string>{"17"});
    QMRFunambolErrorConverter converter;
    if (QMRErrorSlot error = converter.wrapError(QMRDataView(data, size), 200, std::nullopt, unknownFileId)) {
        (void)error->localizedDescription();
        (void)error->localizedFailureReason();
        (void)error->unknownFileIds();
        return 0;
    }
    const nlohmann::json* root = QMRFunambolJson::rootOf(converter.deserializedJSON());
    fuzz::require(size == 0 || (root != nullptr && root->is_object()), "a successful answer has an object root");

    QMRFunambolDataStore::MetadataList records;
    for (const QMRFunambolSystemContentTypeAndJsonNodeName& collection : QMRFunambolDataStore::systemContentType())
        QMRFunambolAnswers::appendFileMetadata(root, collection.jsonNodeName(), records);
    for (const QMRFunambolFileMetadataPtr& record : records) (void)record->description();
    for (const QMRChangeInfo& change : QMRFunambolAnswers::changeInfo(root)) (void)change.description();
    (void)QMRFunambolAnswers::storageSpaceInfo(root).description();
    return 0;
}

#include "DataStore/contract/QMRDataStoreConstants.h"
#include "DataStore/webdav/QMRWebDavDataStore.h"

namespace {
using enum QMRWebDavDataStore::Property::Namespace;
}  // namespace

const QMRWebDavDataStore::PropertyList QMRWebDavDataStore::syncElements = {{custom, "change"},
                                                                           {custom, "changeDateInUtc"}};

QMREnumerablePtr<QMRChangeInfo> QMRWebDavDataStore::retrieveFileChangesWithSyncToken(std::string& syncToken,
                                                                                    QMRErrorSlot& error) {
    // An empty token stands for the start of time.
    const QMRDate previousDate = syncToken.empty() ? QMRDate{} : toDateFromXmlDateString(syncToken).value_or(QMRDate{});
    std::optional<QMRDate> serverDate;
    auto records = readAllFileMetadataWithRequiredElements(syncElements, {QMRWebDavDataStoreChangeIsPending},
                                                           &serverDate, error);
    // The token moves on whatever the outcome; after a failed read it is empty.
    syncToken = serverDate ? toXmlDateStringFromDate(*serverDate) : std::string();
    if (!records) return QMRMakeArrayEnumerable(std::vector<QMRChangeInfo>{});
    return QMRMakeArrayEnumerable(extractChangeInfoFromMetadata(*records, previousDate));
}

std::vector<QMRChangeInfo> QMRWebDavDataStore::extractChangeInfoFromMetadata(
    const std::vector<QMRWebDavFileMetadataPtr>& metadatas, QMRDate prevSyncTokenDate) {
    std::vector<QMRChangeInfo> changes;
    for (const QMRWebDavFileMetadataPtr& metadata : metadatas) {
        // Equal dates count: a change in the token's own second is reported again rather than lost.
        if (!metadata->changeDate() || *metadata->changeDate() < prevSyncTokenDate) continue;
        const std::string& change = metadata->change();
        changes.emplace_back(metadata->fileId(), change == QMRWebDavDataStoreChangeIsNew       ? QMRChangeInfo::changeNew
                                                 : change == QMRWebDavDataStoreChangeIsUpdated ? QMRChangeInfo::changeUpdated
                                                                                               : QMRChangeInfo::changeDeleted);
    }
    return changes;
}

#pragma once
// All file metadata of a media server, read lazily while the caller walks it: fifty records a
// request, collection after collection ("file", then "picture", then "video").
//
// A failed page ends the walk and shows only in the error slot given at construction, so that slot
// must outlive the enumeration. The enumeration keeps its data store alive until the walk ends.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "DataStore/contract/QMREnumerable.h"
#include "DataStore/contract/QMRFileMetadata.h"
#include "DataStore/funambol/QMRFunambolFileMetadata.h"
#include "DataStore/funambol/QMRFunambolSystemContentTypeAndJsonNodeName.h"
#include "companion/util/QMRError.h"

class QMRFunambolDataStore;

class QMRFunambolFileMetadataFastEnumeration : public QMREnumerable<QMRFileMetadataPtr> {
public:
    static constexpr std::uint64_t pageSize = 50;

    QMRFunambolFileMetadataFastEnumeration() = delete;
    // initWithDataStore:notBeforeDate:error:
    QMRFunambolFileMetadataFastEnumeration(std::shared_ptr<QMRFunambolDataStore> dataStore,
                                           std::optional<QMRDate> notBeforeDateTimeInLocalTime, QMRErrorSlot& error);

protected:
    // A walk goes on where the last one stopped; once every collection is read it yields nothing.
    std::optional<QMRFileMetadataPtr> nextObject() override;

private:
    // Lets go of everything the walk needed once it is over.
    void resetPointers();

    std::shared_ptr<QMRFunambolDataStore> _dataStore;
    std::optional<QMRDate> _notBeforeDateTimeInLocalTime;
    QMRErrorSlot* _error;
    // Collections still to be read; the first is the current one.
    std::vector<QMRFunambolSystemContentTypeAndJsonNodeName> _systemContentType;
    std::uint64_t _offset = 0;
    bool _hasMoreItems = true;
    std::vector<QMRFunambolFileMetadataPtr> _metadatas;
    std::size_t _nextInPage = 0;
};

#pragma once
// What the data store reads from the media server's successful answers, apart from the exchange
// that brings them: a listing page, the changes since a token, the storage space. Every reader
// takes the answer's parsed root (null for an empty answer) and treats missing or odd parts as
// absent, never as a failure.
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "DataStore/contract/QMRChangeInfo.h"
#include "DataStore/contract/QMRStorageSpaceInfo.h"
#include "DataStore/funambol/QMRFunambolDataStore.h"

namespace QMRFunambolAnswers {

// Appends the records of one collection's answer, {"data":{"mediaserverurl":..., "<jsonNodeName>":[...]}}.
void appendFileMetadata(const nlohmann::json* root, const std::string& jsonNodeName,
                        QMRFunambolDataStore::MetadataList& records);
// The changes of {"data":{"<collection>":{"N":[...],"U":[...],"D":[...]}}}: collection by collection,
// then new, updated and deleted, each in the server's order.
std::vector<QMRChangeInfo> changeInfo(const nlohmann::json* root);
// {"data":{"quota":...,"free":...}}; a missing amount counts as 0.
QMRStorageSpaceInfo storageSpaceInfo(const nlohmann::json* root);

}  // namespace QMRFunambolAnswers

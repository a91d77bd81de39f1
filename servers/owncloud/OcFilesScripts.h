#pragma once
// The ajax scripts of the files app: scan (upgrade in 5.0.6), new folder, delete, upload and
// download. Uploaded content arrives on disk and downloads are sent from disk.
#include <string>

#include "OcAccount.h"
#include "OcCall.h"
#include "OcEntryStore.h"
#include "OcPages.h"
#include "OcReply.h"
#include "OcText.h"

namespace fake_owncloud {

class OcFilesScripts {
public:
    OcFilesScripts(bool v4, OcEntryStore& store, const OcAccount& account, const OcPages& pages);

    // script: the file name under the app's ajax folder, such as "upload.php".
    OcReply handle(const OcCall& call, const std::string& script);

private:
    OcReply newFolder(const OcCall& call);
    OcReply remove(const OcCall& call);
    OcReply upload(const OcCall& call);
    OcReply download(const OcCall& call) const;
    // 4.5.7 writes ids and sizes as strings, 5.0.6 as numbers.
    json number(std::int64_t value) const;

    const bool _v4;
    OcEntryStore& _store;
    const OcAccount& _account;
    const OcPages& _pages;
};

}  // namespace fake_owncloud

#pragma once
// The sharing script, core/ajax/share.php: who the account may share with, sharing an item with a
// user, a group or by link, stopping it, changing its permissions, and reading an item's shares and
// the share it was received by. Items are the ids of the account's files and folders.
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "OcAccount.h"
#include "OcCall.h"
#include "OcEntryStore.h"
#include "OcReply.h"
#include "OcText.h"

namespace fake_owncloud {

class OcSharing {
public:
    OcSharing(bool v4, const OcEntryStore& store, const OcAccount& account);

    OcReply handle(const OcCall& call);
    // Nothing shared, nothing received; share ids keep counting up.
    void reset();
    // Makes the item at path one that owner shared with the account, with these permissions; the
    // incoming share's id, or nothing when there is no such item or other user.
    std::optional<std::int64_t> receive(const std::string& path, const std::string& owner, int permissions);

private:
    struct Share {
        std::int64_t id = 0;
        std::string itemType;
        std::int64_t item = 0;
        int shareType = 0;
        std::string shareWith;  // empty for a link
        int permissions = 0;
        std::int64_t stime = 0;
        std::string token;  // a link's
        std::string owner;
    };

    OcReply share(const OcCall& call);
    OcReply unshare(const OcCall& call);
    OcReply setPermissions(const OcCall& call);
    OcReply getItem(const OcCall& call) const;
    OcReply getShareWith(const OcCall& call) const;

    std::vector<Share>::iterator findShare(const OcCall& call);
    json row(const Share& share) const;

    const bool _v4;
    const OcEntryStore& _store;
    const OcAccount& _account;
    std::vector<Share> _shares;               // made by the account, in the order made
    std::map<std::int64_t, Share> _received;  // by item: shared with the account by another user
    std::int64_t _nextId = 1;
    std::mt19937_64 _random{std::random_device{}()};
};

}  // namespace fake_owncloud

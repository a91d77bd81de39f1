#include "OcSharing.h"

#include <algorithm>

namespace fake_owncloud {

namespace {

constexpr int shareTypeUser = 0, shareTypeGroup = 1, shareTypeLink = 3;
constexpr int permissionShare = 16;
// How many users, and how many groups, one search offers at most.
constexpr std::size_t offeredParties = 4;

bool hasAll(const std::map<std::string, std::string>& fields, std::initializer_list<const char*> names) {
    return std::all_of(names.begin(), names.end(), [&](const char* name) { return fields.contains(name); });
}

// What a script that prints nothing answers.
OcReply nothing() {
    return {200, "", {{"Content-Type", "text/html; charset=utf-8"}}, {}};
}

}  // namespace

OcSharing::OcSharing(bool v4, const OcEntryStore& store, const OcAccount& account)
    : _v4(v4), _store(store), _account(account) {}

void OcSharing::reset() {
    _shares.clear();
    _received.clear();
}

std::optional<std::int64_t> OcSharing::receive(const std::string& path, const std::string& owner, int permissions) {
    const OcEntryStore::Entry* entry = _store.find(path);
    if (entry == nullptr || path == "/" || owner == _account.user() || !_account.userExists(owner)) return std::nullopt;
    Share& share = _received[entry->id] = Share{
        _nextId++, entry->folder ? "folder" : "file", entry->id, shareTypeUser, _account.user(), permissions, now(), "",
        owner};
    return share.id;
}

// Actions come as form fields, fetches as query parameters; a request with neither prints nothing.
OcReply OcSharing::handle(const OcCall& call) {
    if (!call.loggedIn()) return OcReply::error(call.texts.authenticationError);
    if (!call.tokenValid()) return OcReply::error(call.texts.tokenExpired);
    const OcRequest& request = call.request;
    if (hasAll(request.form, {"action", "itemType", "itemSource"})) {
        const std::string action = request.field("action");
        if (action == "share" && hasAll(request.form, {"shareType", "shareWith", "permissions"})) return share(call);
        if (action == "unshare" && hasAll(request.form, {"shareType", "shareWith"})) return unshare(call);
        if (action == "setPermissions" && hasAll(request.form, {"shareType", "shareWith", "permissions"}))
            return setPermissions(call);
    } else if (request.param("fetch") == "getItem" &&
               hasAll(request.query, {"itemType", "itemSource", "checkReshare", "checkShares"})) {
        return getItem(call);
    } else if (request.param("fetch") == "getShareWith" && request.query.contains("search")) {
        return getShareWith(call);
    }
    return nothing();
}

OcReply OcSharing::share(const OcCall& call) {
    const OcRequest& request = call.request;
    const std::string source = request.field("itemSource"), itemType = request.field("itemType");
    const auto type = static_cast<int>(phpInt(request.field("shareType")));
    const std::string with = request.field("shareWith");
    const auto permissions = static_cast<int>(phpInt(request.field("permissions")));
    const std::int64_t item = phpInt(source);
    const auto refused = [&](const std::string& why) {
        return OcReply::error("Sharing " + source + " failed, " + why);
    };

    const std::string path = _store.pathOf(item);
    if (path.empty() || path == "/")
        return refused("because the sharing backend for " + itemType + " could not find its source");
    if (auto received = _received.find(item); received != _received.end()) {
        if ((received->second.permissions & permissionShare) == 0) return refused("because resharing is not allowed");
        if ((permissions & ~received->second.permissions) != 0)
            return refused("because the permissions exceed permissions granted to " + received->second.owner);
    }
    const auto alreadyShared = [&] {
        return std::any_of(_shares.begin(), _shares.end(), [&](const Share& share) {
            return share.item == item && share.shareType == type && share.shareWith == with;
        });
    };
    if (type == shareTypeUser) {
        if (with == _account.user()) return refused("because the user " + with + " is the item owner");
        if (!_account.userExists(with)) return refused("because the user " + with + " does not exist");
        if (alreadyShared()) return refused("because this item is already shared with " + with);
    } else if (type == shareTypeGroup) {
        if (!_account.groupExists(with)) return refused("because the group " + with + " does not exist");
        if (alreadyShared()) return refused("because this item is already shared with " + with);
    } else if (type != shareTypeLink) {
        return OcReply::error("Share type " + std::to_string(type) + " is not valid for " + source);
    }
    Share share{_nextId++,   itemType, item, type,           type == shareTypeLink ? "" : with,
                permissions, now(),    "",   _account.user()};
    if (type == shareTypeLink) {
        // One link per item: sharing by link again replaces it.
        std::erase_if(_shares, [&](const Share& other) { return other.item == item && other.shareType == type; });
        const std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
        for (int i = 0; i < 15; ++i) share.token += alphabet[_random() % alphabet.size()];
    }
    _shares.push_back(share);
    if (type == shareTypeLink) return OcReply::success({{"token", share.token}});
    return OcReply::ofJson({{"status", "success"}});
}

std::vector<OcSharing::Share>::iterator OcSharing::findShare(const OcCall& call) {
    const OcRequest& request = call.request;
    const std::int64_t item = phpInt(request.field("itemSource"));
    const auto type = static_cast<int>(phpInt(request.field("shareType")));
    const std::string with = request.field("shareWith");
    return std::find_if(_shares.begin(), _shares.end(), [&](const Share& share) {
        return share.item == item && share.shareType == type && (type == shareTypeLink || share.shareWith == with);
    });
}

// Stopping a share that does not exist fails without a message.
OcReply OcSharing::unshare(const OcCall& call) {
    const auto found = findShare(call);
    if (found == _shares.end()) return OcReply::ofJson({{"status", "error"}});
    _shares.erase(found);
    return OcReply::ofJson({{"status", "success"}});
}

OcReply OcSharing::setPermissions(const OcCall& call) {
    const auto found = findShare(call);
    if (found == _shares.end())
        return OcReply::error("Setting permissions for " + call.request.field("itemSource") +
                              " failed, because the item was not found");
    found->permissions = static_cast<int>(phpInt(call.request.field("permissions")));
    return OcReply::ofJson({{"status", "success"}});
}

// A share as the database row reads: every number a string.
json OcSharing::row(const Share& share) const {
    const std::string target = "/" + nameOf(_store.pathOf(share.item));
    return {{"id", std::to_string(share.id)},
            {"item_type", share.itemType},
            {"item_source", std::to_string(share.item)},
            {"item_target", target},
            {"parent", nullptr},
            {"share_type", std::to_string(share.shareType)},
            {"share_with", share.shareWith.empty() ? json(nullptr) : json(share.shareWith)},
            {"uid_owner", share.owner},
            {"file_source", std::to_string(share.item)},
            {"file_target", target},
            {"permissions", std::to_string(share.permissions)},
            {"stime", std::to_string(share.stime)},
            {"expiration", nullptr},
            {"token", share.token.empty() ? json(nullptr) : json(share.token)}};
}

// "reshare" is the share the item came by, "shares" those the account made: each false when there is
// none; a file's shares are keyed by share id, a folder's are a list.
OcReply OcSharing::getItem(const OcCall& call) const {
    const OcRequest& request = call.request;
    const std::int64_t item = phpInt(request.param("itemSource"));
    const bool folder = request.param("itemType") == "folder";
    json reshare = false, shares = false;
    if (auto received = _received.find(item); received != _received.end() && request.param("checkReshare") == "true")
        reshare = row(received->second);
    if (request.param("checkShares") == "true" && !_store.pathOf(item).empty()) {
        for (const Share& share : _shares) {
            if (share.item != item) continue;
            if (!shares.is_structured()) shares = folder ? json::array() : json::object();
            if (folder)
                shares.push_back(row(share));
            else
                shares[std::to_string(share.id)] = row(share);
        }
    }
    return OcReply::success({{"reshare", reshare}, {"shares", shares}});
}

// Users first, then groups, each beginning with the search text; 5.0.6 also searches and shows
// display names.
OcReply OcSharing::getShareWith(const OcCall& call) const {
    const std::string search = call.request.param("search");
    json parties = json::array();
    for (const auto& [uid, displayName] : _account.otherUsersStartingWith(search, !_v4, offeredParties))
        parties.push_back(
            {{"label", _v4 ? uid : displayName}, {"value", {{"shareType", shareTypeUser}, {"shareWith", uid}}}});
    for (const std::string& group : _account.groupsStartingWith(search, offeredParties))
        parties.push_back(
            {{"label", group + " (group)"}, {"value", {{"shareType", shareTypeGroup}, {"shareWith", group}}}});
    return OcReply::success(parties);
}

}  // namespace fake_owncloud

#pragma once
// The HTML pages of the server in the release's markup: the login form, the files app's folder
// pages, the personal settings page and the lost-password page.
#include <optional>
#include <string>
#include <string_view>

#include "OcAccount.h"
#include "OcCall.h"
#include "OcEntryStore.h"
#include "OcReply.h"

namespace fake_owncloud {

class OcPages {
public:
    OcPages(bool v4, const OcAccount& account, const OcEntryStore& store);

    // The page frame; a logged-in page carries the request token where the release puts it.
    std::string frame(const OcCall& call, std::string_view content, std::string_view bodyId = "body-user") const;
    OcReply redirect(const OcCall& call, const std::string& target) const;
    // The release's way of sending a logged-out browser from a page to the login form.
    OcReply loggedOut(const OcCall& call) const;
    OcReply notFound(const OcCall& call) const;

    // The login form; after a refused attempt it offers the "lost password" link.
    OcReply login(const OcCall& call, std::optional<std::string> refusedUser = std::nullopt) const;
    OcReply files(const OcCall& call) const;
    OcReply personal(const OcCall& call) const;
    // The lost-password form; after a request, whether the reset was requested or refused.
    OcReply lostPassword(const OcCall& call, std::optional<bool> requested = std::nullopt) const;

private:
    std::string row(const OcCall& call, const std::string& path, const OcEntryStore::Entry& entry) const;
    std::string dateTitle(const OcTexts& texts, std::int64_t mtime) const;
    std::string folderLink(const std::string& path) const;

    const bool _v4;
    const OcAccount& _account;
    const OcEntryStore& _store;
};

}  // namespace fake_owncloud

#include "OcAccount.h"

#include <algorithm>
#include <array>

#include "OcText.h"

namespace fake_owncloud {

namespace {

struct KnownUser {
    std::string_view uid, displayName;
};
// Sorted by uid. Searches with "a" and "b" find more than a client shows at once.
constexpr std::array<KnownUser, 7> otherUsers{{{"albert", "Albert Ames"},
                                               {"alice", "Alice Archer"},
                                               {"amanda", "Amanda Atwood"},
                                               {"andrew", "Andrew Abbott"},
                                               {"anna", "Anna Arnold"},
                                               {"bob", "Bob Baker"},
                                               {"brenda", "Brenda Bishop"}}};
constexpr std::array<std::string_view, 4> groups{"admin", "administrators", "backoffice", "sales"};

bool beginsWith(std::string_view text, std::string_view search) {
    return lowerCase(text).starts_with(lowerCase(search));
}

}  // namespace

OcAccount::OcAccount(std::string user, std::string password, std::int64_t quota)
    : _user(std::move(user)), _initialPassword(password), _password(std::move(password)), _quota(quota) {}

void OcAccount::reset() {
    _password = _initialPassword;
    _email.clear();
}

bool OcAccount::userExists(std::string_view uid) const {
    return uid == _user ||
           std::any_of(otherUsers.begin(), otherUsers.end(), [&](const KnownUser& known) { return known.uid == uid; });
}

bool OcAccount::groupExists(std::string_view gid) const {
    return std::find(groups.begin(), groups.end(), gid) != groups.end();
}

std::vector<std::pair<std::string, std::string>> OcAccount::otherUsersStartingWith(std::string_view search,
                                                                                   bool byDisplayName,
                                                                                   std::size_t limit) const {
    std::vector<std::pair<std::string, std::string>> found;
    for (const KnownUser& known : otherUsers)
        if (found.size() < limit && known.uid != _user &&
            (beginsWith(known.uid, search) || (byDisplayName && beginsWith(known.displayName, search))))
            found.emplace_back(known.uid, known.displayName);
    return found;
}

std::vector<std::string> OcAccount::groupsStartingWith(std::string_view search, std::size_t limit) const {
    std::vector<std::string> found;
    for (std::string_view group : groups)
        if (found.size() < limit && beginsWith(group, search)) found.emplace_back(group);
    return found;
}

}  // namespace fake_owncloud

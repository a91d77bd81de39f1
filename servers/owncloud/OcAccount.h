#pragma once
// The account that clients log in to, with what its settings hold, and the other users and groups of
// the server, whom it can share with.
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace fake_owncloud {

class OcAccount {
public:
    OcAccount(std::string user, std::string password, std::int64_t quota);

    // The password and e-mail address it started with (none).
    void reset();

    const std::string& user() const { return _user; }
    bool hasPassword(std::string_view password) const { return password == _password; }
    void setPassword(std::string password) { _password = std::move(password); }
    const std::string& email() const { return _email; }
    void setEmail(std::string email) { _email = std::move(email); }
    std::int64_t quota() const { return _quota; }
    void setQuota(std::int64_t quota) { _quota = quota; }

    // Any user of the server, this account's included.
    bool userExists(std::string_view uid) const;
    bool groupExists(std::string_view gid) const;
    // Up to limit other users (uid, display name) whose uid, or where byDisplayName also whose display
    // name, begins with search in any case; by uid.
    std::vector<std::pair<std::string, std::string>> otherUsersStartingWith(std::string_view search, bool byDisplayName,
                                                                            std::size_t limit) const;
    // Up to limit groups whose name begins with search in any case; by name.
    std::vector<std::string> groupsStartingWith(std::string_view search, std::size_t limit) const;

private:
    const std::string _user, _initialPassword;
    std::string _password, _email;
    std::int64_t _quota;
};

}  // namespace fake_owncloud

#pragma once
// Every operation of the ownCloud back-end against the healthy server of either release, with sessions
// that give up on a silent server soon, so that a broken step ends quickly.
#include <string>
#include <vector>

#include "companion/web/QMRUrlSessionConfiguration.h"
#include "tests/robustness/BrokenAnswers.h"
#include "tests/support/OwnCloudScriptedServer.h"

namespace owncloud_operations {

inline const std::vector<std::string>& releases() {
    static const std::vector<std::string> versions = {"4.5.7", "5.0.6"};
    return versions;
}

// Sessions that give up on a silent server soon.
inline QMRUrlSessionConfiguration quickSessions() {
    return {.timeoutInterval = broken_answers::sessionTimeout};
}

using owncloud_server::Account;
using owncloud_server::has;
using owncloud_server::healthyServer;
using owncloud_server::isLoginForm;
using owncloud_server::isTokenPage;
using owncloud_server::Operation;
using owncloud_server::runTransfers;
using owncloud_server::tokenPage;

inline Account logIn(const std::string& baseUrl, const std::string& loginName, const std::string& password,
                     QMRErrorSlot& error) {
    return owncloud_server::logIn(baseUrl, loginName, password, error, quickSessions());
}

inline std::vector<Operation> operations(const std::string& marker = "") {
    return owncloud_server::operations(marker, quickSessions());
}

}  // namespace owncloud_operations

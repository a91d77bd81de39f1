#include <fmt/format.h>

#include "DataStore/webdav/QMRWebDavDataStore.h"
#include "companion/util/QMRBase64.h"

QMRWebDavDataStore::QMRWebDavDataStore(const std::string& username, const std::string& password, std::string baseUrl)
    : _baseUrl(std::move(baseUrl)),
      _basicAccessAuthenticationToken(constructBasicAccessAuthenticationTokenFromUsername(username, password)) {}

std::string QMRWebDavDataStore::constructBasicAccessAuthenticationTokenFromUsername(std::string_view username,
                                                                                    std::string_view password) {
    return fmt::format("Basic {}", QMRBase64::base64EncodedString(fmt::format("{}:{}", username, password)));
}

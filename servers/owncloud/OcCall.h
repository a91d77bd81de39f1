#pragma once
// One call to a script: the request, the language it is answered in, the caller's session and where
// the server is reached.
#include <string>

#include "OcRequest.h"
#include "OcTexts.h"

namespace fake_owncloud {

struct OcCall {
    OcRequest& request;
    const OcTexts& texts;
    const std::string* token;  // the session's request token; null when logged out
    std::string base;          // scheme and host, for links and redirects

    bool loggedIn() const { return token != nullptr; }
    // The request token sent, taken where PHP looks for it: the query, the form, then the header.
    std::string sentToken() const {
        if (request.query.contains("requesttoken")) return request.param("requesttoken");
        if (request.form.contains("requesttoken")) return request.field("requesttoken");
        return request.tokenHeader;
    }
    bool tokenValid() const { return token != nullptr && sentToken() == *token; }
};

}  // namespace fake_owncloud

#pragma once
// The account's own scripts: changing the password and setting the e-mail address from the personal
// page, and asking for a password-reset mail from the lost-password page.
#include "OcAccount.h"
#include "OcCall.h"
#include "OcPages.h"
#include "OcReply.h"

namespace fake_owncloud {

class OcAccountScripts {
public:
    OcAccountScripts(OcAccount& account, const OcPages& pages);

    OcReply changePassword(const OcCall& call);
    OcReply setEmail(const OcCall& call);
    OcReply lostPassword(const OcCall& call) const;

private:
    OcAccount& _account;
    const OcPages& _pages;
};

}  // namespace fake_owncloud

// The pages of a login, for both releases: the answer to the login form (shown again means the
// credentials were refused) and the files page that carries the request token. A token found is
// used at once in the file-scan address and later as the "requesttoken" header of every change.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "DataStore/owncloud/QMROcLoginRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcLoginRequestv5_0_6.h"
#include "companion/web/QMRUrlRequest.h"
#include "fuzz/FuzzSupport.h"

namespace {

void readLoginPages(const QMROcLoginRequestv4_5_7& login, const QMRData& page) {
    QMRErrorSlot refused;
    login.validateRetrieveCookieResponseBody(page, refused);
    if (refused) (void)refused->localizedDescription();

    QMRErrorSlot error;
    const std::optional<std::string> token = login.extractRequestToken(page, error);
    fuzz::require(token.has_value() != error.has_value(), "a token page gives a token or an error");
    if (!token) return;
    (void)login.constructScanReqUrl(*token);
    QMRUrlRequest change(fuzz::baseUrl);
    change.setValue(*token, "requesttoken");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const QMROcLoginRequestv4_5_7 v4(fuzz::session(), "user", "password", fuzz::baseUrl);
    static const QMROcLoginRequestv5_0_6 v5(fuzz::session(), "user", "password", fuzz::baseUrl);
    const QMRData page = fuzz::bodyOf(data, size);
    readLoginPages(v4, page);
    readLoginPages(v5, page);
    return 0;
}

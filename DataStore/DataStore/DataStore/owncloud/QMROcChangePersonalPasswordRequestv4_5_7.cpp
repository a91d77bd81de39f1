#include "DataStore/owncloud/QMROcChangePersonalPasswordRequestv4_5_7.h"

#include <nlohmann/json.hpp>

#include "companion/util/comQuillmereUtil_ExceptionUtil.h"

namespace {

std::string validatedNewPassword(std::string newPassword) {
    if (newPassword.empty())
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              "New password must be at least 1 character in length");
    return newPassword;
}

}  // namespace

QMROcChangePersonalPasswordRequestv4_5_7::QMROcChangePersonalPasswordRequestv4_5_7(QMRUrlSession& session,
                                                                                   std::string requestToken,
                                                                                   std::string baseUrl,
                                                                                   std::string oldPassword,
                                                                                   std::string newPassword)
    : QMROcAccountFormRequest(session, std::move(baseUrl)),
      _requestToken(std::move(requestToken)),
      _oldPassword(std::move(oldPassword)),
      _freshPassword(validatedNewPassword(std::move(newPassword))) {}

void QMROcChangePersonalPasswordRequestv4_5_7::send(QMRErrorSlot& error) {
    post(constructChangePersonalPasswordRequestUrl(),
         {{"oldpassword", _oldPassword}, {"password", _freshPassword}, {"password-clone", _freshPassword}},
         _requestToken, error);
}

std::string QMROcChangePersonalPasswordRequestv4_5_7::constructChangePersonalPasswordRequestUrl() const {
    return fixedUrl("/settings/ajax/changepassword.php");
}

void QMROcChangePersonalPasswordRequestv4_5_7::validateResponseBody(const QMRData& body, QMRErrorSlot& error) const {
    const std::optional<nlohmann::json> answer = jsonAnswer(body, error);
    if (!answer) return;
    // Compared exactly, unlike the e-mail answer: "Success" is a refusal here, deliberately.
    const std::string* status = textMember(*answer, "status");
    if (status && *status == "success") return;
    error = createError("Change password unsuccessful", QMRDataStoreErrorAuthentication);
}

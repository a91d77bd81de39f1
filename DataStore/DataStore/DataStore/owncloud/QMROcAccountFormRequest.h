#pragma once
// What the account administration posts (password, e-mail, reset link) share: a form posted with
// the ajax form type, the session's token where the script wants one, the standard status check,
// then the class's own reading of the answer.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "DataStore/owncloud/QMROcRequest.h"

class QMROcAccountFormRequest : public QMROcRequest {
public:
    QMROcAccountFormRequest() = delete;

    // Reads the answer of a post that passed the status check; sets the error when it is a refusal.
    virtual void validateResponseBody(const QMRData& body, QMRErrorSlot& error) const = 0;

protected:
    QMROcAccountFormRequest(QMRUrlSession& session, std::string baseUrl);

    // Posts the fields in order to url, with the "requesttoken" header unless requestToken is none,
    // and checks the answer.
    void post(std::string url, const std::vector<FormField>& fields, std::optional<std::string_view> requestToken,
              QMRErrorSlot& error) const;

    // 101 "Unknown error - <body>".
    static QMRError unknownError(std::string_view body);
    // The parsed answer, or none with unknownError set when it is not JSON.
    static std::optional<nlohmann::json> jsonAnswer(const QMRData& body, QMRErrorSlot& error);
    // The member name of an object; none when value is no object or lacks it.
    static const nlohmann::json* member(const nlohmann::json& value, const char* name);
    // The same for a member that must be a text.
    static const std::string* textMember(const nlohmann::json& value, const char* name);
};

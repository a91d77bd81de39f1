#pragma once
// One HTTP exchange with the WebDAV server. The data store makes a fresh transceiver for every
// request: it fills the request fields, calls send(), then asks for the error and the parsed answer.
// The transceiver decides which headers go out, how a status (or a transport failure) becomes an
// error of the data store domain, and how a multistatus answer is cleaned before it is parsed, so
// that callers only see complete, live records.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "companion/util/QMRError.h"
#include "companion/util/QMRTypes.h"
#include "companion/web/QMRUrlSession.h"
#include "companion/xml/RXMLElement.h"

class QMRWebDavTransceiver {
public:
    // All request and response fields empty; the exchange goes through session.
    explicit QMRWebDavTransceiver(QMRUrlSession& session);

    std::string reqUrl;
    std::string reqHttpMethod;
    std::string reqAuthenticationToken;
    std::string reqAcceptEncoding;
    // A depth, optionally followed by ",noroot" to drop the collection's own entry from the answer.
    std::string reqDepth;
    std::string reqLockTimeout;
    std::string reqIf;
    // Sent as stored, without added angle brackets.
    std::string reqLockToken;
    std::string reqContentType;
    // A body goes out only together with a content type.
    std::optional<QMRData> reqContent;

    std::int64_t respCode = 0;
    QMRErrorSlot respError;
    std::optional<QMRDate> respDate;
    QMRData respRawData;
    // The cleaned multistatus; set only for status 207.
    RXMLElement respXml;
    // Change values whose responses are dropped from a multistatus; when set (even empty), responses
    // lacking a requested property are dropped too.
    std::optional<std::vector<std::string>> respFilterForChange;

    // Performs the exchange and fills respError, respDate, respCode and respRawData.
    void send();

    // Nothing for a success status, otherwise the error for the status.
    QMRErrorSlot constructError();
    // fileIdsForNotFound: the ids named by a 404 error. unknownErrorExtraInfo: the failure reason of
    // a 101 error.
    QMRErrorSlot constructError(const std::optional<std::vector<std::string>>& fileIdsForNotFound,
                                const std::optional<std::string>& unknownErrorExtraInfo = std::nullopt);

    static std::optional<QMRDate> toDateFromHttpResponseDateString(std::string_view text);

    // The error of each outcome.
    static QMRError HandleUnauthorizedError();
    static QMRError HandleFileNotFoundError(const std::optional<std::vector<std::string>>& fileIds);
    static QMRError HandleApplicationExclusiveLockUnlockError(long code);
    QMRError HandleIOError() const;
    static QMRError HandleInsufficientStorageSpaceError();
    QMRError HandleUnknownError(const std::optional<std::string>& extraInfo) const;
    QMRErrorSlot HandleMultiStatusCode();

    // The steps of cleaning a multistatus text.
    std::string removeRoot(std::string xml) const;
    // The prefix the text binds to the namespace URI, or nothing when the text does not declare it.
    static std::optional<std::string> findNamespaceNameForUri(std::string_view uri, std::string_view xml);
    std::string filterChangeElementWithNamespace(std::string_view prefix, std::string xml) const;
    QMRErrorSlot extractErrorForMultiStatusResponse() const;

    // An answer that cannot be read as what was asked for: a multistatus that is not XML or too odd
    // for the cleaning patterns, a lock answer without a token.
    static QMRError unrecognizedResponseError();

private:
    QMRUrlSession* _session;
};

#pragma once
// Sends HTTP requests. A synchronous send blocks the calling thread until the answer has arrived or
// the transfer failed.
#include <optional>

#include "companion/util/QMRError.h"
#include "companion/util/QMRTypes.h"
#include "companion/web/QMRHttpUrlResponse.h"
#include "companion/web/QMRUrlRequest.h"
#include "companion/web/QMRUrlSession.h"

class QMRUrlConnection {
public:
    // Returns the body (possibly empty) of every HTTP answer, whatever its status, and fills
    // response. A transport failure returns none, sets error to a QMRUrlErrorDomain error and gives
    // response that error's (negative) code as its status. A 401 answer carrying a WWW-Authenticate
    // challenge returns its body with status 401 and also sets error to
    // QMRUrlErrorUserCancelledAuthentication: no credentials are offered to a challenge.
    //
    // Redirects are followed (at most 10) with the session's cookies; credentials are not sent to
    // another host. The request's body stream, if any, is read to its end before sending.
    // Misuse by the caller (a header field that would break the request, a Content-Length that
    // contradicts the body) raises QMRInvalidArgumentException before anything is sent.
    static std::optional<QMRData> sendSynchronousRequest(QMRUrlSession& session, const QMRUrlRequest& request,
                                                         QMRHttpUrlResponse& response, QMRErrorSlot& error);
    // The same with a session of its own: nothing (cookies, connections) is kept afterwards.
    static std::optional<QMRData> sendSynchronousRequest(const QMRUrlRequest& request, QMRHttpUrlResponse& response,
                                                         QMRErrorSlot& error);
};

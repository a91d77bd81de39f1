#pragma once
// What an asynchronous URL connection tells its delegate, on the thread of the run loop that the
// connection is scheduled on. A callback may cancel the connection or drop the last reference to
// it; after cancel no callback comes any more.
#include "companion/util/QMRError.h"
#include "companion/util/QMRTypes.h"
#include "companion/web/QMRHttpUrlResponse.h"

class QMRUrlConnection;

class QMRUrlConnectionDelegate {
public:
    virtual ~QMRUrlConnectionDelegate() = default;

    // connection:didReceiveResponse: the status and header fields of the answer (after redirects),
    // before any of its body.
    virtual void connection(QMRUrlConnection& connection, const QMRHttpUrlResponse& response) = 0;
    // connection:didReceiveData: the next piece of the answer's body; the bytes are only valid
    // during the call.
    virtual void connection(QMRUrlConnection& connection, QMRDataView data) = 0;
    // connection:didFailWithError: a transport failure (QMRUrlErrorDomain); the last callback.
    virtual void connection(QMRUrlConnection& connection, const QMRError& error) = 0;
    // The whole answer has arrived; the last callback.
    virtual void connectionDidFinishLoading(QMRUrlConnection& connection) = 0;
};

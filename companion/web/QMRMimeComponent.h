#pragma once
// One part of a multipart/form-data body: its Content-Disposition, an optional Content-Type and its content.
#include <string>
#include <string_view>

#include "companion/util/QMRTypes.h"

class QMRMimeComponent {
public:
    virtual ~QMRMimeComponent() = default;

    // The whole header value, e.g. "form-data; name=\"dir\"".
    const std::string& contentDisposition() const { return _contentDisposition; }
    // Empty when the part carries no Content-Type header.
    const std::string& contentType() const { return _contentType; }
    // The bytes written between the part's headers and the next delimiter; may be empty.
    virtual QMRDataView content() const = 0;

protected:
    // Header values holding CR or LF raise QMRInvalidArgumentException: they would break the framing.
    QMRMimeComponent(std::string contentDisposition, std::string contentType);
    QMRMimeComponent(const QMRMimeComponent&) = default;
    QMRMimeComponent& operator=(const QMRMimeComponent&) = default;

private:
    std::string _contentDisposition;
    std::string _contentType;
};

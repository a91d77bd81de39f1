#pragma once
// Base64 with the standard alphabet and "=" padding (RFC 4648, section 4), as HTTP Basic
// authentication and MIME bodies expect it.
#include <string>
#include <string_view>

#include "companion/util/QMRTypes.h"

class QMRBase64 {
public:
    QMRBase64() = delete;

    static std::string base64EncodedString(QMRDataView data);
    // The bytes of text as they stand (callers pass UTF-8, e.g. "user:password").
    static std::string base64EncodedString(std::string_view text);
};

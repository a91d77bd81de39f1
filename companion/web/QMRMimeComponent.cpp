#include "companion/web/QMRMimeComponent.h"

#include <utility>

#include "companion/util/comQuillmereUtil_ExceptionUtil.h"

namespace {

void requireSingleLineHeaderValue(std::string_view headerName, std::string_view value) {
    if (value.find_first_of("\r\n") != std::string_view::npos)
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              std::string(headerName) + " must not contain CR or LF");
}

}  // namespace

QMRMimeComponent::QMRMimeComponent(std::string contentDisposition, std::string contentType)
    : _contentDisposition(std::move(contentDisposition)), _contentType(std::move(contentType)) {
    if (_contentDisposition.empty())
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              "Content-Disposition must not be empty");
    requireSingleLineHeaderValue("Content-Disposition", _contentDisposition);
    requireSingleLineHeaderValue("Content-Type", _contentType);
}

#include "companion/web/QMRUrlEncodedBodyBuilder.h"

#include "companion/web/QMRUriUtil.h"

void QMRUrlEncodedBodyBuilder::setParamValue(std::string_view value, std::string_view param) {
    if (!_body.empty()) _body += '&';
    _body += QMRUriUtil::encodeToPercentEscapeString(param);
    _body += '=';
    _body += QMRUriUtil::encodeToPercentEscapeString(value);
}

#include "companion/xml/QMRXmlNamespace.h"

#include <utility>

#include "companion/util/comQuillmereUtil_ExceptionUtil.h"
#include "companion/xml/QMRXmlSyntax.h"

QMRXmlNamespace::QMRXmlNamespace(std::string prefix, std::string uri)
    : _prefix(std::move(prefix)), _uri(std::move(uri)) {
    if (!_prefix.empty()) QMRXmlSyntax::validateName(_prefix, false, "Namespace prefix");
    if (_prefix == "xmlns" || _uri == "http://www.w3.org/2000/xmlns/")
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              "The \"xmlns\" prefix and namespace are reserved");
    if ((_prefix == "xml") != (_uri == xmlUri))
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              "The prefix \"xml\" and its namespace URI belong together");
    // XML 1.0 namespaces cannot undeclare a prefix.
    if (!_prefix.empty() && _uri.empty())
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              "A prefixed namespace needs a URI");
    QMRXmlSyntax::validateRepresentable(_uri, "Namespace URI");
}

std::string QMRXmlNamespace::qualifiedName(std::string_view localName) const {
    if (_prefix.empty()) return std::string(localName);
    std::string name;
    name.reserve(_prefix.size() + 1 + localName.size());
    name.append(_prefix).append(1, ':').append(localName);
    return name;
}

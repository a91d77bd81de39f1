#pragma once
// Writes a multipart/form-data body (RFC 7578, framing of RFC 2046) into a stream.
//
// Each part is "--<boundary>\r\n", its headers, a blank line and its content; the CRLF that ends a part's
// content belongs to the next delimiter, so after writeMimeComponent nothing follows the content until the
// next part or close() writes "\r\n--<boundary>". A caller may therefore write a part with no content, take
// the bytes so far as a prefix, stream the content itself, and send what close() writes as the suffix.
#include <string>
#include <string_view>

#include "companion/io/ComQuillmereIO_Stream.h"
#include "companion/web/QMRMimeComponent.h"

class QMRMimeWriter {
public:
    QMRMimeWriter() = delete;
    // The boundary must be 1 to 70 characters allowed by RFC 2046 and must not end with a space; otherwise
    // QMRInvalidArgumentException. The writer does not own the stream.
    QMRMimeWriter(ComQuillmereIO_Stream& stream, std::string boundary);

    // "----QMRBoundary" followed by 32 random hexadecimal digits: safe unquoted in a Content-Type header, and
    // too random to occur in any content.
    static std::string generateBoundary();

    const std::string& boundary() const { return _boundary; }

    // Writes the component's delimiter, headers and content. Raises QMRInvalidOperationException after close.
    void writeMimeComponent(const QMRMimeComponent& component);

    // Writes the closing delimiter "\r\n--<boundary>--\r\n" (without the leading CRLF when no part was written).
    // The stream stays open. Any later call raises QMRInvalidOperationException.
    void close();

private:
    void writeDelimiterLine(std::string_view ending);
    void throwIfClosed() const;

    ComQuillmereIO_Stream& _stream;
    std::string _boundary;
    bool _hasWrittenComponent = false;
    bool _closed = false;
};

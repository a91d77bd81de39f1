#include "companion/web/QMRMimeWriter.h"

#include <fmt/format.h>

#include <cstdint>
#include <random>
#include <string_view>
#include <utility>

#include "companion/util/comQuillmereUtil_ExceptionUtil.h"

namespace {

constexpr std::size_t kMaximumBoundaryLength = 70;

// RFC 2046 "bchars".
bool isBoundaryCharacter(char c) {
    if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) return true;
    return std::string_view("'()+_,-./:=? ").find(c) != std::string_view::npos;
}

void requireValidBoundary(const std::string& boundary) {
    bool valid = !boundary.empty() && boundary.size() <= kMaximumBoundaryLength && boundary.back() != ' ';
    for (char c : boundary) valid = valid && isBoundaryCharacter(c);
    if (!valid)
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              "Invalid MIME boundary \"" + boundary + "\"");
}

}  // namespace

QMRMimeWriter::QMRMimeWriter(ComQuillmereIO_Stream& stream, std::string boundary)
    : _stream(stream), _boundary(std::move(boundary)) {
    requireValidBoundary(_boundary);
}

std::string QMRMimeWriter::generateBoundary() {
    std::random_device randomSource;
    std::uniform_int_distribution<std::uint32_t> word;
    std::string boundary = "----QMRBoundary";
    for (int i = 0; i < 4; ++i) boundary += fmt::format("{:08x}", word(randomSource));
    return boundary;
}

void QMRMimeWriter::writeMimeComponent(const QMRMimeComponent& component) {
    throwIfClosed();
    writeDelimiterLine("\r\n");
    std::string headers = fmt::format("Content-Disposition: {}\r\n", component.contentDisposition());
    if (!component.contentType().empty()) headers += fmt::format("Content-Type: {}\r\n", component.contentType());
    headers += "\r\n";
    _stream.write(std::string_view(headers));
    if (!component.content().empty()) _stream.write(component.content());
    _hasWrittenComponent = true;
}

void QMRMimeWriter::close() {
    throwIfClosed();
    writeDelimiterLine("--\r\n");
    _closed = true;
}

void QMRMimeWriter::writeDelimiterLine(std::string_view ending) {
    // The CRLF before a delimiter ends the previous part's content; the first delimiter has none.
    std::string_view lineBreak = _hasWrittenComponent ? "\r\n" : "";
    _stream.write(std::string_view(fmt::format("{}--{}{}", lineBreak, _boundary, ending)));
}

void QMRMimeWriter::throwIfClosed() const {
    if (_closed)
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidOperationException::exceptionName, "The MIME writer is closed");
}

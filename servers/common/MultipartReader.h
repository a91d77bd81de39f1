#pragma once
// Reads a multipart/form-data body piece by piece as it arrives, so that a part of any size passes
// through to its handler without being held: each part's headers, then its content in pieces, then
// its end. Delimiters split across pieces are found all the same.
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace fake_server {

class MultipartReader {
public:
    struct PartHeaders {
        std::string name;      // the Content-Disposition "name"
        std::string filename;  // its "filename", when hasFilename
        bool hasFilename = false;
        std::string contentType;
    };
    struct Handlers {
        std::function<void(const PartHeaders&)> partBegins;
        std::function<void(std::string_view content)> partContent;
        std::function<void()> partEnds;
    };

    // The boundary that a Content-Type header names for a multipart body, unquoted; nothing when the
    // type is not multipart/form-data or names none.
    static std::optional<std::string> boundaryOf(std::string_view contentType);

    MultipartReader(std::string_view boundary, Handlers handlers);

    // Takes the next piece of the body. False once the body is found malformed; the rest is ignored.
    bool feed(std::string_view piece);
    // The closing delimiter has been read: every part has ended.
    bool complete() const { return _state == State::Epilogue; }

private:
    enum class State { Preamble, AfterDelimiter, Headers, Content, Epilogue, Malformed };

    // One step on the unread bytes; false when it needs more of them.
    bool step();
    bool skipToDelimiter(bool deliverContent);
    bool readDelimiterEnd();
    bool readHeaders();

    std::string _delimiter;  // CRLF "--" boundary
    Handlers _handlers;
    std::string _unread;
    State _state = State::Preamble;
};

}  // namespace fake_server

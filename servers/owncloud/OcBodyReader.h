#pragma once
// Receives a request's body as it arrives, the way PHP does before a script runs: a url-encoded form
// into its fields, a multipart form into its fields and its files (each file straight to disk), and
// any other body into memory, or to disk where asked. Memory stays small whatever the body's size.
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "MultipartReader.h"
#include "OcRequest.h"

namespace fake_owncloud {

class OcBodyReader {
public:
    enum class Outcome { Complete, TooLarge, Malformed };
    enum class Keep { InMemory, OnDisk, Nothing };
    using Stager = std::function<std::unique_ptr<OcStagedFile>()>;

    // request holds the headers; it receives the body, and must outlive this reader.
    OcBodyReader(OcRequest& request, Keep keep, Stager stage);

    void take(std::string_view piece);
    // Once the body has ended: fills the request's form and tells whether the body was acceptable.
    Outcome finish();

private:
    void beginPart(const fake_server::MultipartReader::PartHeaders& headers);
    void partContent(std::string_view content);
    void endPart();
    void toMemory(std::string& target, std::string_view bytes);

    OcRequest& _request;
    Keep _keep;
    Stager _stage;
    std::optional<fake_server::MultipartReader> _multipart;
    bool _malformed = false, _tooLarge = false;
    std::size_t _memoryBytes = 0;
    // The multipart part being read: a file, or a field's value.
    OcStagedFile* _file = nullptr;
    std::string _fieldName, _fieldValue;
};

}  // namespace fake_owncloud

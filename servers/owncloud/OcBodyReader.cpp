#include "OcBodyReader.h"

#include <utility>

#include "OcText.h"

namespace fake_owncloud {

namespace {

// What the server holds in memory of one request's body at most, file contents aside.
constexpr std::size_t maxMemoryBytes = 64u << 20;

// The media type alone, as PHP compares it: cut at ";", "," or a blank.
std::string mediaType(std::string_view contentType) {
    return lowerCase(contentType.substr(0, contentType.find_first_of(";, ")));
}

}  // namespace

OcBodyReader::OcBodyReader(OcRequest& request, Keep keep, Stager stage)
    : _request(request), _keep(keep), _stage(std::move(stage)) {
    if (_keep == Keep::Nothing) return;
    if (const auto boundary = fake_server::MultipartReader::boundaryOf(request.contentType)) {
        _multipart.emplace(*boundary,
                           fake_server::MultipartReader::Handlers{
                               [this](const auto& headers) { beginPart(headers); },
                               [this](std::string_view content) { partContent(content); }, [this] { endPart(); }});
    } else if (_keep == Keep::OnDisk) {
        _request.stagedBody = _stage();
    }
}

void OcBodyReader::take(std::string_view piece) {
    if (_keep == Keep::Nothing) return;
    if (_multipart)
        _malformed |= !_multipart->feed(piece);
    else if (_request.stagedBody)
        _request.stagedBody->write(piece);
    else
        toMemory(_request.body, piece);
}

OcBodyReader::Outcome OcBodyReader::finish() {
    if (_multipart && !_multipart->complete()) _malformed = true;
    if (_request.stagedBody && _request.stagedBody->failed()) _tooLarge = true;
    if (mediaType(_request.contentType) == "application/x-www-form-urlencoded")
        _request.form = parseFields(_request.body);
    return _tooLarge ? Outcome::TooLarge : _malformed ? Outcome::Malformed : Outcome::Complete;
}

// A part with a file name is a file, as PHP has it, even an empty one.
void OcBodyReader::beginPart(const fake_server::MultipartReader::PartHeaders& headers) {
    if (headers.hasFilename) {
        _request.files.push_back({headers.name, headers.filename, _stage()});
        _file = _request.files.back().content.get();
    } else {
        _fieldName = headers.name;
        _fieldValue.clear();
    }
}

void OcBodyReader::partContent(std::string_view content) {
    if (_file != nullptr)
        _file->write(content);
    else
        toMemory(_fieldValue, content);
}

void OcBodyReader::endPart() {
    if (_file == nullptr) _request.form[_fieldName] = std::move(_fieldValue);
    _tooLarge |= _file != nullptr && _file->failed();
    _file = nullptr;
}

void OcBodyReader::toMemory(std::string& target, std::string_view bytes) {
    _memoryBytes += bytes.size();
    _tooLarge |= _memoryBytes > maxMemoryBytes;
    if (!_tooLarge) target.append(bytes);
}

}  // namespace fake_owncloud

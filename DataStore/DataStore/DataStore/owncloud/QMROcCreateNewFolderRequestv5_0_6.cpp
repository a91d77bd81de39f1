#include "DataStore/owncloud/QMROcCreateNewFolderRequestv5_0_6.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "companion/xml/QMRXmlSyntax.h"

std::string QMROcCreateNewFolderRequestv5_0_6::constructCreateNewFolderRequestUrl() const {
    return fixedUrl("/index.php/apps/files/ajax/newfolder.php");
}

std::optional<std::string> QMROcCreateNewFolderRequestv5_0_6::extractId(const QMRData& body,
                                                                        QMRErrorSlot& error) const {
    const nlohmann::json answer = nlohmann::json::parse(body.begin(), body.end(), nullptr, false);
    if (answer.is_discarded()) {
        error = createError(fmt::format("Unknown error - {}", textOf(body)), QMRDataStoreErrorUnknown);
        return std::nullopt;
    }
    // The server sends a number; a text is taken as it stands, anything else as its JSON text.
    const nlohmann::json* id = nullptr;
    if (answer.is_object() && answer.contains("data") && answer["data"].is_object() && answer["data"].contains("id"))
        id = &answer["data"]["id"];
    std::optional<std::string> identifier;
    if (id && !id->is_null()) identifier = id->is_string() ? id->get<std::string>() : id->dump();
    // The id is handed out inside an id text (XML), which cannot hold a control character.
    if (!identifier || !QMRXmlSyntax::isRepresentable(*identifier)) {
        error = unrecognizedResponse(textOf(body));
        return std::nullopt;
    }
    return identifier;
}

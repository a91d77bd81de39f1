#pragma once
// Builds an application/x-www-form-urlencoded body.
#include <string>
#include <string_view>
#include <utility>

class QMRUrlEncodedBodyBuilder {
public:
    QMRUrlEncodedBodyBuilder() = default;
    // Continues an already encoded text (a URL's query, say): later fields are appended behind it.
    explicit QMRUrlEncodedBodyBuilder(std::string encodedText) : _body(std::move(encodedText)) {}

    // Appends the field "param=value", in call order. Name and value are percent-encoded with
    // QMRUriUtil::encodeToPercentEscapeString: a space becomes "%20" rather than "+", which every form
    // decoder reads back, and a literal "+" becomes "%2B" so it is never taken for a space.
    void setParamValue(std::string_view value, std::string_view param);

    // The fields joined with "&"; empty when none was set.
    const std::string& toString() const { return _body; }

private:
    std::string _body;
};

#pragma once
// Reads the attributes of the root element of small pieces of markup, one piece after another, with
// the results RXMLElement gives, at a fraction of the cost: a page's rows are read this way by the
// thousand. Markup in the plain form servers write (one element, attribute values without line
// breaks and with named references at most, text without markup) is read in place without
// allocating; anything else goes to RXMLElement, so both always agree.
//
//   RXMLAttributeReader reader;
//   reader.read("<tr data-id=\"7\" data-type=\"file\"></tr>");
//   reader.attribute("data-id");  // "7"
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "companion/xml/RXMLElement.h"

class RXMLAttributeReader {
public:
    RXMLAttributeReader() = default;
    // Neither copied nor moved: the values read may point into the reader's own buffer.
    RXMLAttributeReader(const RXMLAttributeReader&) = delete;
    RXMLAttributeReader& operator=(const RXMLAttributeReader&) = delete;

    // Takes the root element of text as RXMLElement::elementFromXMLString(text) does; when that would
    // be invalid, every attribute reads as missing. The values may point into text, which must then
    // stay unchanged while they are used.
    void read(std::string_view text);

    // The value of the attribute with exactly that name, as RXMLElement::attribute gives it; empty when
    // missing. Valid until the next read.
    std::string_view attribute(std::string_view name) const;

private:
    // Whether text is a plain element; its attributes are then in _plainAttributes.
    bool readPlain(std::string_view text);

    std::vector<std::pair<std::string_view, std::string_view>> _plainAttributes;
    // The values that held references, decoded, one after another.
    std::string _decodedValues;
    bool _plain = false;
    RXMLElement _parsed;
};

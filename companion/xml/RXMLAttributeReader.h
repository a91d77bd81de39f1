#pragma once
// Reads the attributes of the root element of small pieces of markup, one piece after another, with
// the results RXMLElement gives, at a fraction of the cost: a page's rows are read this way by the
// thousand. Markup in the plain form servers write (one element, attribute values without
// references or line breaks, text without markup) is read in place without allocating; anything
// else goes to RXMLElement, so both always agree.
//
//   RXMLAttributeReader reader;
//   reader.read("<tr data-id=\"7\" data-type=\"file\"></tr>");
//   reader.attribute("data-id");  // "7"
#include <string_view>
#include <utility>
#include <vector>

#include "companion/xml/RXMLElement.h"

class RXMLAttributeReader {
public:
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
    bool _plain = false;
    RXMLElement _parsed;
};

#include "companion/xml/RXMLAttributeReader.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "companion/xml/RXMLElement.h"

namespace {

const std::vector<std::string> names = {"data-id", "data-file", "data-type", "title", "a", "b", "x:y", ""};

// The reader must give exactly what RXMLElement gives, whichever way it reads the markup.
void expectSameAsRXMLElement(RXMLAttributeReader& reader, const std::string& markup) {
    reader.read(markup);
    const RXMLElement element = RXMLElement::elementFromXMLString(markup);
    for (const std::string& name : names)
        EXPECT_EQ(reader.attribute(name), element.attribute(name)) << "attribute " << name << " of " << markup;
}

TEST(RXMLAttributeReader, AgreesWithRXMLElementOnPlainAndUnusualMarkup) {
    RXMLAttributeReader reader;
    for (const char* markup :
         {// plain: one line, attributes on lines of their own, single quotes, text, blanks around
          "\t\t<tr data-id=\"7\" data-file=\"a%20b.txt\" data-type=\"file\" data-size='12'></tr>",
          "<tr data-id=\"7\"\n\t\tdata-file=\"x\"\r\n data-type=\"dir\" >\n</tr>\n",
          "<span class=\"modified\" title=\"June 3, 2013, 14:05\" style=\"a:b\">3 days ago</span>",
          "<tr data-id=\"1\" a=\">\" b=\"'\" x:y=\"ns\"></tr>",
          // values the parser rewrites: references, whitespace controls
          "<tr data-file=\"Caf&eacute; &amp; &#233;&#xE9;\" a=\"&unknown;\"></tr>",
          "<tr data-file=\"Caf&eacute;&nbsp;&amp;&lt;&gt;&quot;&apos;&Eacute;&euro;\" a='&hearts;x'></tr>",
          "<tr data-file=\"&amp;eacute;\" a=\"&eacute\" b=\"&EACUTE;\" x:y=\"&;\"></tr>",
          "<tr data-file=\"a&eacute;\" a=\"&eacute;&\" b=\"&thetasym;&thetasyms;\"></tr>",
          "<tr data-file=\"a\tb\nc\rd\"></tr>",
          // text beside or inside the element that the parser judges
          "<tr data-id=\"1\">a &amp; b</tr>", "<tr data-id=\"1\"><td>x</td></tr>", "x<tr data-id=\"1\"></tr>",
          "<tr data-id=\"1\"></tr>y", "<tr data-id=\"1\"></tr><tr data-id=\"2\"></tr>",
          "\xEF\xBB\xBF<tr data-id=\"1\"></tr>", "<!-- c --><tr data-id=\"1\"></tr>",
          // malformed: the parser's verdict stands
          "<tr data-id=\"1\"></TR>", "<tr data-id=\"1\"/></tr>", "<tr data-id=\"1\">", "<tr data-id=\"1\"b=\"2\"></tr>",
          "<tr data-id=1></tr>", "<tr data-id=\"1></tr>", "<tr data-id = \"1\"></tr>",
          "<tr data-id=\"1\" data-id=\"2\"></tr>", "<tr data-id=\"a<b\"></tr>", "<\xC3\xA9 a=\"1\"></\xC3\xA9>",
          "<tr a=\"1\"></tr >", "", "   ", "<>"})
        expectSameAsRXMLElement(reader, markup);
}

// Random edits of real rows with the characters markup turns on: whatever the reader reads itself
// must be what the parser reads, and a reader reused from row to row keeps nothing of the last one.
TEST(RXMLAttributeReader, AgreesWithRXMLElementOnRandomlyEditedRows) {
    const std::vector<std::string> rows = {
        "\t\t\t\t<tr data-id=\"42\" data-file=\"report.pdf\" data-type=\"file\" data-size='12'></tr>",
        "<tr data-id=\"7\"\n\t\t\t\t\tdata-file=\"a%20b\"\n\t\t\t\t\tdata-type=\"dir\">\n</tr>",
        "<span class=\"modified\" title=\"June  3, 2013 14:05\" style=\"color:rgb(0,0,0)\">today</span>",
        "<tr data-id=\"9\" data-file=\"Caf&eacute; &amp; menu.pdf\" data-type=\"file\"></tr>"};
    const std::string alphabet = "<>/=\"' \t\r\n&;#x:a-1\xC3\xA9";
    std::mt19937 random(20130603);
    RXMLAttributeReader reader;
    for (int round = 0; round < 3000; ++round) {
        std::string markup = rows[random() % rows.size()];
        for (int edits = 1 + static_cast<int>(random() % 3); edits > 0; --edits) {
            const std::size_t at = random() % (markup.size() + 1);
            const char c = alphabet[random() % alphabet.size()];
            switch (random() % 3) {
                case 0:
                    markup.insert(at, 1, c);
                    break;
                case 1:
                    if (at < markup.size()) markup[at] = c;
                    break;
                default:
                    if (at < markup.size()) markup.erase(at, 1);
            }
        }
        expectSameAsRXMLElement(reader, markup);
        if (HasFailure()) return;
    }
}

}  // namespace

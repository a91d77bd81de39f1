#include "companion/xml/QMRXmlElement.h"

#include <gtest/gtest.h>

#include "companion/util/QMRExceptions.h"

namespace {

const QMRXmlNamespace D("D", "DAV:");
const QMRXmlNamespace p("p", "urn:example:props");

TEST(QMRXmlElementEscaping, TextAndAttributeValuesEscapeWhatWouldNotReadBackTheSame) {
    EXPECT_EQ(QMRXmlElement("t", {"a & b < c > d\r\n\"q\""}).toStringWithIndentation(0),
              "<t>a &amp; b &lt; c &gt; d&#13;\n\"q\"</t>");
    EXPECT_EQ(QMRXmlElement("t", {QMRXmlAttribute("v", "a&b<c>\"d\"\te\nf\rg'")}).toStringWithIndentation(0),
              "<t v=\"a&amp;b&lt;c&gt;&quot;d&quot;&#9;e&#10;f&#13;g'\"/>");
    // Empty text adds nothing: the element stays empty.
    EXPECT_EQ(QMRXmlElement(D, "exclusive", {""}).toStringWithIndentation(0), "<D:exclusive xmlns:D=\"DAV:\"/>");
}

TEST(QMRXmlElementEscaping, CharactersXmlCannotCarryAreRefusedWhereverTheyStand) {
    QMRXmlElement element("t");
    EXPECT_THROW(element.add(std::string("a\x01z")), QMRInvalidArgumentException);
    EXPECT_THROW(element.add(std::string("\xC3")), QMRInvalidArgumentException);          // truncated UTF-8
    EXPECT_THROW(element.add(std::string("\xEF\xBF\xBE")), QMRInvalidArgumentException);  // U+FFFE
    EXPECT_THROW(QMRXmlAttribute("v", std::string("\0", 1)), QMRInvalidArgumentException);
    element.add("tab\tand caf\xC3\xA9 \xF0\x9F\x98\x80");
    EXPECT_EQ(element.toStringWithIndentation(0), "<t>tab\tand caf\xC3\xA9 \xF0\x9F\x98\x80</t>");

    // Long printable runs are judged several bytes at a time: one refused byte is found wherever it stands.
    const std::string printable =
        " ~\x7F"
        "abcdefghijklmnopqrstuvw";
    EXPECT_NO_THROW(QMRXmlElement("t").add(printable));
    for (std::size_t at = 0; at < printable.size(); ++at)
        for (char refused : {'\x00', '\x1F', '\xFF'}) {
            std::string text = printable;
            text[at] = refused;
            EXPECT_THROW(QMRXmlElement("t").add(text), QMRInvalidArgumentException) << "byte " << at;
        }
}

TEST(QMRXmlElementNames, InvalidNamesAreRefused) {
    EXPECT_THROW(QMRXmlElement(""), QMRInvalidArgumentException);
    EXPECT_THROW(QMRXmlElement("1abc"), QMRInvalidArgumentException);
    EXPECT_THROW(QMRXmlElement("a b"), QMRInvalidArgumentException);
    EXPECT_THROW(QMRXmlElement(D, "a:b"), QMRInvalidArgumentException);
    EXPECT_THROW(QMRXmlAttribute("xmlns:x", "urn:x"), QMRInvalidArgumentException);
    EXPECT_THROW(QMRXmlNamespace("xmlns", "urn:x"), QMRInvalidArgumentException);
    EXPECT_THROW(QMRXmlNamespace("x", ""), QMRInvalidArgumentException);
    EXPECT_THROW(QMRXmlNamespace("xml", "urn:x"), QMRInvalidArgumentException);
    EXPECT_NO_THROW(QMRXmlElement("caf\xC3\xA9-1.x"));
}

TEST(QMRXmlElementNames, DuplicateAttributesAndConflictingPrefixesAreRefused) {
    QMRXmlElement element(D, "prop", {QMRXmlAttribute("a", "1")});
    EXPECT_THROW(element.add(QMRXmlAttribute("a", "2")), QMRInvalidArgumentException);
    EXPECT_THROW(element.add(QMRXmlNamespace("D", "urn:other")), QMRInvalidArgumentException);
    element.add(p);
    EXPECT_THROW(element.add(p), QMRInvalidArgumentException);
    EXPECT_THROW(element.add(QMRXmlAttribute(QMRXmlNamespace("p", "urn:other"), "x", "1")),
                 QMRInvalidArgumentException);
}

TEST(QMRXmlElementNamespaces, DeclarationsComeFirstInOrderThenAttributes) {
    QMRXmlElement element(D, "prop", {QMRXmlAttribute("z", "1"), p, D, QMRXmlAttribute("a", "2")});
    EXPECT_EQ(element.toStringWithIndentation(0),
              "<D:prop xmlns:p=\"urn:example:props\" xmlns:D=\"DAV:\" z=\"1\" a=\"2\"/>");
}

TEST(QMRXmlElementNamespaces, UndeclaredNamespacesAreDeclaredWhereUsedAndReboundPrefixesAgain) {
    QMRXmlElement element("root", {QMRXmlElement(p, "name", {QMRXmlAttribute(D, "flag", "1")}),
                                   QMRXmlElement(QMRXmlNamespace("", "urn:default"), "plain")});
    EXPECT_EQ(element.toStringWithIndentation(0),
              "<root><p:name xmlns:p=\"urn:example:props\" xmlns:D=\"DAV:\" D:flag=\"1\"/>"
              "<plain xmlns=\"urn:default\"/></root>");
    // A prefix that an ancestor rebinds is declared again.
    const QMRXmlNamespace other("p", "urn:other");
    EXPECT_EQ(QMRXmlElement(p, "a", {p, QMRXmlElement(other, "b", {QMRXmlElement(p, "c")})}).toStringWithIndentation(0),
              "<p:a xmlns:p=\"urn:example:props\"><p:b xmlns:p=\"urn:other\">"
              "<p:c xmlns:p=\"urn:example:props\"/></p:b></p:a>");
}

TEST(QMRXmlElementIndentation, ElementOnlyContentIsIndentedPerLevelMixedContentNever) {
    QMRXmlElement element("a", {QMRXmlElement("b", {QMRXmlElement("c")}), QMRXmlElement("d", {"x"})});
    EXPECT_EQ(element.toStringWithIndentation(2), "<a>\n  <b>\n    <c/>\n  </b>\n  <d>x</d>\n</a>");
    EXPECT_EQ(element.toStringWithIndentation(0), "<a><b><c/></b><d>x</d></a>");
    EXPECT_THROW(element.toStringWithIndentation(-1), QMRInvalidArgumentException);
    const QMRXmlElement mixed("a", {QMRXmlElement("m", {"one ", QMRXmlElement("b", {QMRXmlElement("c")}), " two"})});
    EXPECT_EQ(mixed.toStringWithIndentation(4), "<a>\n    <m>one <b><c/></b> two</m>\n</a>");
}

TEST(QMRXmlElementContent, TextElementWrittenInBulkIsWhatTheElementWrites) {
    for (const std::string text : {"", "17", "/R&D/<draft> a\r\n.txt", "caf\xC3\xA9 \t]]>"}) {
        std::string bulk = "x";
        QMRXmlElement::appendTextElement(bulk, "Path", text);
        EXPECT_EQ(bulk, "x" + QMRXmlElement("Path", {text}).toStringWithIndentation(0)) << text;
    }
    std::string out;
    EXPECT_THROW(QMRXmlElement::appendTextElement(out, "Path", "a\x01"), QMRInvalidArgumentException);
    EXPECT_THROW(QMRXmlElement::appendTextElement(out, "1a", "b"), QMRInvalidArgumentException);
    EXPECT_THROW(QMRXmlElement::appendTextElement(out, "-a", "b"), QMRInvalidArgumentException);
    EXPECT_THROW(QMRXmlElement::appendTextElement(out, "a\x7F", "b"), QMRInvalidArgumentException);
    EXPECT_NO_THROW(QMRXmlElement::appendTextElement(out, "_a:b-1.c", "b"));
}

}  // namespace

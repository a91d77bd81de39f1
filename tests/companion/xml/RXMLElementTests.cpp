#include "companion/xml/RXMLElement.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(RXMLElementValidity, OnlyOneWellFormedElementIsValidWhateverDeclarationsAndCommentsSurroundIt) {
    for (const char* text : {"", "/a.txt", "<a>", "<a></b>", "<a/><b/>", "x<a/>", "<a/>x", "<!-- only -->",
                             "<a b=\"1></a>", "<a><![CDATA[x</a>"}) {
        const RXMLElement element = RXMLElement::elementFromXMLString(text);
        EXPECT_FALSE(element.isValid()) << text;
        EXPECT_FALSE(element.child("a").isValid()) << text;
        EXPECT_EQ(element.tag(), "") << text;
        EXPECT_EQ(element.text(), "") << text;
        EXPECT_TRUE(element.childElements().empty()) << text;
    }
    EXPECT_FALSE(RXMLElement().isValid());
    const RXMLElement surrounded = RXMLElement::elementFromXMLString(
        "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE html><!-- c -->\n<a>x</a>\n");
    ASSERT_TRUE(surrounded.isValid());
    EXPECT_EQ(surrounded.tag(), "a");
    EXPECT_EQ(surrounded.text(), "x");
}

TEST(RXMLElementNavigation, ChildMatchesLocalNameWhateverThePrefixAndMissingStepsChainSafely) {
    const RXMLElement root = RXMLElement::elementFromXMLString(
        "<d:multistatus xmlns:d=\"DAV:\" xmlns:x=\"DAV:\"><d:response><d:href>/data/a</d:href></d:response>"
        "<x:response><x:href>/data/b</x:href></x:response><response><href>/data/c</href></response>"
        "</d:multistatus>");
    ASSERT_TRUE(root.isValid());
    EXPECT_EQ(root.tag(), "multistatus");
    EXPECT_EQ(root.child("response").child("href").text(), "/data/a");
    EXPECT_EQ(root.child("response.href").text(), "/data/a");
    std::vector<std::string> hrefs;
    for (const auto& response : root.children("response")) hrefs.push_back(response.child("href").text());
    EXPECT_EQ(hrefs, (std::vector<std::string>{"/data/a", "/data/b", "/data/c"}));

    // Missing steps give invalid elements that chain safely.
    EXPECT_FALSE(root.child("response.missing").isValid());
    EXPECT_FALSE(root.child("missing.href").isValid());
    EXPECT_FALSE(root.child("response.href.missing").child("x").isValid());
    EXPECT_EQ(root.child("missing").text(), "");
    EXPECT_EQ(root.child("missing").attribute("a"), "");
    EXPECT_TRUE(root.child("missing").children("x").empty());
}

TEST(RXMLElementNavigation, ChildElementsSkipTextAndKeepOrder) {
    const RXMLElement root = RXMLElement::elementFromXMLString("<p> <b/>t<a/><!--c--><b/><![CDATA[x]]></p>");
    std::vector<std::string> tags;
    for (const auto& element : root.childElements()) tags.push_back(element.tag());
    EXPECT_EQ(tags, (std::vector<std::string>{"b", "a", "b"}));
    EXPECT_EQ(root.children("b").size(), 2u);
}

TEST(RXMLElementText, ConcatenatesDescendantTextAndCdataUntrimmedAndNormalisesLineEnds) {
    const RXMLElement root =
        RXMLElement::elementFromXMLString("<a> one <b>two<![CDATA[ <three> & ]]></b>\n<c/><d> </d>&amp;&lt;&#233;</a>");
    EXPECT_EQ(root.text(), " one two <three> & \n &<\xC3\xA9");
    EXPECT_EQ(root.child("d").text(), " ");
    EXPECT_EQ(root.child("c").text(), "");
    // Line ends are normalised unless escaped.
    EXPECT_EQ(RXMLElement::elementFromXMLString("<a>x\r\ny\rz&#13;</a>").text(), "x\ny\nz\r");
}

TEST(RXMLElementAttributes, ValuesNamesMissingAttributesAndHtmlNamedEntities) {
    const RXMLElement element =
        RXMLElement::elementFromXMLString("<tr data-id=\"5\" data-file='caf%C3%A9' data-size=\"123\" empty=\"\"></tr>");
    EXPECT_EQ(element.attribute("data-id"), "5");
    EXPECT_EQ(element.attribute("data-file"), "caf%C3%A9");
    EXPECT_EQ(element.attribute("missing"), "");
    EXPECT_TRUE(element.hasAttribute("empty"));
    EXPECT_FALSE(element.hasAttribute("missing"));
    EXPECT_EQ(element.attributeNames(), (std::vector<std::string>{"data-id", "data-file", "data-size", "empty"}));

    // HTML's named entities, which servers put in attribute values, are decoded.
    const RXMLElement row = RXMLElement::elementFromXMLString(
        "<tr data-id=\"5\" data-file=\"caf&eacute; &amp; th&eacute;\" data-type=\"file\" "
        "title=\"May&nbsp;1, 2013 &quot;x&quot; &copy; &bogus; &\"></tr>");
    ASSERT_TRUE(row.isValid());
    EXPECT_EQ(row.attribute("data-file"), "caf\xC3\xA9 & th\xC3\xA9");
    EXPECT_EQ(row.attribute("title"),
              "May\xC2\xA0"
              "1, 2013 \"x\" \xC2\xA9 &bogus; &");
    EXPECT_EQ(RXMLElement::elementFromXMLString("<s>&Eacute;t&eacute;</s>").text(), "\xC3\x89t\xC3\xA9");
}

TEST(RXMLElementLifetime, ElementsKeepTheirDocumentAlive) {
    RXMLElement href;
    {
        const RXMLElement root = RXMLElement::elementFromXMLString("<a><b><href>/data/x</href></b></a>");
        href = root.child("b.href");
    }
    RXMLElement copy = href;
    EXPECT_EQ(copy.text(), "/data/x");
}

TEST(RXMLElementScale, LargeMultistatusParsesCompletely) {
    std::string body = "<?xml version=\"1.0\"?><d:multistatus xmlns:d=\"DAV:\">";
    for (int i = 0; i < 10000; ++i)
        body += "<d:response><d:href>/data/" + std::to_string(i) +
                "</d:href><d:propstat><d:status>HTTP/1.1 200 OK</d:status></d:propstat></d:response>";
    body += "</d:multistatus>";
    const RXMLElement root =
        RXMLElement::elementFromXMLData(QMRDataView(reinterpret_cast<const std::uint8_t*>(body.data()), body.size()));
    const auto responses = root.children("response");
    ASSERT_EQ(responses.size(), 10000u);
    EXPECT_EQ(responses.back().child("href").text(), "/data/9999");
    EXPECT_EQ(responses.back().child("propstat.status").text(), "HTTP/1.1 200 OK");
}

TEST(RXMLElementScale, DeepNestingDoesNotExhaustTheStack) {
    constexpr int depth = 200000;
    std::string body;
    for (int i = 0; i < depth; ++i) body += "<a>";
    body += "x";
    for (int i = 0; i < depth; ++i) body += "</a>";
    const RXMLElement root = RXMLElement::elementFromXMLString(body);
    ASSERT_TRUE(root.isValid());
    EXPECT_EQ(root.text(), "x");
}

}  // namespace

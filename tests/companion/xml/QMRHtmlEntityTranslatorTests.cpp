#include "companion/xml/QMRHtmlEntityTranslator.h"

#include <gtest/gtest.h>

namespace {

TEST(QMRHtmlEntityTranslator, KnowsTheHtml4SetsCaseSensitively) {
    EXPECT_EQ(QMRHtmlEntityTranslator::codePointOfEntity("eacute"), U'\u00E9');
    EXPECT_EQ(QMRHtmlEntityTranslator::codePointOfEntity("Eacute"), U'\u00C9');
    EXPECT_EQ(QMRHtmlEntityTranslator::codePointOfEntity("nbsp"), U'\u00A0');
    EXPECT_EQ(QMRHtmlEntityTranslator::codePointOfEntity("yuml"), U'\u00FF');
    EXPECT_EQ(QMRHtmlEntityTranslator::codePointOfEntity("thetasym"), U'\u03D1');
    EXPECT_EQ(QMRHtmlEntityTranslator::codePointOfEntity("euro"), U'\u20AC');
    EXPECT_EQ(QMRHtmlEntityTranslator::codePointOfEntity("diams"), U'\u2666');
    EXPECT_EQ(QMRHtmlEntityTranslator::codePointOfEntity("EACUTE"), std::nullopt);
    EXPECT_EQ(QMRHtmlEntityTranslator::codePointOfEntity("bogus"), std::nullopt);
}

TEST(QMRHtmlEntityTranslator, RewritesKnownNamesOutsideCdataAndCommentsAndLeavesTheRest) {
    EXPECT_EQ(QMRHtmlEntityTranslator::toNumericReferences("<a t=\"caf&eacute;&nbsp;x\">&hellip;</a>"),
              "<a t=\"caf&#233;&#160;x\">&#8230;</a>");
    EXPECT_EQ(QMRHtmlEntityTranslator::toNumericReferences("a &amp; &lt;&gt;&quot;&apos; &#233; &bogus; & &eacute"),
              std::nullopt);
    // CDATA sections and comments stay literal.
    EXPECT_EQ(
        QMRHtmlEntityTranslator::toNumericReferences("<a><![CDATA[&eacute;]]><!-- &eacute; <![CDATA[ -->&eacute;</a>"),
        "<a><![CDATA[&eacute;]]><!-- &eacute; <![CDATA[ -->&#233;</a>");
    EXPECT_EQ(QMRHtmlEntityTranslator::toNumericReferences("<a><![CDATA[&eacute;"), std::nullopt);
}

}  // namespace

// What the writer produces, the reader reads back unchanged.
#include <gtest/gtest.h>

#include "companion/xml/QMRXmlDocument.h"
#include "companion/xml/RXMLElement.h"

namespace {

TEST(XmlRoundTrip, OwnCloudIdTextReadsBackExactly) {
    const QMRXmlElement id("OwnCloudId", {QMRXmlElement("Id", {"17"}), QMRXmlElement("Path", {"/a & b.txt"}),
                                          QMRXmlElement("Type", {"file"})});
    const std::string text = id.toStringWithIndentation(0);
    EXPECT_EQ(text, "<OwnCloudId><Id>17</Id><Path>/a &amp; b.txt</Path><Type>file</Type></OwnCloudId>");
    const RXMLElement read = RXMLElement::elementFromXMLString(text);
    EXPECT_EQ(read.child("Id").text(), "17");
    EXPECT_EQ(read.child("Path").text(), "/a & b.txt");
    EXPECT_EQ(read.child("Type").text(), "file");
}

TEST(XmlRoundTrip, MarkupCharactersAndWhitespaceSurviveInTextAndAttributes) {
    const std::string tricky = " <a href=\"x\">&amp; ]]> 'q' \t\r\n caf\xC3\xA9 &eacute; ";
    for (int indentation : {0, 2}) {
        const QMRXmlDocument document(QMRXmlDeclaration("1.0", "utf-8"),
                                      QMRXmlElement("r", {QMRXmlElement("t", {QMRXmlAttribute("v", tricky), tricky}),
                                                          QMRXmlElement("s", {" "})}));
        const RXMLElement read = RXMLElement::elementFromXMLString(document.toStringWithIndentation(indentation));
        ASSERT_TRUE(read.isValid()) << indentation;
        EXPECT_EQ(read.child("t").text(), tricky) << indentation;
        EXPECT_EQ(read.child("t").attribute("v"), tricky) << indentation;
        EXPECT_EQ(read.child("s").text(), " ") << indentation;
    }
}

}  // namespace

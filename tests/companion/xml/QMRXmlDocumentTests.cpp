#include "companion/xml/QMRXmlDocument.h"

#include <gtest/gtest.h>

#include "companion/util/QMRExceptions.h"
#include "companion/xml/RXMLElement.h"

namespace {

const QMRXmlNamespace D("D", "DAV:");
const QMRXmlDeclaration utf8("1.0", "utf-8");

TEST(QMRXmlDeclaration, WritesVersionEncodingAndOptionalStandaloneAndRefusesWhatTheWriterCannotProduce) {
    EXPECT_EQ(utf8.toString(), "<?xml version=\"1.0\" encoding=\"utf-8\"?>");
    EXPECT_EQ(QMRXmlDeclaration("1.0", "UTF-8", true).toString(),
              "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>");
    EXPECT_EQ(QMRXmlDeclaration("1.0", "utf-8", false).toString(),
              "<?xml version=\"1.0\" encoding=\"utf-8\" standalone=\"no\"?>");
    // Other versions and encodings the writer cannot produce.
    EXPECT_THROW(QMRXmlDeclaration("1.1", "utf-8"), QMRInvalidArgumentException);
    EXPECT_THROW(QMRXmlDeclaration("1.0", "iso-8859-1"), QMRInvalidArgumentException);
}

// The bodies of the WebDAV requests themselves are checked where the data store sends them.
TEST(QMRXmlDocument, IndentedDocumentPutsTheRootOnALineOfItsOwn) {
    const QMRXmlDocument lock(
        utf8, QMRXmlElement(D, "lockinfo", {D, QMRXmlElement(D, "locktype", {QMRXmlElement(D, "write")})}));
    EXPECT_EQ(lock.toString(),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>"
              "<D:lockinfo xmlns:D=\"DAV:\"><D:locktype><D:write/></D:locktype></D:lockinfo>");
    EXPECT_EQ(lock.toStringWithIndentation(1),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<D:lockinfo xmlns:D=\"DAV:\">\n"
              " <D:locktype>\n  <D:write/>\n </D:locktype>\n</D:lockinfo>");
}

// What the writer produces, the reader reads back unchanged.
TEST(XmlRoundTrip, MarkupCharactersAndWhitespaceSurviveInTextAndAttributes) {
    const std::string tricky = " <a href=\"x\">&amp; ]]> 'q' \t\r\n caf\xC3\xA9 &eacute; ";
    for (int indentation : {0, 2}) {
        const QMRXmlDocument document(
            utf8, QMRXmlElement(
                      "r", {QMRXmlElement("t", {QMRXmlAttribute("v", tricky), tricky}), QMRXmlElement("s", {" "})}));
        const RXMLElement read = RXMLElement::elementFromXMLString(document.toStringWithIndentation(indentation));
        ASSERT_TRUE(read.isValid()) << indentation;
        EXPECT_EQ(read.child("t").text(), tricky) << indentation;
        EXPECT_EQ(read.child("t").attribute("v"), tricky) << indentation;
        EXPECT_EQ(read.child("s").text(), " ") << indentation;
    }
}

}  // namespace

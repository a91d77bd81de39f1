#include "companion/xml/QMRXmlDocument.h"

#include <gtest/gtest.h>

#include "companion/util/QMRExceptions.h"

namespace {

const QMRXmlNamespace D("D", "DAV:");
const QMRXmlNamespace p("p", "urn:example:props");
const QMRXmlDeclaration utf8("1.0", "utf-8");

TEST(QMRXmlDeclaration, WritesVersionEncodingAndOptionalStandalone) {
    EXPECT_EQ(utf8.toString(), "<?xml version=\"1.0\" encoding=\"utf-8\"?>");
    EXPECT_EQ(QMRXmlDeclaration("1.0", "UTF-8", true).toString(),
              "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>");
    EXPECT_EQ(QMRXmlDeclaration("1.0", "utf-8", false).toString(),
              "<?xml version=\"1.0\" encoding=\"utf-8\" standalone=\"no\"?>");
}

TEST(QMRXmlDeclaration, RefusesWhatTheWriterCannotProduce) {
    EXPECT_THROW(QMRXmlDeclaration("1.1", "utf-8"), QMRInvalidArgumentException);
    EXPECT_THROW(QMRXmlDeclaration("1.0", "iso-8859-1"), QMRInvalidArgumentException);
}

TEST(QMRXmlDocumentBodies, PropfindDeclaresDOnRootAndPOnProp) {
    QMRXmlDocument document(
        utf8, QMRXmlElement(
                  D, "propfind",
                  {D, QMRXmlElement(D, "prop", {p, QMRXmlElement(p, "name"), QMRXmlElement(D, "getlastmodified")})}));
    const std::string expected =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>"
        "<D:propfind xmlns:D=\"DAV:\"><D:prop xmlns:p=\"urn:example:props\">"
        "<p:name/><D:getlastmodified/></D:prop></D:propfind>";
    EXPECT_EQ(document.toString(), expected);
    EXPECT_EQ(document.toData(), QMRData(expected.begin(), expected.end()));
}

TEST(QMRXmlDocumentBodies, ProppatchAndLockBodies) {
    QMRXmlElement prop(D, "prop", {p});
    prop.add(QMRXmlElement(p, "name", {"a & b.txt"})).add(QMRXmlElement(p, "change", {" "}));
    QMRXmlDocument proppatch(utf8, QMRXmlElement(D, "propertyupdate", {D, QMRXmlElement(D, "set", {prop})}));
    EXPECT_EQ(proppatch.toString(),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?><D:propertyupdate xmlns:D=\"DAV:\"><D:set>"
              "<D:prop xmlns:p=\"urn:example:props\"><p:name>a &amp; b.txt</p:name><p:change> </p:change>"
              "</D:prop></D:set></D:propertyupdate>");

    QMRXmlDocument lock(utf8, QMRXmlElement(D, "lockinfo",
                                            {D, QMRXmlElement(D, "lockscope", {QMRXmlElement(D, "exclusive")}),
                                             QMRXmlElement(D, "locktype", {QMRXmlElement(D, "write")})}));
    EXPECT_EQ(lock.toStringWithIndentation(1),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<D:lockinfo xmlns:D=\"DAV:\">\n"
              " <D:lockscope>\n  <D:exclusive/>\n </D:lockscope>\n"
              " <D:locktype>\n  <D:write/>\n </D:locktype>\n</D:lockinfo>");
}

}  // namespace

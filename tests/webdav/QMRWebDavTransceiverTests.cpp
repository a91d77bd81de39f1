#include "DataStore/webdav/QMRWebDavTransceiver.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "DataStore/DataStore.h"
#include "companion/util/QMRDateFormat.h"
#include "tests/webdav/WebDavAnswers.h"

using namespace webdav_answers;
using ::testing::IsEmpty;

namespace {

class WebDavTransceiver : public ::testing::Test {
protected:
    QMRWebDavTransceiver exchange(ScriptedHttpAnswer answer, const std::string& method = "PROPFIND") {
        server.enqueue(std::move(answer));
        QMRWebDavTransceiver transceiver(session);
        transceiver.reqUrl = server.url("/data/f1");
        transceiver.reqHttpMethod = method;
        return transceiver;
    }

    ScriptedHttpServer server;
    QMRUrlSession session;
};

TEST_F(WebDavTransceiver, SendsTheDepthUpToTheCommaAndABodyOnlyWithItsContentType) {
    QMRWebDavTransceiver full = exchange(answer(200));
    full.reqAcceptEncoding = "identity";
    full.reqDepth = "1,noroot";
    full.reqLockToken = "opaquelocktoken:t1";
    full.reqContentType = "application/xml; charset=\"utf-8\"";
    full.reqContent = QMRData{'<', 'a', '/', '>'};
    full.send();

    // A body without a content type stays home, and so does its length.
    QMRWebDavTransceiver bare = exchange(answer(201), "PUT");
    bare.reqContent = QMRData{'x', 'y'};
    bare.send();

    const ScriptedHttpRequest sent = server.request(0);
    EXPECT_EQ(sent.header("Accept-Encoding"), "identity");
    EXPECT_EQ(sent.header("Depth"), "1");
    EXPECT_EQ(sent.header("Lock-Token"), "opaquelocktoken:t1");
    EXPECT_EQ(sent.header("Content-Type"), "application/xml; charset=\"utf-8\"");
    EXPECT_EQ(sent.header("Content-Length"), "4");
    EXPECT_EQ(sent.bodyText(), "<a/>");

    const ScriptedHttpRequest put = server.request(1);
    EXPECT_EQ(put.method, "PUT");
    for (const char* absent : {"Authorization", "Depth", "Timeout", "If", "Lock-Token", "Content-Type"})
        EXPECT_FALSE(put.headers.contains(absent)) << absent;
    EXPECT_EQ(put.header("Content-Length").value_or("0"), "0");
    EXPECT_THAT(put.body, IsEmpty());
    EXPECT_EQ(bare.respCode, 201);
    EXPECT_EQ(bare.respDate, QMRDateFormat::fromXmlDateString(xmlDate(30)));
}

struct StatusCase {
    unsigned status;
    std::optional<long> code;  // none: success
    std::string description;
};

TEST_F(WebDavTransceiver, MapsEveryStatusOfTheTable) {
    const StatusCase cases[] = {
        {200, {}, ""},
        {201, {}, ""},
        {204, {}, ""},
        {202, 101, "Unknown error"},
        {206, 101, "Unknown error"},
        {304, 101, "Unknown error"},
        {400, 101, "Unknown error"},
        {401, 102, "Either login name or password is invalid"},
        {403, 101, "Unknown error - no entry"},
        {404, 104, "One or more specified fileId is not found"},
        {405, 101, "Unknown error"},
        {408, 103, "Server down or server busy"},
        {409, 106, "Not locked or lock released due to timeout or invalid lock token"},
        {412, 106, "Not locked or lock released due to timeout or invalid lock token"},
        {423, 106, "Already locked"},
        {500, 103, "Server down or server busy"},
        {502, 101, "Unknown error"},
        {503, 103, "Server down or server busy"},
        {507, 105, "Insufficient storage space"},
    };
    for (const StatusCase& expected : cases) {
        QMRWebDavTransceiver transceiver =
            exchange(answer(expected.status, expected.status == 403 ? "no entry" : ""), "GET");
        transceiver.send();
        QMRErrorSlot error = transceiver.constructError(std::vector<std::string>{"f1", "f2"});
        ASSERT_EQ(error.has_value(), expected.code.has_value()) << expected.status;
        if (!error) continue;
        EXPECT_EQ(error->domain(), QMRDataStoreErrorDomain);
        EXPECT_EQ(error->code(), *expected.code) << expected.status;
        EXPECT_EQ(error->localizedDescription(), expected.description) << expected.status;
        EXPECT_EQ(error->unknownFileIds().has_value(), expected.status == 404) << expected.status;
    }
}

TEST_F(WebDavTransceiver, FilteredMultistatusDropsIncompleteAndUnwantedResponses) {
    const std::string fileLacksName = multistatus({response("/data/a", {{"change", "new"}}, "", {"name"})});
    // The server may bind the custom namespace to any prefix; the filter must find it.
    std::string mixed = multistatus({
        response("/data/gone", {{"change", "deleted"}}),
        // Another property whose name starts like the change one must not lead the filter astray.
        response("/data/live", {{"change", "updated"}, {"changeDateInUtc", xmlDate(1)}}),
        response("/data/busy", {{"change", "pending"}}),
    });
    for (std::size_t at; (at = mixed.find("x2")) != std::string::npos;) mixed.replace(at, 2, "ns7");

    QMRWebDavTransceiver filtered = exchange(answer(207, fileLacksName));
    filtered.respFilterForChange = std::vector<std::string>{};
    filtered.send();
    EXPECT_FALSE(filtered.constructError().has_value());
    EXPECT_TRUE(filtered.respXml.isValid());
    EXPECT_THAT(filtered.respXml.children("response"), IsEmpty());

    QMRWebDavTransceiver unfiltered = exchange(answer(207, fileLacksName));
    unfiltered.send();
    QMRErrorSlot error = unfiltered.constructError();
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->code(), 101);
    EXPECT_EQ(error->localizedDescription(), "Unknown Error (HTTP/1.1 404 Not Found)");

    QMRWebDavTransceiver byChange = exchange(answer(207, mixed));
    byChange.respFilterForChange = std::vector<std::string>{"deleted", "pending"};
    byChange.send();
    EXPECT_FALSE(byChange.constructError().has_value());
    std::vector<std::string> kept;
    for (const RXMLElement& one : byChange.respXml.children("response")) kept.push_back(one.child("href").text());
    EXPECT_EQ(kept, std::vector<std::string>{"/data/live"});
}

TEST_F(WebDavTransceiver, FilteredMultistatusWhosePrefixIsNoXmlNameIsUnrecognised) {
    // The prefix goes into the cleaning patterns: one that is no XML name must not break them.
    const std::string body = "<d:multistatus xmlns:d=\"DAV:\" xmlns:x(=\"" +
                             std::string(QMRWebDavDataStoreXmlNamespace) +
                             "\"><d:response><d:href>/data/f1</d:href></d:response></d:multistatus>";
    QMRWebDavTransceiver filtered = exchange(answer(207, body));
    filtered.respFilterForChange = std::vector<std::string>{"deleted"};
    filtered.send();
    QMRErrorSlot error = filtered.constructError();
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->code(), 101);
    EXPECT_EQ(error->localizedDescription(), "Unknown Response");
}

}  // namespace

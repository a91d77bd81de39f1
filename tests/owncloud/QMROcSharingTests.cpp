// The exact traffic of the ownCloud sharing requests of both releases, and how their answers are read.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "DataStore/contract/QMRDataStoreError.h"
#include "DataStore/owncloud/QMROcChangeFileOrFolderSharingPermissionRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcDisableFileOrFolderSharingRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcEnableFileOrFolderSharingRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcReadSharingFileOrFolderInfoRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcReadSharingPartyInfoRequestv5_0_6.h"
#include "tests/owncloud/QMROcTestSupport.h"

using namespace oc_test;

namespace {

const std::string sharingFormType = "application/x-www-form-urlencoded; charset=UTF-8";

ScriptedHttpAnswer json(std::string_view body, unsigned status = 200) {
    return ScriptedHttpAnswer::withStatus(status, body).withHeader("Content-Type", "application/json");
}

const std::string file17 = fileIdOf("/a b.txt", "17");
const std::string folder4 = folderIdOf("/Docs", "4");

// "<type>:<name>" of each party.
std::vector<std::string> parties(const std::vector<QMRSharingPartyInfo>& infos) {
    std::vector<std::string> texts;
    for (const auto& info : infos) texts.push_back(std::to_string(info.sharingType()) + ":" + info.sharingPartyName());
    return texts;
}

// "<owner or share> <type>:<name> <permission>" of each entry.
std::vector<std::string> shares(const std::vector<QMRSharingFileOrFolderInfo>& infos) {
    std::vector<std::string> texts;
    for (const auto& info : infos)
        texts.push_back(std::string(info.sharingPartyIsOwner() ? "owner " : "share ") +
                        parties({info.sharingPartyInfo()}).front() + " " + std::to_string(info.sharingPermission()));
    return texts;
}

using OwnCloudSharing = ScriptedServerTest;

TEST_F(OwnCloudSharing, PartiesAreSearchedWithTheTokenAtEachReleasesEndpointAndKeptInTheServersOrder) {
    const std::string answer =
        R"({"data":[{"label":"alice","value":{"shareType":0,"shareWith":"alice"}},)"
        R"json({"label":"alumni (group)","value":{"shareType":"1","shareWith":"alumni"}}],"status":"success"})json";
    server.enqueue(json(answer)).enqueue(json(answer));
    QMROcReadSharingPartyInfoResponsev4_5_7 v4, v5;
    QMROcReadSharingPartyInfoRequestv4_5_7(session, "tk", base(), "al i&").send(v4, error);
    ASSERT_FALSE(error);
    QMROcReadSharingPartyInfoRequestv5_0_6(session, "tk", base(), "al").send(v5, error);
    ASSERT_FALSE(error);

    EXPECT_EQ(requestLine(0), "GET /oc/core/ajax/share.php?fetch=getShareWith&search=al%20i%26");
    EXPECT_EQ(server.request(0).header("requesttoken"), "tk");
    EXPECT_FALSE(server.request(0).headers.contains("Content-Type"));
    EXPECT_EQ(server.request(1).target, "/oc/index.php/core/ajax/share.php?fetch=getShareWith&search=al");
    EXPECT_THAT(parties(*v4.sharingPartyInfos()), ::testing::ElementsAre("0:alice", "1:alumni"));
    EXPECT_EQ(parties(*v5.sharingPartyInfos()), parties(*v4.sharingPartyInfos()));
}

TEST_F(OwnCloudSharing, ChangesPostTheirFormWithTheSharingContentTypeAndACorrectedPermission) {
    const QMRSharingPartyInfo bob(0, "bob smith");
    struct Case {
        std::function<void()> send;
        std::string target;
        std::string body;
    } cases[] = {
        {[&] { QMROcEnableFileOrFolderSharingRequestv4_5_7(session, "tk", base(), file17, bob, 31).send(error); },
         "/oc/core/ajax/share.php",
         "action=share&itemType=file&itemSource=17&shareType=0&shareWith=bob%20smith&permissions=27"},
        {[&] { QMROcEnableFileOrFolderSharingRequestv5_0_6(session, "tk", base(), folder4, bob, 0).send(error); },
         "/oc/index.php/core/ajax/share.php",
         "action=share&itemType=folder&itemSource=4&shareType=0&shareWith=bob%20smith&permissions=1"},
        {[&] { QMROcDisableFileOrFolderSharingRequestv4_5_7(session, "tk", base(), file17, bob).send(error); },
         "/oc/core/ajax/share.php", "action=unshare&itemType=file&itemSource=17&shareType=0&shareWith=bob%20smith"},
        {[&] { QMROcDisableFileOrFolderSharingRequestv5_0_6(session, "tk", base(), folder4, bob).send(error); },
         "/oc/index.php/core/ajax/share.php",
         "action=unshare&itemType=folder&itemSource=4&shareType=0&shareWith=bob%20smith"},
        {[&] {
             QMROcChangeFileOrFolderSharingPermissionRequestv4_5_7(session, "tk", base(), folder4, bob, 6).send(error);
         },
         "/oc/core/ajax/share.php",
         "action=setPermissions&itemType=folder&itemSource=4&shareType=0&shareWith=bob%20smith&permissions=7"},
        {[&] {
             QMROcChangeFileOrFolderSharingPermissionRequestv5_0_6(session, "tk", base(), file17, bob, 4).send(error);
         },
         "/oc/index.php/core/ajax/share.php",
         "action=setPermissions&itemType=file&itemSource=17&shareType=0&shareWith=bob%20smith&permissions=1"},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        server.enqueue(json(R"({"status":"success"})"));
        cases[i].send();
        ASSERT_FALSE(error) << i;
        const ScriptedHttpRequest sent = server.request(i);
        EXPECT_EQ(requestLine(i), "POST " + cases[i].target);
        EXPECT_EQ(sent.header("requesttoken"), "tk");
        EXPECT_EQ(sent.header("Content-Type"), sharingFormType);
        EXPECT_EQ(sent.bodyText(), cases[i].body);
    }
    // An id that does not parse is refused before any traffic.
    EXPECT_EQ(reasonRaisedBy<QMRInvalidOperationException>(
                  [&] { QMROcEnableFileOrFolderSharingRequestv4_5_7(session, "tk", base(), "/a.txt", bob, 1); }),
              "Invalid Resource Type");
    EXPECT_EQ(server.requestCount(), std::size(cases));
}

TEST_F(OwnCloudSharing, ChangeAnswersFailOnAnExpiredTokenThenOnTheServersErrorMark) {
    struct Case {
        unsigned status;
        std::string body;
        long code;  // 0: done
        std::string description;
    } cases[] = {
        {200, R"({"status":"success"})", 0, ""},
        {200, R"({"data":{"message":"Token expired. Please reload page."}})", 102, "Unauthorized"},
        {200, R"({"Status":"Error","data":{"message":"x"}})", 101,
         R"(Unrecognized response: {"Status":"Error","data":{"message":"x"}})"},
        {200, R"({"status":"error","data":{"message":"Token expired. Please reload page."}})", 101,
         R"(Unrecognized response: {"status":"error","data":{"message":"Token expired. Please reload page."}})"},
        {404, "", 101, "Unknown error - Response code 404"},
        {503, "", 103, "Server down or server busy"},
    };
    for (const Case& c : cases) {
        server.enqueue(json(c.body, c.status));
        QMRErrorSlot changed;
        QMROcDisableFileOrFolderSharingRequestv5_0_6(session, "tk", base(), file17, {}).send(changed);
        EXPECT_EQ(changed ? changed->code() : 0, c.code) << c.body;
        if (changed) {
            EXPECT_EQ(changed->localizedDescription(), c.description);
        }
    }
}

TEST_F(OwnCloudSharing, SharingInfoListsTheOwnerFirstThenTheSharesInTheServersOrder) {
    // A file's shares come keyed by share id, numbers often as texts; a folder's as a list.
    server.enqueue(json(R"({"data":{"reshare":{"uid_owner":"carol","share_type":"0","permissions":"31"},)"
                        R"("shares":{"9":{"share_type":0,"share_with":"dave","permissions":19},)"
                        R"("12":{"share_type":"1","share_with":"staff","permissions":"1"}}},"status":"success"})"));
    server.enqueue(json(R"({"data":{"reshare":false,"shares":[{"share_type":0,"share_with":"erin","permissions":31},)"
                        R"({"share_type":0,"share_with":"bob","permissions":1}]},"status":"success"})"));
    QMROcReadSharingFileOrFolderInfoResponsev4_5_7 file, folder;
    QMROcReadSharingFileOrFolderInfoRequestv4_5_7(session, "tk", base(), file17).send(file, error);
    ASSERT_FALSE(error);
    QMROcReadSharingFileOrFolderInfoRequestv5_0_6(session, "tk", base(), folder4).send(folder, error);
    ASSERT_FALSE(error);

    EXPECT_EQ(
        requestLine(0),
        "GET /oc/core/ajax/share.php?fetch=getItem&itemType=file&itemSource=17&checkReshare=true&checkShares=true");
    EXPECT_EQ(server.request(0).header("requesttoken"), "tk");
    EXPECT_EQ(server.request(1).target,
              "/oc/index.php/core/ajax/share.php?fetch=getItem&itemType=folder&itemSource=4&checkReshare=true&"
              "checkShares=true");
    EXPECT_THAT(shares(*file.sharingFileOrFolderInfo()),
                ::testing::ElementsAre("owner 0:carol 31", "share 0:dave 19", "share 1:staff 1"));
    EXPECT_THAT(shares(*folder.sharingFileOrFolderInfo()), ::testing::ElementsAre("share 0:erin 31", "share 0:bob 1"));
}

TEST_F(OwnCloudSharing, AnUnsharedItemIsAnEmptyListWhileFailedReadsGiveNoList) {
    server.enqueue(json(R"({"data":{"reshare":false,"shares":false},"status":"success"})"));
    QMROcReadSharingFileOrFolderInfoResponsev4_5_7 unshared;
    QMROcReadSharingFileOrFolderInfoRequestv4_5_7(session, "tk", base(), file17).send(unshared, error);
    ASSERT_FALSE(error);
    ASSERT_TRUE(unshared.sharingFileOrFolderInfo());
    EXPECT_TRUE(unshared.sharingFileOrFolderInfo()->empty());

    // A read fails on an expired token whatever else the answer says, and on an answer that is no JSON
    // object with the parser's own error.
    const struct {
        std::string body;
        std::string domain;
        long code;
    } failures[] = {
        {R"({"status":"success","data":{"message":"TOKEN EXPIRED. PLEASE RELOAD PAGE."}})", QMRDataStoreErrorDomain,
         QMRDataStoreErrorAuthentication},
        {"false", "NSCocoaErrorDomain", 3840},
    };
    for (const auto& failure : failures) {
        server.enqueue(json(failure.body)).enqueue(json(failure.body));
        QMROcReadSharingFileOrFolderInfoResponsev4_5_7 info;
        QMROcReadSharingPartyInfoResponsev4_5_7 found;
        QMRErrorSlot infoError, partyError;
        QMROcReadSharingFileOrFolderInfoRequestv5_0_6(session, "tk", base(), folder4).send(info, infoError);
        QMROcReadSharingPartyInfoRequestv4_5_7(session, "tk", base(), "a").send(found, partyError);
        for (const QMRErrorSlot* read : {&infoError, &partyError}) {
            ASSERT_TRUE(*read) << failure.body;
            EXPECT_EQ((*read)->domain(), failure.domain);
            EXPECT_EQ((*read)->code(), failure.code);
        }
        EXPECT_FALSE(info.sharingFileOrFolderInfo());
        EXPECT_FALSE(found.sharingPartyInfos());
    }
}

}  // namespace

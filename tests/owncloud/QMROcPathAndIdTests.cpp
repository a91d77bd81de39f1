#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "DataStore/owncloud/QMROcCreateNewFolderRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcDeleteFileOrFolderRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcFileOrFolderId.h"
#include "DataStore/owncloud/QMROcPathUtil.h"
#include "DataStore/owncloud/QMROcReadFolderContentRequestv5_0_6.h"
#include "tests/owncloud/QMROcTestSupport.h"

using namespace oc_test;

namespace {

const std::string forbiddenCharacters = "Characters \\<>:\"|?* are disallowed";
const std::string reservedKeyword = "Shared is a reserved keyword and not allowed";

TEST(OwnCloudPathUtil, ParentJoinsInnerComponentsWithoutSeparatorsAndLastComponentIsTheName) {
    const std::pair<const char*, const char*> parents[] = {
        {"/a", "/"}, {"/a/b", "/a"}, {"/a/b/c", "/ab"}, {"/", ""}, {"a", ""}, {"/Photos/2013/a.jpg", "/Photos2013"}};
    for (const auto& [path, parent] : parents)
        EXPECT_EQ(QMROcPathUtil::extractParentFolderFromPath(path), parent) << path;
    EXPECT_EQ(QMROcPathUtil::extractFolderOrFileFromPath("/a/b"), "b");
    EXPECT_EQ(QMROcPathUtil::extractFolderOrFileFromPath("/a b.txt"), "a b.txt");
    EXPECT_EQ(reasonRaisedBy<QMRInvalidArgumentException>([] { QMROcPathUtil::extractFolderOrFileFromPath(""); }),
              "Invalid Path - \"\"");
    EXPECT_EQ(reasonRaisedBy<QMRInvalidArgumentException>([] { QMROcPathUtil::extractParentFolderFromPath(""); }),
              "Invalid Path - \"\"");
}

TEST(OwnCloudPathUtil, SharedIsRefusedAsAWholeComponentInAnyCaseUnlessExcluded) {
    for (const char* path : {"/Shared", "/Docs/SHARED/x", "/a/b/shared"}) {
        EXPECT_EQ(reasonRaisedBy<QMRInvalidArgumentException>([&] { QMROcPathUtil::validatePath(path); }),
                  reservedKeyword)
            << path;
        EXPECT_NO_THROW(QMROcPathUtil::validatePath(path, true)) << path;
    }
    EXPECT_NO_THROW(QMROcPathUtil::validatePath("/Sharedfolder/notshared"));
}

TEST(OwnCloudPathUtil, EachForbiddenCharacterIsRefusedWhateverTheReservedRule) {
    for (char forbidden : std::string("\\<>:\"|?*")) {
        const std::string path = std::string("/a") + forbidden + "b";
        for (bool exclude : {false, true})
            EXPECT_EQ(reasonRaisedBy<QMRInvalidArgumentException>([&] { QMROcPathUtil::validatePath(path, exclude); }),
                      forbiddenCharacters)
                << path;
    }
    EXPECT_EQ(reasonRaisedBy<QMRInvalidArgumentException>([] { QMROcPathUtil::validatePath(""); }),
              "Invalid Path - \"\"");
}

TEST(OwnCloudFileOrFolderId, TextRoundTripRestoresEveryFieldEvenWithMarkupCharactersInThePath) {
    const std::string text = QMROcFileOrFolderId("17", "/R&D/<draft> a.txt", 2).toString();
    // Callers keep ids: the text must never change.
    EXPECT_EQ(text, "<OwnCloudId><Id>17</Id><Path>/R&amp;D/&lt;draft&gt; a.txt</Path><Type>file</Type></OwnCloudId>");
    EXPECT_EQ(QMROcFileOrFolderId("", "/", 1).toString(),
              "<OwnCloudId><Id/><Path>/</Path><Type>folder</Type></OwnCloudId>");
    const QMROcFileOrFolderId back(text);
    EXPECT_EQ(back.identifier(), "17");
    EXPECT_EQ(back.path(), "/R&D/<draft> a.txt");
    EXPECT_EQ(back.resourceType(), 2);
    EXPECT_EQ(back.resourceTypeName(), "file");
    EXPECT_EQ(QMROcFileOrFolderId(folderIdOf("/Docs")).resourceTypeName(), "folder");
}

TEST(OwnCloudFileOrFolderId, AnythingButFileOrFolderIsAnInvalidResourceType) {
    using Raised = QMRInvalidOperationException;
    for (const char* text : {"/a.txt", "", "<OwnCloudId><Id>1</Id><Type>File</Type></OwnCloudId>"})
        EXPECT_EQ(reasonRaisedBy<Raised>([&] { QMROcFileOrFolderId{std::string_view(text)}; }), "Invalid Resource Type")
            << text;
    EXPECT_EQ(reasonRaisedBy<Raised>([] { QMROcFileOrFolderId("1", "/a", 3); }), "Invalid Resource Type");
}

TEST(OwnCloudRequestConstruction, ArgumentsAreCheckedBeforeAnyTrafficWithTheRuleOfEachOperation) {
    QMRUrlSession session;
    const std::string base = "http://127.0.0.1:1";
    // Creating applies the reserved rule; listing and deleting may reach the "Shared" folder.
    EXPECT_EQ(reasonRaisedBy<QMRInvalidArgumentException>(
                  [&] { QMROcCreateNewFolderRequestv5_0_6(session, "t", base, "/Docs/shared"); }),
              reservedKeyword);
    EXPECT_NO_THROW(QMROcReadFolderContentRequestv5_0_6(session, base, folderIdOf("/Shared")));
    EXPECT_NO_THROW(QMROcDeleteFileOrFolderRequestv5_0_6(session, "t", base, fileIdOf("/Shared/x.txt")));
    EXPECT_EQ(reasonRaisedBy<QMRInvalidArgumentException>(
                  [&] { QMROcDeleteFileOrFolderRequestv5_0_6(session, "t", base, folderIdOf("/a:b")); }),
              forbiddenCharacters);
    EXPECT_EQ(reasonRaisedBy<QMRInvalidOperationException>(
                  [&] { QMROcReadFolderContentRequestv5_0_6(session, base, std::string_view("/Docs")); }),
              "Invalid Resource Type");
    EXPECT_FALSE(std::is_default_constructible_v<QMROcReadFolderContentRequestv5_0_6>);
    EXPECT_FALSE(std::is_default_constructible_v<QMROcFileOrFolderId>);
}

}  // namespace

#include <gtest/gtest.h>

#include <string>

#include "DataStore/DataStore.h"
#include "tests/companion/util/DateTestSupport.h"

namespace {

TEST(QMRFileMetadata, FreshRecordHasNothingAvailableAndSizeZeroIsAvailableButMinusOneIsNot) {
    QMRFileMetadata metadata;
    EXPECT_FALSE(metadata.fileIdAvailable());
    EXPECT_FALSE(metadata.nameAvailable());
    EXPECT_FALSE(metadata.serverSideModificationDateInLocalTimeAvailable());
    EXPECT_FALSE(metadata.clientSideCreationDateInLocalTimeAvailable());
    EXPECT_FALSE(metadata.clientSideModificationDateInLocalTimeAvailable());
    EXPECT_FALSE(metadata.mimeContentTypeAvailable());
    EXPECT_FALSE(metadata.sizeInBytesAvailable());
    EXPECT_FALSE(metadata.resourceTypeAvailable());
    EXPECT_EQ(metadata.sizeInBytes(), -1);
    EXPECT_EQ(metadata.resourceType(), 0);
    EXPECT_EQ(metadata.description(), "");

    metadata.setSizeInBytes(0);
    EXPECT_TRUE(metadata.sizeInBytesAvailable());
    EXPECT_EQ(metadata.description(), "Size (in bytes): 0\n");
    metadata.setSizeInBytes(-1);
    EXPECT_FALSE(metadata.sizeInBytesAvailable());
}

TEST(QMRFileMetadata, DescriptionListsAvailableFieldsInOrderWithLocalDates) {
    const ScopedTimeZone centralEurope(kCentralEuropeTimeZone);
    QMRFileMetadata metadata;
    metadata.setResourceType(2);
    metadata.setSizeInBytes(5000000000);
    metadata.setMimeContentType("text/plain");
    metadata.setClientSideModificationDateInLocalTime(utc(2013, 1, 2, 3, 4, 5));
    metadata.setServerSideModificationDateInLocalTime(utc(2013, 5, 1, 10, 20, 30));
    metadata.setName("a.txt");
    metadata.setFileId("17");
    EXPECT_EQ(metadata.description(),
              "FileId: 17\n"
              "Name: a.txt\n"
              "Server Side Modification Date (in local time): 2013-05-01 12:20:30 +0200\n"
              "Client Side Modification Date (in local time): 2013-01-02 04:04:05 +0100\n"
              "Mime Content Type: text/plain\n"
              "Size (in bytes): 5000000000\n"
              "Resource Type: 2\n");
}

// The names of the three changes are read where the back-ends report changes.
TEST(QMRChangeInfo, PrintsAnyOtherValueAsANumber) {
    EXPECT_EQ(QMRChangeInfo("a", 7).changesMadeString(), "7");
    EXPECT_EQ(QMRChangeInfo("a", -2).changesMadeString(), "-2");
    EXPECT_EQ(QMRChangeInfo("5f3a", 3).description(), "FileId: 5f3a Change: Deleted");
}

TEST(QMRRecordDescriptions, StorageAndSharingRecordsDescribeThemselves) {
    EXPECT_EQ(QMRStorageSpaceInfo(4000, 3000).description(), "AllocatedPlusUnallocated: 4000 Unallocated: 3000");
    QMRSharingPartyInfo party(1, "bob");
    EXPECT_EQ(party.description(), "SharingType: 1 SharingPartyName: bob");
    EXPECT_EQ(QMRSharingFileOrFolderInfo(true, party, 31).description(),
              "SharingType: 1 SharingPartyName: bob, IsOwner: true SharingPermission: 31");
    EXPECT_EQ(QMRSharingFileOrFolderInfo(false, party, 1).description(),
              "SharingType: 1 SharingPartyName: bob, IsOwner: false SharingPermission: 1");
}

}  // namespace

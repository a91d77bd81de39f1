#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "DataStore/DataStore.h"
#include "companion/util/comQuillmereUtil_ExceptionUtil.h"

namespace {

TEST(QMRDataStoreError, CarriesDomainCodeDescriptionAndExtras) {
    QMRError transport = QMRError::withDescription("NSURLErrorDomain", -1004, "Could not connect to the server.");
    QMRError unavailable =
        QMRDataStoreError::errorWithCode(QMRDataStoreErrorServerUnavailable, "Server down or server busy", transport);
    EXPECT_EQ(unavailable.domain(), "com.quillmere.DataStore");
    EXPECT_EQ(unavailable.code(), 103);
    EXPECT_EQ(unavailable.localizedDescription(), "Server down or server busy");
    ASSERT_NE(unavailable.underlyingError(), nullptr);
    EXPECT_EQ(unavailable.underlyingError()->code(), -1004);
    EXPECT_FALSE(unavailable.unknownFileIds().has_value());

    QMRError notFound = QMRDataStoreError::errorWithCode(QMRDataStoreErrorFileOrFolderNotFound,
                                                         "One or more specified fileId is not found", {"b", "c"});
    EXPECT_EQ(notFound.code(), 104);
    EXPECT_EQ(notFound.unknownFileIds(), (std::vector<std::string>{"b", "c"}));
    EXPECT_EQ(notFound.underlyingError(), nullptr);
    EXPECT_EQ(notFound.description(),
              "Error Domain=com.quillmere.DataStore Code=104 \"One or more specified fileId is not found\"");
}

TEST(QMRDataStoreError, CodeNames) {
    EXPECT_EQ(QMRDataStoreErrorCodeName(101), "QMRDataStoreErrorUnknown");
    EXPECT_EQ(QMRDataStoreErrorCodeName(102), "QMRDataStoreErrorAuthentication");
    EXPECT_EQ(QMRDataStoreErrorCodeName(103), "QMRDataStoreErrorServerUnavailable");
    EXPECT_EQ(QMRDataStoreErrorCodeName(104), "QMRDataStoreErrorFileOrFolderNotFound");
    EXPECT_EQ(QMRDataStoreErrorCodeName(105), "QMRDataStoreErrorInsufficientStorage");
    EXPECT_EQ(QMRDataStoreErrorCodeName(106), "QMRDataStoreErrorExclusiveLock");
    EXPECT_EQ(QMRDataStoreErrorCodeName(107), "");
}

TEST(QMRError, FailureReasonAndGenericDescription) {
    QMRError error("SomeDomain", 7);
    EXPECT_FALSE(error.localizedFailureReason().has_value());
    EXPECT_NE(error.localizedDescription().find("SomeDomain error 7"), std::string::npos);
    error.setUserInfoValue(QMRLocalizedFailureReasonErrorKey, std::string("because"));
    EXPECT_EQ(error.localizedFailureReason(), "because");
}

template <class Standard>
void expectRaisedAs(const char* name) {
    try {
        comQuillmereUtil_ExceptionUtil::raise(name, "why");
        ADD_FAILURE() << "nothing raised";
    } catch (const Standard& exception) {
        EXPECT_STREQ(exception.what(), "why");
        const auto* info = dynamic_cast<const QMRException*>(&exception);
        ASSERT_NE(info, nullptr);
        EXPECT_EQ(info->name(), name);
        EXPECT_EQ(info->reason(), "why");
    }
}

TEST(comQuillmereUtil_ExceptionUtil, BuildsTheTypedExceptionOfEachName) {
    expectRaisedAs<QMRNotSupportedException>("QMRNotSupportedException");
    expectRaisedAs<QMRInvalidOperationException>("QMRInvalidOperationException");
    expectRaisedAs<std::invalid_argument>("NSInvalidArgumentException");
    expectRaisedAs<QMRInternalInconsistencyException>("NSInternalInconsistencyException");
    expectRaisedAs<std::out_of_range>("NSRangeException");
    expectRaisedAs<QMRGenericException>("SomeOtherException");
}

TEST(comQuillmereUtil_ExceptionUtil, RecordsWhereTheExceptionWasRaised) {
    int line = 0;
    try {
        line = __LINE__ + 1;
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName, "FileId should be provided");
    } catch (const QMRInvalidArgumentException& exception) {
        EXPECT_EQ(exception.sourceFile(), "tests/contract/QMRErrorAndExceptionTest.cpp");
        EXPECT_EQ(exception.sourceLine(), static_cast<unsigned>(line));
        EXPECT_NE(exception.sourceMethod().find("TestBody"), std::string::npos) << exception.sourceMethod();
    }
}

}  // namespace

#pragma once
// Helpers that the data stores' unit tests share.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "DataStore/contract/QMRDataStore.h"
#include "DataStore/contract/QMRDataStoreConstants.h"
#include "companion/util/QMRError.h"

namespace test_support {

// A loopback port that nothing listens on: bound by the system's choice, then closed again.
inline std::uint16_t closedLoopbackPort() {
    const int socketFd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    EXPECT_EQ(::bind(socketFd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(::getsockname(socketFd, reinterpret_cast<sockaddr*>(&address), &length), 0);
    ::close(socketFd);
    return ntohs(address.sin_port);
}

// The block that writes content to the stream it is handed.
inline QMRStreamBlock writing(std::string_view content) {
    return [content](ComQuillmereIO_Stream& stream) { stream.write(content); };
}

// The whole content of a file as the store reads it; an error stays in the slot.
inline std::string contentOf(QMRDataStore& store, const std::string& fileId, QMRErrorSlot& error) {
    std::string text;
    store.openFileForReading(fileId, error, [&text](ComQuillmereIO_Stream& stream) {
        QMRData data = stream.readDataFromCurrentToEnd();
        text.assign(data.begin(), data.end());
    });
    return text;
}

// The slot holds a data store error with this code and description.
inline void expectDataStoreError(const QMRErrorSlot& error, long code, const std::string& description) {
    ASSERT_TRUE(error.has_value()) << "no error, expected " << code;
    EXPECT_EQ(error->domain(), QMRDataStoreErrorDomain);
    EXPECT_EQ(error->code(), code);
    EXPECT_EQ(error->localizedDescription(), description);
}

}  // namespace test_support

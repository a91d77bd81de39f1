#pragma once
// The settings a session starts with. Objects that log in while they are being created make their
// session and use it at once, before a caller could set it up; they take these settings instead.
//
//   QMRUrlSessionConfiguration configuration{.trustedCertificateFile = "/etc/myserver.pem"};
#include <chrono>
#include <string>

struct QMRUrlSessionConfiguration {
    static constexpr std::chrono::milliseconds defaultTimeoutInterval{std::chrono::seconds(60)};

    // The idle time-out of the session's transfers (QMRUrlSession::setTimeoutInterval); positive.
    std::chrono::milliseconds timeoutInterval = defaultTimeoutInterval;
    // A PEM file trusted in place of the system's store (QMRUrlSession::setTrustedCertificateFile);
    // empty for the system's store. The initializer lets a designated initializer leave it out
    // without a missing-initializer warning.
    std::string trustedCertificateFile{};
};

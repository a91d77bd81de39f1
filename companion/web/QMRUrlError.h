#pragma once
// The URL-loading error domain and its codes: transport failures are reported with these, so that
// callers can tell a time-out or an unreachable host apart from an HTTP status.

// The domain name stays the platform's so that errors read the same in logs and tests.
inline constexpr char QMRUrlErrorDomain[] = "NSURLErrorDomain";

// User-info key under which a URL error carries the URL that failed.
inline constexpr char QMRUrlErrorFailingUrlStringKey[] = "NSErrorFailingURLStringKey";

inline constexpr long QMRUrlErrorUnknown = -1;
inline constexpr long QMRUrlErrorCancelled = -999;
inline constexpr long QMRUrlErrorBadURL = -1000;
inline constexpr long QMRUrlErrorTimedOut = -1001;
inline constexpr long QMRUrlErrorUnsupportedURL = -1002;
inline constexpr long QMRUrlErrorCannotFindHost = -1003;
inline constexpr long QMRUrlErrorCannotConnectToHost = -1004;
inline constexpr long QMRUrlErrorNetworkConnectionLost = -1005;
inline constexpr long QMRUrlErrorDNSLookupFailed = -1006;
inline constexpr long QMRUrlErrorHTTPTooManyRedirects = -1007;
inline constexpr long QMRUrlErrorResourceUnavailable = -1008;
inline constexpr long QMRUrlErrorNotConnectedToInternet = -1009;
inline constexpr long QMRUrlErrorRedirectToNonExistentLocation = -1010;
inline constexpr long QMRUrlErrorBadServerResponse = -1011;
inline constexpr long QMRUrlErrorUserCancelledAuthentication = -1012;
inline constexpr long QMRUrlErrorUserAuthenticationRequired = -1013;
inline constexpr long QMRUrlErrorZeroByteResource = -1014;
inline constexpr long QMRUrlErrorCannotDecodeRawData = -1015;
inline constexpr long QMRUrlErrorCannotDecodeContentData = -1016;
inline constexpr long QMRUrlErrorCannotParseResponse = -1017;
inline constexpr long QMRUrlErrorDataLengthExceedsMaximum = -1103;
inline constexpr long QMRUrlErrorSecureConnectionFailed = -1200;
inline constexpr long QMRUrlErrorServerCertificateHasBadDate = -1201;
inline constexpr long QMRUrlErrorServerCertificateUntrusted = -1202;
inline constexpr long QMRUrlErrorServerCertificateHasUnknownRoot = -1203;
inline constexpr long QMRUrlErrorServerCertificateNotYetValid = -1204;
inline constexpr long QMRUrlErrorClientCertificateRejected = -1205;
inline constexpr long QMRUrlErrorClientCertificateRequired = -1206;
inline constexpr long QMRUrlErrorCannotLoadFromNetwork = -2000;

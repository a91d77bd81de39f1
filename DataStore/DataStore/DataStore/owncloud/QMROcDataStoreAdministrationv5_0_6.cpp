#include "DataStore/owncloud/QMROcDataStoreAdministrationv5_0_6.h"

#include "DataStore/owncloud/QMROcChangePersonalPasswordRequestv5_0_6.h"
#include "DataStore/owncloud/QMROcReadLinkForResettingPasswordRequestv_5_0_6.h"
#include "DataStore/owncloud/QMROcReadPersonalSettingsRequestv_5_0_6.h"
#include "DataStore/owncloud/QMROcSetPersonalEmailAddressRequestv5_0_6.h"
#include "companion/util/comQuillmereUtil_ExceptionUtil.h"

QMROcDataStoreAdministrationv5_0_6::QMROcDataStoreAdministrationv5_0_6(
    std::shared_ptr<QMROwnCloudAuthenticator> authenticator)
    : QMROcDataStoreAdministrationv4_5_7(std::move(authenticator), std::string()) {}

QMROcDataStoreAdministrationv5_0_6::QMROcDataStoreAdministrationv5_0_6(std::string url,
                                                                       const QMRUrlSessionConfiguration& configuration)
    : QMROcDataStoreAdministrationv4_5_7(std::move(url), configuration) {}

void QMROcDataStoreAdministrationv5_0_6::readLinkForResettingPasswordForLoginName(const std::string& loginName,
                                                                                  QMRErrorSlot& error) {
    // The release's request takes any base URL, so a missing one is caught here rather than sent.
    if (url().empty())
        comQuillmereUtil_ExceptionUtil::raise(QMRInvalidArgumentException::exceptionName,
                                              "Base URL required but is not provided");
    QMROcDataStoreAdministrationv4_5_7::readLinkForResettingPasswordForLoginName(loginName, error);
}

std::unique_ptr<QMROcChangePersonalPasswordRequestv4_5_7>
QMROcDataStoreAdministrationv5_0_6::newChangePersonalPasswordRequest(QMROwnCloudAuthenticator& account,
                                                                     const std::string& oldPassword,
                                                                     const std::string& newPassword) const {
    return std::make_unique<QMROcChangePersonalPasswordRequestv5_0_6>(account.session(), account.requestToken(),
                                                                      account.baseUrl(), oldPassword, newPassword);
}

std::unique_ptr<QMROcSetPersonalEmailAddressRequestv4_5_7>
QMROcDataStoreAdministrationv5_0_6::newSetPersonalEmailAddressRequest(QMROwnCloudAuthenticator& account,
                                                                      const std::string& emailAddress) const {
    return std::make_unique<QMROcSetPersonalEmailAddressRequestv5_0_6>(account.session(), account.requestToken(),
                                                                       account.baseUrl(), emailAddress);
}

std::unique_ptr<QMROcReadPersonalSettingsRequestv_4_5_7>
QMROcDataStoreAdministrationv5_0_6::newReadPersonalSettingsRequest(QMROwnCloudAuthenticator& account) const {
    return std::make_unique<QMROcReadPersonalSettingsRequestv_5_0_6>(account.session(), account.baseUrl());
}

std::unique_ptr<QMROcReadLinkForResettingPasswordRequestv_4_5_7>
QMROcDataStoreAdministrationv5_0_6::newReadLinkForResettingPasswordRequest(QMRUrlSession& session,
                                                                           const std::string& url,
                                                                           const std::string& loginName) const {
    return std::make_unique<QMROcReadLinkForResettingPasswordRequestv_5_0_6>(session, url, loginName);
}

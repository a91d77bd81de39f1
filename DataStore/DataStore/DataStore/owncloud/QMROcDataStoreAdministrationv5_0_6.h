#pragma once
// Account administration on a 5.0.6 (or any other non-4.5) server: the 4.5.7 mapping with this
// release's requests. Made for an account, it keeps no base URL of its own (deliberately, unlike
// 4.5.7), so its reset link needs an object made with a base URL.
#include <memory>
#include <string>

#include "DataStore/owncloud/QMROcDataStoreAdministrationv4_5_7.h"

class QMROcDataStoreAdministrationv5_0_6 : public QMROcDataStoreAdministrationv4_5_7 {
public:
    QMROcDataStoreAdministrationv5_0_6() = delete;
    // initWithAuthenticator: url() stays empty.
    explicit QMROcDataStoreAdministrationv5_0_6(std::shared_ptr<QMROwnCloudAuthenticator> authenticator);
    // initWithUrl: any scheme, plain http too.
    explicit QMROcDataStoreAdministrationv5_0_6(std::string url, const QMRUrlSessionConfiguration& configuration = {});

    // Without a base URL raises QMRInvalidArgumentException "Base URL required but is not provided"
    // before any traffic.
    void readLinkForResettingPasswordForLoginName(const std::string& loginName, QMRErrorSlot& error) override;

protected:
    std::unique_ptr<QMROcChangePersonalPasswordRequestv4_5_7> newChangePersonalPasswordRequest(
        QMROwnCloudAuthenticator& account, const std::string& oldPassword,
        const std::string& newPassword) const override;
    std::unique_ptr<QMROcSetPersonalEmailAddressRequestv4_5_7> newSetPersonalEmailAddressRequest(
        QMROwnCloudAuthenticator& account, const std::string& emailAddress) const override;
    std::unique_ptr<QMROcReadPersonalSettingsRequestv_4_5_7> newReadPersonalSettingsRequest(
        QMROwnCloudAuthenticator& account) const override;
    std::unique_ptr<QMROcReadLinkForResettingPasswordRequestv_4_5_7> newReadLinkForResettingPasswordRequest(
        QMRUrlSession& session, const std::string& url, const std::string& loginName) const override;
};

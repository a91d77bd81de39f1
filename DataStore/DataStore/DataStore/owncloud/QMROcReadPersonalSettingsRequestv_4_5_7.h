#pragma once
// Reads the user's personal settings (the e-mail address) from the personal settings page.
#include <optional>
#include <string>

#include "DataStore/owncloud/QMROcReadPersonalSettingsResponsev_4_5_7.h"
#include "DataStore/owncloud/QMROcRequest.h"
#include "DataStore/owncloud/QMROwnCloudPersonalSettings.h"

class QMROcReadPersonalSettingsRequestv_4_5_7 : public QMROcRequest {
public:
    QMROcReadPersonalSettingsRequestv_4_5_7() = delete;
    // initWithUrl:
    QMROcReadPersonalSettingsRequestv_4_5_7(QMRUrlSession& session, std::string url);

    // On success the response's personalSettings is set; otherwise the error.
    void send(QMROcReadPersonalSettingsResponsev_4_5_7& response, QMRErrorSlot& error);

    virtual std::string constructPersonalSettingsReqUrl() const;
    // The value of the page's e-mail field (empty when the user set none); no such field gives 101
    // "Unknown Response".
    virtual std::optional<QMROwnCloudPersonalSettings> extractPersonalSettings(const QMRData& body,
                                                                               QMRErrorSlot& error) const;
};

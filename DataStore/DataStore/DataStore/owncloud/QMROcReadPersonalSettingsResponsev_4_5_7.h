#pragma once
// The personal settings read from the settings page (both releases).
#include <optional>
#include <utility>

#include "DataStore/owncloud/QMROwnCloudPersonalSettings.h"

class QMROcReadPersonalSettingsResponsev_4_5_7 {
public:
    // Set only when the page was read without error.
    const std::optional<QMROwnCloudPersonalSettings>& personalSettings() const noexcept { return _personalSettings; }
    void setPersonalSettings(std::optional<QMROwnCloudPersonalSettings> settings) {
        _personalSettings = std::move(settings);
    }

private:
    std::optional<QMROwnCloudPersonalSettings> _personalSettings;
};

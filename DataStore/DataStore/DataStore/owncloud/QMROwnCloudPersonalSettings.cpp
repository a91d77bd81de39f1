#include "DataStore/owncloud/QMROwnCloudPersonalSettings.h"

#include <fmt/format.h>

std::string QMROwnCloudPersonalSettings::description() const {
    return fmt::format("EmailAddress: {}", _emailAddress);
}

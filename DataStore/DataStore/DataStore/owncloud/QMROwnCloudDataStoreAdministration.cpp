#include "DataStore/owncloud/QMROwnCloudDataStoreAdministration.h"

QMROwnCloudDataStoreAdministration::~QMROwnCloudDataStoreAdministration() = default;

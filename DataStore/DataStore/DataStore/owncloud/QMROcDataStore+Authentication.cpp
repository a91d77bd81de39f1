#include "DataStore/owncloud/QMROcDataStore.h"

void QMROcDataStore::close(QMRErrorSlot&) {
    // The session belongs to the authenticator, which the administration object may still use.
}

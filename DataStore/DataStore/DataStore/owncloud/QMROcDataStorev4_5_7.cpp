#include "DataStore/owncloud/QMROcDataStorev4_5_7.h"

template class QMROcReleaseDataStore<QMROcRequestsv4_5_7>;

QMROcDataStorev4_5_7::QMROcDataStorev4_5_7(std::shared_ptr<QMROcAuthenticatorv4_5_7> authenticator)
    : QMROcReleaseDataStore(std::move(authenticator)) {}

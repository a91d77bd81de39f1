#include "DataStore/owncloud/QMROcDataStorev5_0_6.h"

template class QMROcReleaseDataStore<QMROcRequestsv5_0_6>;

QMROcDataStorev5_0_6::QMROcDataStorev5_0_6(std::shared_ptr<QMROcAuthenticatorv5_0_6> authenticator)
    : QMROcReleaseDataStore(std::move(authenticator)) {}

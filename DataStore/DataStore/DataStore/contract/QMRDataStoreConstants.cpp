#include "DataStore/contract/QMRDataStoreConstants.h"

#pragma once
// The library's exported constants.
#include "companion/util/QMRError.h"  // QMRUnknownFileIds

// The error domain of every error this library reports.
inline constexpr char QMRDataStoreErrorDomain[] = "com.quillmere.DataStore";

// The WebDAV collection, directly under the server root, that holds every user file.
inline constexpr char QMRWebDavDataStoreUserFileParentCollection[] = "data";
// The namespace of the service's custom WebDAV properties.
inline constexpr char QMRWebDavDataStoreXmlNamespace[] = "http://ns.quillmere.com/datastore/";

// Values of the custom change property.
inline constexpr char QMRWebDavDataStoreChangeIsNew[] = "new";
inline constexpr char QMRWebDavDataStoreChangeIsUpdated[] = "updated";
inline constexpr char QMRWebDavDataStoreChangeIsDeleted[] = "deleted";
inline constexpr char QMRWebDavDataStoreChangeIsPending[] = "pending";

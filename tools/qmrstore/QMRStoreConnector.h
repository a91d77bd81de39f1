#pragma once
// What qmrstore knows of a back-end: which operations it offers (answered without traffic, so an
// operation it lacks is refused before anything is sent), how to connect to it, and the extras
// some back-ends have beside the data store interface.
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "DataStore/contract/QMRDataStore.h"
#include "QMRStoreAccountAdministration.h"

class QMRStoreConnector {
public:
    virtual ~QMRStoreConnector() = default;

    // "webdav", "funambol", "owncloud": for messages.
    virtual std::string_view backendName() const = 0;

    // Answered without traffic.
    virtual bool supportsOperation(QMRDataStoreOperation operation) const = 0;
    virtual bool supportsAccountAdministration() const = 0;
    virtual bool supportsServerVersion() const = 0;

    // The data store, connected (logged in where the back-end needs it); null with the error on
    // failure. Later calls return the same store.
    virtual std::shared_ptr<QMRDataStore> connect(QMRErrorSlot& error) = 0;
    // Ends the login session that connect() or a logged-in accountAdministration() began, if any.
    virtual void disconnect(QMRErrorSlot& error) = 0;

    // The exclusive lock token the store holds (or will hold once connected): the one it was given
    // or the one a lock just granted.
    virtual std::string heldLockToken() const = 0;

    // The account administration: logged in, or (for asking for a password-reset link) not.
    virtual std::unique_ptr<QMRStoreAccountAdministration> accountAdministration(bool logIn, QMRErrorSlot& error) = 0;
    virtual std::optional<std::string> readServerVersion(QMRErrorSlot& error) = 0;

    // A file id as the data store makes it, made short enough to show in a table.
    virtual std::string displayableId(const std::string& fileId) const { return fileId; }
    // A file or folder as the user names it (by path, where ids are long) as the store's id.
    virtual std::string resolveFileId(QMRDataStore& /*store*/, const std::string& userText, QMRErrorSlot& /*error*/) {
        return userText;
    }
};

#pragma once
// The one place that knows the back-ends: turns --backend, --url, --user and the password into a
// data store and answers for each back-end what it offers.
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QMRStoreConnector.h"
#include "companion/web/QMRUrlSessionConfiguration.h"

class QMROwnCloudAuthenticator;
class QMRWebDavDataStore;

class QMRStoreBackendConnector : public QMRStoreConnector {
public:
    enum class Backend { webdav, funambol, owncloud };
    // Asked for only when a connection is made, so a refused command prompts for nothing.
    using PasswordSource = std::function<std::string()>;

    struct Settings {
        Backend backend = Backend::webdav;
        std::string url;
        std::string user;
        PasswordSource password;
        // Presented by the WebDAV store with its writes, refresh and unlock.
        std::string lockToken;
        // What the store's session starts with (a server's own certificate to trust).
        QMRUrlSessionConfiguration session;
    };

    // The names --backend accepts, in the order help shows them.
    static const std::vector<std::pair<std::string, Backend>>& backendNames();
    // The connector for the settings.
    static std::unique_ptr<QMRStoreConnector> create(Settings settings);

    explicit QMRStoreBackendConnector(Settings settings);
    ~QMRStoreBackendConnector() override;

    std::string_view backendName() const override;
    bool supportsOperation(QMRDataStoreOperation operation) const override;
    bool supportsAccountAdministration() const override;
    bool supportsServerVersion() const override;
    std::shared_ptr<QMRDataStore> connect(QMRErrorSlot& error) override;
    void disconnect(QMRErrorSlot& error) override;
    std::string heldLockToken() const override;
    std::unique_ptr<QMRStoreAccountAdministration> accountAdministration(bool logIn, QMRErrorSlot& error) override;
    std::optional<std::string> readServerVersion(QMRErrorSlot& error) override;
    std::string displayableId(const std::string& fileId) const override;
    // ownCloud ids are long XML texts: a path ("/photos/a.jpg", the leading "/" optional) names the
    // entry instead, found by listing its parent folder. An id as --json prints it passes as it is.
    std::string resolveFileId(QMRDataStore& store, const std::string& userText, QMRErrorSlot& error) override;

private:
    // The ownCloud session, logged in on first use; the data store and the administration share it.
    const std::shared_ptr<QMROwnCloudAuthenticator>& ownCloudAuthenticator(QMRErrorSlot& error);
    // The id of the entry (of the wanted type, if given) at an absolute path other than "/", or ""
    // with 104 when there is none.
    static std::string ownCloudIdOfPath(QMRDataStore& store, const std::string& path,
                                        std::optional<std::int32_t> wantedType, QMRErrorSlot& error);

    Settings _settings;
    std::shared_ptr<QMRDataStore> _store;
    std::shared_ptr<QMRWebDavDataStore> _webDavStore;
    std::shared_ptr<QMROwnCloudAuthenticator> _ownCloudAuthenticator;
};

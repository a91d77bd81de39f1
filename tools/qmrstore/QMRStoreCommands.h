#pragma once
// The subcommands of qmrstore, each written against the data store interface (and the library's
// folder-listing type filters, which take any store), so a back-end needs no code here. Every
// command first checks that the back-end offers what it needs and refuses before any traffic
// otherwise; failures raise QMRStoreFailure.
//
// Defined by concern: QMRStoreCommands+Shared.cpp, +Read, +Write, +Lock, +Sharing, +Account.
#include <cstdint>
#include <exception>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "DataStore/contract/QMRDataStore.h"
#include "QMRStoreConnector.h"
#include "QMRStoreOutput.h"

class QMRStoreCommands {
public:
    using PasswordSource = std::function<std::string()>;

    struct ListRequest {
        std::vector<std::string> fileIds;
        std::string since;
        std::string folderId;
        std::string type;  // "file" or "folder"
    };
    // What put and update take besides the content.
    struct MetadataFields {
        std::string name;
        std::string mimeType;
        std::string created;
        std::string modified;
    };
    struct PutRequest {
        std::string localPath;
        MetadataFields fields;
    };
    struct GetRequest {
        std::string fileId;
        std::string outputPath;
    };
    struct UpdateRequest {
        std::string fileId;
        std::string contentPath;
        MetadataFields fields;
    };
    struct RemoveRequest {
        std::vector<std::string> fileIds;
        bool all = false;
    };
    struct ShareRequest {
        std::string fileId;
        std::string party;
        std::int32_t sharingType = 0;
        std::string permission;
    };

    // loginPassword is the password the connector logs in with (the old one when changing it).
    QMRStoreCommands(QMRStoreConnector& connector, QMRStoreOutput& output, bool showProgress,
                     PasswordSource loginPassword);
    QMRStoreCommands(const QMRStoreCommands&) = delete;
    QMRStoreCommands& operator=(const QMRStoreCommands&) = delete;
    // Ends the session, whether the command succeeded or not.
    ~QMRStoreCommands();

    // Read
    void list(const ListRequest& request);
    void stat(const std::vector<std::string>& fileIds);
    void get(const GetRequest& request);
    void changes(const std::string& syncToken);
    void quota();

    // Write
    void put(const PutRequest& request);
    void update(const UpdateRequest& request);
    void remove(const RemoveRequest& request);
    void makeFolder(const std::string& path);

    // Lock
    void lock(std::uint32_t timeoutSeconds);
    void refreshLock(std::uint32_t timeoutSeconds);
    void unlock();

    // Sharing
    void findSharingParties(const std::string& nameBeginning);
    void share(const ShareRequest& request);
    void changeSharing(const ShareRequest& request);
    void unshare(const ShareRequest& request);
    void showSharing(const std::string& fileId);

    // Account
    void changePassword();
    void setEmailAddress(const std::string& emailAddress);
    void showSettings();
    void requestPasswordReset(const std::string& loginName);
    void serverVersion();

private:
    using Operation = QMRDataStoreOperation;

    // Refuses the command unless the back-end offers the operation.
    void require(Operation operation, std::string_view command) const;
    // The first of the operations the back-end offers; refuses the command if none.
    Operation firstOffered(std::initializer_list<Operation> operations, std::string_view command) const;
    [[noreturn]] void refuse(std::string_view command) const;
    // The connected store; raises the connection's error.
    QMRDataStore& store();
    // The store's id of a file or folder the user named.
    std::string storeId(const std::string& userText);
    std::unique_ptr<QMRStoreAccountAdministration> administration(bool logIn);
    // Raises the error in the slot, if any.
    static void check(const QMRErrorSlot& error);
    // The record's fields from what the user gave; a date that cannot be read is a usage error.
    static void applyFields(const MetadataFields& fields, QMRFileMetadata& metadata);
    static std::vector<QMRFileMetadataPtr> walk(const QMREnumerablePtr<QMRFileMetadataPtr>& files,
                                                const QMRErrorSlot& error);
    // What the callbacks of a streamed transfer leave for the command.
    struct TransferOutcome {
        bool completed = false;
        std::exception_ptr localFailure;
        // Runs the local side of a callback (reading or writing a file); its failure stops the transfer.
        void guard(bool& stop, const std::function<void()>& work);
    };
    // Runs the transfers scheduled on this thread to their end; raises a local failure, or the end
    // of a transfer that never reported its outcome.
    static void runTransfer(const TransferOutcome& outcome, std::string_view transfer);

    QMRStoreConnector& _connector;
    QMRStoreOutput& _output;
    bool _showProgress;
    PasswordSource _loginPassword;
    std::shared_ptr<QMRDataStore> _store;
};

#include <fmt/format.h>

#include <utility>

#include "QMRHumanText.h"
#include "QMRStoreCommands.h"
#include "QMRStoreFailure.h"
#include "companion/web/QMRRunLoop.h"

QMRStoreCommands::QMRStoreCommands(QMRStoreConnector& connector, QMRStoreOutput& output, bool showProgress,
                                   PasswordSource loginPassword)
    : _connector(connector), _output(output), _showProgress(showProgress), _loginPassword(std::move(loginPassword)) {}

QMRStoreCommands::~QMRStoreCommands() {
    // Account commands log in without a store: the connector knows what is open. The outcome is
    // decided by now; a failed logout changes nothing for the user.
    QMRErrorSlot ignored;
    try {
        _connector.disconnect(ignored);
    } catch (...) {
    }
}

void QMRStoreCommands::require(Operation operation, std::string_view command) const {
    if (!_connector.supportsOperation(operation)) refuse(command);
}

QMRStoreCommands::Operation QMRStoreCommands::firstOffered(std::initializer_list<Operation> operations,
                                                           std::string_view command) const {
    for (Operation operation : operations)
        if (_connector.supportsOperation(operation)) return operation;
    refuse(command);
}

void QMRStoreCommands::refuse(std::string_view command) const {
    throw QMRStoreFailure(QMRStoreFailure::unsupported,
                          fmt::format("the {} back-end does not offer `{}`", _connector.backendName(), command));
}

QMRDataStore& QMRStoreCommands::store() {
    if (!_store) {
        QMRErrorSlot error;
        _store = _connector.connect(error);
        check(error);
        if (!_store) throw QMRStoreFailure(QMRStoreFailure::unexpected, "no connection to the data store");
    }
    return *_store;
}

std::string QMRStoreCommands::storeId(const std::string& userText) {
    QMRErrorSlot error;
    std::string id = _connector.resolveFileId(store(), userText, error);
    check(error);
    return id;
}

std::unique_ptr<QMRStoreAccountAdministration> QMRStoreCommands::administration(bool logIn) {
    QMRErrorSlot error;
    auto administration = _connector.accountAdministration(logIn, error);
    check(error);
    if (!administration) throw QMRStoreFailure(QMRStoreFailure::unexpected, "no account administration");
    return administration;
}

void QMRStoreCommands::check(const QMRErrorSlot& error) {
    if (error) throw QMRStoreFailure(*error);
}

void QMRStoreCommands::applyFields(const MetadataFields& fields, QMRFileMetadata& metadata) {
    auto dateOf = [](const std::string& text, const char* option) {
        auto date = QMRHumanText::parseDate(text);
        if (!date)
            throw QMRStoreFailure(QMRStoreFailure::usage,
                                  fmt::format("{} {}: not a date (try 2013-05-01 or 2013-05-01T12:20)", option, text));
        return *date;
    };
    if (!fields.name.empty()) metadata.setName(fields.name);
    if (!fields.mimeType.empty()) metadata.setMimeContentType(fields.mimeType);
    if (!fields.created.empty()) metadata.setClientSideCreationDateInLocalTime(dateOf(fields.created, "--created"));
    if (!fields.modified.empty())
        metadata.setClientSideModificationDateInLocalTime(dateOf(fields.modified, "--modified"));
}

std::vector<QMRFileMetadataPtr> QMRStoreCommands::walk(const QMREnumerablePtr<QMRFileMetadataPtr>& files,
                                                       const QMRErrorSlot& error) {
    // A lazy listing fails while it is walked: look at the slot only afterwards.
    std::vector<QMRFileMetadataPtr> list = files ? files->toVector() : std::vector<QMRFileMetadataPtr>();
    check(error);
    return list;
}

void QMRStoreCommands::TransferOutcome::guard(bool& stop, const std::function<void()>& work) {
    if (localFailure) return;
    try {
        work();
    } catch (...) {
        localFailure = std::current_exception();
        stop = true;
    }
}

void QMRStoreCommands::runTransfer(const TransferOutcome& outcome, std::string_view transfer) {
    QMRRunLoop::current().run();
    if (outcome.localFailure) std::rethrow_exception(outcome.localFailure);
    if (!outcome.completed)
        throw QMRStoreFailure(QMRStoreFailure::unexpected, fmt::format("the {} ended without an outcome", transfer));
}

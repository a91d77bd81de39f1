#include "QMRStoreCommandLine.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "QMRProgressBar.h"
#include "QMRStoreBackendConnector.h"
#include "QMRStoreCommands.h"
#include "QMRStoreFailure.h"
#include "QMRStoreOutput.h"
#include "QMRStorePassword.h"
#include "companion/util/QMRExceptions.h"

namespace {

constexpr const char* footer =
    R"(Connection options may also come from QMRSTORE_BACKEND, QMRSTORE_URL, QMRSTORE_USER,
QMRSTORE_CA_FILE and QMRSTORE_LOCK_TOKEN. The password comes from QMRSTORE_PASSWORD or is asked for, never from the
command line.

Exit status: 0 done, 2 usage error, 3 not offered by the back-end, 4 local file error,
11-16 for the data store's errors 101-106 (unknown, authentication, server unavailable,
not found, insufficient storage, exclusive lock), 1 anything else.)";

using Commands = QMRStoreCommands;
using Action = std::function<void(Commands&)>;

// What the command line describes, filled in by CLI11.
struct Invocation {
    std::string backend;
    std::string url;
    std::string user;
    std::string lockToken;
    std::string caFile;
    bool json = false;
    Action action;

    Commands::ListRequest list;
    std::vector<std::string> fileIds;
    Commands::PutRequest put;
    Commands::GetRequest get;
    Commands::UpdateRequest update;
    Commands::RemoveRequest remove;
    std::string text;  // the one free argument of several commands
    std::uint32_t timeout = 3600;
    Commands::ShareRequest share;
};

void addMetadataOptions(CLI::App& command, Commands::MetadataFields& fields) {
    command.add_option("--name", fields.name, "the file's name (a path in stores with folders)");
    command.add_option("--mime-type", fields.mimeType, "MIME type (default: from the name's extension)");
    command.add_option("--created", fields.created, "creation date, e.g. 2013-05-01T12:20 (local) or ...Z");
    command.add_option("--modified", fields.modified, "modification date (default: the local file's)");
}

void defineFileCommands(CLI::App& app, Invocation& in) {
    CLI::App* ls = app.add_subcommand("ls", "list files: all, by ids, from a date on, or a folder's");
    auto* ids = ls->add_option("--id", in.list.fileIds, "only these file ids")->delimiter(',');
    auto* since = ls->add_option("--since", in.list.since, "only files from this date on");
    auto* folder = ls->add_option("folder", in.list.folderId, "the folder to list, by path (stores with folders)");
    auto* type = ls->add_option("--type", in.list.type, "only files or only folders (stores with folders)")
                     ->check(CLI::IsMember({"file", "folder"}));
    ids->excludes(since)->excludes(folder)->excludes(type);
    since->excludes(folder)->excludes(type);
    ls->callback([&] { in.action = [&](Commands& c) { c.list(in.list); }; });

    CLI::App* stat = app.add_subcommand("stat", "show every known field of files");
    stat->add_option("ids", in.fileIds, "file ids")->required();
    stat->callback([&] { in.action = [&](Commands& c) { c.stat(in.fileIds); }; });

    CLI::App* put = app.add_subcommand("put", "store a local file as a new file");
    put->add_option("file", in.put.localPath, "the local file, or - for stdin")->required();
    addMetadataOptions(*put, in.put.fields);
    put->callback([&] { in.action = [&](Commands& c) { c.put(in.put); }; });

    CLI::App* get = app.add_subcommand("get", "read a file's content");
    get->add_option("id", in.get.fileId, "file id, or path in stores with folders")->required();
    get->add_option("-o,--output", in.get.outputPath, "where to write it (default: stdout)");
    get->callback([&] { in.action = [&](Commands& c) { c.get(in.get); }; });

    CLI::App* update = app.add_subcommand("update", "change a file's metadata or content");
    update->add_option("id", in.update.fileId, "file id")->required();
    update->add_option("--content", in.update.contentPath, "replace the content with this local file");
    addMetadataOptions(*update, in.update.fields);
    update->callback([&] { in.action = [&](Commands& c) { c.update(in.update); }; });

    CLI::App* rm = app.add_subcommand("rm", "delete files or folders");
    auto* rmIds = rm->add_option("ids", in.remove.fileIds, "file ids, or paths in stores with folders");
    rm->add_flag("--all", in.remove.all, "delete every file")->excludes(rmIds);
    rm->callback([&] {
        if (!in.remove.all && in.remove.fileIds.empty()) throw CLI::RequiredError("ids or --all");
        in.action = [&](Commands& c) { c.remove(in.remove); };
    });

    CLI::App* mkdir = app.add_subcommand("mkdir", "create a folder (stores with folders)");
    mkdir->add_option("path", in.text, "the new folder's full path, e.g. /photos/2013")->required();
    mkdir->callback([&] { in.action = [&](Commands& c) { c.makeFolder(in.text); }; });
}

void defineStoreCommands(CLI::App& app, Invocation& in) {
    CLI::App* changes = app.add_subcommand("changes", "list the changes since a sync token and print the new one");
    changes->add_option("token", in.text, "the token of the last run (none: from the start)");
    changes->callback([&] { in.action = [&](Commands& c) { c.changes(in.text); }; });

    app.add_subcommand("quota", "show used and free storage space")->callback([&] {
        in.action = [](Commands& c) { c.quota(); };
    });

    CLI::App* lock = app.add_subcommand("lock", "take the application-wide exclusive lock; prints its token");
    lock->add_option("--timeout", in.timeout, "seconds, 0 for no limit (the server may grant less)")
        ->capture_default_str();
    lock->callback([&] { in.action = [&](Commands& c) { c.lock(in.timeout); }; });
    CLI::App* refresh = app.add_subcommand("refresh", "extend the exclusive lock (needs --lock-token)");
    refresh->add_option("--timeout", in.timeout, "seconds, 0 for no limit")->capture_default_str();
    refresh->callback([&] { in.action = [&](Commands& c) { c.refreshLock(in.timeout); }; });
    app.add_subcommand("unlock", "release the exclusive lock (needs --lock-token)")->callback([&] {
        in.action = [](Commands& c) { c.unlock(); };
    });

    app.add_subcommand("server-version", "show the server's release")->callback([&] {
        in.action = [](Commands& c) { c.serverVersion(); };
    });
}

void defineShareCommands(CLI::App& app, Invocation& in) {
    CLI::App* share = app.add_subcommand("share", "share files and folders with other users");
    share->require_subcommand(1);
    auto addParty = [&](CLI::App* command) {
        command->add_option("id", in.share.fileId, "file or folder path, or id")->required();
        command->add_option("party", in.share.party, "who to share with")->required();
        command->add_option("--share-type", in.share.sharingType, "the server's share type (0 user, 1 group)")
            ->capture_default_str();
    };
    CLI::App* find = share->add_subcommand("find", "list the parties whose names begin with a text");
    find->add_option("text", in.text, "the names' beginning")->required();
    find->callback([&] { in.action = [&](Commands& c) { c.findSharingParties(in.text); }; });

    CLI::App* add = share->add_subcommand("add", "share with a party");
    addParty(add);
    in.share.permission = "read";
    add->add_option("--permission", in.share.permission, "read,update,create,delete,share, all or a number")
        ->capture_default_str();
    add->callback([&] { in.action = [&](Commands& c) { c.share(in.share); }; });

    CLI::App* set = share->add_subcommand("set", "change what a party may do");
    addParty(set);
    set->add_option("--permission", in.share.permission, "read,update,create,delete,share, all or a number")
        ->required();
    set->callback([&] { in.action = [&](Commands& c) { c.changeSharing(in.share); }; });

    CLI::App* remove = share->add_subcommand("remove", "stop sharing with a party");
    addParty(remove);
    remove->callback([&] { in.action = [&](Commands& c) { c.unshare(in.share); }; });

    CLI::App* show = share->add_subcommand("show", "show who a file or folder is shared with");
    show->add_option("id", in.share.fileId, "file or folder path, or id")->required();
    show->callback([&] { in.action = [&](Commands& c) { c.showSharing(in.share.fileId); }; });
}

void defineAccountCommands(CLI::App& app, Invocation& in) {
    CLI::App* account = app.add_subcommand("account", "manage the account");
    account->require_subcommand(1);
    account->add_subcommand("password", "change the password (new one from QMRSTORE_NEW_PASSWORD or asked for)")
        ->callback([&] { in.action = [](Commands& c) { c.changePassword(); }; });
    CLI::App* email = account->add_subcommand("email", "set the e-mail address");
    email->add_option("address", in.text, "the new address")->required();
    email->callback([&] { in.action = [&](Commands& c) { c.setEmailAddress(in.text); }; });
    account->add_subcommand("settings", "show the personal settings")->callback([&] {
        in.action = [](Commands& c) { c.showSettings(); };
    });
    CLI::App* reset = account->add_subcommand("reset-link", "have a password-reset link mailed (no login)");
    reset->add_option("login", in.text, "whose password (default: --user)");
    reset->callback(
        [&] { in.action = [&](Commands& c) { c.requestPasswordReset(in.text.empty() ? in.user : in.text); }; });
}

// Runs the chosen command and turns every way it can end into an exit status.
int execute(Invocation& in, std::ostream& out, std::ostream& err) {
    QMRStoreOutput output(out, in.json);
    try {
        std::optional<std::string> password;
        QMRStoreBackendConnector::Settings settings;
        for (const auto& [name, backend] : QMRStoreBackendConnector::backendNames())
            if (name == in.backend) settings.backend = backend;
        settings.url = in.url;
        settings.user = in.user;
        settings.lockToken = in.lockToken;
        settings.session.trustedCertificateFile = in.caFile;
        settings.password = [&] {
            if (!password)
                password = QMRStorePassword::obtain("QMRSTORE_PASSWORD",
                                                    fmt::format("Password for {} at {}: ", in.user, in.url));
            if (!password) throw QMRStoreFailure(QMRStoreFailure::usage, "no password (set QMRSTORE_PASSWORD)");
            return *password;
        };
        std::unique_ptr<QMRStoreConnector> connector = QMRStoreBackendConnector::create(settings);
        if (!in.lockToken.empty() &&
            !connector->supportsOperation(QMRDataStoreOperation::applyApplicationExclusiveAccessLockWithTimeout))
            throw QMRStoreFailure(
                QMRStoreFailure::unsupported,
                fmt::format("the {} back-end has no exclusive lock for --lock-token", connector->backendName()));
        output.setIdShortener([&](const std::string& id) { return connector->displayableId(id); });
        Commands commands(*connector, output, QMRProgressBar::stderrIsTerminal(), settings.password);
        in.action(commands);
        return QMRStoreFailure::success;
    } catch (const QMRStoreFailure& failure) {
        output.failure(failure);
        err << (failure.dataStoreError() ? "" : "qmrstore: ") << failure.what() << '\n';
        return failure.exitStatus();
    } catch (const QMRException& misuse) {
        // The library refuses arguments it cannot use (a bad path, a missing field) this way.
        const QMRStoreFailure failure(QMRStoreFailure::usage, misuse.reason());
        output.failure(failure);
        err << "qmrstore: " << failure.what() << '\n';
        return failure.exitStatus();
    } catch (const std::exception& unexpected) {
        const QMRStoreFailure failure(QMRStoreFailure::unexpected, unexpected.what());
        output.failure(failure);
        err << "qmrstore: " << failure.what() << '\n';
        return failure.exitStatus();
    }
}

}  // namespace

int QMRStoreCommandLine::run(int argc, const char* const* argv, std::ostream& out, std::ostream& err) {
    Invocation in;
    CLI::App app("qmrstore: keep files on a WebDAV, Funambol or ownCloud storage server", "qmrstore");
    app.footer(footer);
    // Connection options may stand after the subcommand too.
    app.fallthrough();
    app.require_subcommand(1);
    std::vector<std::string> backends;
    for (const auto& entry : QMRStoreBackendConnector::backendNames()) backends.push_back(entry.first);
    app.add_option("--backend", in.backend, "webdav, funambol or owncloud")
        ->check(CLI::IsMember(backends))
        ->envname("QMRSTORE_BACKEND")
        ->required();
    app.add_option("--url", in.url, "the server's base URL")->envname("QMRSTORE_URL")->required();
    app.add_option("--user", in.user, "the login name")->envname("QMRSTORE_USER")->required();
    app.add_option("--ca-file", in.caFile,
                   "a PEM file of certificates to trust instead of the system's (a server's own certificate)")
        ->check(CLI::ExistingFile)
        ->envname("QMRSTORE_CA_FILE");
    app.add_option("--lock-token", in.lockToken, "the exclusive lock token that `lock` printed (WebDAV)")
        ->envname("QMRSTORE_LOCK_TOKEN");
    app.add_flag("--json", in.json, "print JSON for scripts instead of tables");
    defineFileCommands(app, in);
    defineStoreCommands(app, in);
    defineShareCommands(app, in);
    defineAccountCommands(app, in);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& parseError) {
        const int status = app.exit(parseError, out, err);
        // CLI11's own statuses would collide with the data store ones: every usage error is 2.
        return status == 0 ? QMRStoreFailure::success : QMRStoreFailure::usage;
    }
    return execute(in, out, err);
}

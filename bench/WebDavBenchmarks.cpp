// Benchmarks of the WebDAV back-end's reads against peer tools on the same loopback server:
//   listing     readAllFileMetadata over 10,000 files       vs  rclone lsjson
//   by_ids      readFileMetadataWithSpecificFileIds, 1,000  vs  curl, 1,000 PROPFIND in one run
//   parsing     the multistatus cleaning, parsing and extraction alone, in MB/s
//   floor       what the server and the kernel cost by themselves (a raw socket client)
// Everything runs in one process and one run; a summary with the ratios closes the output. The
// figures are medians over the repetitions, of wall time (the clients wait on the network).
#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "BenchReport.h"
#include "DataStore/contract/QMRDataStoreConstants.h"
#include "DataStore/webdav/QMRWebDavDataStore.h"
#include "DataStore/webdav/QMRWebDavTransceiver.h"
#include "DataStore/webdav/QMRWebDavXml.h"
#include "LoopbackHttpServer.h"
#include "PeerProcess.h"
#include "RawHttpClient.h"
#include "WebDavBenchBodies.h"
#include "companion/xml/RXMLElement.h"

namespace {

constexpr std::size_t kListingFiles = 10'000;
constexpr std::size_t kFileIdCount = 1'000;
constexpr int kRepetitions = 3;
constexpr double kMinSecondsPerRepetition = 0.5;
constexpr std::string_view kUser = "bench";
constexpr std::string_view kPassword = "secret";
constexpr std::string_view kXmlContentType = "application/xml; charset=utf-8";

// The names the summary looks results up by.
namespace name {
constexpr const char* oursListing = "listing/ours_readAllFileMetadata";
constexpr const char* rcloneListing = "listing/rclone_lsjson";
constexpr const char* rcloneEmptyListing = "listing/rclone_lsjson_empty_collection";
constexpr const char* oursByIds = "by_ids/ours_readFileMetadataWithSpecificFileIds";
constexpr const char* curlByIds = "by_ids/curl_1000_propfind_one_invocation";
constexpr const char* oneFileConstructError = "by_ids/step_constructError_one_file_answer";
constexpr const char* cleanAndParse = "parsing/constructError_clean_and_parse";
constexpr const char* extract = "parsing/extractAllFileMetadataFromXml";
constexpr const char* cleanParseExtract = "parsing/clean_parse_and_extract";
constexpr const char* filterOnly = "parsing/step_filterChangeElementWithNamespace";
constexpr const char* xmlParseOnly = "parsing/step_RXMLElement_parse";
constexpr const char* rawListing = "floor/raw_client_listing_fetch";
constexpr const char* rawByIds = "floor/raw_client_1000_propfind";
}  // namespace name

std::string pathOf(std::string_view target) {
    return std::string(target.substr(0, target.find('?')));
}

// Everything the benchmarks share: the canned answers, the server, the peers' command lines.
class BenchSetting {
public:
    BenchSetting()
        : _listingBody(webdav_bench::collectionListing(kListingFiles)),
          _listing(makeLoopbackHttpAnswer("207 Multi-Status", kXmlContentType, _listingBody)),
          _collectionOnly(
              makeLoopbackHttpAnswer("207 Multi-Status", kXmlContentType, webdav_bench::collectionOnly("/data/"))),
          _emptyCollection(
              makeLoopbackHttpAnswer("207 Multi-Status", kXmlContentType, webdav_bench::collectionOnly("/empty/"))),
          _notAllowed(makeLoopbackHttpAnswer("405 Method Not Allowed", "text/plain", "")),
          _notFound(makeLoopbackHttpAnswer("404 Not Found", "text/plain", "")),
          _server([this](const LoopbackHttpRequest& request) { return answer(request); }) {
        for (std::size_t index = 0; index < kFileIdCount; ++index) _fileIds.push_back(webdav_bench::fileIdAt(index));
        const QMRData body =
            QMRWebDavDataStore::constructReadAllFileMetadataRequestBody(QMRWebDavDataStore::allMetadataElements);
        _propfindBody.assign(body.begin(), body.end());

        char pattern[] = "/tmp/qmr-webdav-bench-XXXXXX";
        if (::mkdtemp(pattern) == nullptr) throw std::runtime_error("no scratch directory");
        _scratch = pattern;
        std::ofstream(_scratch / "propfind.xml", std::ios::binary) << _propfindBody;
        // An empty configuration: the remote is given entirely on the command line.
        std::ofstream(_scratch / "rclone.conf").flush();
    }

    ~BenchSetting() {
        _server.stop();
        std::error_code ignored;
        std::filesystem::remove_all(_scratch, ignored);
    }

    BenchSetting(const BenchSetting&) = delete;
    BenchSetting& operator=(const BenchSetting&) = delete;

    const std::string& listingBody() const { return _listingBody; }
    const std::vector<std::string>& fileIds() const { return _fileIds; }
    const std::string& propfindBody() const { return _propfindBody; }
    LoopbackHttpServer& server() { return _server; }
    std::string baseUrl() const { return _server.baseUrl(); }

    bool rcloneReady() const { return _rcloneReady; }
    bool curlReady() const { return _curlReady; }

    // Finds the peers and makes rclone's obscured password (the form its --webdav-pass takes).
    void preparePeers() {
        _curlReady = peerProgramAvailable("curl");
        if (!peerProgramAvailable("rclone")) return;
        PeerProcessOutcome obscured = runPeerProcess({"rclone", "obscure", std::string(kPassword)}, true);
        if (obscured.exitCode != 0) return;
        _rclonePassword = obscured.output.substr(0, obscured.output.find_first_of("\r\n"));
        _rcloneReady = !_rclonePassword.empty();
    }

    // rclone on an on-the-fly remote (no configuration file): the URL names the collection, so
    // rclone's root is the collection itself and it lists it with a single PROPFIND Depth 1.
    std::vector<std::string> rcloneListingCommand(std::string_view collection) const {
        return {"rclone",
                "lsjson",
                ":webdav:",
                fmt::format("--webdav-url={}/{}", baseUrl(), collection),
                fmt::format("--webdav-user={}", kUser),
                fmt::format("--webdav-pass={}", _rclonePassword),
                "--webdav-vendor=other",
                "--low-level-retries=1",
                "--retries=1",
                "-q"};
    }
    std::vector<std::string> rcloneEnvironment() const {
        return {fmt::format("RCLONE_CONFIG={}", (_scratch / "rclone.conf").string())};
    }

    // curl sending the same PROPFIND as the data store to every id, one after another on one
    // kept-alive connection (curl runs the URLs of one invocation serially unless told otherwise).
    std::vector<std::string> curlByIdsCommand() const {
        // "-q" first: no ~/.curlrc may change what is sent.
        std::vector<std::string> command = {"curl",          "-q",
                                            "--silent",      "--show-error",
                                            "--request",     "PROPFIND",
                                            "--user",        fmt::format("{}:{}", kUser, kPassword),
                                            "--header",      std::string("Content-Type: ") + QMRWebDavXml::contentType,
                                            "--data-binary", "@" + (_scratch / "propfind.xml").string()};
        for (const std::string& fileId : _fileIds) command.push_back(fmt::format("{}/data/{}", baseUrl(), fileId));
        return command;
    }

private:
    LoopbackHttpAnswer answer(const LoopbackHttpRequest& request) const {
        if (request.method != "PROPFIND") return _notAllowed;
        const std::string path = pathOf(request.target);
        if (path == "/data" || path == "/data/") return request.depth == "0" ? _collectionOnly : _listing;
        if (path == "/empty" || path == "/empty/") return _emptyCollection;
        if (path.starts_with("/data/"))
            return makeLoopbackHttpAnswer("207 Multi-Status", kXmlContentType,
                                          webdav_bench::singleFile(std::string_view(path).substr(6)));
        return _notFound;
    }

    std::string _listingBody;
    LoopbackHttpAnswer _listing;
    LoopbackHttpAnswer _collectionOnly;
    LoopbackHttpAnswer _emptyCollection;
    LoopbackHttpAnswer _notAllowed;
    LoopbackHttpAnswer _notFound;
    std::vector<std::string> _fileIds;
    std::string _propfindBody;
    std::filesystem::path _scratch;
    std::string _rclonePassword;
    bool _rcloneReady = false;
    bool _curlReady = false;
    LoopbackHttpServer _server;
};

BenchSetting* setting = nullptr;

const std::vector<std::string> hiddenChanges = {QMRWebDavDataStoreChangeIsDeleted, QMRWebDavDataStoreChangeIsPending};

std::size_t countOf(std::string_view text, std::string_view what) {
    std::size_t count = 0;
    for (std::size_t at = text.find(what); at != std::string_view::npos; at = text.find(what, at + what.size()))
        ++count;
    return count;
}

// Server traffic per iteration, so the output shows how many requests and connections each
// client really used.
class TrafficMeter {
public:
    explicit TrafficMeter(const LoopbackHttpServer& server)
        : _server(server), _requests(server.requestCount()), _connections(server.connectionCount()) {}
    void report(benchmark::State& state) const {
        state.counters["requests"] = benchmark::Counter(static_cast<double>(_server.requestCount() - _requests),
                                                        benchmark::Counter::kAvgIterations);
        state.counters["connections"] = benchmark::Counter(
            static_cast<double>(_server.connectionCount() - _connections), benchmark::Counter::kAvgIterations);
    }

private:
    const LoopbackHttpServer& _server;
    std::uint64_t _requests;
    std::uint64_t _connections;
};

// ---- listing ----

void oursListing(benchmark::State& state) {
    QMRWebDavDataStore store(std::string(kUser), std::string(kPassword), setting->baseUrl());
    TrafficMeter meter(setting->server());
    for (auto _ : state) {
        QMRErrorSlot error;
        QMREnumerablePtr<QMRFileMetadataPtr> records = store.readAllFileMetadata(error);
        if (error || !records) {
            state.SkipWithError("readAllFileMetadata failed");
            break;
        }
        benchmark::DoNotOptimize(records);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kListingFiles));
    meter.report(state);
}

void rcloneListing(benchmark::State& state, const char* collection, std::size_t files) {
    const std::vector<std::string> command = setting->rcloneListingCommand(collection);
    const std::vector<std::string> environment = setting->rcloneEnvironment();
    TrafficMeter meter(setting->server());
    for (auto _ : state) {
        PeerProcessOutcome outcome = runPeerProcess(command, false, environment);
        if (outcome.exitCode != 0) {
            state.SkipWithError(("rclone failed: " + outcome.errors).c_str());
            break;
        }
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * files));
    meter.report(state);
}

// ---- by ids ----

void oursByIds(benchmark::State& state) {
    QMRWebDavDataStore store(std::string(kUser), std::string(kPassword), setting->baseUrl());
    TrafficMeter meter(setting->server());
    for (auto _ : state) {
        QMRErrorSlot error;
        QMREnumerablePtr<QMRFileMetadataPtr> records =
            store.readFileMetadataWithSpecificFileIds(setting->fileIds(), error);
        if (error || !records) {
            state.SkipWithError("readFileMetadataWithSpecificFileIds failed");
            break;
        }
        benchmark::DoNotOptimize(records);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kFileIdCount));
    meter.report(state);
}

void curlByIds(benchmark::State& state) {
    const std::vector<std::string> command = setting->curlByIdsCommand();
    TrafficMeter meter(setting->server());
    for (auto _ : state) {
        PeerProcessOutcome outcome = runPeerProcess(command, false);
        if (outcome.exitCode != 0) {
            state.SkipWithError(("curl failed: " + outcome.errors).c_str());
            break;
        }
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kFileIdCount));
    meter.report(state);
}

// The client's own work on one by-id answer (cleaning patterns compiled, applied, parsed,
// extracted), without the network: what each of the 1,000 requests costs in CPU.
void oneFileConstructError(benchmark::State& state) {
    QMRUrlSession session;
    const std::string body = webdav_bench::singleFile(setting->fileIds().front());
    for (auto _ : state) {
        QMRWebDavTransceiver transceiver(session);
        transceiver.reqUrl = setting->baseUrl() + "/data/" + setting->fileIds().front();
        transceiver.respCode = 207;
        transceiver.respRawData.assign(body.begin(), body.end());
        transceiver.respFilterForChange = hiddenChanges;
        if (transceiver.constructError()) {
            state.SkipWithError("constructError reported an error");
            break;
        }
        auto record = QMRWebDavDataStore::extractFileMetadataFromXml(transceiver.respXml.child("response"));
        benchmark::DoNotOptimize(record);
    }
}

// ---- parsing ----

// A transceiver holding the listing as if it had just been received; building it is not timed.
QMRWebDavTransceiver receivedListing(QMRUrlSession& session) {
    QMRWebDavTransceiver transceiver(session);
    transceiver.reqUrl = setting->baseUrl() + "/data";
    transceiver.reqHttpMethod = "PROPFIND";
    transceiver.reqDepth = "1";
    transceiver.respCode = 207;
    transceiver.respRawData.assign(setting->listingBody().begin(), setting->listingBody().end());
    transceiver.respFilterForChange = hiddenChanges;
    return transceiver;
}

void setBodyBytes(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * setting->listingBody().size()));
}

void cleanAndParse(benchmark::State& state) {
    QMRUrlSession session;
    for (auto _ : state) {
        state.PauseTiming();
        QMRWebDavTransceiver transceiver = receivedListing(session);
        state.ResumeTiming();
        if (transceiver.constructError()) {
            state.SkipWithError("constructError reported an error");
            break;
        }
        benchmark::DoNotOptimize(transceiver.respXml);
    }
    setBodyBytes(state);
}

void extractOnly(benchmark::State& state) {
    QMRUrlSession session;
    QMRWebDavTransceiver transceiver = receivedListing(session);
    if (transceiver.constructError()) {
        state.SkipWithError("constructError reported an error");
        return;
    }
    for (auto _ : state) {
        auto records = QMRWebDavDataStore::extractAllFileMetadataFromXml(transceiver.respXml);
        benchmark::DoNotOptimize(records);
    }
    setBodyBytes(state);
}

void cleanParseExtract(benchmark::State& state) {
    QMRUrlSession session;
    for (auto _ : state) {
        state.PauseTiming();
        QMRWebDavTransceiver transceiver = receivedListing(session);
        state.ResumeTiming();
        if (transceiver.constructError()) {
            state.SkipWithError("constructError reported an error");
            break;
        }
        auto records = QMRWebDavDataStore::extractAllFileMetadataFromXml(transceiver.respXml);
        benchmark::DoNotOptimize(records);
    }
    setBodyBytes(state);
}

// The two halves of the cleaning and parsing, to show where its time goes.
void filterOnly(benchmark::State& state) {
    QMRUrlSession session;
    QMRWebDavTransceiver transceiver = receivedListing(session);
    const std::string prefix =
        QMRWebDavTransceiver::findNamespaceNameForUri(QMRWebDavDataStoreXmlNamespace, setting->listingBody())
            .value_or("x2");
    for (auto _ : state) {
        std::string cleaned = transceiver.filterChangeElementWithNamespace(prefix, setting->listingBody());
        benchmark::DoNotOptimize(cleaned);
    }
    setBodyBytes(state);
}

void xmlParseOnly(benchmark::State& state) {
    for (auto _ : state) {
        RXMLElement root = RXMLElement::elementFromXMLString(setting->listingBody());
        benchmark::DoNotOptimize(root);
    }
    setBodyBytes(state);
}

// ---- floor ----

std::string rawPropfind(std::string_view target, std::string_view depth) {
    std::string request = fmt::format(
        "PROPFIND {} HTTP/1.1\r\nHost: 127.0.0.1:{}\r\nContent-Type: application/xml; charset=\"utf-8\"\r\n"
        "Content-Length: {}\r\n",
        target, setting->server().port(), setting->propfindBody().size());
    if (!depth.empty()) request += fmt::format("Depth: {}\r\n", depth);
    return request + "\r\n" + setting->propfindBody();
}

void rawListing(benchmark::State& state) {
    RawHttpClient client(setting->server().port());
    const std::string request = rawPropfind("/data", "1");
    for (auto _ : state) benchmark::DoNotOptimize(client.exchange(request));
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kListingFiles));
}

void rawByIds(benchmark::State& state) {
    RawHttpClient client(setting->server().port());
    std::vector<std::string> requests;
    for (const std::string& fileId : setting->fileIds()) requests.push_back(rawPropfind("/data/" + fileId, ""));
    for (auto _ : state) {
        for (const std::string& request : requests) benchmark::DoNotOptimize(client.exchange(request));
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kFileIdCount));
}

// ---- checks before timing ----

// Confirms, once and untimed, that every client really reads the same 10,000 files or 1,000
// records, so that the timings compare like with like. Returns false when ours fails.
bool checkClients() {
    bool oursOk = true;
    QMRWebDavDataStore store(std::string(kUser), std::string(kPassword), setting->baseUrl());
    QMRErrorSlot error;
    auto records = store.readAllFileMetadata(error);
    std::size_t count = 0;
    std::string firstName;
    if (records)
        for (const QMRFileMetadataPtr& record : *records) {
            if (count++ == 0) firstName = record->name();
        }
    fmt::print("check: ours   listing  -> {} records (first \"{}\"){}\n", count, firstName,
               error ? " ERROR " + error->localizedDescription() : "");
    oursOk &= !error && count == kListingFiles;

    const std::uint64_t connectionsBefore = setting->server().connectionCount();
    const std::uint64_t requestsBefore = setting->server().requestCount();
    QMRErrorSlot idsError;
    auto byIds = store.readFileMetadataWithSpecificFileIds(setting->fileIds(), idsError);
    count = 0;
    if (byIds)
        for ([[maybe_unused]] const QMRFileMetadataPtr& record : *byIds) ++count;
    fmt::print("check: ours   by ids   -> {} records, {} requests, {} new connections{}\n", count,
               setting->server().requestCount() - requestsBefore,
               setting->server().connectionCount() - connectionsBefore,
               idsError ? " ERROR " + idsError->localizedDescription() : "");
    oursOk &= !idsError && count == kFileIdCount;

    if (setting->rcloneReady()) {
        const std::uint64_t before = setting->server().requestCount();
        PeerProcessOutcome listed =
            runPeerProcess(setting->rcloneListingCommand("data"), true, setting->rcloneEnvironment());
        const nlohmann::json entries = nlohmann::json::parse(listed.output, nullptr, false);
        fmt::print("check: rclone listing  -> {} entries, {} requests, exit {}{}\n",
                   entries.is_array() ? entries.size() : 0, setting->server().requestCount() - before, listed.exitCode,
                   listed.errors.empty() ? "" : " stderr: " + listed.errors);
    } else {
        fmt::print("check: rclone not found or unusable: its benchmarks are left out\n");
    }

    if (setting->curlReady()) {
        const std::uint64_t connections = setting->server().connectionCount();
        const std::uint64_t before = setting->server().requestCount();
        PeerProcessOutcome fetched = runPeerProcess(setting->curlByIdsCommand(), true);
        fmt::print("check: curl   by ids   -> {} responses, {} requests, {} new connections, exit {}{}\n",
                   countOf(fetched.output, "<d:response>"), setting->server().requestCount() - before,
                   setting->server().connectionCount() - connections, fetched.exitCode,
                   fetched.errors.empty() ? "" : " stderr: " + fetched.errors);
    } else {
        fmt::print("check: curl not found: its benchmark is left out\n");
    }
    return oursOk;
}

// ---- registration and summary ----

benchmark::internal::Benchmark* timed(benchmark::internal::Benchmark* benchmark) {
    return bench_report::timed(benchmark, kRepetitions, kMinSecondsPerRepetition);
}

void registerBenchmarks() {
    timed(benchmark::RegisterBenchmark(name::oursListing, oursListing));
    if (setting->rcloneReady()) {
        timed(benchmark::RegisterBenchmark(name::rcloneListing, rcloneListing, "data", kListingFiles));
        timed(benchmark::RegisterBenchmark(name::rcloneEmptyListing, rcloneListing, "empty", std::size_t{0}));
    }
    timed(benchmark::RegisterBenchmark(name::oursByIds, oursByIds));
    if (setting->curlReady()) timed(benchmark::RegisterBenchmark(name::curlByIds, curlByIds));
    timed(benchmark::RegisterBenchmark(name::oneFileConstructError, oneFileConstructError))
        ->Unit(benchmark::kMicrosecond);
    timed(benchmark::RegisterBenchmark(name::cleanAndParse, cleanAndParse));
    timed(benchmark::RegisterBenchmark(name::extract, extractOnly));
    timed(benchmark::RegisterBenchmark(name::cleanParseExtract, cleanParseExtract));
    timed(benchmark::RegisterBenchmark(name::filterOnly, filterOnly));
    timed(benchmark::RegisterBenchmark(name::xmlParseOnly, xmlParseOnly));
    timed(benchmark::RegisterBenchmark(name::rawListing, rawListing));
    timed(benchmark::RegisterBenchmark(name::rawByIds, rawByIds));
}

using bench_report::milliseconds;
using bench_report::rate;
using bench_report::SummaryReporter;

std::string megabytesPerSecond(std::optional<double> seconds) {
    return seconds ? fmt::format("{:.1f} MB/s", static_cast<double>(setting->listingBody().size()) / 1e6 / *seconds)
                   : "n/a";
}

void printSummary(const SummaryReporter& results) {
    const auto ours = results.seconds(name::oursListing);
    const auto rclone = results.seconds(name::rcloneListing);
    const auto oursIds = results.seconds(name::oursByIds);
    const auto curl = results.seconds(name::curlByIds);

    fmt::print("\n==== Summary (median of {} repetitions, wall time; MB = 10^6 bytes) ====\n", kRepetitions);
    fmt::print("body: {} files, {:.2f} MB multistatus; {} ids, one PROPFIND each\n\n", kListingFiles,
               static_cast<double>(setting->listingBody().size()) / 1e6, kFileIdCount);

    fmt::print("{:<44} {:>14} {:>14} {:>9} {:>9}  {}\n", "comparison", "ours", "peer", "ratio", "goal", "result");
    if (ours && rclone) {
        const double ratio = *ours / *rclone;
        fmt::print("{:<44} {:>14} {:>14} {:>9.3f} {:>9}  {}\n", "1. listing 10,000: ours / rclone lsjson",
                   milliseconds(ours), milliseconds(rclone), ratio, "<= 0.5", ratio <= 0.5 ? "met" : "MISSED");
    } else {
        fmt::print("{:<44} {:>14} {:>14} {:>9} {:>9}  {}\n", "1. listing 10,000: ours / rclone lsjson",
                   milliseconds(ours), milliseconds(rclone), "n/a", "<= 0.5", "not measured");
    }
    if (oursIds && curl) {
        const double ratio = *curl / *oursIds;
        fmt::print("{:<44} {:>14} {:>14} {:>9.3f} {:>9}  {}\n", "2. by ids 1,000: our rate / curl rate",
                   rate(oursIds, kFileIdCount, "req/s"), rate(curl, kFileIdCount, "req/s"), ratio, ">= 0.8",
                   ratio >= 0.8 ? "met" : "MISSED");
    } else {
        fmt::print("{:<44} {:>14} {:>14} {:>9} {:>9}  {}\n", "2. by ids 1,000: our rate / curl rate",
                   rate(oursIds, kFileIdCount, "req/s"), rate(curl, kFileIdCount, "req/s"), "n/a", ">= 0.8",
                   "not measured");
    }

    fmt::print("\n3. multistatus of 10,000 files, in memory\n");
    const auto line = [&](std::string_view label, const char* benchmark) {
        const auto seconds = results.seconds(benchmark);
        fmt::print("   {:<52} {:>12} {:>12}\n", label, milliseconds(seconds), megabytesPerSecond(seconds));
    };
    line("cleaning + parsing (constructError)", name::cleanAndParse);
    line("extraction (extractAllFileMetadataFromXml)", name::extract);
    line("cleaning + parsing + extraction", name::cleanParseExtract);
    line("  of which: regex filter alone", name::filterOnly);
    line("  of which: XML parse alone (uncleaned body)", name::xmlParseOnly);

    fmt::print("\ncontext\n");
    fmt::print("   {:<52} {:>12}\n", "server floor: raw client, one listing fetch",
               milliseconds(results.seconds(name::rawListing)));
    fmt::print("   {:<52} {:>12}\n", "server floor: raw client, 1,000 PROPFIND (rate)",
               rate(results.seconds(name::rawByIds), kFileIdCount, "req/s"));
    if (const auto step = results.seconds(name::oneFileConstructError))
        fmt::print("   {:<52} {:>9.1f} us\n", "ours, CPU per by-id answer (clean, parse, extract)", *step * 1e6);
    fmt::print("   {:<52} {:>12}\n", "rclone fixed cost: lsjson of an empty collection",
               milliseconds(results.seconds(name::rcloneEmptyListing)));
    if (const auto empty = results.seconds(name::rcloneEmptyListing); ours && rclone && empty && *rclone > *empty)
        fmt::print("   {:<52} {:>12.3f}\n", "listing ratio without rclone's fixed cost", *ours / (*rclone - *empty));
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;

    BenchSetting shared;
    setting = &shared;
    shared.preparePeers();
    fmt::print("loopback server at {}; listing body {:.2f} MB\n", shared.baseUrl(),
               static_cast<double>(shared.listingBody().size()) / 1e6);
    if (!checkClients()) {
        fmt::print(stderr, "bench: the data store could not read the canned answers; nothing measured\n");
        return 1;
    }
    std::fflush(stdout);

    registerBenchmarks();
    SummaryReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    printSummary(reporter);
    benchmark::Shutdown();
    return 0;
}

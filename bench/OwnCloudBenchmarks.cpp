// Benchmarks of the ownCloud back-end's folder listing, which reads the files application's page:
// for each release, the root folder of 10,000 entries served by a loopback server that answers the
// same canned page in the release's markup, with
//   listing   the whole request: fetch, then rows found and read into records
//   floor     the release's row pattern enumerated over the same page by QMRRegularExpression
//             (PCRE2, JIT-compiled): the least a listing that finds rows by that pattern can cost
// measured in pairs, one right after the other, so that both meet the same load on the machine; and,
// to show where the rest goes, the page read into records in memory, the page fetched by a raw
// socket client, and the row pattern run by raw PCRE2 without the wrapper. A summary with the ratios
// closes the output. Figures are medians of wall time (the ratio: the median of the pairs' ratios);
// repetitions are interleaved at random with those of the other benchmarks. The streamed transfers of
// 1 GiB follow (OwnCloudTransferBench), with their own summary.
#define PCRE2_CODE_UNIT_WIDTH 8
#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <pcre2.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "BenchReport.h"
#include "DataStore/owncloud/QMROcFileOrFolderId.h"
#include "DataStore/owncloud/QMROcReadFolderContentRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcReadFolderContentRequestv5_0_6.h"
#include "LoopbackHttpServer.h"
#include "OwnCloudBenchPages.h"
#include "OwnCloudTransferBench.h"
#include "RawHttpClient.h"
#include "companion/web/QMRUrlSession.h"

namespace {

using owncloud_bench::Release;

constexpr std::size_t kRows = 10'000;
constexpr int kRepetitions = 9;
constexpr double kMinSecondsPerRepetition = 0.15;
// Listings with their floor, each pair one repetition.
constexpr int kPairs = 31;
constexpr double kGoalRatio = 3.0;
constexpr std::string_view kHtmlContentType = "text/html; charset=utf-8";

// The library's own row pattern of a release, so that the floor runs exactly what the listing runs.
template <class Request>
class RowPatternsOf : public Request {
public:
    using Request::Request;
    using Request::rowPatterns;
};

const QMRRegularExpression& rowPatternOf(Release release) {
    QMRUrlSession session;
    // The patterns are the request class's statics: they outlive this request.
    if (release == Release::v4_5_7)
        return RowPatternsOf<QMROcReadFolderContentRequestv4_5_7>(session, "http://127.0.0.1").rowPatterns().row;
    return RowPatternsOf<QMROcReadFolderContentRequestv5_0_6>(session, "http://127.0.0.1").rowPatterns().row;
}

struct ReleasePage {
    Release release;
    std::string label;
    // The request target the listing of the root asks for.
    std::string target;
    std::string body;
    LoopbackHttpAnswer answer;
};

std::size_t indexOf(Release release) {
    return release == Release::v4_5_7 ? 0 : 1;
}

// Both releases' pages of the same entries, one server answering each at its release's address.
class BenchSetting {
public:
    BenchSetting()
        : _entries(owncloud_bench::rootEntries(kRows)),
          _pages{page(Release::v4_5_7, "4.5.7", "/?app=files&dir=%2F"),
                 page(Release::v5_0_6, "5.0.6", "/index.php/apps/files?dir=/")},
          _notFound(makeLoopbackHttpAnswer("404 Not Found", kHtmlContentType, "<p>not found</p>")),
          _server([this](const LoopbackHttpRequest& request) { return answer(request); }) {}
    ~BenchSetting() { _server.stop(); }
    BenchSetting(const BenchSetting&) = delete;
    BenchSetting& operator=(const BenchSetting&) = delete;

    const std::vector<owncloud_bench::Entry>& entries() const { return _entries; }
    const ReleasePage& pageOf(Release release) const { return _pages[indexOf(release)]; }
    const LoopbackHttpServer& server() const { return _server; }
    std::string baseUrl() const { return _server.baseUrl(); }

private:
    ReleasePage page(Release release, std::string label, std::string target) const {
        std::string body = owncloud_bench::filesPage(release, _entries);
        LoopbackHttpAnswer answer = makeLoopbackHttpAnswer("200 OK", kHtmlContentType, body);
        return {release, std::move(label), std::move(target), std::move(body), std::move(answer)};
    }

    LoopbackHttpAnswer answer(const LoopbackHttpRequest& request) const {
        if (request.method != "GET") return _notFound;
        for (const ReleasePage& page : _pages)
            if (request.target == page.target) return page.answer;
        return _notFound;
    }

    std::vector<owncloud_bench::Entry> _entries;
    ReleasePage _pages[2];
    LoopbackHttpAnswer _notFound;
    LoopbackHttpServer _server;
};

BenchSetting* setting = nullptr;

// Seconds of each listing and of the floor run next to it, per release.
struct PairedRuns {
    std::vector<double> ours;
    std::vector<double> floor;
};
PairedRuns pairedRuns[2];

std::string benchmarkName(const ReleasePage& page, std::string_view what) {
    return fmt::format("owncloud_{}/{}", page.label, what);
}
namespace name {
constexpr std::string_view listingAndFloor = "ours_listing_10000_rows_then_floor_QMRRegularExpression";
constexpr std::string_view rawPcre2 = "step_raw_pcre2_jit_row_pattern";
constexpr std::string_view extract = "step_extractMetadatas_in_memory";
constexpr std::string_view fetch = "step_raw_client_fetch";
}  // namespace name

// Sends one listing of the root through the session; the records, or none with the error.
std::optional<QMROcReadFolderContentResponsev4_5_7::MetadataList> listRoot(Release release, QMRUrlSession& session,
                                                                           QMRErrorSlot& error) {
    QMROcReadFolderContentResponsev4_5_7 response;
    // One request object per call, as the data store makes them.
    if (release == Release::v4_5_7)
        QMROcReadFolderContentRequestv4_5_7(session, setting->baseUrl()).send(response, error);
    else
        QMROcReadFolderContentRequestv5_0_6(session, setting->baseUrl()).send(response, error);
    return response.metadatas();
}

// ---- timed ----

// One listing and one run of the floor, back to back; which goes first alternates. The time
// reported is the listing's.
void listingThenFloor(benchmark::State& state, Release release) {
    PairedRuns& runs = pairedRuns[indexOf(release)];
    const QMRRegularExpression& row = rowPatternOf(release);
    const std::string& page = setting->pageOf(release).body;
    QMRUrlSession session;
    for (auto _ : state) {
        std::string failure;
        const auto listing = [&] {
            QMRErrorSlot error;
            const auto records = listRoot(release, session, error);
            if (error || !records || records->size() != kRows) failure = "the listing failed or came short";
        };
        const auto floor = [&] {
            if (row.numberOfMatchesInString(page) != kRows) failure = "the row pattern did not find every row";
        };
        const bool floorFirst = runs.ours.size() % 2 == 1;
        double floorSeconds = floorFirst ? bench_report::secondsOf(floor) : 0;
        const double oursSeconds = bench_report::secondsOf(listing);
        if (!floorFirst) floorSeconds = bench_report::secondsOf(floor);
        if (!failure.empty()) {
            state.SkipWithError(failure.c_str());
            break;
        }
        runs.ours.push_back(oursSeconds);
        runs.floor.push_back(floorSeconds);
        state.SetIterationTime(oursSeconds);
        state.counters["floor_ms"] = floorSeconds * 1e3;
    }
}

// The same pattern and compile options as QMRRegularExpression gives it, run straight on PCRE2.
class RawPcre2Rows {
public:
    explicit RawPcre2Rows(const QMRRegularExpression& pattern) {
        pcre2_compile_context* context = pcre2_compile_context_create(nullptr);
        pcre2_set_newline(context, PCRE2_NEWLINE_ANYCRLF);
        int errorCode = 0;
        PCRE2_SIZE errorOffset = 0;
        _code = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.pattern().data()), pattern.pattern().size(),
                              PCRE2_UTF | PCRE2_UCP | PCRE2_NEVER_BACKSLASH_C | PCRE2_CASELESS | PCRE2_DOTALL,
                              &errorCode, &errorOffset, context);
        pcre2_compile_context_free(context);
        if (_code == nullptr) throw std::runtime_error("the row pattern does not compile");
        pcre2_jit_compile(_code, PCRE2_JIT_COMPLETE);
        _matchData = pcre2_match_data_create_from_pattern(_code, nullptr);
        _context = pcre2_match_context_create(nullptr);
        // A look-ahead repeated per character keeps a frame per character of a row.
        _stack = pcre2_jit_stack_create(256 * 1024, 64 * 1024 * 1024, nullptr);
        pcre2_jit_stack_assign(_context, nullptr, _stack);
    }
    ~RawPcre2Rows() {
        pcre2_jit_stack_free(_stack);
        pcre2_match_context_free(_context);
        pcre2_match_data_free(_matchData);
        pcre2_code_free(_code);
    }
    RawPcre2Rows(const RawPcre2Rows&) = delete;
    RawPcre2Rows& operator=(const RawPcre2Rows&) = delete;

    // The number of rows, or nothing when a search failed. The rows are never empty matches.
    std::optional<std::size_t> count(std::string_view text) const {
        std::size_t rows = 0;
        PCRE2_SIZE offset = 0;
        std::uint32_t options = 0;
        // Each match ends past the previous one, so the walk ends.
        while (offset <= text.size()) {
            const int result = pcre2_match(_code, reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(), offset,
                                           options, _matchData, _context);
            if (result == PCRE2_ERROR_NOMATCH) return rows;
            if (result <= 0) return std::nullopt;
            const PCRE2_SIZE end = pcre2_get_ovector_pointer(_matchData)[1];
            if (end <= offset) return std::nullopt;
            offset = end;
            options = PCRE2_NO_UTF_CHECK;
            ++rows;
        }
        return rows;
    }

private:
    pcre2_code* _code = nullptr;
    pcre2_match_data* _matchData = nullptr;
    pcre2_match_context* _context = nullptr;
    pcre2_jit_stack* _stack = nullptr;
};

void rawPcre2(benchmark::State& state, Release release) {
    const RawPcre2Rows rows(rowPatternOf(release));
    const std::string& page = setting->pageOf(release).body;
    for (auto _ : state) {
        if (rows.count(page) != kRows) {
            state.SkipWithError("raw PCRE2 did not find every row");
            break;
        }
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kRows));
}

template <class Request>
void extractInMemory(benchmark::State& state, Release release) {
    QMRUrlSession session;
    const Request request(session, setting->baseUrl());
    const std::string& page = setting->pageOf(release).body;
    const QMRData body(page.begin(), page.end());
    for (auto _ : state) {
        QMRErrorSlot error;
        auto records = request.extractMetadatas(body, error);
        if (error || !records || records->size() != kRows) {
            state.SkipWithError("extractMetadatas failed or came short");
            break;
        }
        benchmark::DoNotOptimize(records);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kRows));
}

void rawFetch(benchmark::State& state, Release release) {
    RawHttpClient client(setting->server().port());
    const std::string request = fmt::format("GET {} HTTP/1.1\r\nHost: 127.0.0.1:{}\r\n\r\n",
                                            setting->pageOf(release).target, setting->server().port());
    for (auto _ : state) benchmark::DoNotOptimize(client.exchange(request));
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kRows));
}

// ---- checks before timing ----

// The first difference between a record and the entry of its row, or nothing.
std::optional<std::string> differenceOf(const QMRFileMetadata& record, const owncloud_bench::Entry& entry) {
    const QMROcFileOrFolderId id(record.fileId());
    const auto date = std::chrono::sys_seconds{std::chrono::seconds{entry.mtime}};
    if (record.name() != "/" + entry.listedName) return fmt::format("name \"{}\"", record.name());
    if (id.path() != "/" + entry.storedName) return fmt::format("id path \"{}\"", id.path());
    if (id.identifier() != std::to_string(entry.id)) return fmt::format("id \"{}\"", id.identifier());
    if (record.resourceType() !=
        (entry.folder ? QMRFileMetadata::resourceTypeFolder : QMRFileMetadata::resourceTypeFile))
        return fmt::format("resource type {}", record.resourceType());
    if (record.mimeContentType() != entry.mime) return fmt::format("mime \"{}\"", record.mimeContentType());
    if (record.sizeInBytes() != entry.size) return fmt::format("size {}", record.sizeInBytes());
    if (record.serverSideModificationDateInLocalTime() != date) return std::string("modification date");
    return std::nullopt;
}

// Confirms, once and untimed, that each release's listing reads every row into the record of its
// entry and that the floor finds every row, so that the timings compare like with like.
bool checkReleases() {
    bool ok = true;
    for (Release release : {Release::v4_5_7, Release::v5_0_6}) {
        const ReleasePage& page = setting->pageOf(release);
        QMRUrlSession session;
        QMRErrorSlot error;
        const auto records = listRoot(release, session, error);
        std::size_t wrong = 0;
        std::string firstWrong;
        if (records && records->size() == setting->entries().size())
            for (std::size_t index = 0; index < records->size(); ++index)
                if (auto difference = differenceOf(*records->at(index), setting->entries()[index])) {
                    if (wrong++ == 0) firstWrong = fmt::format(" (row {}: {})", index, *difference);
                }
        const std::size_t floorRows = rowPatternOf(release).numberOfMatchesInString(page.body);
        const bool releaseOk = !error && records && records->size() == kRows && wrong == 0 && floorRows == kRows;
        fmt::print("check: {} listing -> {} records, {} not as served{}; row pattern alone finds {} rows{}\n",
                   page.label, records ? records->size() : 0, wrong, firstWrong, floorRows,
                   error       ? " ERROR " + error->localizedDescription()
                   : releaseOk ? ""
                               : " UNEXPECTED");
        ok &= releaseOk;
    }
    return ok;
}

// ---- registration and summary ----

bool listingSelectedBy(const std::string& filter) {
    std::vector<std::string> names;
    for (Release release : {Release::v4_5_7, Release::v5_0_6})
        for (std::string_view what : {name::listingAndFloor, name::rawPcre2, name::extract, name::fetch})
            names.push_back(benchmarkName(setting->pageOf(release), what));
    return bench_report::filterSelectsAny(filter, {names.begin(), names.end()});
}

void registerBenchmarks() {
    for (Release release : {Release::v4_5_7, Release::v5_0_6}) {
        const ReleasePage& page = setting->pageOf(release);
        const auto timed = [&](std::string_view what, void (*function)(benchmark::State&, Release)) {
            bench_report::timed(benchmark::RegisterBenchmark(benchmarkName(page, what).c_str(), function, release),
                                kRepetitions, kMinSecondsPerRepetition);
        };
        benchmark::RegisterBenchmark(benchmarkName(page, name::listingAndFloor).c_str(), listingThenFloor, release)
            ->UseManualTime()
            ->Unit(benchmark::kMillisecond)
            ->Iterations(1)
            ->Repetitions(kPairs);
        timed(name::rawPcre2, rawPcre2);
        timed(name::extract, release == Release::v4_5_7 ? extractInMemory<QMROcReadFolderContentRequestv4_5_7>
                                                        : extractInMemory<QMROcReadFolderContentRequestv5_0_6>);
        timed(name::fetch, rawFetch);
    }
}

// The median, or nothing for no values.
std::optional<double> medianOf(const std::vector<double>& values) {
    return values.empty() ? std::nullopt : std::optional(bench_report::median(values));
}

void printSummary(const bench_report::SummaryReporter& results) {
    using bench_report::milliseconds;
    const auto seconds = [&](const ReleasePage& page, std::string_view what) {
        return results.seconds(benchmarkName(page, what));
    };
    const ReleasePage& v4 = setting->pageOf(Release::v4_5_7);
    const ReleasePage& v5 = setting->pageOf(Release::v5_0_6);

    fmt::print(
        "\n==== ownCloud listing summary (wall time; medians of {} pairs of ours and the floor back to back, "
        "of {} repetitions otherwise; MB = 10^6 bytes) ====\n",
        kPairs, kRepetitions);
    fmt::print("root page of {} rows: {} {:.2f} MB, {} {:.2f} MB; floor = QMRRegularExpression (PCRE2, JIT)\n", kRows,
               v4.label, static_cast<double>(v4.body.size()) / 1e6, v5.label,
               static_cast<double>(v5.body.size()) / 1e6);
    fmt::print("enumerating the release's own row pattern over the page; ratio = median of the pairs' ratios\n\n");

    fmt::print("{:<44} {:>14} {:>14} {:>9} {:>9}  {}\n", "comparison", "ours", "floor", "ratio", "goal", "result");
    for (const ReleasePage* page : {&v4, &v5}) {
        const PairedRuns& runs = pairedRuns[indexOf(page->release)];
        const auto ours = medianOf(runs.ours);
        const auto floor = medianOf(runs.floor);
        const std::string label = fmt::format("{} listing 10,000: ours / PCRE2 rows", page->label);
        const std::string goal = fmt::format("<= {:g}", kGoalRatio);
        if (ours && floor) {
            // The ratio of each pair, then their median: load that changes between pairs cancels out.
            std::vector<double> ratios;
            for (std::size_t index = 0; index < runs.ours.size(); ++index)
                ratios.push_back(runs.ours[index] / runs.floor[index]);
            const double ratio = bench_report::median(ratios);
            fmt::print("{:<44} {:>14} {:>14} {:>9.2f} {:>9}  {}\n", label, milliseconds(ours), milliseconds(floor),
                       ratio, goal, ratio <= kGoalRatio ? "met" : "MISSED");
        } else {
            fmt::print("{:<44} {:>14} {:>14} {:>9} {:>9}  {}\n", label, milliseconds(ours), milliseconds(floor), "n/a",
                       goal, "not measured");
        }
    }

    fmt::print("\ncontext{:<45} {:>12} {:>12}\n", "", v4.label, v5.label);
    const auto line = [&](std::string_view label, std::string_view what) {
        fmt::print("   {:<49} {:>12} {:>12}\n", label, milliseconds(seconds(v4, what)),
                   milliseconds(seconds(v5, what)));
    };
    line("rows read into records, in memory", name::extract);
    line("page fetched by a raw client (server floor)", name::fetch);
    line("row pattern on raw PCRE2 (JIT), no wrapper", name::rawPcre2);
    for (const ReleasePage* page : {&v4, &v5}) {
        const PairedRuns& runs = pairedRuns[indexOf(page->release)];
        const auto ours = medianOf(runs.ours);
        const auto floor = medianOf(runs.floor);
        const auto extract = seconds(*page, name::extract);
        if (ours && floor && extract)
            fmt::print("   {} per row: {:.2f} us listing, of which {:.2f} us finding the row, {:.2f} us reading it\n",
                       page->label, *ours / kRows * 1e6, *floor / kRows * 1e6, (*extract - *floor) / kRows * 1e6);
    }
}

}  // namespace

int main(int argc, char** argv) {
    // The repetitions of the benchmarks are interleaved at random, so that a change of load on the
    // machine falls on all alike; an option given on the command line still wins.
    std::vector<char*> arguments(argv, argv + argc);
    std::string interleaved = "--benchmark_enable_random_interleaving=true";
    arguments.insert(arguments.begin() + 1, interleaved.data());
    int argumentCount = static_cast<int>(arguments.size());
    benchmark::Initialize(&argumentCount, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(argumentCount, arguments.data())) return 2;

    BenchSetting shared;
    setting = &shared;
    fmt::print("\nownCloud listing: loopback server at {}; root pages of {} rows, 4.5.7 {:.2f} MB, 5.0.6 {:.2f} MB\n",
               shared.baseUrl(), kRows, static_cast<double>(shared.pageOf(Release::v4_5_7).body.size()) / 1e6,
               static_cast<double>(shared.pageOf(Release::v5_0_6).body.size()) / 1e6);
    if (!checkReleases()) {
        fmt::print(stderr, "bench: the data store could not read the generated pages; nothing measured\n");
        return 1;
    }
    const std::string filter = benchmark::GetBenchmarkFilter();
    std::optional<OwnCloudTransferBench> transfers;
    if (OwnCloudTransferBench::selectedBy(filter)) {
        transfers.emplace();
        if (!transfers->check()) {
            fmt::print(stderr, "bench: the data store could not move 1 GiB each way; nothing measured\n");
            return 1;
        }
    }
    std::fflush(stdout);

    bench_report::SummaryReporter reporter;
    if (listingSelectedBy(filter)) {
        registerBenchmarks();
        benchmark::RunSpecifiedBenchmarks(&reporter);
        printSummary(reporter);
    }
    // Apart from the listings: a transfer churns gigabytes through the machine, which would weigh on
    // whichever listing repetitions came next. Each transfer pairs ours with curl by itself.
    if (transfers) {
        benchmark::ClearRegisteredBenchmarks();
        transfers->registerBenchmarks();
        benchmark::RunSpecifiedBenchmarks(&reporter);
        transfers->printSummary();
    }
    benchmark::Shutdown();
    return 0;
}

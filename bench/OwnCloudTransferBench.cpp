#include "OwnCloudTransferBench.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <fstream>
#include <string_view>
#include <utility>

#include "BenchReport.h"
#include "DataStore/owncloud/QMROcCreateNewFileRequestv4_5_7.h"
#include "DataStore/owncloud/QMROcFileOrFolderId.h"
#include "DataStore/owncloud/QMROcReadFileContentRequestv4_5_7.h"
#include "PeerProcess.h"
#include "ResidentSet.h"
#include "companion/web/QMRMimeWriter.h"
#include "companion/web/QMRRunLoop.h"
#include "companion/web/QMRUrlSession.h"

namespace {

constexpr std::uint64_t kBytes = std::uint64_t{1} << 30;
// What the caller hands over per space-available call.
constexpr std::size_t kPieceBytes = 64 * 1024;
// The server's streamed answers repeat this much.
constexpr std::size_t kPatternBytes = 256 * 1024;
constexpr int kRepetitions = 5;
constexpr double kGoalRateRatio = 0.9;
constexpr std::int64_t kGoalGrowthKib = 16 * 1024;
constexpr std::string_view kToken = "q2V5bWJ0ZXN0dG9rZW4xMjM0NTY3OD";
constexpr std::string_view kFileName = "/big.bin";
// What the 4.5.7 upload script answers; the id is quoted in that release.
constexpr std::string_view kUploadAnswer =
    R"([{"status":"success","mime":"application\/octet-stream","size":1073741824,"id":"4242","name":"big.bin"}])";

namespace name {
constexpr std::string_view upload = "owncloud_transfer/upload_1GiB_ours_and_curl";
constexpr std::string_view download = "owncloud_transfer/download_1GiB_ours_and_curl";
}  // namespace name

// The record of the file uploaded: its full path, a type and its size.
QMRFileMetadataPtr uploadedFile() {
    auto metadata = std::make_shared<QMRFileMetadata>();
    metadata->setName(std::string(kFileName));
    metadata->setMimeContentType("application/octet-stream");
    metadata->setSizeInBytes(static_cast<std::int64_t>(kBytes));
    return metadata;
}

// Runs work with the peak resident set reset first; the peak's growth above the resident set at the
// start, or none where the system cannot reset the peak.
template <class Work>
std::optional<std::int64_t> peakGrowthKib(Work work) {
    const std::optional<std::int64_t> before = resetPeakResidentSet() ? statusKilobytes("VmRSS:") : std::nullopt;
    work();
    const std::optional<std::int64_t> peak = statusKilobytes("VmHWM:");
    if (!before || !peak) return std::nullopt;
    return *peak - *before;
}

// Memory-backed storage for curl's upload body where the system has it, so that reading the file
// costs curl no more than our caller's pieces cost us.
std::filesystem::path scratchDirectory() {
    std::error_code error;
    if (std::filesystem::is_directory("/dev/shm", error) && ::access("/dev/shm", W_OK) == 0) return "/dev/shm";
    return std::filesystem::temp_directory_path();
}

double mebibytesPerSecond(double seconds) {
    return static_cast<double>(kBytes) / seconds / (1 << 20);
}

}  // namespace

bool OwnCloudTransferBench::selectedBy(const std::string& filter) {
    return bench_report::filterSelectsAny(filter, {name::upload, name::download});
}

OwnCloudTransferBench::OwnCloudTransferBench() : _boundary(QMRMimeWriter::generateBoundary()) {
    std::string pattern(kPatternBytes, '\0');
    for (std::size_t index = 0; index < pattern.size(); ++index)
        pattern[index] = static_cast<char>((index * 131 + index / 4096) & 0xFF);
    _pattern = std::make_shared<const std::string>(std::move(pattern));
    _server =
        std::make_unique<LoopbackHttpServer>([this](const LoopbackHttpRequest& request) { return answer(request); });

    _curlReady = peerProgramAvailable("curl");
    if (!_curlReady) return;
    // The same framing as ours: the multipart prefix and suffix the request class builds.
    QMRUrlSession session;
    const QMROcCreateNewFileRequestv4_5_7 request(session, std::string(kToken), _server->baseUrl(), uploadedFile(),
                                                  nullptr, nullptr);
    QMRData prefix, suffix;
    request.constructPrefixSuffixData(_boundary, ".0123456789abcdef0123456789abcdef", prefix, suffix);
    _curlBodyFile = scratchDirectory() / fmt::format("qmr_owncloud_upload_{}.bin", ::getpid());
    std::ofstream file(_curlBodyFile, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(prefix.data()), static_cast<std::streamsize>(prefix.size()));
    for (std::uint64_t written = 0; written < kBytes; written += _pattern->size())
        file.write(_pattern->data(),
                   static_cast<std::streamsize>(std::min<std::uint64_t>(_pattern->size(), kBytes - written)));
    file.write(reinterpret_cast<const char*>(suffix.data()), static_cast<std::streamsize>(suffix.size()));
    file.close();
    _curlBodyBytes = prefix.size() + kBytes + suffix.size();
    _curlReady = file.good();
}

OwnCloudTransferBench::~OwnCloudTransferBench() {
    _server->stop();
    std::error_code ignored;
    if (!_curlBodyFile.empty()) std::filesystem::remove(_curlBodyFile, ignored);
}

LoopbackHttpAnswer OwnCloudTransferBench::answer(const LoopbackHttpRequest& request) const {
    if (request.method == "POST" && request.target.find("upload.php") != std::string::npos)
        return makeLoopbackHttpAnswer("200 OK", "application/json", kUploadAnswer);
    if (request.method == "GET" && request.target.find("download.php") != std::string::npos)
        return makeStreamedLoopbackHttpAnswer("200 OK", "application/octet-stream", kBytes, _pattern);
    return makeLoopbackHttpAnswer("404 Not Found", "text/plain", "");
}

// ---- one transfer each ----

OwnCloudTransferBench::Outcome OwnCloudTransferBench::oursUpload() const {
    Outcome outcome;
    QMRUrlSession session;
    bool completed = false;
    const std::string_view pattern = *_pattern;
    std::uint64_t given = 0;
    std::make_shared<QMROcCreateNewFileRequestv4_5_7>(
        session, std::string(kToken), _server->baseUrl(), uploadedFile(),
        [&](QMRFileMetadataPtr created, std::optional<QMRError> error) {
            completed = true;
            if (!created) outcome.failure = error ? error->localizedDescription() : "no record and no error";
        },
        [&](std::optional<QMRData>& data, bool&) {
            if (given == kBytes) return;
            const std::size_t length = static_cast<std::size_t>(std::min<std::uint64_t>(kPieceBytes, kBytes - given));
            const std::size_t start = static_cast<std::size_t>(given % (pattern.size() - kPieceBytes));
            data.emplace(pattern.begin() + static_cast<std::ptrdiff_t>(start),
                         pattern.begin() + static_cast<std::ptrdiff_t>(start + length));
            given += length;
        })
        ->send();
    QMRRunLoop::current().run();
    if (!completed && outcome.failure.empty()) outcome.failure = "no completion";
    outcome.bytes = given;
    return outcome;
}

OwnCloudTransferBench::Outcome OwnCloudTransferBench::oursDownload() const {
    Outcome outcome;
    QMRUrlSession session;
    bool completed = false;
    std::make_shared<QMROcReadFileContentRequestv4_5_7>(
        session, _server->baseUrl(), QMROcFileOrFolderId("4242", std::string(kFileName), 2).toString(),
        [&](std::optional<QMRError> error) {
            completed = true;
            if (error) outcome.failure = error->localizedDescription();
        },
        [&](QMRDataView data, bool&) {
            benchmark::DoNotOptimize(data.data());
            outcome.bytes += data.size();
        })
        ->send();
    QMRRunLoop::current().run();
    if (!completed && outcome.failure.empty()) outcome.failure = "no completion";
    return outcome;
}

// curl says how many bytes it moved (its -w figure) and fails with a non-zero exit.
OwnCloudTransferBench::Outcome OwnCloudTransferBench::curlOutcome(const PeerProcessOutcome& run) {
    Outcome outcome;
    std::from_chars(run.output.data(), run.output.data() + run.output.size(), outcome.bytes);
    if (run.exitCode != 0) outcome.failure = fmt::format("exit {}: {}", run.exitCode, run.errors);
    return outcome;
}

OwnCloudTransferBench::Outcome OwnCloudTransferBench::curlUpload() const {
    // "-q" first: no ~/.curlrc may change what is sent. No 100-continue round trip, as ours sends none.
    const PeerProcessOutcome run =
        runPeerProcess({"curl", "-q", "-sS", "-o", "/dev/null", "-w", "%{size_upload}", "-X", "POST", "-T",
                        _curlBodyFile.string(), "-H", "Expect:", "-H", fmt::format("requesttoken: {}", kToken), "-H",
                        fmt::format("Content-Type: multipart/form-data; boundary={}", _boundary),
                        _server->baseUrl() + "/?app=files&getfile=ajax%2Fupload.php"},
                       true);
    return curlOutcome(run);
}

OwnCloudTransferBench::Outcome OwnCloudTransferBench::curlDownload() const {
    const PeerProcessOutcome run =
        runPeerProcess({"curl", "-q", "-sS", "-o", "/dev/null", "-w", "%{size_download}",
                        _server->baseUrl() + "/?app=files&getfile=ajax%2Fdownload.php&files=big.bin&dir=%2F"},
                       true);
    return curlOutcome(run);
}

// ---- checks, timing, summary ----

bool OwnCloudTransferBench::check() {
    bool ok = true;
    const auto report = [&](std::string_view what, const Outcome& outcome, std::uint64_t expected,
                            std::optional<std::int64_t> growthKib, bool counts) {
        const bool good = outcome.failure.empty() && outcome.bytes == expected;
        fmt::print("check: {:<14} -> {} bytes{}{}{}\n", what, outcome.bytes,
                   growthKib ? fmt::format(", peak RSS +{} KiB", *growthKib) : std::string(),
                   outcome.failure.empty() ? "" : " ERROR " + outcome.failure, good ? "" : " UNEXPECTED");
        if (counts) ok &= good;
    };
    Outcome upload, download;
    _uploadGrowthKib = peakGrowthKib([&] { upload = oursUpload(); });
    report("ours upload", upload, kBytes, _uploadGrowthKib, true);
    _downloadGrowthKib = peakGrowthKib([&] { download = oursDownload(); });
    report("ours download", download, kBytes, _downloadGrowthKib, true);
    if (_curlReady) {
        report("curl upload", curlUpload(), _curlBodyBytes, std::nullopt, false);
        report("curl download", curlDownload(), kBytes, std::nullopt, false);
    } else {
        fmt::print("check: curl not found or no room for its upload file: the runs are ours alone\n");
    }
    return ok;
}

void OwnCloudTransferBench::registerBenchmarks() {
    using Transfer = Outcome (OwnCloudTransferBench::*)() const;
    const auto paired = [this](std::string_view benchmarkName, Transfer ours, Transfer curl, Runs& runs) {
        benchmark::RegisterBenchmark(
            std::string(benchmarkName).c_str(),
            [this, ours, curl, &runs](benchmark::State& state) {
                for (auto _ : state) {
                    std::string failure;
                    const auto seconds = [&](Transfer transfer) {
                        const auto start = std::chrono::steady_clock::now();
                        const Outcome outcome = (this->*transfer)();
                        if (!outcome.failure.empty()) failure = outcome.failure;
                        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
                    };
                    // Back to back, so that both meet the same load; which goes first alternates.
                    const bool curlFirst = _curlReady && runs.ours.size() % 2 == 1;
                    double curlSeconds = curlFirst ? seconds(curl) : 0;
                    const double oursSeconds = seconds(ours);
                    if (_curlReady && !curlFirst) curlSeconds = seconds(curl);
                    if (!failure.empty()) {
                        state.SkipWithError(failure.c_str());
                        break;
                    }
                    runs.ours.push_back(oursSeconds);
                    state.counters["ours_MiB/s"] = mebibytesPerSecond(oursSeconds);
                    if (_curlReady) {
                        runs.curl.push_back(curlSeconds);
                        state.counters["curl_MiB/s"] = mebibytesPerSecond(curlSeconds);
                    }
                }
            })
            ->UseRealTime()
            ->Unit(benchmark::kMillisecond)
            ->Iterations(1)
            ->Repetitions(kRepetitions);
    };
    paired(name::upload, &OwnCloudTransferBench::oursUpload, &OwnCloudTransferBench::curlUpload, _upload);
    paired(name::download, &OwnCloudTransferBench::oursDownload, &OwnCloudTransferBench::curlDownload, _download);
}

void OwnCloudTransferBench::printSummary() const {
    fmt::print(
        "\n==== ownCloud transfer summary (1 GiB through loopback; medians of {} runs, each ours and curl "
        "back to back) ====\n",
        kRepetitions);
    fmt::print(
        "ours: {} KiB pieces through the bound stream pair (upload); curl: -T from a file in {} / -o /dev/null\n\n",
        kPieceBytes / 1024, _curlBodyFile.parent_path().string());
    fmt::print("{:<44} {:>14} {:>14} {:>9} {:>9}  {}\n", "comparison", "ours", "curl", "ratio", "goal", "result");
    const std::string rateGoal = fmt::format(">= {:g}", kGoalRateRatio);
    for (const auto& [label, runs] :
         {std::pair<std::string_view, const Runs&>{"upload 1 GiB: our rate / curl rate", _upload},
          std::pair<std::string_view, const Runs&>{"download 1 GiB: our rate / curl rate", _download}}) {
        const auto rate = [](const std::vector<double>& seconds) {
            return seconds.empty() ? std::string("n/a")
                                   : fmt::format("{:.0f} MiB/s", mebibytesPerSecond(bench_report::median(seconds)));
        };
        if (runs.ours.empty() || runs.curl.size() != runs.ours.size()) {
            fmt::print("{:<44} {:>14} {:>14} {:>9} {:>9}  {}\n", label, rate(runs.ours), rate(runs.curl), "n/a",
                       rateGoal, "not measured");
            continue;
        }
        // The ratio of each pair, then their median: load that changes between pairs cancels out.
        std::vector<double> ratios;
        for (std::size_t index = 0; index < runs.ours.size(); ++index)
            ratios.push_back(runs.curl[index] / runs.ours[index]);
        const double ratio = bench_report::median(ratios);
        fmt::print("{:<44} {:>14} {:>14} {:>9.2f} {:>9}  {}\n", label, rate(runs.ours), rate(runs.curl), ratio,
                   rateGoal, ratio >= kGoalRateRatio ? "met" : "MISSED");
    }
    const std::string growthGoal = fmt::format("<= {} MiB", kGoalGrowthKib / 1024);
    for (auto [label, growth] : {std::pair{"upload 1 GiB: our peak memory growth", _uploadGrowthKib},
                                 std::pair{"download 1 GiB: our peak memory growth", _downloadGrowthKib}}) {
        if (growth)
            fmt::print("{:<44} {:>14} {:>14} {:>9} {:>9}  {}\n", label, fmt::format("{:.1f} MiB", *growth / 1024.0), "",
                       "", growthGoal, *growth <= kGoalGrowthKib ? "met" : "MISSED");
        else
            fmt::print("{:<44} {:>14} {:>14} {:>9} {:>9}  {}\n", label, "n/a", "", "", growthGoal, "not measured");
    }
}

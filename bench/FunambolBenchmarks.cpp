// Benchmarks of the Funambol back-end's lazy listing: readAllFileMetadata walked to its end over
// 1,000, 10,000 and 50,000 media served fifty a page by a loopback server, with
//   time      the wall time of a whole walk (median over the repetitions)
//   memory    the heap high-water mark while walking, above the heap at the start of the walk
//             (every operator new of the process and every allocation of curl are counted), and
//             the peak resident set above the one at the start
//   floor     what the server and the kernel cost by themselves (a raw socket client, same pages)
// The walk keeps no record it has already seen, so its peak should not depend on the count: the
// summary compares the peaks and says whether they stay flat or grow.
#include <benchmark/benchmark.h>
#include <curl/curl.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "BenchReport.h"
#include "DataStore/funambol/QMRFunambolDataStore.h"
#include "DataStore/funambol/QMRFunambolFileMetadataFastEnumeration.h"
#include "LoopbackHttpServer.h"
#include "RawHttpClient.h"
#include "ResidentSet.h"

// ---- heap accounting ----
// Live bytes and their high-water mark, by the allocator's own size of each block, so that a block
// freed counts exactly what it counted when allocated.
namespace {
std::atomic<std::int64_t> heapLive{0};
std::atomic<std::int64_t> heapHighWater{0};

void heapAdded(void* block) noexcept {
    if (block == nullptr) return;
    const auto size = static_cast<std::int64_t>(::malloc_usable_size(block));
    const std::int64_t now = heapLive.fetch_add(size, std::memory_order_relaxed) + size;
    std::int64_t high = heapHighWater.load(std::memory_order_relaxed);
    while (now > high && !heapHighWater.compare_exchange_weak(high, now, std::memory_order_relaxed)) {
    }
}

void heapRemoved(void* block) noexcept {
    if (block != nullptr)
        heapLive.fetch_sub(static_cast<std::int64_t>(::malloc_usable_size(block)), std::memory_order_relaxed);
}

void* countedAlloc(std::size_t size) {
    void* block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) throw std::bad_alloc();
    heapAdded(block);
    return block;
}

void* countedAlignedAlloc(std::size_t size, std::align_val_t alignment) {
    void* block = nullptr;
    const std::size_t align = std::max(static_cast<std::size_t>(alignment), sizeof(void*));
    if (::posix_memalign(&block, align, size == 0 ? 1 : size) != 0) throw std::bad_alloc();
    heapAdded(block);
    return block;
}

void countedFree(void* block) noexcept {
    heapRemoved(block);
    std::free(block);
}

// curl's allocator, so that its buffers, cookies and connections are counted too.
void* curlMalloc(std::size_t size) {
    void* block = std::malloc(size);
    heapAdded(block);
    return block;
}
void curlFree(void* block) {
    countedFree(block);
}
void* curlRealloc(void* block, std::size_t size) {
    const auto before = static_cast<std::int64_t>(block != nullptr ? ::malloc_usable_size(block) : 0);
    void* moved = std::realloc(block, size);
    // A failed realloc leaves the old block as it was.
    if (moved == nullptr && size != 0) return nullptr;
    heapLive.fetch_sub(before, std::memory_order_relaxed);
    heapAdded(moved);
    return moved;
}
char* curlStrdup(const char* text) {
    const std::size_t size = std::strlen(text) + 1;
    auto* copy = static_cast<char*>(curlMalloc(size));
    if (copy != nullptr) std::memcpy(copy, text, size);
    return copy;
}
void* curlCalloc(std::size_t count, std::size_t size) {
    void* block = std::calloc(count, size);
    heapAdded(block);
    return block;
}
}  // namespace

void* operator new(std::size_t size) {
    return countedAlloc(size);
}
void* operator new[](std::size_t size) {
    return countedAlloc(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return countedAlloc(size);
    } catch (...) {
        return nullptr;
    }
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return countedAlloc(size);
    } catch (...) {
        return nullptr;
    }
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return countedAlignedAlloc(size, alignment);
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return countedAlignedAlloc(size, alignment);
}
void operator delete(void* block) noexcept {
    countedFree(block);
}
void operator delete[](void* block) noexcept {
    countedFree(block);
}
void operator delete(void* block, std::size_t) noexcept {
    countedFree(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    countedFree(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    countedFree(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    countedFree(block);
}
void operator delete(void* block, std::align_val_t) noexcept {
    countedFree(block);
}
void operator delete[](void* block, std::align_val_t) noexcept {
    countedFree(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
    countedFree(block);
}
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept {
    countedFree(block);
}

namespace {

constexpr std::size_t kCounts[] = {1'000, 10'000, 50'000};
constexpr std::size_t kFloorCount = 10'000;
constexpr std::size_t kPageSize = QMRFunambolFileMetadataFastEnumeration::pageSize;
constexpr int kRepetitions = 3;
constexpr double kMinSecondsPerRepetition = 0.3;
// Walks per count whose memory is measured; the highest peak of them is kept.
constexpr int kMemoryWalks = 2;
// Above this ratio of the largest count's peak to the smallest's, the peak is said to grow.
constexpr double kFlatRatio = 1.25;
constexpr std::string_view kUser = "bench";
constexpr std::string_view kPassword = "secret";
constexpr std::string_view kSessionCookie = "JSESSIONID=bench0session";
constexpr std::string_view kJsonContentType = "application/json;charset=UTF-8";
constexpr std::int64_t kFirstDateMs = 1'700'000'000'000;

std::string listingName(std::size_t count) {
    return fmt::format("funambol/listing_readAllFileMetadata_{}", count);
}
std::string floorName(std::size_t count) {
    return fmt::format("floor/raw_client_{}_pages", (count / kPageSize) + 3);
}

std::optional<std::size_t> numberParam(std::string_view query, std::string_view key) {
    for (std::size_t at = 0; at < query.size();) {
        std::size_t end = query.find('&', at);
        if (end == std::string_view::npos) end = query.size();
        std::string_view pair = query.substr(at, end - at);
        if (pair.starts_with(key) && pair.size() > key.size() && pair[key.size()] == '=') {
            std::size_t value = 0;
            const char* digits = pair.data() + key.size() + 1;
            auto [stop, failure] = std::from_chars(digits, pair.data() + pair.size(), value);
            if (failure != std::errc() || stop == digits) return std::nullopt;
            return value;
        }
        at = end + 1;
    }
    return std::nullopt;
}

// A media server holding `count` media, all in the "file" collection, answering the pages of the
// listing as it is asked for them: nothing but the login answer is kept between requests.
class FunambolPageServer {
public:
    explicit FunambolPageServer(std::size_t count)
        : _count(count),
          _login(answerWithCookie(R"({"data":{"jsessionid":"bench0session"}})")),
          _logout(makeLoopbackHttpAnswer("200 OK", kJsonContentType, R"({"success":true})")),
          _noSession(makeLoopbackHttpAnswer("401 Unauthorized", kJsonContentType,
                                            R"({"error":{"code":"SEC-1002","message":"No valid session"}})")),
          _notFound(makeLoopbackHttpAnswer("404 Not Found", kJsonContentType,
                                           R"({"error":{"code":"COM-1004","message":"No such resource"}})")),
          _server([this](const LoopbackHttpRequest& request) { return answer(request); }) {
        _pagePrefix = fmt::format(R"({{"data":{{"mediaserverurl":"{}/content",)", _server.baseUrl());
    }
    ~FunambolPageServer() { _server.stop(); }
    FunambolPageServer(const FunambolPageServer&) = delete;
    FunambolPageServer& operator=(const FunambolPageServer&) = delete;

    std::size_t count() const noexcept { return _count; }
    std::string baseUrl() const { return _server.baseUrl(); }
    const LoopbackHttpServer& server() const noexcept { return _server; }
    // The requests of one whole walk: every page of "file" (the last one short, possibly empty),
    // then one empty page each of "picture" and "video".
    std::size_t requestsPerWalk() const noexcept { return _count / kPageSize + 3; }

private:
    static LoopbackHttpAnswer answerWithCookie(std::string_view body) {
        return std::make_shared<const std::string>(
            fmt::format("HTTP/1.1 200 OK\r\nContent-Type: {}\r\nSet-Cookie: {}; Path=/; HttpOnly\r\n"
                        "Content-Length: {}\r\n\r\n{}",
                        kJsonContentType, kSessionCookie, body.size(), body));
    }

    LoopbackHttpAnswer answer(const LoopbackHttpRequest& request) const {
        const std::string_view target = request.target;
        const std::size_t question = target.find('?');
        const std::string_view path = target.substr(0, question);
        const std::string_view query = question == std::string_view::npos ? "" : target.substr(question + 1);
        if (path == "/sapi/login" && query.starts_with("action=login") && request.method == "POST") return _login;
        if (request.cookie.find(kSessionCookie) == std::string::npos) return _noSession;
        if (path == "/sapi/login" && query.starts_with("action=logout")) return _logout;
        if (request.method != "GET" || !query.starts_with("action=get")) return _notFound;
        const std::size_t offset = numberParam(query, "offset").value_or(0);
        const std::size_t limit = numberParam(query, "limit").value_or(kPageSize);
        if (path == "/sapi/media/file") return page("files", offset, limit, _count);
        if (path == "/sapi/media/picture") return page("pictures", offset, limit, 0);
        if (path == "/sapi/media/video") return page("videos", offset, limit, 0);
        return _notFound;
    }

    LoopbackHttpAnswer page(std::string_view node, std::size_t offset, std::size_t limit, std::size_t total) const {
        std::string body = _pagePrefix;
        body.reserve(_pagePrefix.size() + 32 + std::min(limit, kPageSize) * 200);
        fmt::format_to(std::back_inserter(body), R"("{}":[)", node);
        const std::size_t end = std::min(total, offset + std::min(limit, total - std::min(offset, total)));
        for (std::size_t id = offset + 1; id <= end; ++id) {
            const std::int64_t date = kFirstDateMs + static_cast<std::int64_t>(id) * 1000;
            fmt::format_to(std::back_inserter(body),
                           R"({}{{"id":"{}","name":"media-{:06}.bin","date":{},"creationdate":{},)"
                           R"("modificationdate":{},"size":{},"url":"/file/{}","mediatype":"file"}})",
                           id == offset + 1 ? "" : ",", id, id, date, date - 5000, date - 1000, 1000 + id % 9000, id);
        }
        body += "]}}";
        return makeLoopbackHttpAnswer("200 OK", kJsonContentType, body);
    }

    std::size_t _count;
    std::string _pagePrefix;
    LoopbackHttpAnswer _login;
    LoopbackHttpAnswer _logout;
    LoopbackHttpAnswer _noSession;
    LoopbackHttpAnswer _notFound;
    LoopbackHttpServer _server;
};

std::vector<std::unique_ptr<FunambolPageServer>> servers;

FunambolPageServer& serverFor(std::size_t count) {
    for (auto& server : servers)
        if (server->count() == count) return *server;
    throw std::logic_error("no server for that count");
}

std::shared_ptr<QMRFunambolDataStore> loggedInStore(const FunambolPageServer& server, QMRErrorSlot& error) {
    return QMRFunambolDataStore::initWithUsername(std::string(kUser), std::string(kPassword), server.baseUrl(), error);
}

// ---- one walk ----

struct WalkFigures {
    std::size_t records = 0;
    std::uint64_t requests = 0;
    std::int64_t bytesOfSizes = 0;
    // Heap high-water mark while walking, and what was still live after it, above the start.
    std::int64_t heapPeak = 0;
    std::int64_t heapRetained = 0;
    std::optional<std::int64_t> residentPeakKb;
    double seconds = 0;
    std::string error;
};

// Walks the whole listing, looking at each record and letting it go before the next.
WalkFigures walkListing(QMRFunambolDataStore& store, const FunambolPageServer& server, bool measureResidentSet) {
    WalkFigures figures;
    std::optional<std::int64_t> residentBefore;
    if (measureResidentSet && resetPeakResidentSet()) residentBefore = statusKilobytes("VmRSS:");
    const std::uint64_t requestsBefore = server.server().requestCount();
    const std::int64_t heapBefore = heapLive.load();
    heapHighWater.store(heapBefore);
    const auto start = std::chrono::steady_clock::now();
    {
        QMRErrorSlot error;
        QMREnumerablePtr<QMRFileMetadataPtr> records = store.readAllFileMetadata(error);
        for (const QMRFileMetadataPtr& record : *records) {
            ++figures.records;
            figures.bytesOfSizes += record->sizeInBytes();
            benchmark::DoNotOptimize(record->name().data());
        }
        records.reset();
        if (error) figures.error = error->localizedDescription();
    }
    figures.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    figures.heapPeak = heapHighWater.load() - heapBefore;
    figures.heapRetained = heapLive.load() - heapBefore;
    figures.requests = server.server().requestCount() - requestsBefore;
    if (residentBefore)
        if (auto peak = statusKilobytes("VmHWM:")) figures.residentPeakKb = *peak - *residentBefore;
    return figures;
}

// ---- memory, measured once per count before the timings ----

struct MemoryFigures {
    std::int64_t heapPeak = 0;
    std::int64_t heapRetained = 0;
    std::optional<std::int64_t> residentPeakKb;
    std::uint64_t requests = 0;
};
std::map<std::size_t, MemoryFigures> memoryByCount;

std::string kib(std::int64_t bytes) {
    return fmt::format("{:+.1f} KiB", static_cast<double>(bytes) / 1024.0);
}

std::string plainBytes(std::int64_t bytes) {
    return fmt::format("{:+} B", bytes);
}

// Checks that every walk reads all the media in the expected number of requests, and keeps the
// highest peaks of a few walks per count (after one walk to warm up the process).
bool measureMemory() {
    bool ok = true;
    QMRErrorSlot warmUpError;
    if (auto store = loggedInStore(serverFor(kCounts[0]), warmUpError))
        walkListing(*store, serverFor(kCounts[0]), false);
    for (std::size_t count : kCounts) {
        FunambolPageServer& server = serverFor(count);
        QMRErrorSlot error;
        auto store = loggedInStore(server, error);
        if (!store) {
            fmt::print("check: login to the server of {} failed: {}\n", count, error->localizedDescription());
            return false;
        }
        MemoryFigures& memory = memoryByCount[count];
        for (int walk = 0; walk < kMemoryWalks; ++walk) {
            const WalkFigures figures = walkListing(*store, server, true);
            const bool walkOk =
                figures.error.empty() && figures.records == count && figures.requests == server.requestsPerWalk();
            fmt::print(
                "check: walk of {:>6} -> {:>6} records, {:>4} requests, {:7.1f} ms, heap peak {}, retained {}, "
                "peak RSS +{}{}\n",
                count, figures.records, figures.requests, figures.seconds * 1e3, kib(figures.heapPeak),
                plainBytes(figures.heapRetained),
                figures.residentPeakKb ? fmt::format("{} KiB", *figures.residentPeakKb) : std::string("n/a"),
                walkOk ? "" : " UNEXPECTED " + figures.error);
            ok &= walkOk;
            memory.heapPeak = std::max(memory.heapPeak, figures.heapPeak);
            memory.heapRetained = std::max(memory.heapRetained, figures.heapRetained);
            memory.requests = figures.requests;
            if (figures.residentPeakKb)
                memory.residentPeakKb = std::max(memory.residentPeakKb.value_or(0), *figures.residentPeakKb);
        }
    }
    return ok;
}

// ---- timed ----

void oursListing(benchmark::State& state, std::size_t count) {
    FunambolPageServer& server = serverFor(count);
    QMRErrorSlot error;
    auto store = loggedInStore(server, error);
    if (!store) {
        state.SkipWithError("login failed");
        return;
    }
    std::int64_t heapPeak = 0;
    for (auto _ : state) {
        const WalkFigures figures = walkListing(*store, server, false);
        if (!figures.error.empty() || figures.records != count) {
            state.SkipWithError("the walk failed or came short");
            break;
        }
        heapPeak = std::max(heapPeak, figures.heapPeak);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * count));
    state.counters["requests"] =
        benchmark::Counter(static_cast<double>(server.requestsPerWalk()), benchmark::Counter::kDefaults);
    state.counters["heap_peak_KiB"] = benchmark::Counter(static_cast<double>(heapPeak) / 1024.0);
}

// The same pages fetched by the least a client can do on one kept-alive connection.
void rawPages(benchmark::State& state, std::size_t count) {
    FunambolPageServer& server = serverFor(count);
    RawHttpClient client(server.server().port());
    std::vector<std::string> requests;
    const auto get = [&](std::string_view collection, std::size_t offset) {
        requests.push_back(fmt::format(
            "GET /sapi/media/{}?action=get&offset={}&limit={} HTTP/1.1\r\nHost: 127.0.0.1:{}\r\nCookie: {}\r\n\r\n",
            collection, offset, kPageSize, server.server().port(), kSessionCookie));
    };
    for (std::size_t offset = 0; offset <= count; offset += kPageSize) get("file", offset);
    get("picture", 0);
    get("video", 0);
    for (auto _ : state)
        for (const std::string& request : requests) benchmark::DoNotOptimize(client.exchange(request));
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * count));
}

// ---- registration and summary ----

benchmark::internal::Benchmark* timed(benchmark::internal::Benchmark* benchmark) {
    return bench_report::timed(benchmark, kRepetitions, kMinSecondsPerRepetition);
}

void registerBenchmarks() {
    for (std::size_t count : kCounts)
        timed(benchmark::RegisterBenchmark(listingName(count).c_str(), oursListing, count));
    timed(benchmark::RegisterBenchmark(floorName(kFloorCount).c_str(), rawPages, kFloorCount));
}

using bench_report::milliseconds;
using bench_report::rate;
using bench_report::SummaryReporter;

void printSummary(const SummaryReporter& results) {
    fmt::print("\n==== Funambol listing summary (median of {} repetitions, wall time; KiB = 1024 bytes) ====\n",
               kRepetitions);
    fmt::print("pages of {} media; heap = live bytes of operator new and curl, above the start of the walk\n\n",
               kPageSize);
    fmt::print("{:<10} {:>9} {:>12} {:>14} {:>14} {:>14} {:>13}\n", "media", "requests", "wall", "rate", "heap peak",
               "heap retained", "peak RSS");
    for (std::size_t count : kCounts) {
        const auto seconds = results.seconds(listingName(count));
        const MemoryFigures& memory = memoryByCount[count];
        fmt::print("{:<10} {:>9} {:>12} {:>14} {:>14} {:>14} {:>13}\n", count, memory.requests, milliseconds(seconds),
                   rate(seconds, count, "rec/s"), kib(memory.heapPeak), plainBytes(memory.heapRetained),
                   memory.residentPeakKb ? fmt::format("+{} KiB", *memory.residentPeakKb) : std::string("n/a"));
    }

    const MemoryFigures& smallest = memoryByCount[kCounts[0]];
    const MemoryFigures& largest = memoryByCount[std::end(kCounts)[-1]];
    const double peakRatio =
        static_cast<double>(largest.heapPeak) / static_cast<double>(std::max<std::int64_t>(smallest.heapPeak, 1));
    const double bytesPerExtraRecord = static_cast<double>(largest.heapPeak - smallest.heapPeak) /
                                       static_cast<double>(std::end(kCounts)[-1] - kCounts[0]);
    fmt::print("\nheap peak {} / {} media: {:.2f} ({:+.2f} bytes per extra record) -> {}\n", std::end(kCounts)[-1],
               kCounts[0], peakRatio, bytesPerExtraRecord, peakRatio <= kFlatRatio ? "flat" : "grows");

    const auto ours = results.seconds(listingName(kFloorCount));
    const auto floor = results.seconds(floorName(kFloorCount));
    fmt::print("\ncontext\n");
    fmt::print("   {:<52} {:>12}\n",
               fmt::format("server floor: raw client, the {} pages of {}", kFloorCount / kPageSize + 3, kFloorCount),
               milliseconds(floor));
    if (ours && floor)
        fmt::print("   {:<52} {:>12.1f}%\n", "share of our listing time spent by the server floor",
                   *floor / *ours * 100);
}

}  // namespace

int main(int argc, char** argv) {
    // Before any session exists, so that every allocation of curl goes through the counters.
    if (curl_global_init_mem(CURL_GLOBAL_DEFAULT, curlMalloc, curlFree, curlRealloc, curlStrdup, curlCalloc) !=
        CURLE_OK) {
        fmt::print(stderr, "bench: curl cannot be initialised\n");
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;

    for (std::size_t count : kCounts) servers.push_back(std::make_unique<FunambolPageServer>(count));
    fmt::print("\nFunambol listing: loopback servers of {} media, {} a page\n", fmt::join(kCounts, " / "), kPageSize);
    if (!measureMemory()) {
        fmt::print(stderr, "bench: the data store could not walk the generated pages; nothing measured\n");
        return 1;
    }
    std::fflush(stdout);

    registerBenchmarks();
    SummaryReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    printSummary(reporter);
    benchmark::Shutdown();
    servers.clear();
    curl_global_cleanup();
    return 0;
}

#pragma once
// The ownCloud back-end's streamed transfers of 1 GiB through loopback, part of the ownCloud
// benchmark program: the upload (the multipart body fed from the caller's pieces through the bound
// stream pair) and the download (pieces handed over as they arrive), each against the curl
// command-line tool moving the same bytes with the same framing to and from the same server, and
// the peak memory growth of our process during each of ours.
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "LoopbackHttpServer.h"
#include "PeerProcess.h"

class OwnCloudTransferBench {
public:
    // Whether a Google Benchmark filter (a regular expression, "-" in front to exclude) selects any
    // of these benchmarks; they are set up only then, as setting up moves a few GiB.
    static bool selectedBy(const std::string& filter);

    // Starts the server and writes the body curl uploads (prefix, content, suffix) to a file in
    // memory-backed storage where there is one.
    OwnCloudTransferBench();
    // Stops the server and removes the file.
    ~OwnCloudTransferBench();
    OwnCloudTransferBench(const OwnCloudTransferBench&) = delete;
    OwnCloudTransferBench& operator=(const OwnCloudTransferBench&) = delete;

    // Once and untimed: ours moves every byte each way (and curl too, where it is installed), with
    // the peak memory growth of ours measured meanwhile. Prints a line per check; false when ours
    // fails, and nothing should then be timed.
    bool check();
    // One benchmark per direction; each of its runs moves the bytes with ours and with curl.
    void registerBenchmarks();
    void printSummary() const;

private:
    // Seconds of each run, ours and curl's in pairs.
    struct Runs {
        std::vector<double> ours;
        std::vector<double> curl;
    };
    struct Outcome {
        std::uint64_t bytes = 0;
        std::string failure;
    };
    Outcome oursUpload() const;
    Outcome oursDownload() const;
    Outcome curlUpload() const;
    Outcome curlDownload() const;
    static Outcome curlOutcome(const PeerProcessOutcome& run);
    LoopbackHttpAnswer answer(const LoopbackHttpRequest& request) const;

    std::shared_ptr<const std::string> _pattern;
    std::string _boundary;
    std::filesystem::path _curlBodyFile;
    std::uint64_t _curlBodyBytes = 0;
    bool _curlReady = false;
    std::optional<std::int64_t> _uploadGrowthKib;
    std::optional<std::int64_t> _downloadGrowthKib;
    Runs _upload;
    Runs _download;
    std::unique_ptr<LoopbackHttpServer> _server;
};

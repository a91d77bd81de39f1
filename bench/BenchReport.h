#pragma once
// What every benchmark program reports the same way: the console table trimmed to medians and
// spreads, the per-repetition seconds kept for a closing summary, and the figures' formatting.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace bench_report {

// Shows the median and the coefficient of variation of each benchmark, and keeps the seconds per
// iteration of every repetition for the summary.
class SummaryReporter : public benchmark::ConsoleReporter {
public:
    // Colours only on a terminal: a log or a pipe gets plain text.
    SummaryReporter();

    void ReportRuns(const std::vector<Run>& runs) override;

    // Median seconds per iteration, or nothing when the benchmark did not run.
    std::optional<double> seconds(const std::string& benchmark) const;

private:
    std::map<std::string, std::vector<double>> _seconds;
};

// The middle value (the mean of the two middle ones for an even count); values must not be empty.
double median(std::vector<double> values);

// The wall time work() takes, in seconds.
template <class Work>
double secondsOf(Work work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Wall time in milliseconds, repeated so that the summary can take a median.
benchmark::internal::Benchmark* timed(benchmark::internal::Benchmark* benchmark, int repetitions,
                                      double minSecondsPerRepetition);

// Whether a Google Benchmark filter (a regular expression, "-" in front to exclude, empty or "all"
// for every benchmark) selects any of the named benchmarks.
bool filterSelectsAny(const std::string& filter, const std::vector<std::string_view>& names);

// "12.3 ms", or "n/a" for a benchmark that did not run.
std::string milliseconds(std::optional<double> seconds);

// "1234 <unit>" for items per second, or "n/a".
std::string rate(std::optional<double> seconds, std::size_t items, std::string_view unit);

}  // namespace bench_report

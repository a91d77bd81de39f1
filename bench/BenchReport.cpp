#include "BenchReport.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <regex>

namespace bench_report {

SummaryReporter::SummaryReporter() : ConsoleReporter(::isatty(STDOUT_FILENO) != 0 ? OO_ColorTabular : OO_Tabular) {}

void SummaryReporter::ReportRuns(const std::vector<Run>& runs) {
    std::vector<Run> shown;
    for (const Run& run : runs) {
        if (run.run_type == Run::RT_Iteration) {
            if (!run.error_occurred && run.iterations > 0)
                _seconds[run.run_name.function_name].push_back(run.real_accumulated_time /
                                                               static_cast<double>(run.iterations));
            if (run.error_occurred || run.repetitions <= 1) shown.push_back(run);
        } else if (run.aggregate_name == "median" || run.aggregate_name == "cv") {
            shown.push_back(run);
        }
    }
    if (!shown.empty()) ConsoleReporter::ReportRuns(shown);
}

std::optional<double> SummaryReporter::seconds(const std::string& benchmark) const {
    auto found = _seconds.find(benchmark);
    if (found == _seconds.end() || found->second.empty()) return std::nullopt;
    return median(found->second);
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

benchmark::internal::Benchmark* timed(benchmark::internal::Benchmark* benchmark, int repetitions,
                                      double minSecondsPerRepetition) {
    return benchmark->UseRealTime()
        ->Unit(benchmark::kMillisecond)
        ->Repetitions(repetitions)
        ->MinTime(minSecondsPerRepetition);
}

bool filterSelectsAny(const std::string& filter, const std::vector<std::string_view>& names) {
    const bool exclude = filter.starts_with('-');
    const std::string pattern = exclude ? filter.substr(1) : filter;
    if (pattern.empty() || pattern == "all") return !exclude;
    const std::regex expression(pattern);
    return std::any_of(names.begin(), names.end(), [&](std::string_view name) {
        return std::regex_search(name.begin(), name.end(), expression) != exclude;
    });
}

std::string milliseconds(std::optional<double> seconds) {
    return seconds ? fmt::format("{:.1f} ms", *seconds * 1e3) : "n/a";
}

std::string rate(std::optional<double> seconds, std::size_t items, std::string_view unit) {
    return seconds ? fmt::format("{:.0f} {}", static_cast<double>(items) / *seconds, unit) : "n/a";
}

}  // namespace bench_report

#include "QMRProgressBar.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>

#include "QMRHumanText.h"

namespace {

constexpr std::size_t barWidth = 20;
// Redrawing on every piece would cost more than the transfer on a fast loopback.
constexpr auto redrawInterval = std::chrono::milliseconds(100);
// A rate measured over less than this says nothing.
constexpr double shortestMeasurableSeconds = 0.05;

}  // namespace

QMRProgressBar::QMRProgressBar(std::ostream& out, bool enabled, std::string label)
    : _out(out), _enabled(enabled), _label(std::move(label)), _started(Clock::now()) {}

QMRProgressBar::~QMRProgressBar() {
    finish();
}

bool QMRProgressBar::stderrIsTerminal() {
    return isatty(STDERR_FILENO) == 1;
}

void QMRProgressBar::phase(std::string_view text) {
    draw(fmt::format("{}  {}", _label, text), true);
}

void QMRProgressBar::start(std::optional<std::int64_t> totalBytes) {
    _total = totalBytes;
    _done = 0;
    _started = Clock::now();
    draw(render(_label, 0, _total, 0), true);
}

void QMRProgressBar::advance(std::uint64_t bytes) {
    _done += bytes;
    const double elapsed = std::chrono::duration<double>(Clock::now() - _started).count();
    const bool complete = _total && static_cast<std::int64_t>(_done) >= *_total;
    if (_enabled) draw(render(_label, _done, _total, elapsed), complete);
}

void QMRProgressBar::finish() {
    if (!_enabled || !_drawn) return;
    _out << '\n' << std::flush;
    _drawn = false;
}

std::string QMRProgressBar::render(std::string_view label, std::uint64_t done, std::optional<std::int64_t> total,
                                   double elapsedSeconds) {
    const double rate = elapsedSeconds >= shortestMeasurableSeconds ? static_cast<double>(done) / elapsedSeconds : 0;
    std::string line(label);
    if (total && *total > 0) {
        const double fraction = std::min(1.0, static_cast<double>(done) / static_cast<double>(*total));
        const auto filled = static_cast<std::size_t>(std::floor(fraction * barWidth));
        line += fmt::format("  {:3}% [{}{}]  {} of {}", static_cast<int>(std::floor(fraction * 100)),
                            std::string(filled, '#'), std::string(barWidth - filled, '.'),
                            QMRHumanText::size(static_cast<std::int64_t>(done)), QMRHumanText::size(*total));
    } else {
        line += "  " + QMRHumanText::size(static_cast<std::int64_t>(done));
    }
    if (rate > 0) {
        line += "  " + QMRHumanText::rate(rate);
        if (total && static_cast<std::int64_t>(done) < *total) {
            const double secondsLeft = static_cast<double>(*total - static_cast<std::int64_t>(done)) / rate;
            line += "  " + QMRHumanText::duration(static_cast<std::int64_t>(std::ceil(secondsLeft))) + " left";
        }
    }
    return line;
}

void QMRProgressBar::draw(const std::string& line, bool force) {
    if (!_enabled) return;
    const Clock::time_point now = Clock::now();
    if (!force && _drawn && now - _lastDraw < redrawInterval) return;
    // Back to the line's start, then clear what a longer earlier line left.
    _out << '\r' << line << "\x1b[K" << std::flush;
    _drawn = true;
    _lastDraw = now;
}

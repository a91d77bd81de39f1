#pragma once
// Progress of a transfer on stderr, redrawn in place on one line, and only when stderr is a
// terminal: scripts and pipes see nothing. A streamed transfer reports its bytes as they pass
// (with rate and time left); a buffered one can only name its phases.
#include <chrono>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

class QMRProgressBar {
public:
    // Drawn only when enabled; a disabled bar costs nothing.
    QMRProgressBar(std::ostream& out, bool enabled, std::string label);
    QMRProgressBar(const QMRProgressBar&) = delete;
    QMRProgressBar& operator=(const QMRProgressBar&) = delete;
    ~QMRProgressBar();

    // Whether standard error is a terminal, where a bar belongs.
    static bool stderrIsTerminal();

    // A phase of a buffered transfer ("sending 2.4 MiB").
    void phase(std::string_view text);
    // Starts counting the bytes of a streamed transfer, of which the total may be unknown.
    void start(std::optional<std::int64_t> totalBytes);
    void advance(std::uint64_t bytes);
    // Ends the line, leaving the last state on screen.
    void finish();

    // "notes.txt  45% [#########...........]  1.2 MiB of 2.7 MiB  512 KiB/s  0:03 left"; without a
    // total, the bytes so far and the rate.
    static std::string render(std::string_view label, std::uint64_t done, std::optional<std::int64_t> total,
                              double elapsedSeconds);

private:
    using Clock = std::chrono::steady_clock;
    void draw(const std::string& line, bool force);

    std::ostream& _out;
    bool _enabled;
    std::string _label;
    bool _drawn = false;
    Clock::time_point _started;
    Clock::time_point _lastDraw;
    std::uint64_t _done = 0;
    std::optional<std::int64_t> _total;
};

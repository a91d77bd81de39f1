#pragma once
// qmrstore's command line: the subcommands and options (CLI11), the connection they describe, and
// the outcome as an exit status with the message on stderr.
#include <ostream>

class QMRStoreCommandLine {
public:
    QMRStoreCommandLine() = delete;

    // Runs one command; returns the exit status (see QMRStoreFailure).
    static int run(int argc, const char* const* argv, std::ostream& out, std::ostream& err);
};

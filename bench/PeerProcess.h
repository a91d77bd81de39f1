#pragma once
// Runs the peer command-line tools (rclone, curl) the benchmarks compare with: no shell, output
// discarded or captured, and the exit status reported.
#include <string>
#include <vector>

struct PeerProcessOutcome {
    // The exit code, or -1 when the process could not start or ended by a signal.
    int exitCode = -1;
    // Standard output, when it was asked for.
    std::string output;
    // Standard error, always captured (the tools are quiet unless something fails).
    std::string errors;
};

// Runs argv[0] (looked up in PATH) with environment additions of the form NAME=VALUE and waits for
// it. Standard input is empty; standard output is captured only when captureOutput is set.
PeerProcessOutcome runPeerProcess(const std::vector<std::string>& argv, bool captureOutput,
                                  const std::vector<std::string>& environmentAdditions = {});

// True when the program can be found in PATH.
bool peerProgramAvailable(const std::string& program);

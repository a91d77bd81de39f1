#include "PeerProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <string_view>

extern char** environ;

namespace {

struct Pipe {
    int readEnd = -1;
    int writeEnd = -1;
    bool open() {
        std::array<int, 2> ends{};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) return false;
        readEnd = ends[0];
        writeEnd = ends[1];
        return true;
    }
    void closeRead() {
        if (readEnd >= 0) ::close(readEnd);
        readEnd = -1;
    }
    void closeWrite() {
        if (writeEnd >= 0) ::close(writeEnd);
        writeEnd = -1;
    }
};

// The parent's environment with the additions replacing variables of the same name.
std::vector<std::string> environmentWith(const std::vector<std::string>& additions) {
    std::map<std::string, std::string> variables;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        std::string_view text(*entry);
        variables[std::string(text.substr(0, text.find('=')))] = text;
    }
    for (const std::string& addition : additions) variables[addition.substr(0, addition.find('='))] = addition;
    std::vector<std::string> result;
    for (auto& [name, entry] : variables) result.push_back(std::move(entry));
    return result;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

}  // namespace

PeerProcessOutcome runPeerProcess(const std::vector<std::string>& argv, bool captureOutput,
                                  const std::vector<std::string>& environmentAdditions) {
    PeerProcessOutcome outcome;
    Pipe output;
    Pipe errors;
    if ((captureOutput && !output.open()) || !errors.open()) {
        outcome.errors = "no pipe for the child process";
        return outcome;
    }

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    if (captureOutput)
        posix_spawn_file_actions_adddup2(&actions, output.writeEnd, STDOUT_FILENO);
    else
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, errors.writeEnd, STDERR_FILENO);

    std::vector<std::string> arguments = argv;
    std::vector<std::string> environment = environmentWith(environmentAdditions);
    std::vector<char*> argumentPointers = pointersTo(arguments);
    std::vector<char*> environmentPointers = pointersTo(environment);
    pid_t child = -1;
    const int spawnResult = posix_spawnp(&child, argumentPointers[0], &actions, nullptr, argumentPointers.data(),
                                         environmentPointers.data());
    posix_spawn_file_actions_destroy(&actions);
    output.closeWrite();
    errors.closeWrite();
    if (spawnResult != 0) {
        output.closeRead();
        errors.closeRead();
        outcome.errors = std::string("cannot start ") + argv[0] + ": " + std::strerror(spawnResult);
        return outcome;
    }

    // Both pipes are drained together so that neither can fill up and stall the child; the loop
    // ends when the child has closed both.
    std::array<char, 64 * 1024> chunk{};
    while (output.readEnd >= 0 || errors.readEnd >= 0) {
        std::array<pollfd, 2> watched{{{output.readEnd, POLLIN, 0}, {errors.readEnd, POLLIN, 0}}};
        if (::poll(watched.data(), watched.size(), -1) < 0) {
            if (errno == EINTR) continue;
            break;
        }
        for (std::size_t which = 0; which < watched.size(); ++which) {
            if (watched[which].fd < 0 || watched[which].revents == 0) continue;
            Pipe& pipe = which == 0 ? output : errors;
            std::string& sink = which == 0 ? outcome.output : outcome.errors;
            const ssize_t received = ::read(pipe.readEnd, chunk.data(), chunk.size());
            if (received > 0)
                sink.append(chunk.data(), static_cast<std::size_t>(received));
            else if (received == 0 || errno != EINTR)
                pipe.closeRead();
        }
    }
    output.closeRead();
    errors.closeRead();

    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) return outcome;
    }
    if (WIFEXITED(status)) outcome.exitCode = WEXITSTATUS(status);
    return outcome;
}

bool peerProgramAvailable(const std::string& program) {
    const char* path = std::getenv("PATH");
    if (path == nullptr) return false;
    std::string_view directories(path);
    // One round per PATH entry.
    while (!directories.empty()) {
        const std::size_t colon = directories.find(':');
        const std::string_view directory = directories.substr(0, colon);
        const std::filesystem::path candidate = std::filesystem::path(directory) / program;
        if (!directory.empty() && ::access(candidate.c_str(), X_OK) == 0) return true;
        if (colon == std::string_view::npos) break;
        directories.remove_prefix(colon + 1);
    }
    return false;
}

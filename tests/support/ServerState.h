#pragma once
// What an integration test knows of its test server: the key=value lines that the server's start
// script recorded, in the file named by an environment variable that the CTest fixture sets.
#include <map>
#include <string>

class ServerState {
public:
    // Reads the file; fails the test (fatally, in the caller's ASSERT_NO_FATAL_FAILURE) when the
    // variable is unset or the file names no url.
    void load(const std::string& variable);

    // The recorded value, or empty when there is none.
    const std::string& operator[](const std::string& key) const;
    // The server's log, one line per request ("GET /path?query -> 200").
    std::string log() const;

    // POSTs to one of a fake server's test-only controls (url + target) and returns the answer's
    // body; a failure or another status than 200 fails the test.
    std::string control(const std::string& target, const std::string& body = "") const;
    // Runs one of the server's scripts on its state file; a nonzero exit fails the test.
    void runScript(const std::string& name, const std::string& arguments = "") const;

private:
    std::string _file;
    std::map<std::string, std::string> _values;
};

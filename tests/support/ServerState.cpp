#include "tests/support/ServerState.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <optional>

#include "companion/web/QMRUrlConnection.h"

void ServerState::load(const std::string& variable) {
    const char* file = std::getenv(variable.c_str());
    ASSERT_NE(file, nullptr) << "run through ctest: the server's fixture sets " << variable;
    _file = file;
    std::ifstream lines(_file);
    for (std::string line; std::getline(lines, line);)
        if (auto equals = line.find('='); equals != std::string::npos)
            _values[line.substr(0, equals)] = line.substr(equals + 1);
    ASSERT_FALSE((*this)["url"].empty()) << "no url in " << _file;
}

const std::string& ServerState::operator[](const std::string& key) const {
    static const std::string none;
    auto found = _values.find(key);
    return found == _values.end() ? none : found->second;
}

std::string ServerState::log() const {
    std::ifstream log((*this)["root"] + "/server.log");
    return std::string(std::istreambuf_iterator<char>(log), {});
}

std::string ServerState::control(const std::string& target, const std::string& body) const {
    QMRUrlRequest request((*this)["url"] + target);
    request.setHTTPMethod("POST");
    request.setHTTPBody(QMRData(body.begin(), body.end()));
    QMRHttpUrlResponse response;
    QMRErrorSlot failure;
    const std::optional<QMRData> answer = QMRUrlConnection::sendSynchronousRequest(request, response, failure);
    EXPECT_FALSE(failure) << failure->description();
    EXPECT_EQ(response.statusCode(), 200) << target;
    return answer ? std::string(answer->begin(), answer->end()) : "";
}

void ServerState::runScript(const std::string& name, const std::string& arguments) const {
    const std::string command = "'" + (*this)["scripts"] + "/" + name + "' '" + _file + "' " + arguments;
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
}

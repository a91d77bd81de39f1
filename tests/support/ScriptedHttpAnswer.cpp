#include "tests/support/ScriptedHttpAnswer.h"

#include <utility>

ScriptedHttpAnswer ScriptedHttpAnswer::withStatus(unsigned status, std::string_view body) {
    ScriptedHttpAnswer answer;
    answer.status = status;
    answer.body.assign(body.begin(), body.end());
    return answer;
}

ScriptedHttpAnswer ScriptedHttpAnswer::stall() {
    ScriptedHttpAnswer answer;
    answer.action = Action::stall;
    return answer;
}

ScriptedHttpAnswer ScriptedHttpAnswer::closeConnection() {
    ScriptedHttpAnswer answer;
    answer.action = Action::closeConnection;
    return answer;
}

ScriptedHttpAnswer ScriptedHttpAnswer::raw(std::string_view bytes) {
    ScriptedHttpAnswer answer;
    answer.action = Action::sendRaw;
    answer.body.assign(bytes.begin(), bytes.end());
    return answer;
}

ScriptedHttpAnswer ScriptedHttpAnswer::rawThenStall(std::string_view bytes) {
    ScriptedHttpAnswer answer = raw(bytes);
    answer.holdOpen = true;
    return answer;
}

ScriptedHttpAnswer ScriptedHttpAnswer::withHeader(std::string name, std::string value) && {
    headers.append(std::move(name), std::move(value));
    return std::move(*this);
}

ScriptedHttpAnswer ScriptedHttpAnswer::withBody(QMRData bytes) && {
    body = std::move(bytes);
    return std::move(*this);
}

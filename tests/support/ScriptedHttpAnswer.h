#pragma once
// What the scripted test server does with one request: answer it, stall until the server stops, or
// drop the connection without a word.
#include <string>
#include <string_view>

#include "companion/util/QMRTypes.h"
#include "companion/web/QMRHttpHeaderFields.h"

struct ScriptedHttpAnswer {
    enum class Action { respond, stall, closeConnection };

    Action action = Action::respond;
    unsigned status = 200;
    QMRHttpHeaderFields headers;
    QMRData body;

    // ScriptedHttpAnswer::withStatus(207, xml).withHeader("Content-Type", "application/xml")
    static ScriptedHttpAnswer withStatus(unsigned status, std::string_view body = {});
    // Never answers; the connection stays open until the server stops.
    static ScriptedHttpAnswer stall();
    // Closes the connection once the request has arrived, without any answer.
    static ScriptedHttpAnswer closeConnection();

    ScriptedHttpAnswer withHeader(std::string name, std::string value) &&;
    ScriptedHttpAnswer withBody(QMRData bytes) &&;
};

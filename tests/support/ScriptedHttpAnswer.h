#pragma once
// What the scripted test server does with one request: answer it, stall until the server stops,
// drop the connection without a word, or write bytes of the test's own making (a broken answer).
#include <string>
#include <string_view>

#include "companion/util/QMRTypes.h"
#include "companion/web/QMRHttpHeaderFields.h"

struct ScriptedHttpAnswer {
    enum class Action { respond, stall, closeConnection, sendRaw };

    Action action = Action::respond;
    unsigned status = 200;
    QMRHttpHeaderFields headers;
    QMRData body;  // the raw bytes, for sendRaw
    // sendRaw: keep the connection open after the bytes until the server stops, instead of closing it.
    bool holdOpen = false;

    // ScriptedHttpAnswer::withStatus(207, xml).withHeader("Content-Type", "application/xml")
    static ScriptedHttpAnswer withStatus(unsigned status, std::string_view body = {});
    // Never answers; the connection stays open until the server stops.
    static ScriptedHttpAnswer stall();
    // Closes the connection once the request has arrived, without any answer.
    static ScriptedHttpAnswer closeConnection();
    // Writes the bytes as they stand (status line, header fields, body: whatever the test wrote),
    // then closes the connection. Plain HTTP only.
    static ScriptedHttpAnswer raw(std::string_view bytes);
    // The same, but the connection then stays open and silent until the server stops.
    static ScriptedHttpAnswer rawThenStall(std::string_view bytes);

    ScriptedHttpAnswer withHeader(std::string name, std::string value) &&;
    ScriptedHttpAnswer withBody(QMRData bytes) &&;
};

// Which release's classes the ownCloud entry point picks from the server's status page.
#include <gtest/gtest.h>

#include <string>

#include "DataStore/owncloud/QMROcDataStoreAdministrationv4_5_7.h"
#include "DataStore/owncloud/QMROcDataStoreAdministrationv5_0_6.h"
#include "DataStore/owncloud/QMROwnCloudDataStore.h"
#include "tests/support/ScriptedHttpServer.h"

namespace {

ScriptedHttpAnswer statusPage(std::string_view body) {
    return ScriptedHttpAnswer::withStatus(200, body).withHeader("Content-Type", "application/json");
}

TEST(OwnCloudDataStoreFactory, OnlyVersionsStartingWith4Point5PointPickThe457Classes) {
    struct Case {
        std::string statusBody;
        bool picks457;
    };
    const Case cases[] = {
        {R"({"versionstring":"4.5.2"})", true},   {R"({"versionstring":"4.5.7"})", true},
        {R"({"versionstring":"4.50.1"})", false}, {R"({"versionstring":"5.0.6"})", false},
        {R"({"versionstring":"6.0"})", false},    {R"({"installed":"true"})", false},
    };
    for (const Case& c : cases) {
        ScriptedHttpServer server;
        server.enqueue(statusPage(c.statusBody));
        QMRErrorSlot error;
        const auto administration = QMROwnCloudDataStore::getDataStoreAdministration(server.url(""), error);
        ASSERT_FALSE(error) << c.statusBody;
        ASSERT_TRUE(administration);
        // The 5.0.6 class derives from the 4.5.7 one, so only the exact class tells them apart.
        const bool is506 = dynamic_cast<QMROcDataStoreAdministrationv5_0_6*>(administration.get()) != nullptr;
        EXPECT_EQ(!is506, c.picks457) << c.statusBody;
        EXPECT_EQ(server.request(0).target, "/status.php");
    }
}

}  // namespace

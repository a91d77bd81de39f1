#include "companion/web/QMRUrlEncodedBodyBuilder.h"

#include <gtest/gtest.h>

#include "tests/companion/web/FormParsingServer.h"

namespace {

TEST(QMRUrlEncodedBodyBuilder, JoinsEscapedFieldsInCallOrder) {
    QMRUrlEncodedBodyBuilder builder;
    EXPECT_EQ(builder.toString(), "");
    builder.setParamValue("alice", "user");
    builder.setParamValue("p&ss=1", "password");
    EXPECT_EQ(builder.toString(), "user=alice&password=p%26ss%3D1");
}

TEST(QMRUrlEncodedBodyBuilder, ContinuesAnEncodedText) {
    QMRUrlEncodedBodyBuilder builder("app=files");
    builder.setParamValue("a b", "dir");
    EXPECT_EQ(builder.toString(), "app=files&dir=a%20b");
}

TEST(QMRUrlEncodedBodyBuilder, FormParserDecodesTheExactValues) {
    const std::vector<std::pair<std::string, std::string>> fields = {
        {"requesttoken", "0a1B+/=="},
        {"dir", "/Docs & Notes/50% off=yes"},
        {"name", "r\xC3\xA9sum\xC3\xA9 \xE2\x82\xAC.txt"},
        {"empty", ""},
        {"a+b c", "%2B literally"},
        {"dir", "second value of the same name"},
    };
    QMRUrlEncodedBodyBuilder builder;
    for (const auto& [name, value] : fields) builder.setParamValue(value, name);

    FormParsingServer server;
    FormParsingServerRequest request =
        server.post(server.baseUrl() + "/form", "application/x-www-form-urlencoded", builder.toString());
    ASSERT_TRUE(request.bodyFullyParsed);
    ASSERT_EQ(request.fields.size(), fields.size());
    for (std::size_t i = 0; i < fields.size(); ++i) {
        EXPECT_EQ(request.fields[i].name, fields[i].first);
        EXPECT_EQ(request.fields[i].value, fields[i].second);
    }
}

}  // namespace

#include "companion/web/QMRUrlEncodedBodyBuilder.h"

#include <gtest/gtest.h>

#include "tests/companion/web/FormParsingServer.h"

namespace {

TEST(QMRUrlEncodedBodyBuilder, JoinsEscapedFieldsInCallOrderAndContinuesAnEncodedText) {
    QMRUrlEncodedBodyBuilder builder;
    EXPECT_EQ(builder.toString(), "");
    builder.setParamValue("alice", "user");
    builder.setParamValue("p&ss=1", "password");
    EXPECT_EQ(builder.toString(), "user=alice&password=p%26ss%3D1");
    QMRUrlEncodedBodyBuilder continued("app=files");
    continued.setParamValue("a b", "dir");
    EXPECT_EQ(continued.toString(), "app=files&dir=a%20b");
}

TEST(QMRUrlEncodedBodyBuilder, FormParserDecodesTheExactValues) {
    const std::vector<FormParsingServerField> fields = {
        {"requesttoken", "", "", "0a1B+/=="},
        {"dir", "", "", "/Docs & Notes/50% off=yes"},
        {"name", "", "", "r\xC3\xA9sum\xC3\xA9 \xE2\x82\xAC.txt"},
        {"empty", "", "", ""},
        {"a+b c", "", "", "%2B literally"},
        {"dir", "", "", "second value of the same name"},
    };
    QMRUrlEncodedBodyBuilder builder;
    for (const FormParsingServerField& field : fields) builder.setParamValue(field.value, field.name);

    FormParsingServer server;
    FormParsingServerRequest request =
        server.post(server.baseUrl() + "/form", "application/x-www-form-urlencoded", builder.toString());
    ASSERT_TRUE(request.bodyFullyParsed);
    EXPECT_EQ(request.fields, fields);
}

}  // namespace

// The wire writer: sorted keys at every depth, escaping, numbers, UTF-8, pretty layout.
#include "ZelmorMarkdownKit/text/JSONWriter.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

using nlohmann::json;

TEST(JSONWriter, SortsKeysAtEveryDepth) {
    json value = json::parse(R"({"b":1,"a":{"z":true,"m":[{"y":null,"x":"s"}]}})");
    EXPECT_EQ(JSONWriter::compact(value), R"({"a":{"m":[{"x":"s","y":null}],"z":true},"b":1})");
}

TEST(JSONWriter, EscapesSlashesQuotesAndControlCharacters) {
    json value = std::string("a/b \"q\" \\ \n\t\r\b\f \x01\x1f");
    EXPECT_EQ(JSONWriter::compact(value), R"("a\/b \"q\" \\ \n\t\r\b\f \u0001\u001f")");
}

TEST(JSONWriter, WritesNonASCIIAsRawUTF8) {
    EXPECT_EQ(JSONWriter::compact(json("Zoë — “x” →")), "\"Zoë — “x” →\"");
}

TEST(JSONWriter, IllFormedUTF8InKeysAndValuesGoesOutAsReplacementCharacters) {
    json value = {{"caf\xE9", "/a/caf\xE9.md"}, {"ok", "\xF0\x9F\x98"}};
    EXPECT_EQ(JSONWriter::compact(value), "{\"caf\uFFFD\":\"\\/a\\/caf\uFFFD.md\",\"ok\":\"\uFFFD\"}");
    EXPECT_EQ(JSONWriter::pretty(json("\xC0\xAF")), "\"\uFFFD\uFFFD\"");
}

TEST(JSONWriter, KeepsIntegersIntegral) {
    EXPECT_EQ(JSONWriter::compact(json::parse("[12345678901234,-7,0,18446744073709551615]")),
              "[12345678901234,-7,0,18446744073709551615]");
    EXPECT_EQ(JSONWriter::compact(json::parse("[1.5,2.0,-0.25,1e300]")), "[1.5,2,-0.25,1e+300]");
}

TEST(JSONWriter, RefusesNumbersJSONCannotCarry) {
    EXPECT_EQ(JSONWriter::compact(json(std::nan(""))), std::nullopt);
    EXPECT_EQ(JSONWriter::pretty(json{{"a", HUGE_VAL}}), std::nullopt);
}

TEST(JSONWriter, PrettyLayoutIndentsTwoSpacesWithSpacedColons) {
    json value = json::parse(
        R"({"total":1,"meetings":[{"path":"/t/a.md","participants":["Ana"]}],"empty":{},"none":[]})");
    EXPECT_EQ(JSONWriter::pretty(value), "{\n"
                                         "  \"empty\" : {},\n"
                                         "  \"meetings\" : [\n"
                                         "    {\n"
                                         "      \"participants\" : [\n"
                                         "        \"Ana\"\n"
                                         "      ],\n"
                                         "      \"path\" : \"\\/t\\/a.md\"\n"
                                         "    }\n"
                                         "  ],\n"
                                         "  \"none\" : [],\n"
                                         "  \"total\" : 1\n"
                                         "}");
}

} // namespace
} // namespace zelmor

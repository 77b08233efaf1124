// The wire writer: sorted keys at every depth, escaping, numbers, UTF-8, pretty layout.
#include "ZelmorMarkdownKit/text/JSONWriter.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

using nlohmann::json;

TEST(JSONWriter, SortsKeysAtEveryDepthEscapesAndKeepsIntegersIntegral) {
    EXPECT_EQ(JSONWriter::compact(json::parse(R"({"b":1,"a":{"z":true,"m":[{"y":null,"x":"s"}]}})")),
              R"({"a":{"m":[{"x":"s","y":null}],"z":true},"b":1})");
    EXPECT_EQ(JSONWriter::compact(json("a/b \"q\" \\ \n\t\r\b\f \x01\x1f")),
              R"("a\/b \"q\" \\ \n\t\r\b\f \u0001\u001f")");
    EXPECT_EQ(JSONWriter::compact(json::parse("[12345678901234,-7,0,18446744073709551615]")),
              "[12345678901234,-7,0,18446744073709551615]");
    EXPECT_EQ(JSONWriter::compact(json::parse("[1.5,2.0,-0.25,1e300]")), "[1.5,2,-0.25,1e+300]");
    EXPECT_EQ(JSONWriter::compact(json(std::nan(""))), std::nullopt) << "a number JSON cannot carry";
    EXPECT_EQ(JSONWriter::pretty(json{{"a", HUGE_VAL}}), std::nullopt);
}

TEST(JSONWriter, WritesUTF8RawAndIllFormedBytesAsReplacementCharacters) {
    EXPECT_EQ(JSONWriter::compact(json("Zoë — “x” →")), "\"Zoë — “x” →\"");
    EXPECT_EQ(JSONWriter::compact(json{{"caf\xE9", "/a/caf\xE9.md"}, {"ok", "\xF0\x9F\x98"}}),
              "{\"caf\uFFFD\":\"\\/a\\/caf\uFFFD.md\",\"ok\":\"\uFFFD\"}");
    EXPECT_EQ(JSONWriter::pretty(json("\xC0\xAF")), "\"\uFFFD\uFFFD\"");
}

TEST(JSONWriter, PrettyLayoutIndentsTwoSpacesWithSpacedColons) {
    EXPECT_EQ(
        JSONWriter::pretty(json::parse(R"({"n":1,"m":[{"path":"/a.md","p":["Ana"]}],"e":{},"none":[]})")),
        "{\n  \"e\" : {},\n  \"m\" : [\n    {\n"
        "      \"p\" : [\n        \"Ana\"\n      ],\n      \"path\" : \"\\/a.md\"\n"
        "    }\n  ],\n  \"n\" : 1,\n  \"none\" : []\n}");
}

} // namespace
} // namespace zelmor

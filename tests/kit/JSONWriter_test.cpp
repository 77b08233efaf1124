// The wire writer: escaping, numbers, UTF-8, pretty layout.
#include "ZelmorMarkdownKit/text/JSONWriter.h"

#include <gtest/gtest.h>

namespace zelmor {
namespace {

using nlohmann::json;

// The protocol cases hold the pretty layout of whole replies byte for byte.
TEST(JSONWriter, EscapesKeepsIntegersIntegralWritesUTF8RawRepairsIllFormedBytesAndSpacesPrettyColons) {
    EXPECT_EQ(JSONWriter::compact(json("a/b \"q\" \\ \n\t\r\b\f \x01\x1f")),
              R"("a\/b \"q\" \\ \n\t\r\b\f \u0001\u001f")");
    EXPECT_EQ(JSONWriter::compact(json::parse("[12345678901234,-7,0,18446744073709551615]")),
              "[12345678901234,-7,0,18446744073709551615]");
    EXPECT_EQ(JSONWriter::compact(json::parse("[1.5,2.0,-0.25,1e300]")), "[1.5,2,-0.25,1e+300]");
    EXPECT_EQ(JSONWriter::compact(json(std::nan(""))), std::nullopt) << "a number JSON cannot carry";
    EXPECT_EQ(JSONWriter::pretty(json{{"a", HUGE_VAL}}), std::nullopt);
    EXPECT_EQ(JSONWriter::compact(json("Zoë — “x” →")), "\"Zoë — “x” →\"");
    EXPECT_EQ(JSONWriter::compact(json{{"caf\xE9", "/a/caf\xE9.md"}, {"ok", "\xF0\x9F\x98"}}),
              "{\"caf\uFFFD\":\"\\/a\\/caf\uFFFD.md\",\"ok\":\"\uFFFD\"}");
    EXPECT_EQ(JSONWriter::pretty(json("\xC0\xAF")), "\"\uFFFD\uFFFD\"");
    EXPECT_EQ(JSONWriter::pretty(json::parse(R"({"e":{}})")), "{\n  \"e\" : {}\n}");
}

} // namespace
} // namespace zelmor

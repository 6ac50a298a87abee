#include "json_writer.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

using namespace vlm::host;
using namespace std::string_view_literals;

TEST(JsonString, StandsInQuotes) {
  EXPECT_EQ(json_string(""), "\"\"");
  EXPECT_EQ(json_string("caf\xC3\xA9 \xF0\x9F\x93\xB7"), "\"caf\xC3\xA9 \xF0\x9F\x93\xB7\"");
}

TEST(JsonString, EscapesWhatMayNotStandInIt) {
  EXPECT_EQ(json_string("\"\\/"), "\"\\\"\\\\/\"");
  EXPECT_EQ(json_string("a\nb\x1f\x7f\0c"sv), "\"a\\u000ab\\u001f\\u007f\\u0000c\"");
}

TEST(JsonString, ReplacesWhatIsNoCharacter) {
  EXPECT_EQ(json_string("a\xFFz\xC3"), "\"a\xEF\xBF\xBDz\xEF\xBF\xBD\"");
}

TEST(JsonBlock, ThatIsEmptyTakesNoLine) {
  EXPECT_EQ(json_object().str(), "{}");
  EXPECT_EQ(json_array().str(), "[]");
  EXPECT_EQ(json_object(0).str(), "{}");
  EXPECT_EQ(json_array(3).str(), "[]");
}

TEST(JsonBlock, StandsOnOneLineWithoutSpaces) {
  EXPECT_EQ(json_object()
                .text("name", "a b")
                .number("least", INT64_MIN)
                .number("most", UINT64_MAX)
                .boolean("on", true)
                .boolean("off", false)
                .member("list", json_array().element("1").element("null").str())
                .str(),
            "{\"name\":\"a b\",\"least\":-9223372036854775808,\"most\":18446744073709551615,"
            "\"on\":true,\"off\":false,\"list\":[1,null]}");
}

TEST(JsonBlock, StandsOneValueALineAtItsDepth) {
  EXPECT_EQ(json_object(0)
                .number("one", 1)
                .member("list", json_array(1).element("2").element("3").str())
                .str(),
            "{\n"
            "  \"one\": 1,\n"
            "  \"list\": [\n"
            "    2,\n"
            "    3\n"
            "  ]\n"
            "}");
}

TEST(JsonBlock, EscapesNames) { EXPECT_EQ(json_object().number("\"", 1).str(), "{\"\\\"\":1}"); }

}  // namespace

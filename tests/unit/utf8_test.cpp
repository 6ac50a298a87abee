#include "utf8.h"

#include <gtest/gtest.h>

namespace {

using namespace vlm::host;

TEST(Utf8, LeavesWellFormedTextAlone) {
  for (const auto* text : {"/sdcard/log_time_dir", "", "é", "\xEF\xBF\xBF", "\xF4\x8F\xBF\xBF",
                           "\xED\x9F\xBF", "日本 <&\"> \xF0\x9F\x93\xB7"}) {
    EXPECT_EQ(printable(text), text);
  }
}

TEST(Utf8, ReplacesWhatCannotBePrinted) {
  const std::string mark = "\xEF\xBF\xBD";
  EXPECT_EQ(printable("a\nb\x7f"
                      "c\x1b"),
            "a" + mark + "b" + mark + "c" + mark);
  EXPECT_EQ(printable("\xff"), mark);
  EXPECT_EQ(printable("\x80"
                      "a"),
            mark + "a");
  EXPECT_EQ(printable("\xc3"), mark);
  EXPECT_EQ(printable("\xc3("), mark + "(");
  EXPECT_EQ(printable("\xe2\x82"), mark + mark);
  EXPECT_EQ(printable("\xc0\x80"), mark + mark);                        // overlong
  EXPECT_EQ(printable("\xe0\x80\x80"), mark + mark + mark);             // overlong
  EXPECT_EQ(printable("\xed\xa0\x80"), mark + mark + mark);             // a surrogate
  EXPECT_EQ(printable("\xf4\x90\x80\x80"), mark + mark + mark + mark);  // beyond the last
  EXPECT_EQ(printable("\xf0\x80\x80\x80"), mark + mark + mark + mark);  // overlong
}

TEST(Utf8, CountsTheBytesOfACharacter) {
  const std::string text = "a\xC3\xA9\xE6\x97\xA5\xF0\x9F\x93\xB7";
  EXPECT_EQ(utf8_character_size(text, 0), 1U);
  EXPECT_EQ(utf8_character_size(text, 1), 2U);
  EXPECT_EQ(utf8_character_size(text, 2), 0U);  // in the middle of one
  EXPECT_EQ(utf8_character_size(text, 3), 3U);
  EXPECT_EQ(utf8_character_size(text, 6), 4U);
  EXPECT_EQ(utf8_character_size(text, 10), 0U);  // behind the end
}

}  // namespace

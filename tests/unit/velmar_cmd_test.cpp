// The command codes and their printable names, each checked against its row.

#include "velmar_cmd.h"

#include <gtest/gtest.h>

#include <climits>

#include "command_contract.h"

namespace {

TEST(CommandCodes, HaveTheirValues) {
  for (const CommandContract& row : command_contract()) {
    EXPECT_EQ(static_cast<int>(row.enumerator), row.code) << row.name;
  }
}

TEST(CommandNames, AreKnownForTheDefinedCodesAndForNoOther) {
  for (int code = -1; code <= 1000; ++code) {
    const CommandContract* const row = find_contract(code);
    EXPECT_STREQ(vlm_strcmd(code), row != nullptr ? row->name : kNoName) << code;
  }
}

TEST(CommandNames, AreUnknownFarOutside) {
  const int last = command_contract().back().code;
  for (const int code : {INT_MIN, -last, last + 1, 65535, 65536, INT_MAX}) {
    EXPECT_STREQ(vlm_strcmd(code), kNoName) << code;
  }
}

}  // namespace

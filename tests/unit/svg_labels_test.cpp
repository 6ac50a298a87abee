#include "svg_labels.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using namespace vlm::time_report;

TEST(SvgLabels, StandToTheRightOfTheirLeaderInTheLowestRow) {
  LabelRows rows(0, 1000, 3);
  const auto label = rows.place(100, 200);
  ASSERT_TRUE(label);
  EXPECT_EQ(label->row, 0);
  EXPECT_DOUBLE_EQ(label->left, 106);
}

TEST(SvgLabels, StandToTheLeftNearTheRightBorder) {
  LabelRows rows(0, 1000, 3);
  const auto label = rows.place(900, 200);
  ASSERT_TRUE(label);
  EXPECT_EQ(label->row, 0);
  EXPECT_DOUBLE_EQ(label->left, 694);
}

TEST(SvgLabels, MoveUpWhereTheRowIsTaken) {
  LabelRows rows(0, 1000, 3);
  ASSERT_TRUE(rows.place(400, 200));
  const auto label = rows.place(395, 500);
  ASSERT_TRUE(label);
  EXPECT_EQ(label->row, 1);
}

TEST(SvgLabels, AreLeftOutWhereALeaderWouldCrossAText) {
  LabelRows rows(0, 300, 3);
  ASSERT_TRUE(rows.place(50, 200));
  EXPECT_FALSE(rows.place(100, 150));
}

TEST(SvgLabels, AreLeftOutWhenTheyAreTooWide) {
  LabelRows rows(0, 300, 3);
  EXPECT_FALSE(rows.place(150, 200));
}

TEST(SvgLabels, NeverOverlap) {
  std::mt19937 random(3);
  const auto upto = [&](unsigned most) { return static_cast<double>(random() % most); };
  for (int round = 0; round < 200; ++round) {
    LabelRows rows(0, 1000, 3);
    std::vector<PlacedLabel> placed;
    for (int i = 0; i < 40; ++i) {
      if (const auto label = rows.place(upto(1000), 50 + upto(200))) {
        placed.push_back(*label);
      }
    }
    EXPECT_FALSE(placed.empty());
    for (const auto& a : placed) {
      EXPECT_GE(a.left, 0);
      EXPECT_LE(a.right - 6, 1000);
      for (const auto& b : placed) {
        if (&a == &b) continue;
        const bool beside = a.right <= b.left || b.right <= a.left;
        const bool leader_through_text = a.row >= b.row && a.x > b.left && a.x < b.right - 6;
        EXPECT_TRUE(a.row != b.row || beside);
        EXPECT_FALSE(leader_through_text);
      }
    }
  }
}

}  // namespace

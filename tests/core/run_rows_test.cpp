#include "analysis/run_rows.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace stiltforge {
namespace {

using Runs = std::vector<Run>;

Runs rowOf(const RunRows& rows, int y) {
  return {rows.row(y).begin(), rows.row(y).end()};
}

TEST(RunRows, JoinRunsOfARowThatTouchOrOverlap) {
  RunRows rows;
  rows.add(2, 4);
  rows.add(4, 6);
  rows.add(5, 9);
  rows.add(10, 10);
  rows.add(11, 65535);
  rows.endRow();
  rows.add(0, 3);
  rows.endRow();
  EXPECT_EQ(rowOf(rows, 0), (Runs{{2, 9}, {11, 65535}}));
  EXPECT_EQ(rowOf(rows, 1), (Runs{{0, 3}})) << "rows are joined to nothing";
  EXPECT_EQ(rows.pixelCount(), 7u + 65524u + 3u);
}

TEST(RunRows, HaveNoRunsOutsideTheirRows) {
  RunRows rows;
  EXPECT_EQ(rows.height(), 0);
  EXPECT_TRUE(rows.row(0).empty());
  rows.endRow();
  EXPECT_EQ(rows.height(), 1);
  for (const int y : {-1, 0, 1, 70000}) EXPECT_TRUE(rows.row(y).empty()) << y;
}

TEST(RunRows, TellWhereARowBegins) {
  RunRows rows;
  rows.endRow();
  rows.add(0, 1);
  rows.add(3, 4);
  rows.endRow();
  rows.endRow();
  EXPECT_EQ(rows.rowStart(0), 0u);
  EXPECT_EQ(rows.rowStart(1), 0u);
  EXPECT_EQ(rows.rowStart(2), 2u);
  EXPECT_EQ(rows.rowStart(3), rows.runCount());
}

TEST(RunRows, EndSeveralRowsAtOnceTheOpenOneFirst) {
  RunRows rows;
  rows.endRows(0);
  EXPECT_EQ(rows.height(), 0);
  rows.add(1, 2);
  rows.endRows(3);
  EXPECT_EQ(rows.height(), 3);
  EXPECT_EQ(rowOf(rows, 0), (Runs{{1, 2}}));
  EXPECT_TRUE(rows.row(1).empty());
  EXPECT_TRUE(rows.row(2).empty());
}

TEST(RunRows, TellWhichOfTheirRowsAreOccupied) {
  RunRows rows;
  EXPECT_EQ(rows.occupiedRows().end, 0);
  rows.endRows(2);
  EXPECT_EQ(rows.occupiedRows().end, 0) << "rows without a run";
  rows.add(3, 4);
  EXPECT_EQ(rows.occupiedRows().end, 0) << "a row that is not ended";
  rows.endRows(2);
  rows.add(5, 7);
  rows.endRows(4);
  EXPECT_EQ(rows.occupiedRows().begin, 2);
  EXPECT_EQ(rows.occupiedRows().end, 5);
}

TEST(RunRows, ForgetTheirRows) {
  RunRows rows;
  rows.add(1, 2);
  rows.endRow();
  rows.clear();
  EXPECT_EQ(rows.height(), 0);
  EXPECT_TRUE(rows.empty());
  rows.add(1, 2);
  rows.endRow();
  EXPECT_EQ(rowOf(rows, 0), (Runs{{1, 2}}));
}

TEST(RunRows, AreWhatWasPutIntoThem) {
  const RunRows rows(ScratchVector<stiltforge::Run>{{0, 2}, {3, 5}, {1, 2}},
                     ScratchVector<uint32_t>{0, 2, 2, 3});
  EXPECT_EQ(rows.height(), 3);
  EXPECT_EQ(rowOf(rows, 0), (Runs{{0, 2}, {3, 5}}));
  EXPECT_EQ(rowOf(rows, 1), Runs{});
  EXPECT_EQ(rowOf(rows, 2), (Runs{{1, 2}}));
}

using Parts = std::vector<std::pair<int, int>>;

TEST(UncoveredParts, AreWhatNoHoleCovers) {
  const Runs holes = {{2, 4}, {6, 7}, {9, 20}};
  std::span<const stiltforge::Run> left = holes;
  Parts parts;
  const auto collect = [&](int begin, int end) { parts.emplace_back(begin, end); };
  forEachUncovered({0, 5}, left, collect);
  EXPECT_EQ(parts, (Parts{{0, 2}, {4, 5}}));
  parts.clear();
  forEachUncovered({5, 12}, left, collect);
  EXPECT_EQ(parts, (Parts{{5, 6}, {7, 9}}));
  parts.clear();
  forEachUncovered({12, 20}, left, collect);
  EXPECT_EQ(parts, Parts{});
  forEachUncovered({20, 25}, left, collect);
  EXPECT_EQ(parts, (Parts{{20, 25}}));
}

}  // namespace
}  // namespace stiltforge

#include "faulty_prints.h"

#include <gtest/gtest.h>

#include "check/sentences.h"
#include "core/random.h"

namespace stiltforge::check {
namespace {

// A sanitizer takes seconds for each of these prints.
#ifdef STILTFORGE_SANITIZED
constexpr int printCount = 4;
#else
constexpr int printCount = 60;
#endif

TEST(FaultyPrints, EachFaultIsToldOnceAndNothingElse) {
  Random random(7);
  FaultTally tally;
  for (int i = 0; i < printCount; ++i) tally.add(randomFaultyPrint(random));
  if (printCount >= 60) {
    EXPECT_EQ(tally.rows.size(), 13u);
  }
  for (const FaultTally::Row& row : tally.rows) {
    EXPECT_EQ(row.found, row.planted) << row.name;
    EXPECT_EQ(row.toldAgain, 0u) << row.name;
  }
  for (const Finding& finding : tally.falseAlarms) ADD_FAILURE() << describe(finding).what;
}

}  // namespace
}  // namespace stiltforge::check

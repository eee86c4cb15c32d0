// Builds prints with known faults, checks them, and prints what was found of which.
//   stiltforge_check_faults [NUMBER OF PRINTS]

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "check/faulty_prints.h"
#include "check/sentences.h"

int main(int argc, char** argv) {
  using stiltforge::check::FaultTally;
  const int prints = argc > 1 ? std::atoi(argv[1]) : 300;
  if (prints < 1) {
    std::fputs("The number of prints must be 1 or more.\n", stderr);
    return 2;
  }
  stiltforge::Random random(1);
  FaultTally tally;
  for (int i = 0; i < prints; ++i) tally.add(stiltforge::check::randomFaultyPrint(random));
  std::sort(tally.rows.begin(), tally.rows.end(),
            [](const FaultTally::Row& a, const FaultTally::Row& b) { return a.name < b.name; });

  FaultTally::Row all{"all"};
  std::puts("| fault | planted | found | told more than once |");
  std::puts("| --- | --- | --- | --- |");
  const auto print = [](const FaultTally::Row& row) {
    std::printf("| %s | %u | %u | %u |\n", row.name.c_str(), row.planted, row.found, row.toldAgain);
  };
  for (const FaultTally::Row& row : tally.rows) {
    print(row);
    all.planted += row.planted;
    all.found += row.found;
    all.toldAgain += row.toldAgain;
  }
  print(all);
  std::printf("\nFalse alarms: %zu in %u prints with %u sound things among the faulty ones.\n",
              tally.falseAlarms.size(), tally.prints, tally.sound);
  for (const auto& finding : tally.falseAlarms) std::puts(describe(finding).what.c_str());
  const bool isPerfect =
      all.found == all.planted && all.toldAgain == 0 && tally.falseAlarms.empty();
  return isPerfect ? 0 : 1;
}

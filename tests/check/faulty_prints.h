#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "check/print_check.h"
#include "core/random.h"

namespace stiltforge::check {

// A fault that was built into a print.
struct PlantedFault {
  std::string name;
  Kind kind = Kind::island;
  // Where it is told: findings of its kind that begin in these layers and lie within these pixels.
  uint32_t firstLayer = 0;
  uint32_t lastLayer = 0;
  int left = 0;
  int top = 0;
  int right = 0;   // last column
  int bottom = 0;  // last row
};

struct FaultyPrint {
  CheckSettings settings;
  std::vector<RunRows> layers;
  std::vector<PlantedFault> faults;
};

// Six things side by side, each sound or with a fault, some prints with layers missing, with
// specks, and with contours that jump to and fro by a pixel from layer to layer.
FaultyPrint randomFaultyPrint(Random& random);

// What a check makes of the faults of some prints.
struct FaultTally {
  struct Row {
    std::string name;  // of the fault
    uint32_t planted = 0;
    uint32_t found = 0;      // told at least once
    uint32_t toldAgain = 0;  // findings beyond the first
  };
  uint32_t prints = 0;
  uint32_t sound = 0;  // things without a fault
  std::vector<Row> rows;
  std::vector<Finding> falseAlarms;  // findings of no fault, of any severity

  void add(const FaultyPrint& print);

 private:
  Row& rowOf(const std::string& name);
};

}  // namespace stiltforge::check

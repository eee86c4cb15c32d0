#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "hold/survey.h"
#include "print/print_settings.h"
#include "processor_time.h"

namespace stiltforge::bench {

// A mesh as it stands on the plate: nine floats a triangle, mm.
struct Part {
  std::string name;
  std::vector<float> positions;
  double lift = 0;  // mm above the plate
};

// A mesh file, or all of a folder in the order of their names.
std::vector<Part> readParts(const std::filesystem::path& path);

// A box of 40 x 40 x 10 mm.
Part boxPart();

// Turned about the y axis.
Part tilted(Part part, double degrees);

// CPU time of all threads, seconds.
struct Times {
  double analysis = 0;
  double survey = 0;
};

// Adds the CPU time that work() takes to `seconds`.
template <class Work>
auto timed(double& seconds, Work&& work) {
  struct Clock {
    double& seconds;
    double start = processorSeconds();
    ~Clock() { seconds += processorSeconds() - start; }
  } clock{seconds};
  return work();
}

// The part's slices, with the points of the analysis, as the command makes them.
hold::Survey surveyOf(const Part& part, const PrintSettings& print, Times& times);

}  // namespace stiltforge::bench

#pragma once

#include <ctime>

namespace stiltforge::bench {

// CPU time of all threads of the process, seconds: what the work costs however busy the machine is.
inline double processorSeconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

}  // namespace stiltforge::bench

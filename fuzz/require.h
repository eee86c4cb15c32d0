#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

// Ends the process, which is how a fuzz target reports a finding.
inline void require(bool holds, const std::string& what) {
  if (holds) return;
  std::fprintf(stderr, "%s\n", what.c_str());
  std::abort();
}

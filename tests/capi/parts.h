#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "stiltforge/stiltforge.hpp"

// The interface as hosts see it. What is behind it has the same names, so no file includes both.
namespace host = stiltforge::v0;

namespace stiltforge::capi_test {

/// A plate, a post and a wide table on top: nine floats a triangle, mm. It gets supports.
std::vector<float> table();

/// The same with a block beside it that begins in the air, 2 mm up.
std::vector<float> tableAndBlock();

/// Coarse, so that a part takes no time.
host::PrintSettings coarsePrint();

/// What a call says that is refused with that status; fails the test where it is not.
template <typename Call>
std::string messageOf(stiltforge_status expected, Call&& call) {
  try {
    call();
  } catch (const host::Error& error) {
    EXPECT_EQ(error.status(), expected) << error.what();
    return error.what();
  }
  ADD_FAILURE() << "nothing is refused";
  return "";
}

/// All that tells supports apart.
using Place = std::tuple<uint32_t, uint32_t, uint32_t, uint32_t, uint32_t>;
std::vector<Place> places(const std::vector<host::Support>& supports);

/// Of the part by the shortest road.
std::vector<Place> placesOf(const std::vector<float>& part, const host::PrintSettings& print);

/// A slice of that size, all material, of which `overhanging` columns at the right hang free.
host::Slice fullSlice(uint32_t width, uint32_t height, uint32_t overhanging = 0);

/// A slice of that size without material.
host::Slice emptySlice(uint32_t width, uint32_t height);

/// A model of 40 x 30 pixels with small supports.
host::Parameters smallParameters();

}  // namespace stiltforge::capi_test

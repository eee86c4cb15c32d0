#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "capi/parts.h"
#include "core/failing_allocation.h"

namespace stiltforge::capi_test {
namespace {

TEST(Memory, ThatRunsOutIsAStatus) {
  const std::vector<float> part = table();
  stiltforge_mesh* mesh = nullptr;
  stiltforge_error error;
  {
    const FailingAllocation none(1);
    EXPECT_EQ(stiltforge_mesh_create(part.data(), part.size() / 9, &mesh, &error),
              STILTFORGE_OUT_OF_MEMORY);
  }
  EXPECT_EQ(mesh, nullptr);
  EXPECT_STREQ(error.message, "stiltforge_mesh_create: there is not enough memory.");
  {
    const FailingAllocation none(1);
    EXPECT_EQ(stiltforge_model_analyse(nullptr, nullptr, nullptr, nullptr, &error),
              STILTFORGE_OUT_OF_MEMORY)
        << "not even for the sentence";
  }
}

// Whatever fails, the host gets the whole result or a status, and can go on or is told that the
// model cannot.
TEST(Memory, ThatRunsOutAnywhereInAnAnalysisLeavesAModelThatSaysWhatItIs) {
  const std::vector<Place> expected = placesOf(table(), coarsePrint());
  host::Slicer slicer(host::Mesh(table()), coarsePrint());
  int failures = 0;
  int stops = 0;
  for (std::size_t largest = 64; largest < (1 << 20); largest *= 2) {
    host::Model model(slicer.parameters());
    stiltforge_error error;
    stiltforge_status status = STILTFORGE_OK;
    {
      const FailingAllocation large(largest);
      status = stiltforge_model_analyse_mesh(model.get(), slicer.get(), UINT32_MAX, nullptr,
                                             nullptr, nullptr, &error);
    }
    if (status != STILTFORGE_OK) {
      ++failures;
      EXPECT_EQ(status, STILTFORGE_OUT_OF_MEMORY) << error.message;
      status = stiltforge_model_analyse_mesh(model.get(), slicer.get(), UINT32_MAX, nullptr,
                                             nullptr, nullptr, &error);
    }
    if (status == STILTFORGE_STOPPED) {
      ++stops;
      EXPECT_NE(std::string(error.message).find("make a new one"), std::string::npos);
      model.supports();
    } else {
      EXPECT_EQ(status, STILTFORGE_OK) << error.message;
      if (model.failedGroups() > 0) continue;
      EXPECT_EQ(places(model.supports()), expected);
    }
  }
  EXPECT_GT(failures, 0);
}

}  // namespace
}  // namespace stiltforge::capi_test

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <thread>
#include <vector>

#include "capi/parts.h"

namespace stiltforge::capi_test {
namespace {

stiltforge_status statusOf(const std::function<void()>& call) {
  try {
    call();
    return STILTFORGE_OK;
  } catch (const host::Error& error) {
    return error.status();
  }
}

class Cancelling : public testing::Test {
 protected:
  host::Slicer slicer{host::Mesh(table()), coarsePrint()};
  host::Model model{slicer.parameters()};
  host::CancelToken token;
};

TEST_F(Cancelling, ATokenThatIsCancelledEndsACallAtOnce) {
  token.cancel();
  EXPECT_EQ(statusOf([&] { model.analyse(slicer, {}, &token); }), STILTFORGE_CANCELLED);
  EXPECT_EQ(model.layerCount(), 0u);
  model.analyse(slicer);
  EXPECT_EQ(places(model.supports()), placesOf(table(), coarsePrint()));
}

TEST_F(Cancelling, TheCallbackEndsTheCallAfterItsLayerAndAnotherGoesOn) {
  const auto stopAt10 = [](void*, const stiltforge_layer* layer) -> int32_t {
    return stiltforge_layer_index(layer) == 10 ? 7 : 0;
  };
  stiltforge_error error;
  EXPECT_EQ(stiltforge_model_analyse_mesh(model.get(), slicer.get(), UINT32_MAX, nullptr, stopAt10,
                                          nullptr, &error),
            STILTFORGE_CANCELLED);
  EXPECT_STREQ(error.message, "stiltforge_model_analyse_mesh: ended by its callback.");
  EXPECT_EQ(model.layerCount(), 11u);
  model.analyse(slicer, {}, nullptr, 3);
  EXPECT_EQ(model.layerCount(), 14u);
  model.analyse(slicer);
  EXPECT_EQ(model.layerCount(), slicer.info().layer_count);
  EXPECT_EQ(places(model.supports()), placesOf(table(), coarsePrint()));
  model.analyse(slicer);
  EXPECT_EQ(model.layerCount(), slicer.info().layer_count) << "there are no more";
}

TEST_F(Cancelling, AnExceptionOfACppCallbackComesOut) {
  EXPECT_THROW(model.analyse(slicer, [](const host::LayerView&) { throw std::logic_error("no"); }),
               std::logic_error);
  EXPECT_EQ(model.layerCount(), 1u);
}

TEST_F(Cancelling, AnotherThreadEndsTheCall) {
  std::atomic<bool> isRunning{false};
  std::thread canceller([&] {
    while (!isRunning) std::this_thread::yield();
    token.cancel();
  });
  const stiltforge_status status = statusOf([&] {
    model.analyse(
        slicer,
        [&](const host::LayerView& layer) {
          isRunning = true;
          // Until it comes through there are layers left.
          if (layer.index() == 20) canceller.join();
        },
        &token);
  });
  EXPECT_EQ(status, STILTFORGE_CANCELLED);
  EXPECT_GE(model.layerCount(), 1u);
  EXPECT_LE(model.layerCount(), 21u);
  if (canceller.joinable()) canceller.join();
}

TEST_F(Cancelling, ASliceThatWasCancelledCanBeGivenAgain) {
  std::vector<host::Slice> slices(1);
  slicer.slice(0, slices);
  host::AnalysisOptions options;
  options.cancel = token.get();
  token.cancel();
  EXPECT_EQ(statusOf([&] { model.analyse(slices[0], options); }), STILTFORGE_CANCELLED);
  EXPECT_EQ(model.analyse(slices[0]).index(), 0u);
}

}  // namespace
}  // namespace stiltforge::capi_test

// Handles in the hands of several threads.

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "capi/parts.h"

namespace stiltforge::capi_test {
namespace {

TEST(Threads, ModelsOfTheirOwnDoNotDisturbEachOther) {
  const std::vector<Place> expected = placesOf(table(), coarsePrint());
  std::vector<std::vector<Place>> found(4);
  std::vector<std::thread> threads;
  for (auto& mine : found) {
    threads.emplace_back([&mine] { mine = placesOf(table(), coarsePrint()); });
  }
  for (std::thread& thread : threads) thread.join();
  for (const auto& mine : found) EXPECT_EQ(mine, expected);
}

TEST(Threads, ASecondCallOnAModelIsRefusedAndTheFirstGoesOn) {
  host::Slicer slicer(host::Mesh(table()), coarsePrint());
  host::Model model(slicer.parameters());
  std::atomic<bool> isDone{false};
  std::atomic<int> busy{0};
  std::thread other([&] {
    while (!isDone) {
      const stiltforge_status status =
          stiltforge_model_get_supports(model.get(), nullptr, 0, nullptr, nullptr);
      EXPECT_TRUE(status == STILTFORGE_OK || status == STILTFORGE_BUSY);
      busy += status == STILTFORGE_BUSY;
      stiltforge_model_layer_count(model.get());
      stiltforge_model_failed_groups(model.get());
      stiltforge_group_images* images = nullptr;
      stiltforge_model_create_group_images(model.get(), 0, 1, &images, nullptr);
      stiltforge_group_images_destroy(images);
    }
  });
  stiltforge_status status = STILTFORGE_BUSY;
  // The other thread's calls may come first.
  while (status == STILTFORGE_BUSY) {
    status = stiltforge_model_analyse_mesh(model.get(), slicer.get(), UINT32_MAX, nullptr, nullptr,
                                           nullptr, nullptr);
  }
  isDone = true;
  other.join();
  EXPECT_EQ(status, STILTFORGE_OK);
  EXPECT_EQ(places(model.supports()), placesOf(table(), coarsePrint()));
}

TEST(Threads, AHandleInUseIsNamed) {
  host::Slicer slicer(host::Mesh(table()), coarsePrint());
  host::Model model(slicer.parameters());
  std::string message;
  model.analyse(slicer, [&](const host::LayerView& layer) {
    if (layer.index() > 0) return;
    std::vector<host::Slice> slices(1);
    stiltforge_slice* const slice = slices[0].get();
    stiltforge_error error;
    EXPECT_EQ(stiltforge_slicer_slice(slicer.get(), 0, 1, &slice, &error), STILTFORGE_BUSY);
    message = error.message;
  });
  EXPECT_EQ(message,
            "stiltforge_slicer_slice: another call is using slicer; calls on one handle come one "
            "after the other.");
}

TEST(Threads, TheSameSliceCannotBeFilledTwiceAtOnce) {
  host::Slicer slicer(host::Mesh(table()), coarsePrint());
  const host::Slice slice;
  stiltforge_slice* const twice[2] = {slice.get(), slice.get()};
  EXPECT_EQ(stiltforge_slicer_slice(slicer.get(), 0, 2, twice, nullptr), STILTFORGE_BUSY);
}

TEST(Threads, ACallbackMayUseItsModel) {
  host::Slicer slicer(host::Mesh(table()), coarsePrint());
  host::Model model(slicer.parameters());
  std::size_t supports = 0;
  model.analyse(slicer, [&](const host::LayerView& layer) {
    supports += layer.supports().size();
    EXPECT_EQ(model.supports().size(), supports);
    EXPECT_EQ(model.groupImages(layer.index(), 1).width(),
              layer.groups()[0].x_max - layer.groups()[0].x_min);
    EXPECT_EQ(slicer.info().layer_count, 45u);
  });
  EXPECT_GT(supports, 0u);
}

TEST(Threads, ACallbackThatGivesSlicesOfItsOwnEndsTheCall) {
  host::Slicer slicer(host::Mesh(table()), coarsePrint());
  host::Model model(slicer.parameters());
  const host::SlicerInfo info = slicer.info();
  const host::Slice slice = fullSlice(info.width, info.height);
  EXPECT_THROW(model.analyse(slicer, [&](const host::LayerView&) { model.analyse(slice); }),
               host::Error);
  EXPECT_EQ(model.layerCount(), 2u);
}

struct Handles {
  stiltforge_model* model;
  stiltforge_slicer* slicer;
};

TEST(Threads, ACallbackMayDestroyWhatItsCallUses) {
  host::Slicer parameters(host::Mesh(table()), coarsePrint());
  const host::Mesh mesh(table());
  const host::PrintSettings print = coarsePrint();
  Handles handles{};
  ASSERT_EQ(stiltforge_slicer_create(mesh.get(), &print, &handles.slicer, nullptr), STILTFORGE_OK);
  ASSERT_EQ(stiltforge_model_create(parameters.parameters().get(), &handles.model, nullptr),
            STILTFORGE_OK);
  const auto destroyBoth = [](void* context, const stiltforge_layer*) -> int32_t {
    const auto* both = static_cast<const Handles*>(context);
    stiltforge_slicer_destroy(both->slicer);
    stiltforge_model_destroy(both->model);
    return 1;
  };
  EXPECT_EQ(stiltforge_model_analyse_mesh(handles.model, handles.slicer, UINT32_MAX, nullptr,
                                          destroyBoth, &handles, nullptr),
            STILTFORGE_CANCELLED);
}

TEST(Threads, WorkersAreCountedAndChangedBetweenCalls) {
  const uint32_t before = host::workerCount();
  const std::vector<Place> expected = placesOf(table(), coarsePrint());
  for (const uint32_t count : {1u, 3u, 8u}) {
    host::setWorkerCount(count);
    EXPECT_EQ(host::workerCount(), count);
    EXPECT_EQ(placesOf(table(), coarsePrint()), expected);
  }
  host::stopWorkers();
  EXPECT_EQ(placesOf(table(), coarsePrint()), expected);
  EXPECT_THROW(host::setWorkerCount(0), host::Error);
  EXPECT_THROW(host::setWorkerCount(1025), host::Error);
  EXPECT_EQ(host::workerCount(), 8u);
  host::setWorkerCount(before);
}

TEST(Threads, WorkersStayWhileACallRuns) {
  host::Slicer slicer(host::Mesh(table()), coarsePrint());
  host::Model model(slicer.parameters());
  model.analyse(slicer, [](const host::LayerView&) {
    EXPECT_EQ(stiltforge_set_worker_count(1, nullptr), STILTFORGE_BUSY);
    EXPECT_EQ(stiltforge_stop_workers(nullptr), STILTFORGE_BUSY);
  });
  EXPECT_EQ(stiltforge_stop_workers(nullptr), STILTFORGE_OK);
}

}  // namespace
}  // namespace stiltforge::capi_test

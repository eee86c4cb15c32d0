#include "model_bench.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>

#include "analysis/run_extraction.h"
#include "core/core_stack.h"
#include "model/model.h"
#include "reference/flood_fill.h"
#include "reference/group_handler.h"
#include "reference/support_inheritance.h"
#include "slice_picture.h"
#include "slicing/slicer.h"

namespace stiltforge::bench {

namespace {

constexpr uint32_t layersPerWindow = 4;  // the untimed first one included

using Bytes = std::vector<uint8_t>;

class SampledModel {
 public:
  SampledModel(const std::vector<float>& soup, int windows)
      : slicer_(meshSlicer(soup, screen4k)), windows_(static_cast<uint32_t>(windows)) {}

  uint32_t timedLayers() const { return windows_ * (layersPerWindow - 1); }

  // Calls begin() at the start of each window and analyse(slice) for each of its slices; gives the
  // seconds taken by the timed calls.
  template <typename Begin, typename Analyse>
  double run(Begin begin, Analyse analyse) {
    Bytes slice(std::size_t{4} * screen4k.width * screen4k.height);
    double seconds = 0;
    for (uint32_t w = 0; w < windows_; ++w) {
      begin();
      const uint32_t first = (slicer_.layerCount() - layersPerWindow) * w / windows_;
      for (uint32_t i = 0; i < layersPerWindow; ++i) {
        slicer_.slice(first + i, slice.data());
        const double taken = analyse(slice);
        if (i > 0) seconds += taken;
      }
    }
    return seconds;
  }

 private:
  slicing::Slicer slicer_;
  uint32_t windows_;
};

template <typename Work>
double secondsOf(Work work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
  return taken.count();
}

double analysePlainly(SampledModel& model, const HostParameters& values) {
  const reference::Parameters parameters = reference::parametersFrom(values);
  const reference::GhostSpread spread = reference::createGhostSpread(parameters.ghostRadius);
  std::vector<uint32_t> top(std::size_t{screen4k.width} * screen4k.height);
  std::vector<reference::Layer> layers;
  return model.run([&] { layers.clear(); },
                   [&](const Bytes& slice) {
                     return secondsOf([&] {
                       layers.push_back(reference::floodFill(slice, screen4k.width, screen4k.height,
                                                             parameters, layers, top));
                       if (layers.size() > 1) {
                         for (std::size_t i = 1; i < layers.back().groups.size(); ++i) {
                           reference::inheritSupports(*layers.back().groups[i],
                                                      layers[layers.size() - 2],
                                                      parameters.maxGhost);
                         }
                       }
                       reference::supportLayer(layers, parameters, spread);
                     });
                   });
}

double analyse(SampledModel& model, const HostParameters& values) {
  constexpr std::size_t pixels = std::size_t{screen4k.width} * screen4k.height;
  reference::Stack stack;
  stack.parameters = values;
  Model analysis(parametersOf(stack).settings, pixels);
  return model.run([&] { analysis.start(pixels); },
                   [&](const Bytes& slice) {
                     return secondsOf([&] {
                       analysis.analyse(
                           sliceOfPixels(slice.data(), screen4k.width, screen4k.height), {});
                     });
                   });
}

}  // namespace

void registerModel(const std::vector<float>& soup, const HostParameters& parameters, int windows) {
  const HostParameters* const values = &parameters;
  const auto model = std::make_shared<SampledModel>(soup, windows);
  const auto add = [&](const char* name, double (*run)(SampledModel&, const HostParameters&)) {
    benchmark::RegisterBenchmark(name,
                                 [model, values, run](benchmark::State& state) {
                                   for (auto _ : state)
                                     state.SetIterationTime(run(*model, *values));
                                   state.counters["layers"] = model->timedLayers();
                                 })
        ->UseManualTime()
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond);
  };
  add("model/bunny-4k", analyse);
  add("model-plain/bunny-4k", analysePlainly);
}

}  // namespace stiltforge::bench

#include "placement_bench.h"

#include <atomic>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>

#include "analysis/flood_fill.h"
#include "analysis/run_extraction.h"
#include "core/core_stack.h"
#include "reference/flood_fill.h"
#include "reference/group_handler.h"
#include "support/group_handler.h"
#include "timing.h"

namespace stiltforge::bench {

namespace {

constexpr int side = 2000;
constexpr uint32_t supportsWanted = 200;
constexpr uint32_t ghostsAcross = 20;
constexpr uint32_t ghostsDown = 10;
constexpr uint32_t background = 0xFF000000;

// A disc over a small core, in a box of 2000 x 2000 pixels: blue falls outwards from the core and
// varies from pixel to pixel, green marks the rim.
struct Overhang {
  std::vector<uint32_t> below;
  std::vector<uint32_t> slice;
  uint32_t material = 0;

  Overhang() : below(std::size_t{side} * side, background), slice(below) {
    constexpr int64_t radius = side / 2;
    for (int64_t y = 0; y < side; ++y) {
      for (int64_t x = 0; x < side; ++x) {
        const int64_t dx = x - radius;
        const int64_t dy = y - radius;
        const int64_t distance2 = dx * dx + dy * dy;
        if (distance2 > radius * radius) continue;
        const auto i = static_cast<std::size_t>(y * side + x);
        const auto blue = static_cast<uint32_t>(200 - 190 * distance2 / (radius * radius) +
                                                (x * 7 + y * 13) % 10);
        const uint32_t green = distance2 > (radius - 12) * (radius - 12) ? 255 : 0;
        slice[i] = 0xFF0000FF | green << 8 | blue << 16;
        ++material;
        if (distance2 <= 20 * 20) below[i] = 0xFFFF00FF;
      }
    }
  }

  HostParameters parameters(HostParameters values, bool everyPixel) const {
    values["width"] = side;
    values["height"] = side;
    values["supportStrength"] = material / supportsWanted + 1;
    values["numberOfSamplePerSupport"] = everyPixel ? 1e6 : 100;
    values["strengthOfPlatePixel"] = 0;
    values["maxVoronoiIteration"] = 5;
    values["validationDistanceFormVoronoi"] = 0;
    return values;
  }
};

const Overhang& overhang() {
  static const Overhang instance;
  return instance;
}

template <typename V, typename Add>
void addGhosts(Add add) {
  for (uint32_t i = 0; i < ghostsAcross * ghostsDown; ++i) {
    V ghost;
    ghost.x = static_cast<uint16_t>((i % ghostsAcross) * side / ghostsAcross + side / 40);
    ghost.y = static_cast<uint16_t>((i / ghostsAcross) * side / ghostsDown + side / 20);
    ghost.isSupport = true;
    add(ghost);
  }
}

void requireSupports(uint32_t placed) {
  if (placed < supportsWanted / 2 || placed > supportsWanted) {
    throw std::runtime_error("the placement benchmark placed " + std::to_string(placed) +
                             " supports instead of " + std::to_string(supportsWanted));
  }
}

void place(benchmark::State& state, const HostParameters& given, bool everyPixel) {
  reference::Stack stack;
  stack.parameters = overhang().parameters(given, everyPixel);
  const Settings settings = parametersOf(stack).settings;
  GhostSpread spread(settings.ghostRadius);
  spread.create();
  constexpr std::size_t pixels = std::size_t{side} * side;
  std::vector<Layer> layers;
  layers.reserve(2);
  for (const std::vector<uint32_t>* slice : {&overhang().below, &overhang().slice}) {
    Layer layer(sliceOfPixels(reinterpret_cast<const uint8_t*>(slice->data()), side, side));
    FloodFill fill;
    fill.settings = &settings;
    fill.layer = &layer;
    fill.previousLayer = layers.empty() ? nullptr : &layers.back();
    fill.markerCount = pixels;
    fill.run();
    layers.push_back(std::move(layer));
  }
  std::vector<Voxel> ghosts;
  addGhosts<Voxel>([&](const Voxel& ghost) { ghosts.push_back(ghost); });
  std::atomic<uint64_t> failedTasks{0};
  GroupHandler handler;
  handler.settings = &settings;
  handler.ghostSpread = &spread;
  handler.layer = &layers[1];
  handler.previousLayer = &layers[0];
  handler.layerCount = layers.size();
  handler.failedTasks = &failedTasks;
  uint32_t placed = 0;
  timeEachWarm(
      state,
      [&] {
        Group& group = layers.back().groups[1];
        group.placement.reset();
        for (Voxel& ghost : ghosts) group.ensurePlacement().ghostSupports.push_back(&ghost);
      },
      [&] { placed = handler.supportLayer(); });
  requireSupports(placed);
}

void placePlainly(benchmark::State& state, const HostParameters& given, bool everyPixel) {
  const reference::Parameters parameters =
      reference::parametersFrom(overhang().parameters(given, everyPixel));
  const reference::GhostSpread spread = reference::createGhostSpread(parameters.ghostRadius);
  std::vector<uint32_t> top(std::size_t{side} * side);
  std::vector<reference::Layer> layers;
  for (const std::vector<uint32_t>* slice : {&overhang().below, &overhang().slice}) {
    std::vector<uint8_t> bytes(4 * slice->size());
    std::memcpy(bytes.data(), slice->data(), bytes.size());
    layers.push_back(reference::floodFill(bytes, side, side, parameters, layers, top));
  }
  std::vector<std::unique_ptr<reference::Voxel>> ghosts;
  addGhosts<reference::Voxel>([&](const reference::Voxel& ghost) {
    ghosts.push_back(std::make_unique<reference::Voxel>(ghost));
  });
  uint32_t placed = 0;
  timeEach(
      state,
      [&] {
        reference::Group& group = *layers.back().groups[1];
        group.samples.clear();
        group.supports.clear();
        group.ghostSupports.clear();
        group.ghostNorm = group.scoreNorm = group.angleNorm = group.strokeNorm = 0.1f;
        for (const auto& ghost : ghosts) group.ghostSupports.push_back(ghost.get());
      },
      [&] { placed = reference::supportLayer(layers, parameters, spread); });
  requireSupports(placed);
}

}  // namespace

void registerPlacement(const HostParameters& parameters, bool quick) {
  const HostParameters* const given = &parameters;
  for (const bool everyPixel : {false, true}) {
    if (everyPixel && quick) continue;
    const std::string lattice = everyPixel ? "every-pixel" : "lattice";
    benchmark::RegisterBenchmark(
        ("place/" + lattice).c_str(),
        [given, everyPixel](benchmark::State& s) { place(s, *given, everyPixel); })
        ->UseManualTime()
        ->Iterations(2)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark(
        ("place-plain/" + lattice).c_str(),
        [given, everyPixel](benchmark::State& s) { placePlainly(s, *given, everyPixel); })
        ->UseManualTime()
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond);
  }
}

}  // namespace stiltforge::bench

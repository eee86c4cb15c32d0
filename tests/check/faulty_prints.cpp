#include "faulty_prints.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <utility>

namespace stiltforge::check {

namespace {

constexpr int slotSide = 150;  // pixels of a tenth of a millimetre
constexpr int slotColumns = 3;
constexpr int slotRows = 2;
constexpr int width = slotColumns * slotSide;
constexpr int height = slotRows * slotSide;
constexpr int layers = 150;  // of a tenth of a millimetre
const std::string gapName = "layers missing";
const std::string speckName = "specks";

// Columns [x0, x1), rows [y0, y1) of a slot, layers [z0, z1) of material or, cut out, of space.
struct Block {
  int x0, x1, y0, y1, z0, z1;
  bool isSolid = true;
  double growRight = 0;  // pixels a layer
  double growAll = 0;    // pixels a layer to all sides, as a disc
};

struct Thing {
  std::vector<Block> blocks = {};  // later ones paint over earlier ones
  std::string fault = {};          // none of a sound thing
  Kind kind = Kind::island;
  int firstLayer = 0;  // where the fault is told
  int lastLayer = 0;
};

Block hollow(int x0, int x1, int y0, int y1, int z0, int z1) {
  return {x0, x1, y0, y1, z0, z1, false};
}

// Sound things.

Thing tower(Random& random) {
  const int x = random.between(40, 90);
  const int y = random.between(40, 90);
  return {{{x - random.between(5, 30), x + random.between(5, 40), y - random.between(5, 30),
            y + random.between(5, 40), 0, random.between(3, layers)}}};
}

Thing funnel(Random& random) {
  const int grown = random.between(20, 50);
  Block cone{65, 85, 65, 85, 0, grown};
  cone.growAll = 0.3 + 0.7 * random.unit();
  const auto radius = static_cast<int>(10 + cone.growAll * grown);
  Block rim{75 - radius, 75 + radius, 75 - radius, 75 + radius, grown, layers};
  rim.growAll = 1e-9;
  return {{cone, rim}};
}

Thing shortShelf(Random& random) {
  const int z = random.between(20, 100);
  return {{{20, 50, 30, 120, 0, z}, {20, 50 + random.between(5, 28), 30, 120, z, layers}}};
}

Thing leaningWall(Random& random) {
  Block wall{20, 45, 30, 120, 0, random.between(40, 80)};
  wall.growRight = 0.5 + 0.5 * random.unit();
  return {{wall}};
}

Thing bridge(Random& random) {
  const int gap = random.between(10, 55);
  const int z = random.between(20, 100);
  return {{{20, 45, 30, 120, 0, z},
           {45 + gap, 70 + gap, 30, 120, 0, z},
           {20, 70 + gap, 30, 120, z, z + random.between(3, 40)}}};
}

Thing table(Random& random) {
  const int z = random.between(20, 100);
  Thing thing;
  for (int x = 20; x <= 130; x += 36) {
    for (int y = 20; y <= 130; y += 36) thing.blocks.push_back({x, x + 6, y, y + 6, 0, z});
  }
  thing.blocks.push_back({15, 140, 15, 140, z, z + random.between(3, 40)});
  return thing;
}

// A bell on legs, out of which air and resin can go.
Thing bellOnLegs(Random& random) {
  const int z = random.between(10, 40);
  const int roof = z + random.between(20, 60);
  Thing thing;
  for (const int x : {40, 70, 100}) {
    for (const int y : {40, 70, 100}) {
      if (x != 70 || y != 70) thing.blocks.push_back({x, x + 10, y, y + 10, 0, z});
    }
  }
  thing.blocks.push_back({40, 110, 40, 110, z, roof + 10});
  thing.blocks.push_back(hollow(50, 100, 50, 100, z, roof));
  return thing;
}

Thing ventedBox(Random& random) {
  const int z = random.between(5, 30);
  const int roof = z + random.between(25, 60);
  return {{{40, 110, 40, 110, 0, roof + 10},
           hollow(50, 100, 50, 100, z, roof),
           hollow(30, 60, 65, 85, z, z + 20)}};
}

// Things with a fault.

Thing lateIsland(Random& random) {
  const int begin = random.between(10, 60);
  const int slab = begin + random.between(8, 60);
  return {{{20, 50, 40, 110, 0, slab},
           {80, 80 + random.between(3, 20), 70, 70 + random.between(3, 20), begin, slab},
           {20, 105, 55, 100, slab, slab + 20}},
          "island",
          Kind::island,
          begin,
          begin};
}

Thing partOnNothing(Random& random) {
  const int begin = random.between(1, 100);
  return {{{20, 50, 40, 110, 0, layers},
           {80, 80 + random.between(3, 50), 40, 40 + random.between(3, 60), begin,
            begin + random.between(2, 40)}},
          "part on nothing",
          Kind::floatingPart,
          begin,
          begin};
}

Thing longShelf(Random& random) {
  const int z = random.between(20, 100);
  return {{{15, 45, 30, 120, 0, z}, {15, 45 + random.between(70, 95), 30, 120, z, layers}},
          "shelf without support",
          Kind::overhang,
          z,
          z + 1};
}

Thing wideBridge(Random& random) {
  const int z = random.between(20, 100);
  return {{{2, 8, 30, 120, 0, z},
           {142, 148, 30, 120, 0, z},
           {2, 148, 30, 120, z, z + random.between(10, 40)}},
          "bridge too wide",
          Kind::overhang,
          z,
          z + 1};
}

Thing shortSupport(Random& random) {
  const int z = random.between(20, 100);
  return {{{15, 45, 30, 120, 0, z},
           {120, 128, 70, 78, 0, z - random.between(1, 3)},
           {15, 135, 30, 120, z, layers}},
          "support that ends too low",
          Kind::overhang,
          z,
          z + 1};
}

Thing flatSlope(Random& random) {
  const int z = random.between(20, 80);
  Block slope{5, 20, 30, 120, z, z + 33};
  slope.growRight = 3.7;  // 15 degrees
  return {{{5, 20, 30, 120, 0, z}, slope}, "slope too flat", Kind::overhang, z, z + 20};
}

Thing sealedBox(Random& random) {
  const int z = random.between(3, 40);
  const int roof = z + random.between(2, 60);
  return {{{40, 110, 40, 110, 0, roof + 10}, hollow(50, 100, 50, 100, z, roof)},
          "sealed cavity",
          Kind::resinTrap,
          z,
          z};
}

Thing bowl(Random& random) {
  const int z = random.between(3, 60);
  return {{{20, 130, 20, 130, 0, layers}, hollow(30, 120, 30, 120, z, layers)},
          "bowl towards the film",
          Kind::suctionCup,
          z,
          z};
}

Thing bellOnPlate(Random& random) {
  const int roof = random.between(5, 80);
  return {{{40, 110, 40, 110, 0, roof + 10}, hollow(50, 100, 50, 100, 0, roof)},
          "bell on the plate",
          Kind::suctionCup,
          0,
          0};
}

Thing lateVent(Random& random) {
  const int z = random.between(5, 30);
  const int vent = z + random.between(5, 40);
  return {{{20, 130, 20, 130, 0, layers},
           hollow(30, 120, 30, 120, z, layers),
           hollow(10, 40, 65, 85, vent, vent + 20)},
          "vent too far from the plate",
          Kind::suctionCup,
          z,
          z};
}

// Both slot rows end at the screen's edge.
Thing cutOff(Random& random) {
  const int begin = random.oneIn(2) ? 0 : random.between(1, 60);
  Thing thing{
      {{40, 110, 20, 130, 0, layers}}, "cut off by the screen", Kind::screenEdge, begin, begin};
  for (int z = begin; z < std::min(begin + 40, layers); ++z) {
    // Grows out to the edge as far as it carries itself, and stays there.
    const int grown = begin == 0 ? 20 : std::min(z - begin, 20);
    thing.blocks.push_back({40, 110, 20 - grown, 130 + grown, z, z + 1});
  }
  if (begin > 0) thing.firstLayer = thing.lastLayer = begin + 20;
  return thing;
}

using Make = std::function<Thing(Random&)>;
// Those that a missing layer would change come last: it opens cavities and closes gaps.
const std::vector<Make> soundThings = {tower,  funnel, shortShelf, leaningWall,
                                       bridge, table,  bellOnLegs, ventedBox};
const std::vector<Make> faultyThings = {lateIsland, partOnNothing, longShelf,    wideBridge,
                                        flatSlope,  cutOff,        shortSupport, sealedBox,
                                        bowl,       bellOnPlate,   lateVent};
constexpr uint32_t soundSolids = 6;
constexpr uint32_t faultySolids = 6;

using Picture = std::vector<uint8_t>;

void paint(const Block& block, int z, int slotX, int slotY, Picture& picture) {
  if (z < block.z0 || z >= block.z1) return;
  const auto set = [&](int x, int y) {
    if (x < 0 || y < 0 || x >= width || y >= height) return;
    picture[static_cast<std::size_t>(y) * width + static_cast<std::size_t>(x)] =
        block.isSolid ? 1 : 0;
  };
  const auto right = block.x1 + static_cast<int>(std::lround(block.growRight * (z - block.z0)));
  if (block.growAll == 0) {
    for (int y = block.y0; y < block.y1; ++y) {
      for (int x = block.x0; x < right; ++x) set(slotX + x, slotY + y);
    }
    return;
  }
  const double radius = (block.x1 - block.x0) / 2.0 + block.growAll * (z - block.z0);
  const double centreX = (block.x0 + block.x1 - 1) / 2.0;
  const double centreY = (block.y0 + block.y1 - 1) / 2.0;
  for (int y = 0; y < slotSide; ++y) {
    for (int x = 0; x < slotSide; ++x) {
      if (std::hypot(x - centreX, y - centreY) <= radius) set(slotX + x, slotY + y);
    }
  }
}

// Ends of runs that jump to and fro stand for contours that were rounded one way or the other.
RunRows runsOf(const Picture& picture, bool isRough, Random& random) {
  const auto jump = [&] { return isRough && random.oneIn(4) ? random.between(-1, 1) : 0; };
  RunRows rows;
  for (int y = 0; y < height; ++y) {
    const auto row = picture.begin() + y * width;
    for (auto begin = std::find(row, row + width, 1); begin != row + width;) {
      const auto end = std::find(begin, row + width, 0);
      rows.add(std::clamp<int>(static_cast<int>(begin - row) + jump(), 1, width - 1),
               std::clamp<int>(static_cast<int>(end - row) + jump(), 1, width - 1));
      begin = std::find(end, row + width, 1);
    }
    rows.endRow();
  }
  return rows;
}

// Takes the material out of some layers.
void addGap(FaultyPrint& print, Random& random) {
  const auto depth = static_cast<int>(print.layers.size());
  const int first = random.between(1, depth - 2);
  const int last = std::min(first + random.between(0, 2), depth - 2);
  for (int z = first; z <= last; ++z) {
    RunRows empty;
    for (int y = 0; y < height; ++y) empty.endRow();
    print.layers[static_cast<std::size_t>(z)] = empty;
  }
  // What begins in these layers begins above them now.
  for (PlantedFault& fault : print.faults) {
    const auto above = static_cast<uint32_t>(last + 1);
    if (fault.firstLayer >= static_cast<uint32_t>(first) && fault.firstLayer < above) {
      fault.firstLayer = above;
      fault.lastLayer = std::max(fault.lastLayer, above);
    }
  }
  print.faults.push_back(
      {gapName, Kind::emptyLayers, static_cast<uint32_t>(first), static_cast<uint32_t>(first)});
}

bool tells(const Finding& finding, const PlantedFault& fault) {
  const Extent& extent = finding.extent;
  if (finding.kind != fault.kind) return false;
  const bool isFailure = fault.kind == Kind::emptyLayers || fault.kind == Kind::floatingPart ||
                         fault.kind == Kind::island || fault.kind == Kind::overhang;
  if (isFailure && finding.severity != Severity::fails) return false;
  if (extent.firstLayer < fault.firstLayer || extent.firstLayer > fault.lastLayer) return false;
  if (fault.kind == Kind::emptyLayers || fault.kind == Kind::specks) return true;
  return extent.left >= fault.left && extent.right <= fault.right && extent.top >= fault.top &&
         extent.bottom <= fault.bottom;
}

}  // namespace

FaultyPrint randomFaultyPrint(Random& random) {
  FaultyPrint print;
  CheckSettings& settings = print.settings;
  settings.pixelWidth = settings.pixelHeight = settings.layerHeight = 0.1;
  settings.screenWidth = width;
  settings.screenHeight = height;

  const bool isRough = random.oneIn(2);
  const bool hasGap = random.oneIn(4);
  const bool hasSpecks = !isRough && random.oneIn(3);
  std::vector<Thing> things;
  for (int slot = 0; slot < slotColumns * slotRows; ++slot) {
    const bool isSound = random.oneIn(2);
    const std::vector<Make>& all = isSound ? soundThings : faultyThings;
    const uint32_t solids = isSound ? soundSolids : faultySolids;
    const Thing thing = all[random.below(hasGap ? solids : all.size())](random);
    const int x = slot % slotColumns * slotSide;
    const int y = slot / slotColumns * slotSide;
    if (!isSound) {
      print.faults.push_back({thing.fault, thing.kind, static_cast<uint32_t>(thing.firstLayer),
                              static_cast<uint32_t>(thing.lastLayer), x, y, x + slotSide - 1,
                              y + slotSide - 1});
    }
    things.push_back(thing);
  }
  int depth = 0;
  for (const Thing& thing : things) {
    for (const Block& block : thing.blocks) depth = std::max(depth, std::min(block.z1, layers));
  }
  for (int z = 0; z < depth; ++z) {
    Picture picture(std::size_t{width} * height, 0);
    for (std::size_t i = 0; i < things.size(); ++i) {
      const int slot = static_cast<int>(i);
      for (const Block& block : things[i].blocks) {
        paint(block, z, slot % slotColumns * slotSide, slot / slotColumns * slotSide, picture);
      }
    }
    // Between the slots, where nothing else is.
    if (hasSpecks && z % 10 == 1) {
      picture[static_cast<std::size_t>(slotSide - 2) * width + slotSide] = 1;
    }
    print.layers.push_back(runsOf(picture, isRough, random));
  }
  if (hasSpecks) print.faults.push_back({speckName, Kind::specks, 1, layers});
  if (hasGap) addGap(print, random);
  return print;
}

FaultTally::Row& FaultTally::rowOf(const std::string& name) {
  const auto known =
      std::find_if(rows.begin(), rows.end(), [&](const Row& row) { return row.name == name; });
  if (known != rows.end()) return *known;
  rows.push_back({name});
  return rows.back();
}

void FaultTally::add(const FaultyPrint& print) {
  PrintCheck check(print.settings);
  for (const RunRows& layer : print.layers) check.add(layer, print.settings.screenWidth);
  const CheckReport report = check.finish();
  ++prints;
  const auto isThing = [](const PlantedFault& fault) {
    return fault.name != gapName && fault.name != speckName;
  };
  sound += slotColumns * slotRows -
           static_cast<uint32_t>(std::count_if(print.faults.begin(), print.faults.end(), isThing));
  std::vector<uint32_t> told(print.faults.size(), 0);
  for (const Finding& finding : report.findings) {
    const auto fault = std::find_if(print.faults.begin(), print.faults.end(),
                                    [&](const PlantedFault& f) { return tells(finding, f); });
    if (fault == print.faults.end()) {
      falseAlarms.push_back(finding);
    } else {
      ++told[static_cast<std::size_t>(fault - print.faults.begin())];
    }
  }
  for (std::size_t i = 0; i < told.size(); ++i) {
    Row& row = rowOf(print.faults[i].name);
    ++row.planted;
    row.found += told[i] > 0 ? 1 : 0;
    row.toldAgain += told[i] > 1 ? told[i] - 1 : 0;
  }
}

}  // namespace stiltforge::check

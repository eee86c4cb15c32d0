#include "check/print_check.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>

#include "runtime/number_text.h"
#include "runtime/worker_pool.h"

namespace stiltforge::check {

namespace {

constexpr double roundingSlack = 1e-9;
// Of what just carries itself, so that the rounding of contours to pixels gives no alarm.
constexpr double growthMargin = 1.1;
// In which the near reach is walked.
constexpr uint32_t nearSteps = 4;
// Of the far reach to the near one, at most.
constexpr double farthest = 10;
// Of what a speck may have, from which on all specks together are a risk.
constexpr double manySpecks = 100;
// An island that begins with so few pixels may be a layer late: with pixels that fall otherwise it
// would begin a layer later.
constexpr uint32_t pixelsOfTip = 4;
// Further away nothing is looked for.
constexpr double longestReach = 4096;

void require(bool holds, const char* what, double value, const char* unit = "") {
  if (!holds) throw std::invalid_argument(what + (", not " + numberText(value)) + unit);
}

double growthOf(const CheckSettings& settings) {
  const double angle = settings.criticalAngle * std::numbers::pi / 180;
  return growthMargin * settings.layerHeight * std::cos(angle) / std::sin(angle);
}

CheckSettings checked(const CheckSettings& settings) {
  const auto isPositive = [](double value) { return std::isfinite(value) && value > 0; };
  require(isPositive(settings.pixelWidth), "the width of a pixel must be above 0 mm",
          settings.pixelWidth, " mm");
  require(isPositive(settings.pixelHeight), "the height of a pixel must be above 0 mm",
          settings.pixelHeight, " mm");
  require(isPositive(settings.layerHeight), "the layer height must be above 0 mm",
          settings.layerHeight, " mm");
  const double firstLayerHeight = settings.firstLayerHeight.value_or(settings.layerHeight);
  require(isPositive(firstLayerHeight), "the height of the first layer must be above 0 mm",
          firstLayerHeight, " mm");
  require(settings.criticalAngle > 0 && settings.criticalAngle <= 90,
          "the critical angle must be above 0 and at most 90 degrees", settings.criticalAngle);
  const double pixel = std::min(settings.pixelWidth, settings.pixelHeight);
  require(growthOf(settings) <= longestReach * pixel,
          "the critical angle must let a layer grow by 4096 pixels at most", settings.criticalAngle,
          " degrees");
  require(isPositive(settings.nearReach) && settings.nearReach <= longestReach * pixel,
          "the near reach must be above 0 mm and at most 4096 pixels", settings.nearReach, " mm");
  require(
      settings.farReach >= settings.nearReach && settings.farReach <= farthest * settings.nearReach,
      "the far reach must be 1 to 10 times the near one", settings.farReach, " mm");
  require(settings.tipRadius >= 0 && settings.tipRadius <= longestReach * pixel,
          "the tip's radius must be from 0 mm to 4096 pixels", settings.tipRadius, " mm");
  require(settings.islandHeight >= 0 && settings.islandHeight <= 65535 * settings.layerHeight,
          "the height of an island must be from 0 to 65535 layers", settings.islandHeight, " mm");
  for (const double least : {settings.speckVolume, settings.leastOverhang, settings.leastTrap,
                             settings.leastCup, settings.riskyTrap, settings.riskyCup}) {
    require(std::isfinite(least) && least >= 0, "areas and volumes must be 0 or more", least);
  }
  require(settings.screenWidth >= 1 && settings.screenWidth <= 65535,
          "the screen must be 1 to 65535 pixels wide", settings.screenWidth);
  require(settings.screenHeight >= 1 && settings.screenHeight <= 65535,
          "the screen must be 1 to 65535 pixels high", settings.screenHeight);
  return settings;
}

uint32_t layersOf(double height, double layerHeight) {
  return static_cast<uint32_t>(std::floor(height / layerHeight + roundingSlack));
}

FloatingBodies::Limits limitsOf(const CheckSettings& settings) {
  const double voxel = settings.pixelWidth * settings.pixelHeight * settings.layerHeight;
  const double pixels = std::ceil(settings.speckVolume / voxel - roundingSlack);
  // More than a print has: voxels may be so small that their volume is 0.
  constexpr double most = 0x1p62;
  return {layersOf(settings.islandHeight, settings.layerHeight),
          pixels < most ? static_cast<uint64_t>(pixels) : static_cast<uint64_t>(most)};
}

CarrySettings carryOf(const CheckSettings& settings) {
  const double step = settings.nearReach / nearSteps;
  // What is nearly 0 has no such parts.
  const double farSteps = std::min(std::round(settings.farReach / step), farthest * nearSteps);
  return {settings.pixelWidth, settings.pixelHeight, growthOf(settings), step,
          static_cast<uint32_t>(farSteps)};
}

// How far the border of what carries itself may move from one layer to the next.
Reach frontReach(const CheckSettings& settings) {
  const double growth = growthOf(settings);
  return {std::ceil(growth / settings.pixelWidth) + 0.5,
          std::ceil(growth / settings.pixelHeight) + 0.5};
}

// Of each component of `pixels`, how many are among `some`, which lie within them.
std::vector<uint64_t> sharesOf(const hold::Components& pixels, const RunRows& some) {
  std::vector<uint64_t> shares(pixels.count, 0);
  hold::forEachShared(pixels.pixels, some,
                      [&](uint32_t run, uint32_t, uint16_t begin, uint16_t end) {
                        shares[pixels.ofRun[run]] += static_cast<uint64_t>(end - begin);
                      });
  return shares;
}

}  // namespace

PrintCheck::PrintCheck(const CheckSettings& settings, std::vector<SupportPoint> points)
    : settings_(checked(settings)),
      pixelArea_(settings.pixelWidth * settings.pixelHeight),
      thicker_(settings.firstLayerHeight.value_or(settings.layerHeight) - settings.layerHeight),
      limits_(limitsOf(settings)),
      farSteps_(carryOf(settings).steps),
      points_(std::move(points)),
      isTouching_(points_.size(), 0),
      floating_(
          limits_, settings.liftedLayers == 0,
          [this](const auto& body, uint32_t layer) { noteTaken(body, layer); },
          [this](const auto& body) { noteFloating(body); }),
      carried_(carryOf(settings)),
      overhang_(frontReach(settings), [this](const auto& body) { noteOverhang(body); }),
      edge_(Reach(0, 0), [this](const auto& body) { noteEdge(body); }),
      cavities_([this](const auto& cavity) { endedCavities_.push_back(cavity); }) {
  std::stable_sort(points_.begin(), points_.end(),
                   [](const SupportPoint& a, const SupportPoint& b) { return a.layer < b.layer; });
}

void PrintCheck::requireSize(const RunRows& material, uint32_t width) {
  const int height = material.height();
  const auto size = [](uint64_t w, uint64_t h) {
    return std::to_string(w) + " x " + std::to_string(h) + " pixels";
  };
  if (layer_ > 0) {
    if (width == width_ && height == height_) return;
    throw std::invalid_argument("a layer of " + size(width, static_cast<uint64_t>(height)) +
                                " follows layers of " +
                                size(width_, static_cast<uint64_t>(height_)));
  }
  if (width == 0 || height == 0 || uint64_t{settings_.cropX} + width > settings_.screenWidth ||
      uint64_t{settings_.cropY} + static_cast<uint64_t>(height) > settings_.screenHeight) {
    throw std::invalid_argument("layers of " + size(width, static_cast<uint64_t>(height)) +
                                " do not lie on a screen of " +
                                size(settings_.screenWidth, settings_.screenHeight));
  }
  width_ = width;
  height_ = height;
}

void PrintCheck::add(const RunRows& material, uint32_t width) {
  requireSize(material, width);
  workers::parallelFor(2, [&](std::size_t i) {
    if (i == 0) {
      addRegions(material);
    } else {
      cavities_.add(material, static_cast<int>(width), layer_);
    }
  });
  noteCavities();
  ++layer_;
}

void PrintCheck::addRegions(const RunRows& material) {
  if (material.empty()) {
    ++empty_;
    return;
  }
  if (isBelowLiftedPart()) empty_ = 0;
  noteEmptyLayers(Severity::fails);
  const bool isOnPlate = pixels_ == 0 && settings_.liftedLayers == 0;
  pixels_ += material.pixelCount();
  if (layer_ == 0) firstPixels_ = pixels_;
  below_ = std::move(regions_);
  regions_ = hold::findComponents(material, hold::Contact::sidesAndCorners);
  std::vector<uint8_t> hasPoint(regions_.count, 0);
  const RunRows touched = touchPoints(hasPoint);
  floating_.add(regions_, below_, layer_, hasPoint);
  std::vector<uint8_t> carriesItself(regions_.count);
  for (uint32_t region = 0; region < regions_.count; ++region) {
    carriesItself[region] = isOnPlate || floating_.isFloating(region) ? 1 : 0;
  }
  carried_.add(regions_, carriesItself, touched);
  addOverhang();
  addEdge(material);
}

// Which points the material of this layer touches: it has the point's pixel in the point's layer,
// or begins there in one that is as near as an island may grow alone.
RunRows PrintCheck::touchPoints(std::vector<uint8_t>& hasPoint) {
  const uint32_t near = limits_.layers;
  while (firstNear_ < points_.size() && uint64_t{points_[firstNear_].layer} + near < layer_) {
    ++firstNear_;
  }
  const Reach tip(settings_.tipRadius / settings_.pixelWidth,
                  settings_.tipRadius / settings_.pixelHeight);
  std::vector<std::pair<int, Run>> stretches;
  for (std::size_t i = firstNear_; i < points_.size(); ++i) {
    const SupportPoint& point = points_[i];
    if (point.layer > uint64_t{layer_} + near) break;
    const uint32_t region = regions_.at(point.x, point.y);
    if (region == hold::Components::none) continue;
    const bool begins = below_.at(point.x, point.y) == hold::Components::none;
    if (point.layer != layer_ && !begins) continue;
    isTouching_[i] = 1;
    hasPoint[region] = 1;
    for (int away = -tip.rows(); away <= tip.rows(); ++away) {
      const int reach = tip.columnsAt(away);
      stretches.push_back(
          {point.y + away,
           {static_cast<uint16_t>(std::max(point.x - reach, 0)),
            static_cast<uint16_t>(std::min<int>(point.x + reach + 1, static_cast<int>(width_)))}});
    }
  }
  std::sort(stretches.begin(), stretches.end(), [](const auto& a, const auto& b) {
    return std::tuple(a.first, a.second.begin) < std::tuple(b.first, b.second.begin);
  });
  RunRows touched;
  auto next = stretches.begin();
  while (next != stretches.end() && next->first < 0) ++next;
  for (int y = 0; y < height_; ++y) {
    for (; next != stretches.end() && next->first == y; ++next) {
      touched.add(next->second.begin, next->second.end);
    }
    touched.endRow();
  }
  return touched;
}

void PrintCheck::addOverhang() {
  hold::Components near =
      hold::findComponents(carried_.beyond(nearSteps), hold::Contact::sidesAndCorners);
  const std::vector<uint64_t> far =
      near.count == 0 ? std::vector<uint64_t>() : sharesOf(near, carried_.beyond(farSteps_));
  overhang_.add(std::move(near), layer_, far);
}

void PrintCheck::addEdge(const RunRows& material) {
  const bool hasTop = settings_.cropY == 0;
  const bool hasLeft = settings_.cropX == 0;
  const bool hasRight = settings_.cropX + width_ == settings_.screenWidth;
  const bool hasBottom = settings_.cropY + static_cast<uint32_t>(height_) == settings_.screenHeight;
  const auto last = static_cast<int32_t>(width_) - 1;
  RunRows border;
  for (int y = 0; y < height_; ++y) {
    const bool isWhole = (y == 0 && hasTop) || (y + 1 == height_ && hasBottom);
    for (const Run& run : material.row(y)) {
      if (isWhole) {
        border.add(run.begin, run.end);
        continue;
      }
      if (hasLeft && run.begin == 0) border.add(0, 1);
      if (hasRight && run.end > last) border.add(last, last + 1);
    }
    border.endRow();
  }
  hold::Components touching =
      hold::findComponents(std::move(border), hold::Contact::sidesAndCorners);
  const std::vector<uint64_t> nothing(touching.count, 0);
  edge_.add(std::move(touching), layer_, nothing);
}

CheckReport PrintCheck::finish() {
  floating_.finish();
  overhang_.finish();
  edge_.finish();
  cavities_.finish();
  noteCavities();
  noteEmptyLayers(pixels_ == 0 ? Severity::fails : Severity::note);
  noteIdlePoints();
  if (specks_.count > 0) {
    specks_.severity =
        specks_.volume >= manySpecks * settings_.speckVolume ? Severity::risk : Severity::note;
    note(specks_);
  }
  CheckReport report;
  report.layers = layer_;
  report.volume = volumeOf(pixels_, firstPixels_);
  report.counts = counts_;
  report.findings = std::move(findings_);
  std::stable_sort(report.findings.begin(), report.findings.end(),
                   [](const Finding& a, const Finding& b) {
                     const auto rank = [](const Finding& f) {
                       return std::tuple(f.severity, f.extent.firstLayer, f.kind, f.extent.piece.y,
                                         f.extent.piece.x);
                     };
                     return rank(a) < rank(b);
                   });
  return report;
}

// A tip that is finer than a pixel shows a layer later.
bool PrintCheck::isBelowLiftedPart() const {
  return pixels_ == 0 && settings_.liftedLayers > 0 && layer_ <= settings_.liftedLayers + 1;
}

void PrintCheck::noteEmptyLayers(Severity severity) {
  if (empty_ == 0) return;
  Finding finding;
  finding.kind = Kind::emptyLayers;
  finding.severity = severity;
  finding.extent.firstLayer = layer_ - std::exchange(empty_, 0);
  finding.extent.lastLayer = layer_ - 1;
  finding.extent.piece.layer = finding.extent.firstLayer;
  note(finding);
}

void PrintCheck::noteFloating(const FloatingBodies::Body& body) {
  if (body.extent.pixels < limits_.pixels) {
    addSpeck(body);
    return;
  }
  Finding finding;
  finding.kind = Kind::floatingPart;
  finding.severity = Severity::fails;
  finding.extent = body.extent;
  finding.extent.piece = body.islands.front().spot;
  finding.count = static_cast<uint32_t>(body.islands.size());
  finding.volume = volumeOf(body.extent);
  finding.area = areaOf(body.extent.pieceSize);
  note(finding);
}

void PrintCheck::noteTaken(const FloatingBodies::Body& body, uint32_t layer) {
  if (body.extent.pixels < limits_.pixels) {
    addSpeck(body);
    return;
  }
  for (const FloatingBodies::Island& island : body.islands) {
    const uint32_t most = limits_.layers + (island.pixels <= pixelsOfTip ? 1 : 0);
    const bool isLate = layer - island.spot.layer > most;
    Finding finding;
    finding.kind = Kind::island;
    finding.severity = isLate ? Severity::fails : Severity::note;
    finding.extent = body.extent;
    finding.extent.firstLayer = island.spot.layer;
    finding.extent.piece = island.spot;
    finding.volume = volumeOf(body.extent);
    finding.area = areaOf(island.pixels);
    finding.takenIn = layer;
    note(finding);
  }
}

void PrintCheck::addSpeck(const FloatingBodies::Body& body) {
  specks_.extent.join(body.extent);
  specks_.volume += volumeOf(body.extent);
  ++specks_.count;
}

void PrintCheck::noteOverhang(const Bodies::Body& body) {
  if (areaOf(body.extent.pieceSize) < settings_.leastOverhang) return;
  const bool isFar = body.marked > 0 && areaOf(body.marked) >= settings_.leastOverhang;
  // As an island may, an overhang may grow a little before something takes it.
  const auto isTakenLate = [&](uint32_t first, uint32_t last) {
    return last - first >= limits_.layers;
  };
  Finding finding;
  finding.kind = Kind::overhang;
  if (isFar && isTakenLate(body.firstMarked, body.lastMarked)) {
    finding.severity = Severity::fails;
  } else if (isFar || isTakenLate(body.extent.firstLayer, body.extent.lastLayer)) {
    finding.severity = Severity::risk;
  }
  finding.extent = body.extent;
  finding.area = areaOf(body.extent.pieceSize);
  note(finding);
}

void PrintCheck::noteEdge(const Bodies::Body& body) {
  Finding finding;
  finding.kind = Kind::screenEdge;
  finding.severity = Severity::risk;
  finding.extent = body.extent;
  note(finding);
}

void PrintCheck::noteCavities() {
  for (const Cavities::Cavity& cavity : endedCavities_) {
    Finding finding;
    finding.extent = cavity.extent;
    finding.volume = volumeOf(cavity.extent);
    finding.area = areaOf(cavity.largestOpening);
    finding.reachesPlate = cavity.reachesPlate;
    const bool isTrap = cavity.end == Cavities::End::closed && !cavity.reachesPlate;
    finding.kind = isTrap ? Kind::resinTrap : Kind::suctionCup;
    if (finding.volume < (isTrap ? settings_.leastTrap : settings_.leastCup)) continue;
    const bool isRisk =
        isTrap ? finding.volume >= settings_.riskyTrap : finding.area >= settings_.riskyCup;
    finding.severity = isRisk ? Severity::risk : Severity::note;
    note(finding);
  }
  endedCavities_.clear();
}

void PrintCheck::noteIdlePoints() {
  Finding finding;
  finding.count = 0;
  for (std::size_t i = 0; i < points_.size(); ++i) {
    if (isTouching_[i] != 0) continue;
    const SupportPoint& point = points_[i];
    const Extent extent{
        point.layer, point.layer, point.x, point.x, point.y,
        point.y,     1,           0,       1,       {point.layer, point.x, point.y}};
    finding.extent.join(extent);
    ++finding.count;
  }
  if (finding.count == 0) return;
  finding.kind = Kind::idlePoints;
  finding.severity = Severity::risk;
  note(finding);
}

void PrintCheck::note(const Finding& finding) {
  ++counts_[static_cast<std::size_t>(finding.severity)];
  uint32_t& kept = kept_[static_cast<std::size_t>(finding.kind)];
  if (kept >= settings_.mostFindings) return;
  ++kept;
  findings_.push_back(finding);
}

}  // namespace stiltforge::check

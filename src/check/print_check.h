#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "analysis/run_rows.h"
#include "check/bodies.h"
#include "check/carried_material.h"
#include "check/cavities.h"
#include "check/finding.h"
#include "check/floating_bodies.h"
#include "hold/components.h"

namespace stiltforge::check {

struct CheckSettings {
  double pixelWidth = 0;   ///< mm
  double pixelHeight = 0;  ///< mm
  double layerHeight = 0;  ///< mm
  /// mm, of the lowest layer where it has another height, of which the print's volume takes
  /// account.
  std::optional<double> firstLayerHeight;
  /// Pixels of the screen, and where the layers lie on it.
  uint32_t screenWidth = 0;
  uint32_t screenHeight = 0;
  uint32_t cropX = 0;
  uint32_t cropY = 0;
  /// Layers between the plate and a lifted part, through which its supports alone lead: they may be
  /// empty, and nothing of the part lies on the plate. 0 for a part that stands on it.
  uint32_t liftedLayers = 0;

  double criticalAngle = 45;   ///< degrees between the plate and a surface that just carries itself
  double nearReach = 4;        ///< mm from what carries it, beyond which an overhang is at risk
  double farReach = 6;         ///< mm beyond which it fails
  double tipRadius = 0.2;      ///< mm around a point that it carries
  double islandHeight = 0.2;   ///< mm that an island may grow before something takes it
  double speckVolume = 0.01;   ///< mm3 below which what floats is a speck
  double leastOverhang = 0.5;  ///< mm2 of a layer from which on an overhang counts
  double leastTrap = 1;        ///< mm3 from which on a cavity without an opening counts
  double leastCup = 5;         ///< mm3 from which on a cup counts
  double riskyTrap = 20;       ///< mm3 from which on it is a risk
  double riskyCup = 50;        ///< mm2 of its opening from which on a cup is a risk
  uint32_t mostFindings = 1000;  ///< of a kind that are kept; the others are counted
};

/// A support point, in pixels of the layers.
struct SupportPoint {
  uint32_t layer = 0;
  uint16_t x = 0;
  uint16_t y = 0;
};

struct CheckReport {
  uint32_t layers = 0;
  double volume = 0;  ///< mm3 of material
  /// Those that fail first, then bottom first.
  std::vector<Finding> findings;
  Counts counts{};  ///< by severity, with those that were not kept
};

/// Checks layer by layer whether a print will hold as it is. Takes memory for the contours of two
/// layers and for what is found. The same findings for any number of workers.
///
/// Each cause is one finding: what is found to begin in the air counts as held from there on, and
/// so does what lies above layers that are empty. One thread at a time.
class PrintCheck {
 public:
  /// points: the supports of a print whose layers show none, in any order. Throws
  /// std::invalid_argument when a setting makes no sense.
  explicit PrintCheck(const CheckSettings& settings, std::vector<SupportPoint> points = {});
  PrintCheck(const PrintCheck&) = delete;
  PrintCheck& operator=(const PrintCheck&) = delete;

  /// Takes the material of the next layer of `width` columns, bottom first. Throws
  /// std::invalid_argument when the layer does not lie on the screen or has not the first one's
  /// size.
  void add(const RunRows& material, uint32_t width);
  uint32_t layerCount() const { return layer_; }
  /// What was found so far, those beyond mostFindings too.
  const Counts& counts() const { return counts_; }

  /// Ends the print: nothing may be added afterwards.
  CheckReport finish();

 private:
  void requireSize(const RunRows& material, uint32_t width);
  void noteEmptyLayers(Severity severity);
  bool isBelowLiftedPart() const;
  void addRegions(const RunRows& material);
  RunRows touchPoints(std::vector<uint8_t>& hasPoint);
  void addOverhang();
  void addEdge(const RunRows& material);

  void noteFloating(const FloatingBodies::Body& body);
  void noteTaken(const FloatingBodies::Body& body, uint32_t layer);
  void addSpeck(const FloatingBodies::Body& body);
  void noteOverhang(const Bodies::Body& body);
  void noteEdge(const Bodies::Body& body);
  void noteCavities();
  void noteIdlePoints();
  void note(const Finding& finding);

  double areaOf(uint64_t pixels) const { return static_cast<double>(pixels) * pixelArea_; }
  /// `firstPixels`: of the pixels, those of the first layer.
  double volumeOf(uint64_t pixels, uint64_t firstPixels) const {
    return areaOf(pixels) * settings_.layerHeight + areaOf(firstPixels) * thicker_;
  }
  double volumeOf(const Extent& extent) const {
    return volumeOf(extent.pixels, extent.firstPixels);
  }

  const CheckSettings settings_;
  const double pixelArea_;  // mm2
  const double thicker_;    // mm, the first layer than the others
  const FloatingBodies::Limits limits_;
  const uint32_t farSteps_;
  std::vector<SupportPoint> points_;  // by layer
  std::vector<uint8_t> isTouching_;   // by point
  std::size_t firstNear_ = 0;         // the first point that this layer or a higher one may touch

  uint32_t layer_ = 0;
  uint32_t width_ = 0;
  int height_ = 0;
  uint64_t pixels_ = 0;
  uint64_t firstPixels_ = 0;  // of them, those of the first layer
  uint32_t empty_ = 0;        // empty layers below this one
  hold::Components regions_;  // of the last layer that is not empty
  hold::Components below_;
  FloatingBodies floating_;
  CarriedMaterial carried_;
  Bodies overhang_;
  Bodies edge_;
  Cavities cavities_;
  std::vector<Cavities::Cavity> endedCavities_;  // of this layer

  std::vector<Finding> findings_;
  std::array<uint32_t, kinds> kept_{};
  Counts counts_{};
  Finding specks_ = {Kind::specks, Severity::note, {}, 0};
};

}  // namespace stiltforge::check

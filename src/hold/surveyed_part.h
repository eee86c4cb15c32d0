#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "analysis/layer.h"
#include "analysis/slice.h"
#include "hold/finisher.h"
#include "hold/judge.h"
#include "hold/survey.h"

namespace stiltforge::hold {

/// A region as the analysis weighed it: why it got supports, or none.
struct RegionRecord {
  uint32_t layer = 0;
  uint32_t region = 0;         ///< in its layer, from 1
  uint32_t pixels = 0;         ///< of the region
  uint32_t resting = 0;        ///< of them that lie on material of the layer below
  uint32_t overhanging = 0;    ///< of them with a support value below 255
  uint32_t layersBelow = 0;    ///< of material without a gap
  uint32_t supportsBelow = 0;  ///< placed in lower layers, that it stands on
  uint32_t supports = 0;       ///< placed in it
  float fromBelow = 0;         ///< strength that the layer below passes up, pixels
  float owed = 0;              ///< weight that nothing held, pixels
};

/// Of the group with that number; without its layer.
RegionRecord recordOf(const Group& group, uint32_t region);

/// What is known of a layer besides its slice.
struct LayerFindings {
  std::vector<SupportPoint> points;
  // Of an analysed layer only.
  std::vector<uint32_t> groupOfPoint;
  ScratchVector<uint32_t> groupOfRun;
  std::vector<RegionRecord> regions;  ///< by group, with the placeholder
};

/// What the analysis has found in the layer, which is the last of its model.
LayerFindings findingsOf(const Layer& layer);

/// A layer for the survey, which may take it when the analysis has gone on.
struct SurveyedLayer {
  Slice slice;
  LayerFindings findings;
};

/// A verdict, and what it does not tell by itself.
struct JudgedPart {
  Verdict verdict;
  JudgeSettings settings;
  std::size_t points = 0;
  double pixelArea = 0;  ///< mm2
  /// By island: the number of the point in its own branch that takes it; none where material does,
  /// or nothing.
  std::vector<uint32_t> takenBy;
  std::vector<uint8_t> isSealed;  ///< by island: it lies in a sealed void
};

/// Points with the regions that they stand in, as far as the analysis has seen these.
struct FinishedPart {
  struct Point {
    FinishedPoint point;
    std::optional<RegionRecord> region;
  };
  struct Dropped {
    DroppedPoint point;
    Site site;
    std::optional<RegionRecord> region;
  };
  std::vector<Point> points;
  std::vector<Dropped> dropped;
  std::vector<uint32_t> islandsLeft;  ///< see Finished
  LeftAlone leftAlone;
  double spacing = 0;  ///< see FinishSettings

  std::vector<Site> sites() const;
};

/// A survey that keeps, for the regions in which points stand or may be added, how the analysis
/// weighed them. One thread at a time.
class SurveyedPart {
 public:
  /// Throws as the constructor of Survey does.
  explicit SurveyedPart(const SurveySettings& settings) : survey_(settings) {}

  /// Takes the next layer, bottom first. The findings are those of the slice.
  void add(const Slice& slice, const LayerFindings& findings);
  uint32_t layerCount() const { return survey_.layerCount(); }

  // Each of these ends the part: nothing may be added afterwards.

  /// Judges the points that were added.
  JudgedPart judge(const JudgeSettings& settings);
  /// Judges those that came of them.
  JudgedPart judge(const FinishedPart& finished, const JudgeSettings& settings);
  /// Throws Cancelled soon after the flag was raised; the part may be finished again.
  FinishedPart finish(const FinishSettings& settings, const std::atomic<bool>* cancelled = nullptr);
  bool isEnded() const { return isEnded_; }

 private:
  void end();
  void noteRegions(const Slice& slice, const LayerFindings& layer, std::size_t islandsBefore);
  uint32_t noteOf(const LayerFindings& layer, uint32_t group);
  std::optional<RegionRecord> recordOf(uint32_t note) const;
  JudgedPart judged(std::span<const Site> points, const JudgeSettings& settings) const;

  Survey survey_;
  bool isEnded_ = false;
  std::vector<RegionRecord> notes_;
  std::vector<uint32_t> noteOfGroup_;  // of the layer last added; none where there is none yet
  // In notes_, by number of the point, the island and the sample.
  std::vector<uint32_t> ofPoint_;
  std::vector<uint32_t> ofIsland_;
  std::vector<uint32_t> ofSample_;
  std::vector<std::size_t> samplesBelow_;  // samples so far, by layer
};

}  // namespace stiltforge::hold

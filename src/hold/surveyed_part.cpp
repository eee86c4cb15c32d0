#include "hold/surveyed_part.h"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

#include "hold/components.h"
#include "hold/place.h"

namespace stiltforge::hold {

namespace {

constexpr uint32_t none = Place::none;

// A pixel of the part; no two that differ compare equal.
std::tuple<uint32_t, uint16_t, uint16_t> pixelOf(const Place& place) {
  return {place.layer, place.y, place.x};
}

// Notes by the place that they belong to.
class NotedPlaces {
 public:
  void add(const Place& place, uint32_t note) {
    if (note != none) noted_.emplace_back(pixelOf(place), note);
  }
  void sort() { std::sort(noted_.begin(), noted_.end()); }
  uint32_t at(const Place& place) const {
    const auto found =
        std::lower_bound(noted_.begin(), noted_.end(), std::pair(pixelOf(place), 0u));
    return found != noted_.end() && found->first == pixelOf(place) ? found->second : none;
  }

 private:
  std::vector<std::pair<std::tuple<uint32_t, uint16_t, uint16_t>, uint32_t>> noted_;
};

}  // namespace

std::vector<Site> FinishedPart::sites() const {
  std::vector<Site> sites;
  sites.reserve(points.size());
  for (const Point& point : points) sites.push_back(point.point.site);
  return sites;
}

RegionRecord recordOf(const Group& group, uint32_t region) {
  RegionRecord record;
  record.region = region;
  record.pixels = group.numPixel;
  record.resting = group.supportedPixel;
  record.overhanging = group.unsupportedPixelCount;
  record.layersBelow = group.islandDistance;
  record.fromBelow = group.fromBelow;
  record.owed = group.owed;
  if (group.placement) {
    record.supportsBelow = static_cast<uint32_t>(group.placement->ghostSupports.size());
    record.supports = static_cast<uint32_t>(group.placement->supports.size());
  }
  return record;
}

LayerFindings findingsOf(const Layer& layer) {
  LayerFindings findings;
  findings.groupOfRun = layer.groupOfRun;
  findings.regions.resize(layer.groups.size());
  for (uint32_t i = 1; i < layer.groups.size(); ++i) {
    const Group& group = layer.groups[i];
    findings.regions[i] = recordOf(group, i);
    if (!group.placement) continue;
    for (const Voxel& support : group.placement->supports) {
      findings.points.push_back({support.x, support.y, support.isMinima});
      findings.groupOfPoint.push_back(i);
    }
  }
  return findings;
}

void SurveyedPart::add(const Slice& slice, const LayerFindings& findings) {
  const std::size_t islandsBefore = survey_.islands().size();
  survey_.add(slice);
  survey_.addPoints(slice, findings.points);
  noteRegions(slice, findings, islandsBefore);
}

void SurveyedPart::noteRegions(const Slice& slice, const LayerFindings& layer,
                               std::size_t islandsBefore) {
  const uint32_t current = survey_.layerCount() - 1;
  const std::vector<OverhangSample>& samples = survey_.samples();
  noteOfGroup_.assign(layer.regions.size(), none);
  const auto noteAt = [&](const Place& place) {
    if (layer.regions.empty()) return none;
    const uint32_t run = findRun(slice.material, place.x, place.y);
    return run == none ? none : noteOf(layer, layer.groupOfRun[run]);
  };
  for (std::size_t i = 0; i < layer.points.size(); ++i) {
    ofPoint_.push_back(layer.regions.empty() ? none : noteOf(layer, layer.groupOfPoint[i]));
  }
  for (std::size_t i = islandsBefore; i < survey_.islands().size(); ++i) {
    ofIsland_.push_back(noteAt(survey_.islands()[i].place));
  }
  // A sample may move up as long as its cell reaches.
  const SurveySettings& settings = survey_.settings();
  const double reach = std::ceil(settings.sampleSize / settings.layerHeight) + 1;
  const std::size_t first =
      reach > current ? 0 : samplesBelow_[current - static_cast<uint32_t>(reach)];
  ofSample_.resize(samples.size(), none);
  for (std::size_t i = first; i < samples.size(); ++i) {
    if (samples[i].place.layer == current) ofSample_[i] = noteAt(samples[i].place);
  }
  samplesBelow_.push_back(samples.size());
}

uint32_t SurveyedPart::noteOf(const LayerFindings& layer, uint32_t group) {
  uint32_t& note = noteOfGroup_[group];
  if (note == none) {
    note = static_cast<uint32_t>(notes_.size());
    notes_.push_back(layer.regions[group]);
    notes_.back().layer = survey_.layerCount() - 1;
  }
  return note;
}

std::optional<RegionRecord> SurveyedPart::recordOf(uint32_t note) const {
  if (note == none) return std::nullopt;
  return notes_[note];
}

void SurveyedPart::end() {
  if (!isEnded_) survey_.finish();
  isEnded_ = true;
}

JudgedPart SurveyedPart::judged(std::span<const Site> points, const JudgeSettings& settings) const {
  JudgedPart part;
  part.verdict = hold::judge(survey_, points, settings);
  part.settings = settings;
  part.points = points.size();
  part.pixelArea = survey_.settings().pixelSize * survey_.settings().pixelSize;
  std::vector<std::tuple<uint32_t, uint32_t, uint32_t>> branches;  // track, layer, point
  for (uint32_t i = 0; i < points.size(); ++i) {
    const Place& place = points[i].place;
    if (place.track != none) branches.emplace_back(place.track, place.layer, i);
  }
  std::sort(branches.begin(), branches.end());
  for (const IslandVerdict& verdict : part.verdict.islands) {
    const Place& place = verdict.island.place;
    part.isSealed.push_back(survey_.isSealed(place.space));
    uint32_t by = none;
    if (verdict.takenIn) {
      const auto found =
          std::lower_bound(branches.begin(), branches.end(), std::tuple(place.track, 0u, 0u));
      const bool isOwn = found != branches.end() && std::get<0>(*found) == place.track &&
                         std::get<1>(*found) <= *verdict.takenIn;
      if (isOwn) by = std::get<2>(*found);
    }
    part.takenBy.push_back(by);
  }
  return part;
}

JudgedPart SurveyedPart::judge(const JudgeSettings& settings) {
  end();
  return judged(survey_.points(), settings);
}

JudgedPart SurveyedPart::judge(const FinishedPart& finished, const JudgeSettings& settings) {
  end();
  return judged(finished.sites(), settings);
}

FinishedPart SurveyedPart::finish(const FinishSettings& settings,
                                  const std::atomic<bool>* cancelled) {
  end();
  Finished finished = hold::finish(survey_, settings, cancelled);
  FinishedPart part;
  part.islandsLeft = std::move(finished.islandsLeft);
  part.leftAlone = finished.leftAlone;
  part.spacing = settings.spacing;

  NotedPlaces noted;
  const std::vector<Island>& islands = survey_.islands();
  for (std::size_t i = 0; i < islands.size(); ++i) noted.add(islands[i].place, ofIsland_[i]);
  const std::vector<OverhangSample>& samples = survey_.samples();
  for (std::size_t i = 0; i < samples.size(); ++i) noted.add(samples[i].place, ofSample_[i]);
  noted.sort();
  for (FinishedPoint& point : finished.points) {
    const uint32_t note =
        point.analysed == none ? noted.at(point.site.place) : ofPoint_[point.analysed];
    part.points.push_back({std::move(point), recordOf(note)});
  }
  for (const DroppedPoint& dropped : finished.dropped) {
    part.dropped.push_back(
        {dropped, survey_.points()[dropped.analysed], recordOf(ofPoint_[dropped.analysed])});
  }
  return part;
}

}  // namespace stiltforge::hold

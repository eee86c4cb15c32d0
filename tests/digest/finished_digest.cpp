#include "finished_digest.h"

#include "analysis/run_extraction.h"
#include "hold/finisher.h"
#include "hold/judge.h"
#include "hold/survey.h"

namespace stiltforge::digest {

namespace {

void add(const hold::Place& place, Digest& digest) {
  digest.add(place.layer);
  digest.add(place.x);
  digest.add(place.y);
  digest.add(place.track);
  digest.add(place.space);
  digest.add(place.hasRoom);
}

void add(const hold::Finished& finished, Digest& digest) {
  digest.add(static_cast<uint64_t>(finished.points.size()));
  for (const hold::FinishedPoint& point : finished.points) {
    add(point.site.place, digest);
    digest.add(point.site.isIsland);
    digest.add(static_cast<uint8_t>(point.site.touches));
    digest.add(static_cast<uint8_t>(point.reason));
    digest.add(point.analysed);
    digest.add(point.mergedIn);
  }
  for (const hold::DroppedPoint& point : finished.dropped) {
    digest.add(point.analysed);
    digest.add(static_cast<uint8_t>(point.reason));
    digest.add(point.into);
  }
  digest.add(finished.islandsLeft);
  digest.add(finished.leftAlone.areaNearPlate);
  digest.add(finished.leftAlone.areaNearPart);
  digest.add(finished.leftAlone.sealedArea);
  digest.add(finished.leftAlone.lift);
}

void add(const hold::Surface& surface, Digest& digest) {
  digest.add(surface.pixels);
  digest.add(surface.beyondNear);
  digest.add(surface.beyondFar);
}

void add(const hold::Verdict& verdict, Digest& digest) {
  for (const hold::IslandVerdict& island : verdict.islands) {
    add(island.island.place, digest);
    digest.add(island.island.pixels);
    digest.add(island.takenIn.value_or(hold::Place::none));
  }
  add(verdict.supportable, digest);
  add(verdict.withoutRoom, digest);
  add(verdict.sealed, digest);
  for (const hold::WorstPlace& place : verdict.worst) {
    digest.add(place.layer);
    digest.add(place.x);
    digest.add(place.y);
    digest.add(place.distance);
  }
  digest.add(verdict.inNoMaterial);
  digest.add(verdict.onHeldMaterial);
  digest.add(verdict.pointsWithoutRoom);
  digest.add(verdict.pointsInSealedVoids);
  for (const hold::ClosePair& pair : verdict.closePairs) {
    digest.add(pair.first);
    digest.add(pair.second);
    digest.add(pair.distance);
    digest.add(pair.separate);
  }
}

}  // namespace

void addFinished(const reference::Stack& stack, const std::vector<reference::SliceResult>& results,
                 double pixelSize, double layerHeight, Digest& digest) {
  hold::SurveySettings settings;
  settings.pixelSize = pixelSize;
  settings.layerHeight = layerHeight;
  hold::Survey survey(settings);
  for (std::size_t i = 0; i < stack.slices.size(); ++i) {
    const Slice slice = sliceOfPixels(stack.slices[i].data(), stack.width, stack.height);
    survey.add(slice);
    std::vector<hold::SupportPoint> points;
    for (const reference::GroupResult& group : results[i].groups) {
      for (const reference::SupportResult& support : group.supports) {
        points.push_back({support.x, support.y, support.isMinima});
      }
    }
    survey.addPoints(slice, points);
  }
  survey.finish();
  const hold::Finished finished =
      hold::finish(survey, hold::FinishSettings::forSupportArea(400 * pixelSize * pixelSize));
  add(finished, digest);
  add(hold::judge(survey, finished.sites(), {}), digest);
}

}  // namespace stiltforge::digest

#include "binding/hold_results.h"

#include <optional>
#include <vector>

#include "hold/place.h"

namespace stiltforge::binding {

namespace {

constexpr uint32_t none = hold::Place::none;

void set(ValueMaker& make, napi_value object, const char* key, napi_value value) {
  make.set(object, make.string(key), value);
}

napi_value numberOrNull(ValueMaker& make, uint32_t number) {
  return number == none ? make.null() : make.number(number);
}

template <class Items, class Convert>
napi_value arrayOf(ValueMaker& make, const Items& items, Convert convert) {
  const napi_value array = make.array(items.size());
  uint32_t index = 0;
  for (const auto& item : items) {
    if (make.status() != napi_ok) break;
    const ValueScope scope(make);
    make.set(array, index++, convert(item));
  }
  return array;
}

napi_value numbers(ValueMaker& make, const std::vector<uint32_t>& values) {
  return arrayOf(make, values, [&](uint32_t value) { return make.number(value); });
}

void setPlace(ValueMaker& make, napi_value object, const hold::Place& place) {
  set(make, object, "layer", make.number(place.layer));
  set(make, object, "x", make.number(uint32_t{place.x}));
  set(make, object, "y", make.number(uint32_t{place.y}));
}

napi_value surfaceValue(ValueMaker& make, const hold::Surface& surface, double pixelArea) {
  const napi_value object = make.object();
  const auto area = [&](const char* key, uint64_t pixels) {
    set(make, object, key, make.number(pixelArea * static_cast<double>(pixels)));
  };
  area("area", surface.pixels);
  area("beyondNear", surface.beyondNear);
  area("beyondFar", surface.beyondFar);
  return object;
}

napi_value islandValue(ValueMaker& make, const hold::JudgedPart& part, std::size_t i) {
  const hold::IslandVerdict& verdict = part.verdict.islands[i];
  const napi_value object = make.object();
  setPlace(make, object, verdict.island.place);
  set(make, object, "pixels", make.number(verdict.island.pixels));
  const char* const by = part.takenBy[i] != none ? "point" : "material";
  set(make, object, "heldBy", verdict.isHeld() ? make.string(by) : make.null());
  set(make, object, "point", numberOrNull(make, part.takenBy[i]));
  set(make, object, "takenIn", numberOrNull(make, verdict.takenIn.value_or(none)));
  set(make, object, "hasRoom", make.boolean(verdict.island.place.hasRoom));
  set(make, object, "isSealed", make.boolean(part.isSealed[i] != 0));
  return object;
}

napi_value regionValue(ValueMaker& make, const std::optional<hold::RegionRecord>& region) {
  if (!region) return make.null();
  const napi_value object = make.object();
  set(make, object, "region", make.number(region->region));
  set(make, object, "pixels", make.number(region->pixels));
  set(make, object, "resting", make.number(region->resting));
  set(make, object, "overhanging", make.number(region->overhanging));
  set(make, object, "layersBelow", make.number(region->layersBelow));
  set(make, object, "supportsBelow", make.number(region->supportsBelow));
  set(make, object, "fromBelow", make.number(double{region->fromBelow}));
  set(make, object, "owed", make.number(double{region->owed}));
  set(make, object, "supports", make.number(region->supports));
  return object;
}

napi_value pointValue(ValueMaker& make, const hold::FinishedPart::Point& point) {
  const napi_value object = make.object();
  setPlace(make, object, point.point.site.place);
  set(make, object, "isIsland", make.boolean(point.point.site.isIsland));
  set(make, object, "reason", make.string(nameOf(point.point.reason)));
  set(make, object, "analysed", numberOrNull(make, point.point.analysed));
  set(make, object, "mergedIn", numbers(make, point.point.mergedIn));
  set(make, object, "region", regionValue(make, point.region));
  return object;
}

napi_value droppedValue(ValueMaker& make, const hold::FinishedPart::Dropped& dropped) {
  const napi_value object = make.object();
  setPlace(make, object, dropped.site.place);
  set(make, object, "isIsland", make.boolean(dropped.site.isIsland));
  set(make, object, "reason", make.string(nameOf(dropped.point.reason)));
  set(make, object, "analysed", make.number(dropped.point.analysed));
  set(make, object, "into", numberOrNull(make, dropped.point.into));
  set(make, object, "region", regionValue(make, dropped.region));
  return object;
}

}  // namespace

napi_value verdictValue(ValueMaker& make, const hold::JudgedPart& part) {
  const hold::Verdict& verdict = part.verdict;
  const napi_value object = make.object();
  set(make, object, "nearReach", make.number(part.settings.nearReach));
  set(make, object, "farReach", make.number(part.settings.farReach));
  set(make, object, "spacing", make.number(part.settings.spacing));
  set(make, object, "points", make.number(static_cast<uint32_t>(part.points)));
  const napi_value islands = make.array(verdict.islands.size());
  for (uint32_t i = 0; i < verdict.islands.size() && make.status() == napi_ok; ++i) {
    const ValueScope scope(make);
    make.set(islands, i, islandValue(make, part, i));
  }
  set(make, object, "islands", islands);
  const double area = part.pixelArea;
  set(make, object, "overhang", surfaceValue(make, verdict.supportable, area));
  set(make, object, "overhangWithoutRoom", surfaceValue(make, verdict.withoutRoom, area));
  set(make, object, "overhangInSealedVoids", surfaceValue(make, verdict.sealed, area));
  set(make, object, "worst", arrayOf(make, verdict.worst, [&](const hold::WorstPlace& worst) {
        const napi_value place = make.object();
        set(make, place, "layer", make.number(worst.layer));
        set(make, place, "x", make.number(uint32_t{worst.x}));
        set(make, place, "y", make.number(uint32_t{worst.y}));
        set(make, place, "distance", make.number(worst.distance));
        return place;
      }));
  set(make, object, "inNoMaterial", numbers(make, verdict.inNoMaterial));
  set(make, object, "onHeldMaterial", numbers(make, verdict.onHeldMaterial));
  set(make, object, "withoutRoom", numbers(make, verdict.pointsWithoutRoom));
  set(make, object, "inSealedVoids", numbers(make, verdict.pointsInSealedVoids));
  set(make, object, "closePairs", arrayOf(make, verdict.closePairs, [&](const hold::ClosePair& p) {
        const napi_value pair = make.object();
        set(make, pair, "first", make.number(p.first));
        set(make, pair, "second", make.number(p.second));
        set(make, pair, "distance", make.number(p.distance));
        set(make, pair, "isSeparate", make.boolean(p.separate));
        return pair;
      }));
  return object;
}

napi_value finishedValue(ValueMaker& make, const hold::FinishedPart& part,
                         const hold::JudgedPart& judged) {
  const napi_value object = make.object();
  set(make, object, "supports",
      arrayOf(make, part.points,
              [&](const hold::FinishedPart::Point& point) { return pointValue(make, point); }));
  set(make, object, "dropped",
      arrayOf(make, part.dropped,
              [&](const hold::FinishedPart::Dropped& point) { return droppedValue(make, point); }));
  const napi_value leftAlone = make.object();
  set(make, leftAlone, "areaNearPlate", make.number(part.leftAlone.areaNearPlate));
  set(make, leftAlone, "areaNearPart", make.number(part.leftAlone.areaNearPart));
  set(make, leftAlone, "sealedArea", make.number(part.leftAlone.sealedArea));
  set(make, leftAlone, "lift", make.number(part.leftAlone.lift));
  set(make, object, "leftAlone", leftAlone);
  set(make, object, "spacing", make.number(part.spacing));
  set(make, object, "islandsLeft", numbers(make, part.islandsLeft));
  set(make, object, "verdict", verdictValue(make, judged));
  return object;
}

}  // namespace stiltforge::binding

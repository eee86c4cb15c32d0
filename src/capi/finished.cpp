#include <cstddef>
#include <memory>
#include <optional>
#include <utility>

#include "capi/boundary.h"
#include "capi/handles.h"
#include "capi/layer.h"
#include "capi/lists.h"
#include "capi/structure.h"
#include "capi/survey_step.h"
#include "print/hold_settings.h"

namespace stiltforge::capi {

static_assert(STILTFORGE_NONE == hold::Place::none);
static_assert(int{STILTFORGE_ANALYSED} == static_cast<int>(hold::Reason::analysed));
static_assert(int{STILTFORGE_ADDED_OVERHANG} == static_cast<int>(hold::Reason::addedForOverhang));
static_assert(int{STILTFORGE_DROPPED_MERGED} == static_cast<int>(hold::DropReason::merged));
static_assert(int{STILTFORGE_DROPPED_HOLDS_NOTHING} ==
              static_cast<int>(hold::DropReason::holdsNothing));

template <>
inline constexpr std::size_t firstSize<stiltforge_finished_info> =
    offsetof(stiltforge_finished_info, lift) + sizeof(double);

namespace {

stiltforge_support toSupport(const hold::Site& site,
                             const std::optional<hold::RegionRecord>& region) {
  return {site.place.layer, region ? region->region : 0, site.place.x, site.place.y,
          site.isIsland ? 1u : 0u};
}

stiltforge_weight toWeight(const std::optional<hold::RegionRecord>& region) {
  return region ? capi::toWeight(*region) : stiltforge_weight{};
}

std::unique_ptr<stiltforge_finished> toHandle(hold::FinishedPart part) {
  auto finished = std::make_unique<stiltforge_finished>();
  for (const auto& [point, region] : part.points) {
    finished->supports.push_back(toSupport(point.site, region));
    finished->origins.push_back({static_cast<uint32_t>(point.reason), point.analysed,
                                 static_cast<uint32_t>(finished->merged.size()),
                                 static_cast<uint32_t>(point.mergedIn.size())});
    finished->weights.push_back(toWeight(region));
    finished->merged.insert(finished->merged.end(), point.mergedIn.begin(), point.mergedIn.end());
  }
  for (const auto& [point, site, region] : part.dropped) {
    finished->dropped.push_back(
        {toSupport(site, region), static_cast<uint32_t>(point.reason), point.analysed, point.into});
    finished->droppedWeights.push_back(toWeight(region));
  }
  finished->part = std::move(part);
  return finished;
}

}  // namespace

}  // namespace stiltforge::capi

namespace capi = stiltforge::capi;
namespace hold = stiltforge::hold;

stiltforge_status stiltforge_survey_finish(stiltforge_survey* survey,
                                           stiltforge_finished** finished,
                                           stiltforge_error* error) {
  return capi::guardedCreation(__func__, finished, "finished", error, [&] {
    const capi::WorkerUse workers;
    const capi::Writing surveyed(survey, "survey");
    capi::requireWhole(*surveyed);
    auto created =
        capi::toHandle(surveyed->part.finish(stiltforge::finishSettings(surveyed->print)));
    created->survey = surveyed->number;
    return created;
  });
}

const char* stiltforge_reason_name(uint32_t reason) {
  return reason <= STILTFORGE_ADDED_OVERHANG ? nameOf(static_cast<hold::Reason>(reason))
                                             : "unknown";
}

const char* stiltforge_drop_reason_name(uint32_t reason) {
  return reason <= STILTFORGE_DROPPED_HOLDS_NOTHING ? nameOf(static_cast<hold::DropReason>(reason))
                                                    : "unknown";
}

const stiltforge_support* stiltforge_finished_supports(const stiltforge_finished* finished,
                                                       size_t* count) {
  return capi::listOf(finished, &stiltforge_finished::supports, count);
}

const stiltforge_origin* stiltforge_finished_origins(const stiltforge_finished* finished,
                                                     size_t* count) {
  return capi::listOf(finished, &stiltforge_finished::origins, count);
}

const stiltforge_weight* stiltforge_finished_weights(const stiltforge_finished* finished,
                                                     size_t* count) {
  return capi::listOf(finished, &stiltforge_finished::weights, count);
}

const stiltforge_weight* stiltforge_finished_dropped_weights(const stiltforge_finished* finished,
                                                             size_t* count) {
  return capi::listOf(finished, &stiltforge_finished::droppedWeights, count);
}

const uint32_t* stiltforge_finished_merged(const stiltforge_finished* finished, size_t* count) {
  return capi::listOf(finished, &stiltforge_finished::merged, count);
}

const stiltforge_dropped* stiltforge_finished_dropped(const stiltforge_finished* finished,
                                                      size_t* count) {
  return capi::listOf(finished, &stiltforge_finished::dropped, count);
}

const uint32_t* stiltforge_finished_islands_left(const stiltforge_finished* finished,
                                                 size_t* count) {
  return capi::listOf(capi::checked(finished) ? &finished->part.islandsLeft : nullptr, count);
}

stiltforge_status stiltforge_finished_get_info(const stiltforge_finished* finished,
                                               stiltforge_finished_info* info,
                                               stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    capi::requireHandle(finished, "finished");
    const hold::LeftAlone& left = finished->part.leftAlone;
    stiltforge_finished_info filled{};
    filled.spacing = finished->part.spacing;
    filled.area_near_plate = left.areaNearPlate;
    filled.area_near_part = left.areaNearPart;
    filled.sealed_area = left.sealedArea;
    filled.lift = left.lift;
    capi::writeStructure(info, filled, "info");
  });
}

void stiltforge_finished_destroy(stiltforge_finished* finished) {
  capi::destroy(finished);
}

#include <cmath>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>

#include "capi/boundary.h"
#include "capi/handles.h"
#include "capi/lists.h"
#include "capi/structure.h"
#include "capi/survey_step.h"
#include "print/hold_settings.h"
#include "runtime/number_text.h"

namespace stiltforge::capi {

template <>
inline constexpr std::size_t firstSize<stiltforge_judge_settings> =
    offsetof(stiltforge_judge_settings, spacing) + sizeof(double);

template <>
inline constexpr std::size_t firstSize<stiltforge_verdict_info> =
    offsetof(stiltforge_verdict_info, overhang_in_sealed_voids) + sizeof(stiltforge_surface);

namespace {

// What no printer comes near.
constexpr double longest = 1e6;  // mm

// finished: null for the supports of the survey.
hold::JudgeSettings readSettings(const stiltforge_judge_settings* given,
                                 const stiltforge_survey& survey,
                                 const stiltforge_finished* finished) {
  hold::JudgeSettings settings = judgeSettings(
      survey.print, finished ? finished->part.spacing : hold::JudgeSettings().spacing);
  if (!given) return settings;
  const stiltforge_judge_settings own = readStructure(given, "settings");
  const auto read = [](double value, const char* field, double& setting) {
    if (value < 0) return;
    if (!(value <= longest)) {
      throw InvalidArgument(std::string("settings->") + field + " is " + numberText(value) +
                            "; it must be from 0 to " + numberText(longest) +
                            " mm, or below 0 for the default");
    }
    setting = value;
  };
  read(own.near_reach, "near_reach", settings.nearReach);
  read(own.far_reach, "far_reach", settings.farReach);
  read(own.spacing, "spacing", settings.spacing);
  return settings;
}

stiltforge_surface toSurface(const hold::Surface& surface, double pixelArea) {
  const auto area = [&](uint64_t pixels) { return pixelArea * static_cast<double>(pixels); };
  return {area(surface.pixels), area(surface.beyondNear), area(surface.beyondFar)};
}

stiltforge_island toIsland(const hold::JudgedPart& part, std::size_t i) {
  const hold::IslandVerdict& verdict = part.verdict.islands[i];
  const hold::Place& place = verdict.island.place;
  stiltforge_island island{};
  island.layer = place.layer;
  island.x = place.x;
  island.y = place.y;
  island.pixels = verdict.island.pixels;
  island.support = part.takenBy[i];
  const bool bySupport = island.support != STILTFORGE_NONE;
  island.held_by = !verdict.isHeld() ? STILTFORGE_HELD_BY_NOTHING
                   : bySupport       ? STILTFORGE_HELD_BY_SUPPORT
                                     : STILTFORGE_HELD_BY_MATERIAL;
  island.taken_in = verdict.takenIn.value_or(STILTFORGE_NONE);
  island.has_room = place.hasRoom ? 1 : 0;
  island.is_sealed = part.isSealed[i] != 0 ? 1 : 0;
  return island;
}

std::unique_ptr<stiltforge_verdict> toHandle(hold::JudgedPart part) {
  auto created = std::make_unique<stiltforge_verdict>();
  hold::Verdict& verdict = part.verdict;
  stiltforge_verdict_info& info = created->info;
  for (std::size_t i = 0; i < verdict.islands.size(); ++i) {
    created->islands.push_back(toIsland(part, i));
    if (verdict.islands[i].isHeld()) ++info.held_islands;
  }
  for (const hold::WorstPlace& place : verdict.worst) {
    created->worst.push_back({place.layer, place.x, place.y, place.distance});
  }
  for (const hold::ClosePair& pair : verdict.closePairs) {
    created->closePairs.push_back(
        {pair.first, pair.second, pair.separate ? 1u : 0u, pair.distance});
  }
  created->faults[STILTFORGE_IN_NO_MATERIAL] = std::move(verdict.inNoMaterial);
  created->faults[STILTFORGE_ON_HELD_MATERIAL] = std::move(verdict.onHeldMaterial);
  created->faults[STILTFORGE_WITHOUT_ROOM] = std::move(verdict.pointsWithoutRoom);
  created->faults[STILTFORGE_IN_SEALED_VOID] = std::move(verdict.pointsInSealedVoids);
  info.supports = static_cast<uint32_t>(part.points);
  info.near_reach = part.settings.nearReach;
  info.far_reach = part.settings.farReach;
  info.spacing = part.settings.spacing;
  info.islands = static_cast<uint32_t>(verdict.islands.size());
  info.overhang = toSurface(verdict.supportable, part.pixelArea);
  info.overhang_without_room = toSurface(verdict.withoutRoom, part.pixelArea);
  info.overhang_in_sealed_voids = toSurface(verdict.sealed, part.pixelArea);
  return created;
}

}  // namespace

}  // namespace stiltforge::capi

namespace capi = stiltforge::capi;
namespace hold = stiltforge::hold;

stiltforge_status stiltforge_judge_settings_init(stiltforge_judge_settings* settings,
                                                 stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    capi::writeStructure(settings, stiltforge_judge_settings{0, -1, -1, -1}, "settings");
  });
}

stiltforge_status stiltforge_survey_judge(stiltforge_survey* survey,
                                          const stiltforge_finished* finished,
                                          const stiltforge_judge_settings* settings,
                                          stiltforge_verdict** verdict, stiltforge_error* error) {
  return capi::guardedCreation(__func__, verdict, "verdict", error, [&] {
    const capi::WorkerUse workers;
    const capi::Writing surveyed(survey, "survey");
    capi::requireWhole(*surveyed);
    if (finished) capi::requireHandle(finished, "finished");
    if (finished && finished->survey != surveyed->number) {
      throw capi::InvalidArgument("finished came of another survey");
    }
    const hold::JudgeSettings limits = capi::readSettings(settings, *surveyed, finished);
    return capi::toHandle(finished ? surveyed->part.judge(finished->part, limits)
                                   : surveyed->part.judge(limits));
  });
}

stiltforge_status stiltforge_verdict_get_info(const stiltforge_verdict* verdict,
                                              stiltforge_verdict_info* info,
                                              stiltforge_error* error) {
  return capi::guarded(__func__, error, [&] {
    capi::requireHandle(verdict, "verdict");
    capi::writeStructure(info, verdict->info, "info");
  });
}

const stiltforge_island* stiltforge_verdict_islands(const stiltforge_verdict* verdict,
                                                    size_t* count) {
  return capi::listOf(verdict, &stiltforge_verdict::islands, count);
}

const stiltforge_worst_place* stiltforge_verdict_worst(const stiltforge_verdict* verdict,
                                                       size_t* count) {
  return capi::listOf(verdict, &stiltforge_verdict::worst, count);
}

const stiltforge_close_pair* stiltforge_verdict_close_pairs(const stiltforge_verdict* verdict,
                                                            size_t* count) {
  return capi::listOf(verdict, &stiltforge_verdict::closePairs, count);
}

const uint32_t* stiltforge_verdict_faults(const stiltforge_verdict* verdict, uint32_t fault,
                                          size_t* count) {
  const bool isKnown = capi::checked(verdict) && fault < verdict->faults.size();
  return capi::listOf(isKnown ? &verdict->faults[fault] : nullptr, count);
}

void stiltforge_verdict_destroy(stiltforge_verdict* verdict) {
  capi::destroy(verdict);
}

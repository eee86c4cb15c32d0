#include "scaffold/settings.h"

#include "runtime/number_text.h"

namespace stiltforge::scaffold {

namespace {

// What no support of a resin print comes near.
constexpr double longest = 100;  // mm

// Of layers, mm: as of any print.
constexpr double thinnest = 0.000001;
constexpr double thickest = 1'000'000;

// Between a raft and the part tips have to find room.
constexpr double leastRoom = 0.5;  // mm

}  // namespace

std::optional<SettingConflict> findConflict(const Settings& settings, double lift) {
  const auto check = [](const char* name, double value, double least,
                        double most) -> std::optional<SettingConflict> {
    if (value >= least && value <= most) return std::nullopt;
    return SettingConflict{
        name, value, "it must be from " + numberText(least) + " to " + numberText(most) + " mm"};
  };
  const auto& s = settings;
  if (auto conflict = check("layerHeight", s.layerHeight, thinnest, thickest)) return conflict;
  if (auto conflict = check("tipDiameter", s.tipDiameter, 0.1, 5)) return conflict;
  if (auto conflict = check("tipLength", s.tipLength, 0.5, 20)) return conflict;
  if (auto conflict = check("penetration", s.penetration, 0, 2)) return conflict;
  if (auto conflict = check("pillarDiameter", s.pillarDiameter, 0.1, 20)) return conflict;
  if (auto conflict = check("footDiameter", s.footDiameter, 0.1, longest)) return conflict;
  if (auto conflict = check("footHeight", s.footHeight, 0, 20)) return conflict;
  if (auto conflict = check("clearance", s.clearance, 0, 10)) return conflict;
  if (auto conflict = check("raftThickness", s.raftThickness, 0, 20)) return conflict;
  if (auto conflict = check("braceDiameter", s.braceDiameter, 0.1, 20)) return conflict;
  if (auto conflict = check("braceReach", s.braceReach, 0, longest)) return conflict;
  if (s.pillarDiameter < s.tipDiameter) {
    return SettingConflict{
        "pillarDiameter", s.pillarDiameter,
        "it must be at least the tip's diameter, " + numberText(s.tipDiameter) + " mm"};
  }
  if (s.footDiameter < s.pillarDiameter) {
    return SettingConflict{
        "footDiameter", s.footDiameter,
        "it must be at least the pillar's diameter, " + numberText(s.pillarDiameter) + " mm"};
  }
  if (s.raftThickness > 0 && lift < s.raftThickness + leastRoom) {
    return SettingConflict{"raftThickness", s.raftThickness,
                           "the part must be lifted by at least " +
                               numberText(s.raftThickness + leastRoom) +
                               " mm, so that the raft and tips find room below it"};
  }
  return std::nullopt;
}

}  // namespace stiltforge::scaffold

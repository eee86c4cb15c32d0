#pragma once

#include <optional>
#include <string>

namespace stiltforge::scaffold {

/// How supports are built. Lengths are mm.
struct Settings {
  double tipDiameter = 0.4;    ///< where a support touches the part
  double tipLength = 2;        ///< of the cone from there to the pillar, measured upright
  double penetration = 0.2;    ///< by which a tip reaches into the part
  double pillarDiameter = 1;   ///<
  double footDiameter = 3;     ///< on the plate or the raft
  double footHeight = 0.5;     ///< of the cone from there to the pillar
  double clearance = 0.3;      ///< between a pillar and the part
  double raftThickness = 0;    ///< of a plate below all supports; 0 is none
  double braceDiameter = 0.6;  ///< of the rods between slender pillars, which are wider
  double braceReach = 10;      ///< of pillars from each other, at most, for braces; 0 is none
  double layerHeight = 0.05;   ///< of the print: no detail is finer
};

/// A setting that can't be used, alone or together with the others.
struct SettingConflict {
  const char* setting;
  double value;
  std::string range;  ///< what it must be, with the range; no sentence of its own
};

/// The first one in `settings` for a part that is lifted by so many mm; nothing when all are well.
std::optional<SettingConflict> findConflict(const Settings& settings, double lift);

}  // namespace stiltforge::scaffold

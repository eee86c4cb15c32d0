#include "check/sentences.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>

namespace stiltforge::check {

namespace {

// Three digits, or two below 1, as a person would write them.
std::string numberText(double value) {
  const double scale = value >= 0.995 ? 2 : 1;
  const double above = value > 0 ? std::floor(std::log10(value) + 0.0022) : 0;
  const int decimals = static_cast<int>(std::clamp(scale - above, 0.0, 12.0));
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", decimals, value);
  return text;
}

std::string areaText(double area) {
  return numberText(area) + " mm2";
}

std::string volumeText(double volume) {
  return volume < 1000 ? numberText(volume) + " mm3" : numberText(volume / 1000) + " ml";
}

std::string counted(uint64_t count, const char* one, const char* many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string layersText(const Extent& extent) {
  if (extent.firstLayer == extent.lastLayer) return "layer " + std::to_string(extent.firstLayer);
  return "layers " + std::to_string(extent.firstLayer) + " to " + std::to_string(extent.lastLayer);
}

Sentences emptyLayers(const Finding& finding) {
  const bool isOne = finding.extent.firstLayer == finding.extent.lastLayer;
  const std::string what = layersText(finding.extent) + (isOne ? " shows" : " show");
  if (finding.severity == Severity::note) {
    return {what + " nothing, at the end of the print", "They cost time and nothing else."};
  }
  if (finding.extent.firstLayer == 0) {
    return {what + " nothing, so nothing sticks to the plate",
            "Put the part on the plate and slice it again."};
  }
  return {what + " nothing, so nothing holds what lies above",
          "Slice the part again; if it is made of pieces above each other, put them together."};
}

Sentences floatingPart(const Finding& finding) {
  std::string what = "a part of " + volumeText(finding.volume) + " in " +
                     layersText(finding.extent) + " stands on nothing";
  if (finding.count > 1) what += "; it begins in " + std::to_string(finding.count) + " places";
  return {what, finding.count > 1 ? "Put supports under each place where it begins, or delete it."
                                  : "Put supports under it, or delete it."};
}

Sentences island(const Finding& finding) {
  const std::string what = "an island of " + areaText(finding.area) + " begins in layer " +
                           std::to_string(finding.extent.firstLayer);
  if (finding.severity == Severity::note) {
    return {what + " and is taken at once, in layer " + std::to_string(finding.takenIn),
            "Nothing needs to be done; a support makes its first layers clean."};
  }
  return {what + "; nothing holds it before layer " + std::to_string(finding.takenIn),
          "Put a support under it."};
}

Sentences overhang(const Finding& finding) {
  const std::string what = "an overhang in " + layersText(finding.extent) +
                           " is too far from what "
                           "carries it, " +
                           areaText(finding.area) + " in one layer";
  return {what, finding.severity == Severity::note
                    ? "Nothing needs to be done; a support makes its first layers clean."
                    : "Put supports under it, or turn the part."};
}

Sentences screenEdge(const Finding& finding) {
  return {"material touches the edge of the screen in " + layersText(finding.extent) +
              ", so the part may be cut off",
          "Move the part inwards, or make it smaller."};
}

Sentences resinTrap(const Finding& finding) {
  return {
      "a cavity of " + volumeText(finding.volume) + " in " + layersText(finding.extent) +
          " has no opening: liquid resin stays in it",
      "Give it two holes of 2 mm or more, one near its top and one near its bottom, or fill it."};
}

Sentences suctionCup(const Finding& finding) {
  const std::string walls = finding.reachesPlate ? " between part and plate" : "";
  return {
      "a cavity of " + volumeText(finding.volume) + walls + " in " + layersText(finding.extent) +
          " is open towards the film only, by " + areaText(finding.area) + ": it sucks at the film",
      finding.reachesPlate ? "Give it a hole near the plate, or lift the part off the plate."
                           : "Give it a hole where it is closest to the plate, or turn the part."};
}

Sentences specks(const Finding& finding) {
  return {counted(finding.count, "speck", "specks") + " of " + volumeText(finding.volume) +
              " in all, in " + layersText(finding.extent) + ", hang on nothing",
          "Filter the resin after the print; open edges and the finest tips of a mesh leave them."};
}

Sentences idlePoints(const Finding& finding) {
  return {counted(finding.count, "point touches", "points touch") + " no material",
          "Make sure that the points belong to this part, turned and sized as it is printed."};
}

}  // namespace

Sentences describe(const Finding& finding) {
  switch (finding.kind) {
    case Kind::emptyLayers:
      return emptyLayers(finding);
    case Kind::floatingPart:
      return floatingPart(finding);
    case Kind::island:
      return island(finding);
    case Kind::overhang:
      return overhang(finding);
    case Kind::screenEdge:
      return screenEdge(finding);
    case Kind::resinTrap:
      return resinTrap(finding);
    case Kind::suctionCup:
      return suctionCup(finding);
    case Kind::specks:
      return specks(finding);
    case Kind::idlePoints:
      return idlePoints(finding);
  }
  return {};
}

const char* nameOf(Kind kind) {
  switch (kind) {
    case Kind::emptyLayers:
      return "emptyLayers";
    case Kind::floatingPart:
      return "floatingPart";
    case Kind::island:
      return "island";
    case Kind::overhang:
      return "overhang";
    case Kind::screenEdge:
      return "screenEdge";
    case Kind::resinTrap:
      return "resinTrap";
    case Kind::suctionCup:
      return "suctionCup";
    case Kind::specks:
      return "specks";
    case Kind::idlePoints:
      return "idlePoints";
  }
  return "";
}

const char* nameOf(Severity severity) {
  switch (severity) {
    case Severity::fails:
      return "fails";
    case Severity::risk:
      return "risk";
    case Severity::note:
      return "note";
  }
  return "";
}

}  // namespace stiltforge::check

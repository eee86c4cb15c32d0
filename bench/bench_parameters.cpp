#include "bench_parameters.h"

namespace stiltforge::bench {

std::map<std::string, double> typicalParameters() {
  return {{"width", 3840},
          {"height", 2400},
          {"numLayer", 1200},
          {"needBuffer", 0},
          {"addSupport", 1},
          {"supportStrength", 8163},
          {"growthStrength", 1},
          {"strengthTransmited", 1},
          {"firstSupportMinStrength", 1},
          {"numberOfSamplePerSupport", 100},
          {"numberOfSamplePerVoronoi", 816},
          {"ghostPart", 1},
          {"strokePart", 0.3},
          {"anglePart", 1},
          {"maxSupportRadiusInIsland", 86},
          {"islandSupportMultiplier", 1},
          {"islandStrengthSupport", 1},
          {"strengthOfPlatePixel", 1},
          {"maxZGhost", 200},
          {"maxGhost", 10000},
          {"ghostRadius", 86},
          {"maxVoronoiIteration", 20},
          {"validationDistanceFormVoronoi", 2.857},
          {"distCloseToIsland", 2},
          {"closeToIslandStrengthTransmited", 1.2},
          {"almostNotBlueCounterLimit", 0},
          {"islandMinBlue", 0},
          {"maxGhostValueToPlaceSupport", 255}};
}

}  // namespace stiltforge::bench

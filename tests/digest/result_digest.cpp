#include "result_digest.h"

namespace stiltforge::digest {

namespace {

void addGroup(const reference::GroupResult& group, Digest& digest) {
  digest.add(group.id);
  digest.add(group.numPixel);
  digest.add(group.supportedPixel);
  digest.add(group.xMin);
  digest.add(group.yMin);
  digest.add(group.xMax);
  digest.add(group.yMax);
  digest.add(group.spanX);
  digest.add(group.spanY);
  digest.add(group.islandDistance);
  digest.add(group.overlap);
  digest.add(group.strength);
  digest.add(group.pixelStrength);
  digest.add(group.maxScore);
  digest.add(group.unsupportedPixelCount);
  digest.add(group.almostNotBlueCount);
  digest.add(group.islandBlueCount);
  digest.add(group.angleNorm);
  digest.add(group.ghostNorm);
  digest.add(group.strokeNorm);
  digest.add(group.scoreNorm);
  digest.add(static_cast<uint64_t>(group.supports.size()));
  for (const reference::SupportResult& support : group.supports) {
    digest.add(support.index);
    digest.add(support.x);
    digest.add(support.y);
    digest.add(support.z);
    digest.add(support.isMinima);
    digest.add(support.score);
  }
  digest.add(static_cast<uint64_t>(group.ghostSupports.size()));
  for (const reference::GhostResult& ghost : group.ghostSupports) {
    digest.add(ghost.layerIndex);
    digest.add(ghost.groupIndex);
    digest.add(ghost.supportIndex);
  }
  digest.add(group.bitmaps.width);
  digest.add(group.bitmaps.height);
  for (const std::vector<uint8_t>& image : group.bitmaps.images) digest.add(image);
}

}  // namespace

void addResults(const std::vector<reference::SliceResult>& results, Digest& digest) {
  digest.add(static_cast<uint64_t>(results.size()));
  for (const reference::SliceResult& slice : results) {
    digest.add(slice.width);
    digest.add(slice.height);
    digest.add(slice.pixelCount);
    digest.add(slice.groupCount);
    digest.add(slice.supportCount);
    digest.add(slice.pixelBuffer);
    digest.add(slice.topPixelBuffer);
    digest.add(slice.supportedPixels);
    digest.add(static_cast<uint64_t>(slice.groups.size()));
    for (const reference::GroupResult& group : slice.groups) addGroup(group, digest);
  }
}

}  // namespace stiltforge::digest

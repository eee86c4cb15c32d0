#include "reference/group_bitmaps.h"

#include "reference/conversions.h"

namespace stiltforge::reference {
namespace {

bool hasSupportAt(const Group& group, const Voxel& voxel) {
  if (voxel.isSupport) return true;
  for (const auto& support : group.supports) {
    if (support->x == voxel.x && support->y == voxel.y) return true;
  }
  return false;
}

uint8_t toByte(float value, float norm) {
  return static_cast<uint8_t>(toInt32(value / norm * 255.0f));
}

}  // namespace

GroupBitmaps groupBitmaps(const Group& group) {
  GroupBitmaps result;
  result.width = static_cast<uint16_t>(group.xMax - group.xMin);
  result.height = static_cast<uint16_t>(group.yMax - group.yMin);
  for (auto& image : result.images) image.assign(size_t{4} * result.width * result.height, 0);

  for (size_t k = 0; k < group.samples.size(); ++k) {
    const auto paint = [&](GroupImage image, uint8_t red, uint8_t green, uint8_t blue) {
      uint8_t* pixel = &result.images[image][4 * k];
      pixel[0] = red;
      pixel[1] = green;
      pixel[2] = blue;
      pixel[3] = 255;
    };
    const Voxel& voxel = *group.samples[k];
    if (!voxel.inGroup) {
      paint(combinedBitmap, 0, 0, 0);
      continue;
    }
    const bool mark = hasSupportAt(group, voxel);
    const uint8_t a = toByte(voxel.angleSum, group.angleNorm);
    const uint8_t g = toByte(voxel.ghostSum, group.ghostNorm);
    const uint8_t s = toByte(voxel.strokeSum, group.strokeNorm);
    const uint8_t c = toByte(voxel.score, group.scoreNorm);
    const uint8_t sampleGrey = voxel.isSample ? 255 : 100;
    const uint8_t supportGrey = mark ? 255 : 100;
    const uint8_t markByte = mark ? 255 : 0;
    paint(sampleBitmap, sampleGrey, sampleGrey, sampleGrey);
    paint(ghostBitmap, g, 0, 0);
    paint(angleBitmap, 0, 0, a);
    paint(scoreBitmap, c, 0, 0);
    paint(scoreSupportBitmap, c, markByte, markByte);
    paint(supportBitmap, supportGrey, supportGrey, supportGrey);
    paint(strokeBitmap, 0, s, 0);
    paint(combinedBitmap, g, s, a);
  }
  return result;
}

}  // namespace stiltforge::reference

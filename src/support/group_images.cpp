#include "support/group_images.h"

#include "analysis/byte_pairs.h"
#include "runtime/float_conversion.h"
#include "support/ghost_stamp.h"
#include "support/sample_lattice.h"
#include "support/score_terms.h"

namespace stiltforge {

namespace {

constexpr uint8_t notChosen = 100;
constexpr uint8_t chosen = 255;

struct Rgba {
  uint8_t red;
  uint8_t green;
  uint8_t blue;
};

uint8_t toByte(float value, float norm) {
  return static_cast<uint8_t>(toInt32(value / norm * 255.0f) & 0xFF);
}

void put(std::vector<uint8_t>& image, std::size_t pixel, Rgba colour) {
  uint8_t* bytes = image.data() + 4 * pixel;
  bytes[0] = colour.red;
  bytes[1] = colour.green;
  bytes[2] = colour.blue;
  bytes[3] = 255;
}

std::vector<bool> supportMarks(const Placement& placement, Box box, std::size_t pixels) {
  const int width = box.xMax - box.xMin;
  std::vector<bool> marks(pixels);
  for (const Voxel& support : placement.supports) {
    if (support.x < box.xMin || support.x >= box.xMax || support.y < box.yMin ||
        support.y >= box.yMax) {
      continue;
    }
    marks[static_cast<std::size_t>(support.y - box.yMin) * width + (support.x - box.xMin)] = true;
  }
  return marks;
}

void renderSamples(const Placement& placement, Box box, const Settings& settings,
                   const GhostSpread& spread, GroupImages& result) {
  const SampleRecord& record = *placement.samples;
  const std::size_t pixels = std::size_t{result.width} * result.height;
  const SampleLattice lattice{record.stepX, record.stepY};
  const ScoreTerms terms(settings, record.ghostNorm);
  const std::vector<bool> marks = supportMarks(placement, box, pixels);
  std::vector<float> ghostSums(pixels, 0.0f);
  GhostStamp(spread, placement.ghostSupports, box).addRows(0, result.height, ghostSums.data());

  std::vector<uint8_t>& combined = result.images[GroupImages::combined];
  for (std::size_t k = 0; k < pixels; ++k) combined[4 * k + 3] = 255;

  PairReader channels(record.packed);
  std::vector<uint8_t> blue(result.width);
  std::vector<uint8_t> green(result.width);
  for (const RowSpan& span : record.rows) {
    channels.read(blue.data(), green.data(), span.end - span.begin);
    const uint32_t dy = static_cast<uint32_t>(span.y - box.yMin);
    for (uint32_t x = span.begin; x < span.end; ++x) {
      const uint32_t dx = x - box.xMin;
      const std::size_t k = std::size_t{dy} * result.width + dx;
      const bool isSample = lattice.holdsRow(dy) && lattice.holds(dx, dy);
      uint8_t g = 0;
      uint8_t a = 0;
      uint8_t s = 0;
      uint8_t c = 0;
      if (isSample) {
        const uint8_t blueByte = blue[x - span.begin];
        const uint8_t greenByte = green[x - span.begin];
        g = toByte(ghostSums[k], record.ghostNorm);
        a = toByte(blueByte, 255.0f);
        s = toByte(greenByte, 255.0f);
        c = toByte(terms.score(ghostSums[k], blueByte, greenByte), record.scoreNorm);
      }
      const uint8_t sampleGrey = isSample ? chosen : notChosen;
      const uint8_t supportGrey = marks[k] ? chosen : notChosen;
      const uint8_t mark = marks[k] ? chosen : uint8_t{0};
      put(result.images[GroupImages::sample], k, {sampleGrey, sampleGrey, sampleGrey});
      put(result.images[GroupImages::ghost], k, {g, 0, 0});
      put(result.images[GroupImages::angle], k, {0, 0, a});
      put(result.images[GroupImages::score], k, {c, 0, 0});
      put(result.images[GroupImages::scoreSupport], k, {c, mark, mark});
      put(result.images[GroupImages::support], k, {supportGrey, supportGrey, supportGrey});
      put(result.images[GroupImages::stroke], k, {0, s, 0});
      put(combined, k, {g, s, a});
    }
  }
}

}  // namespace

GroupImages renderGroup(const Layer& layer, std::size_t group, const Settings& settings,
                        const GhostSpread& spread) {
  const Box box = layer.groupBox(group);
  GroupImages result;
  result.width = static_cast<uint16_t>(box.xMax - box.xMin);
  result.height = static_cast<uint16_t>(box.yMax - box.yMin);
  for (std::vector<uint8_t>& image : result.images) {
    image.assign(std::size_t{result.width} * result.height * 4, 0);
  }
  const Placement* placement = layer.groupPlacement(group);
  if (placement && placement->samples) {
    renderSamples(*placement, box, settings, spread, result);
  }
  return result;
}

}  // namespace stiltforge

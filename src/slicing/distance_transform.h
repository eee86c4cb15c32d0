#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "analysis/run_rows.h"
#include "runtime/scratch_vector.h"

namespace stiltforge::slicing {

/// Channel bytes of pixels by their distance to the nearest of many sites: exact, Euclidean,
/// between pixel centres. Linear in the pixels and the sites, for pixels close to them and far away
/// alike.
///
/// Two passes after Meijster, Roerdink and Hesselink, "A general algorithm for computing distance
/// transforms in linear time" (2000): distances along the columns first, their minimum along each
/// row then. The sites are kept by column, so only the rows that are asked for are looked at, and
/// only around the pixels.
class DistanceTransform {
 public:
  /// The byte by squared distance, see ChannelFalloff; kept by reference. Beyond its last entry the
  /// byte is 0.
  explicit DistanceTransform(const std::vector<uint8_t>& falloff);

  /// Replaces the sites; they are kept by reference. Those above firstRow are left out.
  void begin(const RunRows& sites, int firstRow);

  /// The longest distance, in whole pixels, with an entry.
  int radius() const { return radius_; }

  /// Writes the bytes of the pixels of row y, one stretch after the other. Stretches must ascend,
  /// and rows from call to call. `reach` is the radius, or less where all the pixels are known to
  /// be within it of a site.
  void measure(int y, std::span<const Run> stretches, int reach, uint8_t* values);

 private:
  void advance(std::size_t column);
  void stepTo(int y);
  void findAlongColumns(int y, int32_t begin, int32_t end);
  void measureGroup(int y, std::span<const Run> stretches, uint8_t* values);
  void measureNarrow(int32_t begin, int32_t end);
  void measureWide(int32_t begin, int32_t end);
  void findEnvelope(int32_t begin, int32_t end);

  // A site of a row's envelope: the nearest from column `from` on to where the next one starts.
  struct Parabola {
    int32_t column;
    int32_t squared;  // distance along the column
    int32_t from;
  };

  const std::vector<uint8_t>& falloff_;
  const int32_t radius_;
  int32_t reach_ = 0;    // of the row in work
  uint16_t beyond_ = 0;  // any distance along a column above that

  const RunRows* sites_ = nullptr;
  int nextRow_ = 0;                   // sites above it are in above_
  ScratchVector<uint16_t> rows_;      // of all sites, column by column
  std::vector<uint32_t> columnEnd_;   // where a column's rows end
  std::vector<uint32_t> columnNext_;  // the first of them that is below below_
  std::vector<int32_t> above_;        // row of the column's last site above the row in work
  std::vector<int32_t> below_;        // row of its first site there or below

  int32_t firstColumn_ = 0;             // of alongColumns_
  std::vector<uint16_t> alongColumns_;  // distances of a part of the row, at most beyond_
  std::vector<int16_t> alongSquared_;   // their squares, and room to each side
  std::vector<Parabola> envelope_;
  std::vector<int32_t> squared_;  // distances of a part of that
};

}  // namespace stiltforge::slicing

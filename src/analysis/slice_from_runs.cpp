#include "analysis/slice_from_runs.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>

namespace stiltforge {

namespace {

constexpr uint8_t fullySupported = 255;

std::string text(std::size_t number) {
  return std::to_string(number);
}

std::string counted(std::size_t number, const std::string& what) {
  return text(number) + " " + what + (number == 1 ? "" : "s");
}

std::string columns(Run run) {
  return "columns " + text(run.begin) + " to " + text(run.end);
}

// Reads the rows of the material or of the overhang, which errors call by that name.
class RowReader {
 public:
  RowReader(uint16_t width, uint16_t height, const HostRuns& runs, const char* name)
      : width_(width), height_(height), host_(runs), name_(name) {}

  RunRows read() const {
    requireLengths();
    ScratchVector<Run> runs(host_.begin.size());
    ScratchVector<uint32_t> rowStart(std::size_t{height_} + 1);
    rowStart[0] = 0;
    std::size_t next = 0;
    uint32_t kept = 0;
    for (std::size_t y = 0; y < height_; ++y) {
      const std::size_t end = host_.rowStart[y + 1];
      requireRow(y, next, end);
      const uint32_t first = kept;
      for (; next < end; ++next) {
        const Run run{host_.begin[next], host_.end[next]};
        requireRun(y, run);
        Run* const last = kept > first ? &runs[kept - 1] : nullptr;
        if (!last || run.begin > last->end) {
          runs[kept++] = run;
        } else if (run.begin == last->end) {
          last->end = run.end;
        } else {
          throw InvalidSlice("Row " + text(y) + " of the " + name_ + " has " + columns(run) +
                             " after a run that ends at " + text(last->end) +
                             "; the runs of a row ascend and do not overlap.");
        }
      }
      rowStart[y + 1] = kept;
    }
    requireAllRead(next);
    runs.resize(kept);
    return {std::move(runs), std::move(rowStart)};
  }

 private:
  void requireLengths() const {
    const std::size_t needed = std::size_t{height_} + 1;
    if (host_.rowStart.size() != needed) {
      throw InvalidSlice("The " + std::string(name_) + " has " +
                         counted(host_.rowStart.size(), "row start") + "; a slice of " +
                         counted(height_, "row") + " needs " + text(needed) +
                         ", one for each row and the number of runs as the last.");
    }
    if (host_.begin.size() != host_.end.size()) {
      throw InvalidSlice("The runs of the " + std::string(name_) + " have " +
                         counted(host_.begin.size(), "begin") + " and " +
                         counted(host_.end.size(), "end") + "; each run has one of both.");
    }
    if (host_.rowStart[0] != 0) {
      throw InvalidSlice("The row starts of the " + std::string(name_) + " begin with " +
                         text(host_.rowStart[0]) + "; row 0 starts with run 0.");
    }
  }

  void requireRow(std::size_t y, std::size_t begin, std::size_t end) const {
    if (end < begin) {
      throw InvalidSlice("The row starts of the " + std::string(name_) + " fall from " +
                         text(begin) + " to " + text(end) + " after row " + text(y) +
                         "; each row starts where the one above ends.");
    }
    if (end > host_.begin.size()) {
      throw InvalidSlice("Row " + text(y) + " of the " + name_ + " ends with run " + text(end) +
                         ", but there " + (host_.begin.size() == 1 ? "is " : "are ") +
                         counted(host_.begin.size(), "run") + ".");
    }
  }

  void requireRun(std::size_t y, Run run) const {
    if (run.begin >= run.end) {
      throw InvalidSlice("Row " + text(y) + " of the " + name_ + " has a run of " + columns(run) +
                         "; a run ends after it begins, its end is not part of it.");
    }
    if (run.end > width_) {
      throw InvalidSlice("Row " + text(y) + " of the " + name_ + " has a run of " + columns(run) +
                         ", but the slice is " + counted(width_, "pixel") + " wide.");
    }
  }

  void requireAllRead(std::size_t read) const {
    if (read == host_.begin.size()) return;
    throw InvalidSlice("The row starts of the " + std::string(name_) + " end with " + text(read) +
                       ", but there " + (host_.begin.size() == 1 ? "is " : "are ") +
                       counted(host_.begin.size(), "run") +
                       "; the last is the number of all runs.");
  }

  const uint16_t width_;
  const uint16_t height_;
  const HostRuns& host_;
  const char* const name_;
};

void requireWithin(const RunRows& material, const RunRows& overhang) {
  for (int y = 0; y < overhang.height(); ++y) {
    std::span<const Run> solid = material.row(y);
    for (const Run& run : overhang.row(y)) {
      while (!solid.empty() && solid.front().end < run.end) solid = solid.subspan(1);
      if (!solid.empty() && solid.front().begin <= run.begin) continue;
      throw InvalidSlice("Row " + std::to_string(y) + " overhangs at " + columns(run) +
                         ", which is not within one run of its material.");
    }
  }
}

void requireChannels(const RunRows& runs, const HostOverhang& host) {
  const std::size_t pixels = runs.pixelCount();
  if (host.blue.size() == pixels && host.green.size() == pixels) return;
  throw InvalidSlice("The overhang has " + counted(pixels, "pixel") + ", but " +
                     counted(host.blue.size(), "blue value") + " and " +
                     counted(host.green.size(), "green value") + "; each pixel has one of both.");
}

void requireOverhanging(const RunRows& runs, const ScratchVector<uint8_t>& blue) {
  const auto supported = std::find(blue.begin(), blue.end(), fullySupported);
  if (supported == blue.end()) return;
  auto pixel = static_cast<std::size_t>(supported - blue.begin());
  for (int y = 0; y < runs.height(); ++y) {
    for (const Run& run : runs.row(y)) {
      if (pixel < run.length()) {
        throw InvalidSlice("Row " + std::to_string(y) + " has blue 255 at column " +
                           text(run.begin + pixel) +
                           " of its overhang, which is full support; leave such pixels out.");
      }
      pixel -= run.length();
    }
  }
}

}  // namespace

Slice sliceFromRuns(uint16_t width, uint16_t height, const HostRuns& material,
                    const HostOverhang* overhang) {
  Slice slice;
  slice.width = width;
  slice.height = height;
  slice.material = RowReader(width, height, material, "material").read();
  if (!overhang) {
    slice.overhang =
        RunRows(ScratchVector<Run>(), ScratchVector<uint32_t>(std::size_t{height} + 1, 0));
    return slice;
  }
  slice.overhang = RowReader(width, height, overhang->runs, "overhang").read();
  requireWithin(slice.material, slice.overhang);
  requireChannels(slice.overhang, *overhang);
  slice.blue.assign(overhang->blue.begin(), overhang->blue.end());
  slice.green.assign(overhang->green.begin(), overhang->green.end());
  requireOverhanging(slice.overhang, slice.blue);
  return slice;
}

}  // namespace stiltforge

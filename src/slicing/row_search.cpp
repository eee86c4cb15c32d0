#include "slicing/row_search.h"

#include <algorithm>

namespace stiltforge::slicing {

namespace {

// Effort that each stretch and each of its pixels may take: most overhangs need less.
constexpr int64_t effortPerStretch = 64;
constexpr int64_t effortPerPixel = 8;

constexpr std::size_t manyStretches = 5;
constexpr int32_t farAway = 1 << 20;

// First run from `from` on that ends beyond column x: mostly it is near, else by doubling steps.
const Run* firstEndingAfter(const Run* from, const Run* end, int32_t x) {
  for (int i = 0; i < 4; ++i, ++from) {
    if (from == end || from->end > x) return from;
  }
  std::ptrdiff_t step = 4;
  while (end - from >= step && from[step - 1].end <= x) {
    from += step;
    step *= 2;
  }
  return std::partition_point(from, from + std::min(step, end - from),
                              [&](const Run& run) { return run.end <= x; });
}

}  // namespace

void RowSearch::begin(const RunRows& set, int64_t extraEffort) {
  set_ = &set;
  extraEffort_ = extraEffort;
}

void RowSearch::beginRow(int y, std::size_t stretches) {
  row_ = y;
  keepsPassed_ = stretches >= manyStretches;
  passed_.clear();
}

// Offers the pixels of columns [begin, end) a pixel of the set, in its column.
void RowSearch::offer(int32_t column, int32_t squaredOffset, int32_t begin, int32_t end) {
  int32_t* const squared = squared_;
  for (int32_t x = begin; x < end; ++x) {
    int32_t& known = squared[x - first_];
    known = std::min(known, squaredOffset + (x - column) * (x - column));
  }
  effort_ += std::max(0, end - begin);
}

// A row of the set with runs above or below the open part; `run` is the first of them.
void RowSearch::searchAcross(std::span<const Run> row, const Run* run, int32_t squaredOffset) {
  const Run* const rowEnd = row.data() + row.size();
  int32_t left = run != row.data() ? run[-1].end - 1 : -farAway;
  for (int32_t x = begin_; x < end_; ++run) {
    const int32_t right = run != rowEnd ? run->begin : farAway;
    const int32_t gapEnd = std::min(right, end_);
    const int32_t middle = std::clamp((left + right) / 2 + 1, x, std::max(x, gapEnd));
    offer(left, squaredOffset, x, std::min(middle, left + radius_ + 1));
    offer(right, squaredOffset, std::max(middle, right - radius_), gapEnd);
    if (right >= end_) break;
    const int32_t runBegin = std::max(x, right);
    const int32_t runEnd = std::min<int32_t>(run->end, end_);
    for (x = runBegin; x < runEnd; ++x) {
      squared_[x - first_] = std::min(squared_[x - first_], squaredOffset);
    }
    effort_ += 1 + runEnd - runBegin;
    left = run->end - 1;
  }
}

void RowSearch::searchRow(int32_t offset, int side) {
  const int32_t squaredOffset = offset * offset;
  const std::span<const Run> row = set_->row(row_ + side * offset);
  const Run* run = row.data();
  if (keepsPassed_) {
    const std::size_t index = 2 * static_cast<std::size_t>(offset) + (side > 0 ? 1 : 0);
    if (index >= passed_.size()) passed_.resize(index + 1);
    run = firstEndingAfter(run + passed_[index], row.data() + row.size(), begin_);
    passed_[index] = static_cast<std::size_t>(run - row.data());
  } else {
    run = firstEndingAfter(run, row.data() + row.size(), begin_);
  }
  ++effort_;
  const int32_t left = run != row.data() ? run[-1].end - 1 : -farAway;
  const int32_t right = run != row.data() + row.size() ? run->begin : farAway;
  if (right < end_) {
    searchAcross(row, run, squaredOffset);
    return;
  }
  // Of the pixels beside the stretch, one in a further row can only be nearer in a nearer column.
  if (left > nearestLeft_) {
    nearestLeft_ = left;
    offer(left, squaredOffset, begin_, std::min(end_, left + radius_ + 1));
  }
  if (right < nearestRight_) {
    nearestRight_ = right;
    offer(right, squaredOffset, std::max(begin_, right - radius_), end_);
  }
}

// Leaves open what a row beyond `offset` may be nearer to; true when that is nothing.
bool RowSearch::closeSettled(int32_t offset) {
  const int32_t settled = std::max(settled_, (offset + 1) * (offset + 1));
  while (begin_ < end_ && squared_[begin_ - first_] <= settled) ++begin_;
  while (begin_ < end_ && squared_[end_ - 1 - first_] <= settled) --end_;
  return begin_ == end_;
}

Run RowSearch::measure(Run stretch, int32_t* squared) {
  squared_ = squared;
  std::fill(squared, squared + stretch.length(), (radius_ + 1) * (radius_ + 1));
  first_ = begin_ = stretch.begin;
  end_ = stretch.end;
  nearestLeft_ = -farAway;
  nearestRight_ = farAway;
  effort_ = -effortPerStretch - effortPerPixel * stretch.length();
  searchRow(0, 1);
  for (int32_t offset = 0; !closeSettled(offset) && offset < radius_;) {
    if (effort_ > 0) {
      extraEffort_ -= effort_;
      effort_ = 0;
      if (extraEffort_ < 0) {
        return {static_cast<uint16_t>(begin_), static_cast<uint16_t>(end_)};
      }
    }
    ++offset;
    searchRow(offset, -1);
    searchRow(offset, 1);
  }
  return {};
}

}  // namespace stiltforge::slicing

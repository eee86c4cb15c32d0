#include "support/candidate_sort.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

namespace stiltforge {

namespace {

using Index = std::ptrdiff_t;

constexpr Index insertionThreshold = 16;

bool less(const Candidate& a, const Candidate& b) {
  return a.score < b.score;
}

void siftUp(Candidate* heap, Index hole, Index top, Candidate value) {
  Index parent = (hole - 1) / 2;
  while (hole > top && less(heap[parent], value)) {
    heap[hole] = heap[parent];
    hole = parent;
    parent = (hole - 1) / 2;
  }
  heap[hole] = value;
}

// Sinks the hole to a leaf along the larger children, then lets the value rise from there.
void adjustHeap(Candidate* heap, Index hole, Index length, Candidate value) {
  const Index top = hole;
  Index child = hole;
  while (child < (length - 1) / 2) {
    child = 2 * (child + 1);
    if (less(heap[child], heap[child - 1])) --child;
    heap[hole] = heap[child];
    hole = child;
  }
  if (length % 2 == 0 && child == (length - 2) / 2) {
    child = 2 * (child + 1);
    heap[hole] = heap[child - 1];
    hole = child - 1;
  }
  siftUp(heap, hole, top, value);
}

void heapSort(Candidate* first, Index length) {
  if (length < 2) return;
  for (Index parent = (length - 2) / 2; parent >= 0; --parent) {
    adjustHeap(first, parent, length, first[parent]);
  }
  for (Index last = length - 1; last > 0; --last) {
    const Candidate value = first[last];
    first[last] = first[0];
    adjustHeap(first, 0, last, value);
  }
}

void moveMedianToFirst(Candidate* result, Candidate* a, Candidate* b, Candidate* c) {
  if (less(*a, *b)) {
    if (less(*b, *c)) {
      std::swap(*result, *b);
    } else if (less(*a, *c)) {
      std::swap(*result, *c);
    } else {
      std::swap(*result, *a);
    }
  } else if (less(*a, *c)) {
    std::swap(*result, *a);
  } else if (less(*b, *c)) {
    std::swap(*result, *c);
  } else {
    std::swap(*result, *b);
  }
}

// The bounds tests matter only where NaN among the scores breaks the order.
Candidate* partition(Candidate* first, Candidate* last) {
  moveMedianToFirst(first, first + 1, first + (last - first) / 2, last - 1);
  const Candidate pivot = *first;
  Candidate* const end = last;
  Candidate* const begin = first;
  ++first;
  for (;;) {
    while (first < end && less(*first, pivot)) ++first;
    --last;
    while (last > begin && less(pivot, *last)) --last;
    if (!(first < last)) return first;
    std::swap(*first, *last);
    ++first;
  }
}

void insertionSort(Candidate* first, Index length) {
  for (Index i = 1; i < length; ++i) {
    const Candidate value = first[i];
    Index hole = i;
    if (less(value, first[0])) {
      std::move_backward(first, first + i, first + i + 1);
      hole = 0;
    } else {
      for (; hole > 0 && less(value, first[hole - 1]); --hole) first[hole] = first[hole - 1];
    }
    first[hole] = value;
  }
}

// The quicksort phase, which leaves ranges that lie wholly beyond the wanted prefix for later.
class Introsort {
 public:
  explicit Introsort(ScratchVector<Candidate>& candidates)
      : begin_(candidates.data()), end_(static_cast<Index>(candidates.size())) {
    int log2 = 0;
    for (std::size_t n = candidates.size(); n > 1; n >>= 1) ++log2;
    postponed_.push_back({0, end_, 2 * log2});
  }

  // Partitions until every range that reaches into the first `prefix` positions is short.
  void partitionPrefix(Index prefix) {
    while (!postponed_.empty() && postponed_.back().first < prefix) {
      const Range range = postponed_.back();
      postponed_.pop_back();
      partitionRange(range, prefix);
    }
    sortedEnd_ = postponed_.empty() ? end_ : postponed_.back().first;
  }

  // Nothing at or beyond this position belongs before it.
  Index sortedEnd() const { return sortedEnd_; }

  void finish() { insertionSort(begin_, sortedEnd_); }

 private:
  struct Range {
    Index first;
    Index last;
    int depth;
  };

  void partitionRange(Range range, Index prefix) {
    while (range.last - range.first > insertionThreshold) {
      if (range.depth == 0) {
        heapSort(begin_ + range.first, range.last - range.first);
        return;
      }
      --range.depth;
      const Index cut = partition(begin_ + range.first, begin_ + range.last) - begin_;
      const Range upper{cut, range.last, range.depth};
      if (cut >= prefix) {
        postponed_.push_back(upper);
      } else {
        partitionRange(upper, prefix);
      }
      range.last = cut;
    }
  }

  Candidate* begin_;
  Index end_;
  Index sortedEnd_ = 0;
  std::vector<Range> postponed_;  // the last one begins lowest
};

}  // namespace

void sortCandidates(ScratchVector<Candidate>& candidates) {
  Introsort sort(candidates);
  sort.partitionPrefix(static_cast<Index>(candidates.size()));
  sort.finish();
}

std::size_t sortLowestCandidates(ScratchVector<Candidate>& candidates, std::size_t count) {
  const auto isNan = [](const Candidate& c) { return std::isnan(c.score); };
  if (count == 0 || count >= candidates.size() ||
      std::any_of(candidates.begin(), candidates.end(), isNan)) {
    sortCandidates(candidates);
    return candidates.size();
  }
  Introsort sort(candidates);
  sort.partitionPrefix(static_cast<Index>(count));

  // Nothing beyond sortedEnd() is lower than what stands before it.
  ScratchVector<Candidate> lowest(candidates.begin(), candidates.begin() + sort.sortedEnd());
  std::nth_element(lowest.begin(), lowest.begin() + static_cast<Index>(count - 1), lowest.end(),
                   less);
  const float last = lowest[count - 1].score;
  const auto notAbove = std::count_if(candidates.begin(), candidates.end(),
                                      [last](const Candidate& c) { return c.score <= last; });
  sort.partitionPrefix(static_cast<Index>(notAbove));
  sort.finish();
  return static_cast<std::size_t>(sort.sortedEnd());
}

}  // namespace stiltforge

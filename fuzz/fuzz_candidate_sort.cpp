// The sort orders equal scores as libstdc++ does, and its prefix form agrees with it.

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "require.h"
#include "runtime/scratch_vector.h"
#include "support/candidate_sort.h"

namespace {

using stiltforge::Candidate;
using Candidates = stiltforge::ScratchVector<Candidate>;

bool sameSamples(const Candidates& a, const Candidates& b, std::size_t n) {
  return std::equal(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(n), b.begin(),
                    [](const Candidate& x, const Candidate& y) { return x.sample == y.sample; });
}

bool isPermutation(const Candidates& candidates) {
  std::vector<bool> seen(candidates.size());
  for (const Candidate& candidate : candidates) {
    if (candidate.sample >= seen.size() || seen[candidate.sample]) return false;
    seen[candidate.sample] = true;
  }
  return true;
}

// Few values make ties, bytes make some, raw floats bring infinities and NaN.
Candidates readCandidates(FuzzedDataProvider& input) {
  const int kind = input.ConsumeIntegralInRange(0, 3);
  Candidates candidates;
  while (input.remaining_bytes() > 0 && candidates.size() < 20000) {
    float score = 0;
    if (kind == 3) {
      score = input.ConsumeFloatingPoint<float>();
      if (input.ConsumeIntegral<uint8_t>() == 7) score = std::nanf("");
    } else {
      const auto byte = input.ConsumeIntegral<uint8_t>();
      score = static_cast<float>(kind == 0 ? byte % 3 : byte) / 8.0f;
    }
    candidates.push_back({score, static_cast<uint32_t>(candidates.size())});
  }
  // A short input that repeats is a long array of ties.
  if (kind == 2 && !candidates.empty()) {
    const std::size_t n = candidates.size();
    while (candidates.size() < 5000) {
      candidates.push_back(
          {candidates[candidates.size() % n].score, static_cast<uint32_t>(candidates.size())});
    }
  }
  return candidates;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider input(data, size);
  const auto count = input.ConsumeIntegral<uint16_t>();
  const Candidates candidates = readCandidates(input);
  const bool hasNan = std::any_of(candidates.begin(), candidates.end(),
                                  [](const Candidate& c) { return std::isnan(c.score); });

  Candidates sorted = candidates;
  stiltforge::sortCandidates(sorted);
  require(isPermutation(sorted), "the sort lost candidates");
  if (!hasNan) {
    Candidates expected = candidates;
    std::sort(expected.begin(), expected.end(),
              [](const Candidate& a, const Candidate& b) { return a.score < b.score; });
    require(sameSamples(sorted, expected, sorted.size()), "the order of the sort differs");
  }

  Candidates lowest = candidates;
  const std::size_t final = stiltforge::sortLowestCandidates(lowest, count);
  require(isPermutation(lowest), "the sort of the lowest lost candidates");
  require(final >= std::min<std::size_t>(count, lowest.size()) && final <= lowest.size(),
          "too few or too many positions are final");
  require(sameSamples(lowest, sorted, final), "the lowest candidates differ");
  return 0;
}

// The sort orders equal scores as libstdc++ does, and its prefix form agrees with it.

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "require.h"
#include "support/candidate_sort.h"

namespace {

using stiltforge::Candidate;

bool sameSamples(const std::vector<Candidate>& a, const std::vector<Candidate>& b, std::size_t n) {
  return std::equal(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(n), b.begin(),
                    [](const Candidate& x, const Candidate& y) { return x.sample == y.sample; });
}

bool isPermutation(const std::vector<Candidate>& candidates) {
  std::vector<bool> seen(candidates.size());
  for (const Candidate& candidate : candidates) {
    if (candidate.sample >= seen.size() || seen[candidate.sample]) return false;
    seen[candidate.sample] = true;
  }
  return true;
}

// Few values make ties, bytes make some, raw floats bring infinities and NaN.
std::vector<Candidate> readCandidates(FuzzedDataProvider& input) {
  const int kind = input.ConsumeIntegralInRange(0, 3);
  std::vector<Candidate> candidates;
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
  const std::vector<Candidate> candidates = readCandidates(input);
  const bool hasNan = std::any_of(candidates.begin(), candidates.end(),
                                  [](const Candidate& c) { return std::isnan(c.score); });

  std::vector<Candidate> sorted = candidates;
  stiltforge::sortCandidates(sorted);
  require(isPermutation(sorted), "the sort lost candidates");
  if (!hasNan) {
    std::vector<Candidate> expected = candidates;
    std::sort(expected.begin(), expected.end(),
              [](const Candidate& a, const Candidate& b) { return a.score < b.score; });
    require(sameSamples(sorted, expected, sorted.size()), "the order of the sort differs");
  }

  std::vector<Candidate> lowest = candidates;
  const std::size_t final = stiltforge::sortLowestCandidates(lowest, count);
  require(isPermutation(lowest), "the sort of the lowest lost candidates");
  require(final >= std::min<std::size_t>(count, lowest.size()) && final <= lowest.size(),
          "too few or too many positions are final");
  require(sameSamples(lowest, sorted, final), "the lowest candidates differ");
  return 0;
}

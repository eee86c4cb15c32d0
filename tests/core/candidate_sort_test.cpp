#include "support/candidate_sort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "core/random.h"

#ifndef __GLIBCXX__
#error "The order of equal scores is that of libstdc++: build this test with it."
#endif

namespace stiltforge {
namespace {

using Scores = std::vector<float>;

ScratchVector<Candidate> candidatesOf(const Scores& scores) {
  ScratchVector<Candidate> candidates;
  for (uint32_t i = 0; i < scores.size(); ++i) candidates.push_back({scores[i], i});
  return candidates;
}

std::vector<uint32_t> samplesOf(const ScratchVector<Candidate>& candidates) {
  std::vector<uint32_t> samples;
  for (const Candidate& candidate : candidates) samples.push_back(candidate.sample);
  return samples;
}

std::vector<uint32_t> sorted(const Scores& scores) {
  ScratchVector<Candidate> candidates = candidatesOf(scores);
  sortCandidates(candidates);
  return samplesOf(candidates);
}

std::vector<uint32_t> sortedByStandardLibrary(const Scores& scores) {
  ScratchVector<Candidate> candidates = candidatesOf(scores);
  std::sort(candidates.begin(), candidates.end(),
            [](const Candidate& a, const Candidate& b) { return a.score < b.score; });
  return samplesOf(candidates);
}

// Few different values, in stretches, so that most comparisons tie.
Scores randomScores(Random& random, std::size_t n) {
  Scores scores;
  const uint32_t values = 1 + random.below(random.oneIn(2) ? 4 : 1000);
  const uint32_t persistence = random.below(100);
  for (std::size_t i = 0; i < n; ++i) {
    if (i > 0 && random.below(100) < persistence) {
      scores.push_back(scores.back());
    } else {
      scores.push_back(static_cast<float>(random.below(values)) / 8.0f - 1.0f);
    }
  }
  switch (random.below(8)) {
    case 0:
      std::sort(scores.begin(), scores.end());
      break;
    case 1:
      std::sort(scores.begin(), scores.end(), std::greater<>());
      break;
    case 2:
      std::sort(scores.begin(), scores.begin() + static_cast<std::ptrdiff_t>(n / 2));
      break;
    default:
      break;
  }
  return scores;
}

// Scores on which the quicksort makes no headway (M. D. McIlroy, "A killer adversary for
// quicksort", 1999): values are decided while the sort asks, each as late as possible.
Scores killerSequence(std::size_t n) {
  const float open = static_cast<float>(n);
  Scores scores(n, open);
  std::vector<uint32_t> order(n);
  std::iota(order.begin(), order.end(), 0);
  float decided = 0;
  uint32_t suspect = 0;
  std::sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) {
    if (scores[a] == open && scores[b] == open) scores[a == suspect ? a : b] = decided++;
    if (scores[a] == open) {
      suspect = a;
    } else if (scores[b] == open) {
      suspect = b;
    }
    return scores[a] < scores[b];
  });
  return scores;
}

TEST(CandidateSort, PutsTheLowestScoreFirst) {
  EXPECT_EQ(sorted({0.5f, -1.0f, 0.25f}), (std::vector<uint32_t>{1, 2, 0}));
  EXPECT_TRUE(sorted({}).empty());
  EXPECT_EQ(sorted({3.0f}), std::vector<uint32_t>{0});
}

TEST(CandidateSort, LeavesUpToSixteenEqualScoresInPlace) {
  const std::vector<uint32_t> samples = sorted(Scores(16, 0.5f));
  for (uint32_t i = 0; i < 16; ++i) EXPECT_EQ(samples[i], i);
}

TEST(CandidateSort, ReordersMoreThanSixteenEqualScoresByItsPartition) {
  EXPECT_EQ(sorted(Scores(17, 0.5f)),
            (std::vector<uint32_t>{8, 16, 15, 14, 13, 12, 11, 10, 9, 0, 7, 6, 5, 4, 3, 2, 1}));
}

TEST(CandidateSort, OrdersEqualScoresAsTheStandardLibraryOfGccDoes) {
  Random random(61);
  for (int i = 0; i < 6000; ++i) {
    const std::size_t n = random.below(i % 50 == 0 ? 20000 : 400);
    const Scores scores = randomScores(random, n);
    ASSERT_EQ(sorted(scores), sortedByStandardLibrary(scores)) << "array " << i;
  }
}

TEST(CandidateSort, OrdersLargeArraysAsTheStandardLibraryOfGccDoes) {
  Random random(62);
  for (const std::size_t n : {65535, 65536, 99999, 100000}) {
    const Scores scores = randomScores(random, n);
    ASSERT_EQ(sorted(scores), sortedByStandardLibrary(scores)) << n;
    ASSERT_EQ(sorted(Scores(n, 1.0f)), sortedByStandardLibrary(Scores(n, 1.0f))) << n;
  }
}

TEST(CandidateSort, FallsBackToAHeapOnKillerSequences) {
  for (const std::size_t n : {100, 101, 1000, 5000, 5001, 20000}) {
    Scores scores = killerSequence(n);
    ASSERT_EQ(sorted(scores), sortedByStandardLibrary(scores)) << n;
    for (float& score : scores) score = std::floor(score / 4);
    ASSERT_EQ(sorted(scores), sortedByStandardLibrary(scores)) << n << ", with ties";
  }
}

TEST(CandidateSort, TakesZerosForEqual) {
  Scores scores;
  for (int i = 0; i < 100; ++i) scores.push_back(i % 3 == 0 ? -0.0f : 0.0f);
  EXPECT_EQ(sorted(scores), sortedByStandardLibrary(scores));
}

// NaN compares with nothing, so there is no order to expect, only an end.
TEST(CandidateSort, LosesNoCandidateAmongNans) {
  Random random(63);
  for (int i = 0; i < 2000; ++i) {
    Scores scores = randomScores(random, random.below(300));
    const uint32_t rarity = 1 + random.below(10);
    for (float& score : scores) {
      if (random.oneIn(rarity)) score = std::numeric_limits<float>::quiet_NaN();
    }
    std::vector<uint32_t> samples = sorted(scores);
    std::sort(samples.begin(), samples.end());
    std::vector<uint32_t> all(scores.size());
    std::iota(all.begin(), all.end(), 0);
    ASSERT_EQ(samples, all);
  }
}

// The final part is what a full sort would put there, and what follows is no lower.
void expectPrefix(const Scores& scores, std::size_t count) {
  const std::vector<uint32_t> full = sorted(scores);
  ScratchVector<Candidate> candidates = candidatesOf(scores);
  const std::size_t final = sortLowestCandidates(candidates, count);
  ASSERT_LE(final, scores.size());
  ASSERT_GE(final, std::min(count, scores.size()));
  for (std::size_t i = 0; i < final; ++i) ASSERT_EQ(candidates[i].sample, full[i]) << i;
  if (count > 0 && count < scores.size()) {
    const float last = candidates[count - 1].score;
    for (std::size_t i = final; i < candidates.size(); ++i) ASSERT_GT(candidates[i].score, last);
  }
}

TEST(LowestCandidates, StandAsAFullSortPutsThem) {
  Random random(64);
  for (int i = 0; i < 6000; ++i) {
    const auto n = random.below(i % 50 == 0 ? 20000 : 400);
    const Scores scores = randomScores(random, n);
    expectPrefix(scores, random.below(random.oneIn(2) ? 20 : n + 10));
    if (testing::Test::HasFatalFailure()) FAIL() << "array " << i;
  }
}

TEST(LowestCandidates, StandAsAFullSortPutsThemInKillerSequences) {
  for (const std::size_t n : {100, 1000, 5000}) {
    Scores scores = killerSequence(n);
    for (const std::size_t count : {std::size_t{1}, n / 10, n / 2, n - 1}) {
      expectPrefix(scores, count);
    }
    for (float& score : scores) score = std::floor(score / 4);
    expectPrefix(scores, n / 3);
  }
}

TEST(LowestCandidates, AreAllWhenNoneOrMoreThanAllAreAskedFor) {
  for (const std::size_t count : {0, 50, 51, 100000}) {
    ScratchVector<Candidate> candidates = candidatesOf(Scores(50, 2.0f));
    EXPECT_EQ(sortLowestCandidates(candidates, count), 50u);
  }
}

TEST(LowestCandidates, SaveTheRestOfALargeSort) {
  Random random(65);
  Scores scores;
  for (int i = 0; i < 100000; ++i) scores.push_back(random.unit());
  ScratchVector<Candidate> candidates = candidatesOf(scores);
  EXPECT_LT(sortLowestCandidates(candidates, 100), 1000u);
}

TEST(LowestCandidates, AmongNansAreThoseOfTheFullSort) {
  Random random(66);
  for (int i = 0; i < 1000; ++i) {
    Scores scores = randomScores(random, 1 + random.below(200));
    scores[random.below(static_cast<uint32_t>(scores.size()))] = std::nanf("");
    ScratchVector<Candidate> candidates = candidatesOf(scores);
    sortLowestCandidates(candidates, 1 + random.below(20));
    ASSERT_EQ(samplesOf(candidates), sorted(scores));
  }
}

}  // namespace
}  // namespace stiltforge

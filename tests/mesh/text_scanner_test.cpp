#include "mesh/text_scanner.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "mesh/limits.h"
#include "mesh/mesh_error.h"

namespace stiltforge::mesh {
namespace {

constexpr TextScanner::Dialect plain{};
constexpr TextScanner::Dialect objDialect{.joinsLines = true, .comment = '#'};

// Words with the numbers of their lines.
std::vector<std::string> wordsOf(const std::string& text, TextScanner::Dialect dialect = plain) {
  files::MemorySource source(text);
  TextScanner scanner(source, dialect);
  std::vector<std::string> words;
  for (auto word = scanner.word(); !word.empty(); word = scanner.word()) {
    words.push_back(std::to_string(scanner.line()) + ":" + std::string(word));
  }
  return words;
}

using Words = std::vector<std::string>;

TEST(TextScanner, CountsLinesWhateverEndsThem) {
  const Words expected{"1:a", "2:b", "4:c"};
  EXPECT_EQ(wordsOf("a\nb\n\nc"), expected);
  EXPECT_EQ(wordsOf("a\r\nb\r\n\r\nc\r\n"), expected);
  EXPECT_EQ(wordsOf("a\rb\r\rc"), expected);
}

TEST(TextScanner, TakesTabsAndOtherBlanks) {
  EXPECT_EQ(wordsOf(" \ta\v\fb\t"), (Words{"1:a", "1:b"}));
  EXPECT_EQ(wordsOf(""), Words{});
  EXPECT_EQ(wordsOf(" \n\n "), Words{});
}

TEST(TextScanner, JoinsLinesAndPassesCommentsWhereTheDialectDoes) {
  EXPECT_EQ(wordsOf("a\\\nb\\\r\n c # d\ne", objDialect), (Words{"1:a", "2:b", "3:c", "4:e"}));
  EXPECT_EQ(wordsOf("a#b \\ c", objDialect), (Words{"1:a#b", "1:\\", "1:c"}));
  EXPECT_EQ(wordsOf("a\\\n#b"), (Words{"1:a\\", "2:#b"}));
}

TEST(TextScanner, StopsAtTheEndOfALineWhereAsked) {
  const std::string text = "a b \\\nc\nd  e f \ng";
  files::MemorySource source(text);
  TextScanner scanner(source, objDialect);
  EXPECT_EQ(scanner.wordOfLine(), "a");
  EXPECT_EQ(scanner.wordOfLine(), "b");
  EXPECT_EQ(scanner.wordOfLine(), "c");
  EXPECT_EQ(scanner.wordOfLine(), "");
  EXPECT_EQ(scanner.wordOfLine(), "");
  scanner.skipLine();
  EXPECT_EQ(scanner.restOfLine(3), "d e");
  scanner.skipLine();
  EXPECT_FALSE(scanner.atEnd());
  EXPECT_EQ(scanner.word(), "g");
  EXPECT_TRUE(scanner.atEnd());
  scanner.skipLine();
  EXPECT_EQ(scanner.word(), "");
}

TEST(TextScanner, GivesTheSameWordsWhateverThePieces) {
  std::string text;
  for (int i = 0; i < 40000; ++i) {
    text += std::string(static_cast<std::size_t>(i % 40), 'w') + std::to_string(i) +
            (i % 3 == 0   ? "\r\n"
             : i % 7 == 0 ? " \\\n"
                          : "  ");
    if (i % 50 == 0) text += "# " + std::string(9000, 'x') + "\n";
  }
  files::MemorySource source(text);
  TextScanner large(source, objDialect, 0, std::size_t{1} << 22);
  for (const std::size_t piece : {1, 8199, 10001, 65536}) {
    TextScanner small(source, objDialect, 0, piece);
    TextScanner whole(source, objDialect, 0, std::size_t{1} << 22);
    for (;;) {
      const std::string expected(whole.word());
      ASSERT_EQ(small.word(), expected);
      ASSERT_EQ(small.line(), whole.line());
      if (expected.empty()) break;
    }
  }
}

TEST(TextScanner, StartsWhereItIsTold) {
  const std::string text = "skipped a b";
  files::MemorySource source(text);
  TextScanner scanner(source, plain, 7);
  EXPECT_EQ(scanner.word(), "a");
  EXPECT_EQ(scanner.offset(), 9u);
}

TEST(TextScanner, RefusesAnEndlessWordButSkipsAnEndlessLine) {
  const std::string text = "a\n" + std::string(longestWord + 1, 'x') + "\nb";
  files::MemorySource source(text);
  TextScanner scanner(source, plain);
  scanner.skipLine();
  EXPECT_THROW(scanner.word(), MeshError);
  TextScanner again(source, plain);
  again.skipLine();
  again.skipLine();
  EXPECT_EQ(again.word(), "b");
  EXPECT_EQ(wordsOf(std::string(longestWord, 'x')).size(), 1u);
}

}  // namespace
}  // namespace stiltforge::mesh

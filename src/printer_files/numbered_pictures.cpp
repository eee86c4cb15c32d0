#include "printer_files/numbered_pictures.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include "files/file_error.h"
#include "printer_files/limits.h"

namespace stiltforge::printer_files {

namespace {

using files::FileError;
using files::grouped;
using files::inQuotes;

constexpr const char* numberThem =
    "Number the layers without gaps from 0 or 1, the one on the plate first";

struct Numbered {
  std::string_view digits;
  uint64_t number;
  std::size_t position;
};

bool isDigit(char character) {
  return character >= '0' && character <= '9';
}

bool endsWithPng(std::string_view name) {
  constexpr std::string_view extension = ".png";
  if (name.size() < extension.size()) return false;
  return std::equal(extension.begin(), extension.end(), name.end() - extension.size(),
                    [](char wanted, char there) {
                      return wanted == (there >= 'A' && there <= 'Z' ? there - 'A' + 'a' : there);
                    });
}

/// What some systems leave beside the files themselves.
bool isHidden(std::string_view name) {
  const std::string_view file = name.substr(name.find_last_of('/') + 1);
  return file.starts_with("._") || name.starts_with("__MACOSX/");
}

/// A name cut into what stands before its number, and the number's digits; none without a number.
std::optional<std::pair<std::string_view, std::string_view>> cut(std::string_view name,
                                                                 std::string_view preferred) {
  constexpr std::size_t mostDigits = 18;
  if (!endsWithPng(name) || isHidden(name)) return std::nullopt;
  const std::string_view stem = name.substr(0, name.size() - 4);
  std::size_t begin = stem.size();
  while (begin > 0 && isDigit(stem[begin - 1])) --begin;
  // A title may end with digits of its own.
  if (!preferred.empty() && stem.starts_with(preferred) && preferred.size() >= begin) {
    begin = preferred.size();
  }
  const std::string_view digits = stem.substr(begin);
  if (digits.empty() || digits.size() > mostDigits) return std::nullopt;
  return std::pair{stem.substr(0, begin), digits};
}

uint64_t numberOf(std::string_view digits) {
  uint64_t number = 0;
  for (const char digit : digits) number = 10 * number + static_cast<uint64_t>(digit - '0');
  return number;
}

/// What all numbers of one width have in common before the last digit: digits that belong to a
/// title.
std::size_t commonDigits(const std::vector<Numbered>& series) {
  const std::string_view first = series.front().digits;
  std::size_t common = first.size() - 1;
  for (const Numbered& picture : series) {
    if (picture.digits.size() != first.size()) return 0;
    const auto [end, other] = std::mismatch(first.begin(), first.end(), picture.digits.begin());
    common = std::min(common, static_cast<std::size_t>(end - first.begin()));
  }
  return common;
}

FileError gapError(const Numbered& last, const Numbered& next,
                   const std::vector<std::string>& names, const std::string& home) {
  const bool isOne = next.number == last.number + 2;
  std::string gap = isOne ? "number " : "numbers ";
  gap.append(std::to_string(last.number + 1));
  if (!isOne) gap.append(" to ").append(std::to_string(next.number - 1));
  gap.append(isOne ? " is" : " are");
  return {"the layers of " + home + " have a gap: " + gap + " missing before " +
              inQuotes(names[next.position]),
          "Export the print again; layers can't be left out"};
}

void requireNoGaps(const std::vector<Numbered>& series, const std::vector<std::string>& names,
                   const std::string& home) {
  for (std::size_t i = 1; i < series.size(); ++i) {
    const Numbered& last = series[i - 1];
    const Numbered& next = series[i];
    if (next.number == last.number) {
      throw FileError(home + " has number " + std::to_string(next.number) + " twice, as " +
                          inQuotes(names[last.position]) + " and " + inQuotes(names[next.position]),
                      numberThem);
    }
    if (next.number != last.number + 1) throw gapError(last, next, names, home);
  }
  const uint64_t first = numberOf(series.front().digits.substr(commonDigits(series)));
  if (first > 1 && series.size() > 1) {
    throw FileError("the layers of " + home + " begin with " +
                        inQuotes(names[series.front().position]) + ": those below are missing",
                    numberThem);
  }
}

}  // namespace

std::vector<std::size_t> findNumberedPictures(const std::vector<std::string>& names,
                                              const std::string& home,
                                              const std::string& preferred) {
  std::map<std::string_view, std::vector<Numbered>> byPrefix;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (const auto parts = cut(names[i], preferred)) {
      byPrefix[parts->first].push_back({parts->second, numberOf(parts->second), i});
    }
  }
  std::vector<Numbered>* series = nullptr;
  const auto wanted = byPrefix.find(preferred);
  if (!preferred.empty() && wanted != byPrefix.end()) {
    series = &wanted->second;
  } else {
    const std::vector<Numbered>* equal = nullptr;
    for (auto& [prefix, pictures] : byPrefix) {
      if (series != nullptr && pictures.size() < series->size()) continue;
      equal = series != nullptr && pictures.size() == series->size() ? series : nullptr;
      series = &pictures;
    }
    if (equal != nullptr) {
      throw FileError(home + " has two series of pictures, of " +
                          inQuotes(names[equal->front().position]) + " and of " +
                          inQuotes(names[series->front().position]) +
                          ", and nothing tells which are the layers",
                      "Leave one of them in it");
    }
  }
  if (series == nullptr) {
    throw FileError(home + " has no numbered PNG pictures in it", "Name a print's file or folder");
  }
  if (series->size() > mostLayers) {
    throw FileError(
        home + " has " + grouped(series->size()) + " layers; the limit is " + grouped(mostLayers),
        "Slice the part into thicker layers");
  }
  std::sort(series->begin(), series->end(), [](const Numbered& a, const Numbered& b) {
    return a.number != b.number ? a.number < b.number : a.position < b.position;
  });
  requireNoGaps(*series, names, home);
  std::vector<std::size_t> order;
  for (const Numbered& picture : *series) order.push_back(picture.position);
  return order;
}

}  // namespace stiltforge::printer_files

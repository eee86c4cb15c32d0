// Prints what the points of the analysis, and the finished ones, hold of some meshes, as a table.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "generated_parts.h"
#include "hold/cover.h"
#include "hold/finisher.h"
#include "hold/judge.h"
#include "part.h"
#include "print/hold_settings.h"

namespace stiltforge::bench {
namespace {

constexpr double coverShare = 0.98;
// So many pixels that any part stands on the screen; slices are cropped to the part.
constexpr uint32_t screenSide = 60000;

const char* const usage =
    "use: stiltforge_holding [--tilt=DEGREES,...] [--pixel-size=MM,...] [--layer-height=MM,...]\n"
    "                        [--box] [--generated] MESH or FOLDER ...\n"
    "  Each mesh is analysed at each tilt (about y), pixel size and layer height.\n"
    "  --box adds a box of 40 x 40 x 10 mm, --generated that and other parts.";

struct Options {
  std::vector<std::string> paths;
  std::vector<double> tilts{0};
  std::vector<double> pixelSizes{PrintSettings().pixelSize};
  std::vector<double> layerHeights{PrintSettings().layerHeight};
  bool box = false;
  bool generated = false;
};

std::vector<double> numbersOf(const std::string& argument) {
  std::vector<double> numbers;
  std::istringstream list(argument.substr(argument.find('=') + 1));
  for (std::string word; std::getline(list, word, ',');) {
    char* end = nullptr;
    numbers.push_back(std::strtod(word.c_str(), &end));
    if (word.empty() || *end != '\0' || !std::isfinite(numbers.back())) {
      std::ostringstream sentence;
      sentence << argument << ": '" << word << "' is no number";
      throw std::runtime_error(sentence.str());
    }
  }
  if (numbers.empty()) throw std::runtime_error(argument + ": numbers are missing");
  return numbers;
}

Options optionsFrom(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument.rfind("--tilt=", 0) == 0) {
      options.tilts = numbersOf(argument);
    } else if (argument.rfind("--pixel-size=", 0) == 0) {
      options.pixelSizes = numbersOf(argument);
    } else if (argument.rfind("--layer-height=", 0) == 0) {
      options.layerHeights = numbersOf(argument);
    } else if (argument == "--box") {
      options.box = true;
    } else if (argument == "--generated") {
      options.generated = true;
    } else if (argument.rfind("--", 0) == 0) {
      throw std::runtime_error("unknown option " + argument + "\n" + usage);
    } else {
      options.paths.push_back(argument);
    }
  }
  if (options.paths.empty() && !options.box && !options.generated) throw std::runtime_error(usage);
  return options;
}

std::string text(double value, int digits) {
  std::ostringstream out;
  out.setf(std::ios::fixed);
  out.precision(digits);
  out << value;
  return out.str();
}

// Up to three digits behind the point.
std::string text(double value) {
  std::ostringstream out;
  out << std::round(1000 * value) / 1000;
  return out.str();
}

std::string share(uint64_t part, uint64_t whole) {
  return whole == 0 ? "-"
                    : text(100 * static_cast<double>(part) / static_cast<double>(whole), 1) + " %";
}

void printRow(const std::vector<std::string>& cells) {
  for (const std::string& cell : cells) std::printf("| %s ", cell.c_str());
  std::puts("|");
  std::fflush(stdout);
}

void printHeading(const std::vector<std::string>& heading) {
  printRow(heading);
  printRow(std::vector<std::string>(heading.size(), "---"));
}

void printTimes(const std::vector<std::vector<std::string>>& times) {
  std::puts("\nCPU time of the whole part, ms:\n");
  printHeading({"mesh", "tilt", "pixel", "layer", "layers", "analysis", "survey", "finishing",
                "judging", "survey / analysis", "survey and finishing / analysis"});
  for (const std::vector<std::string>& row : times) printRow(row);
}

void printVerdictHeading() {
  printHeading({"mesh",         "tilt",        "pixel",       "layer",       "set",
                "points",       "added",       "islands",     "unheld 1 px", "unheld 2+ px",
                "overhang mm2", "beyond 3 mm", "beyond 5 mm", "worst mm",    "pairs < 1 mm",
                "separate",     "no room",     "sealed",      "cover",       "points / cover",
                "points / mm2"});
}

// A part at one tilt, pixel size and layer height.
struct Row {
  std::string part;
  double tilt = 0;
  PrintSettings print;
  std::size_t cover = 0;
};

void printVerdict(const Row& row, const char* whose, std::size_t points,
                  const hold::Verdict& verdict, std::ptrdiff_t added) {
  // All surface counts here, also where no support fits.
  hold::Surface whole;
  for (const hold::Surface& s : {verdict.supportable, verdict.withoutRoom, verdict.sealed}) {
    whole.pixels += s.pixels;
    whole.beyondNear += s.beyondNear;
    whole.beyondFar += s.beyondFar;
  }
  std::size_t lone = 0;
  std::size_t larger = 0;
  for (const hold::IslandVerdict& island : verdict.islands) {
    if (!island.isHeld()) ++(island.island.pixels == 1 ? lone : larger);
  }
  const auto separate = std::count_if(verdict.closePairs.begin(), verdict.closePairs.end(),
                                      [](const hold::ClosePair& pair) { return pair.separate; });
  const PrintSettings& print = row.print;
  const double area = static_cast<double>(whole.pixels) * print.pixelSize * print.pixelSize;
  const auto quotient = [&](double divisor, int digits) {
    return divisor > 0 ? text(static_cast<double>(points) / divisor, digits) : "-";
  };
  printRow({row.part,
            text(row.tilt),
            text(print.pixelSize),
            text(print.layerHeight),
            whose,
            std::to_string(points),
            std::to_string(added),
            std::to_string(verdict.islands.size()),
            std::to_string(lone),
            std::to_string(larger),
            text(area, 1),
            share(whole.beyondNear, whole.pixels),
            share(whole.beyondFar, whole.pixels),
            verdict.worst.empty() ? "-" : text(verdict.worst[0].distance, 1),
            std::to_string(verdict.closePairs.size()),
            std::to_string(separate),
            std::to_string(verdict.pointsWithoutRoom.size()),
            std::to_string(verdict.pointsInSealedVoids.size()),
            std::to_string(row.cover),
            quotient(static_cast<double>(row.cover), 2),
            quotient(area, 3)});
}

// Prints the part's rows, and returns its row of times.
std::vector<std::string> judgePart(const Part& part, double tilt, const PrintSettings& print) {
  Times times;
  const hold::Survey survey = surveyOf(tilted(part, tilt), print, times);
  const hold::JudgeSettings limits;
  const Row row{part.name, tilt, print, hold::coverSize(survey, limits.nearReach, coverShare)};
  printVerdict(row, "analysed", survey.points().size(),
               hold::judge(survey, survey.points(), limits), 0);
  double finishing = 0;
  const hold::Finished result =
      timed(finishing, [&] { return hold::finish(survey, finishSettings(print)); });
  const std::vector<hold::Site> finished = result.sites();
  const auto added = std::count_if(
      result.points.begin(), result.points.end(),
      [](const hold::FinishedPoint& p) { return p.analysed == hold::FinishedPoint::none; });
  double judging = 0;
  const hold::Verdict verdict =
      timed(judging, [&] { return hold::judge(survey, finished, limits); });
  printVerdict(row, "finished", finished.size(), verdict, added);
  const auto milliseconds = [](double seconds) { return text(1000 * seconds, 0); };
  return {part.name,
          text(tilt),
          text(print.pixelSize),
          text(print.layerHeight),
          std::to_string(survey.layerCount()),
          milliseconds(times.analysis),
          milliseconds(times.survey),
          milliseconds(finishing),
          milliseconds(judging),
          text(times.survey / times.analysis, 2),
          text((times.survey + finishing) / times.analysis, 2)};
}

void run(int argc, char** argv) {
  const Options options = optionsFrom(argc, argv);
  std::vector<Part> parts;
  for (const std::string& path : options.paths) {
    for (Part& part : readParts(path)) parts.push_back(std::move(part));
  }
  if (options.generated) {
    for (Part& part : generatedParts()) parts.push_back(std::move(part));
  } else if (options.box) {
    parts.push_back(boxPart());
  }
  printVerdictHeading();
  std::vector<std::vector<std::string>> times;
  PrintSettings print;
  print.screenWidth = print.screenHeight = screenSide;
  for (const Part& part : parts) {
    for (const double tilt : options.tilts) {
      for (const double pixelSize : options.pixelSizes) {
        for (const double layerHeight : options.layerHeights) {
          print.pixelSize = pixelSize;
          print.layerHeight = layerHeight;
          times.push_back(judgePart(part, tilt, print));
        }
      }
    }
  }
  printTimes(times);
}

}  // namespace
}  // namespace stiltforge::bench

int main(int argc, char** argv) {
  try {
    stiltforge::bench::run(argc, argv);
  } catch (const std::exception& error) {
    std::cerr << "stiltforge_holding: " << error.what() << '\n';
    return 1;
  }
}

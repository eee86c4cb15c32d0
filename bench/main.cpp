#include <benchmark/benchmark.h>

#include <exception>
#include <iostream>
#include <list>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "host_parameters.h"
#include "model_bench.h"
#include "placement_bench.h"
#include "segmentation_bench.h"
#include "slice_picture.h"
#include "soup_file.h"
#ifdef STILTFORGE_BENCH_OPENCV
#include "opencv_bench.h"
#endif

namespace stiltforge::bench {
namespace {

constexpr int windows = 10;
constexpr int quickWindows = 3;

struct Options {
  std::string soup;                 // file of the demo mesh, nine floats a triangle
  std::string parameters;           // file of the host's parameters
  std::vector<std::string> stacks;  // files of two slices, see stackPicture()
  bool quick = false;
};

Options optionsFrom(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    const auto value = [&] { return std::string(argument.substr(argument.find('=') + 1)); };
    if (argument.rfind("--soup=", 0) == 0) {
      options.soup = value();
    } else if (argument.rfind("--parameters=", 0) == 0) {
      options.parameters = value();
    } else if (argument.rfind("--stack=", 0) == 0) {
      options.stacks.push_back(value());
    } else if (argument == "--quick") {
      options.quick = true;
    } else {
      throw std::runtime_error(
          "unknown argument " + std::string(argument) +
          ": use --soup=FILE, --parameters=FILE, --stack=FILE, --quick or Google Benchmark's");
    }
  }
  if (options.soup.empty() || options.parameters.empty()) {
    throw std::runtime_error("--soup=FILE or --parameters=FILE is missing");
  }
  return options;
}

std::list<SlicePicture> meshPictures(const std::vector<float>& soup, bool quick) {
  std::list<SlicePicture> result;
  result.push_back(meshPicture(soup, screen2k));
  result.push_back(meshPicture(soup, screen4k));
  if (!quick) result.push_back(meshPicture(soup, screen12k));
  return result;
}

std::list<SlicePicture> otherPictures(const Options& options) {
  std::list<SlicePicture> result;
  result.push_back(noisePicture(screen4k));
  result.push_back(fullPlatePicture(screen4k));
  result.push_back(smallPartsPicture(screen4k));
  for (const std::string& stack : options.stacks) result.push_back(stackPicture(stack));
  return result;
}

void registerPicture(const SlicePicture& picture, const HostParameters& parameters) {
  registerSegmentation(picture, parameters);
#ifdef STILTFORGE_BENCH_OPENCV
  registerOpenCv(picture);
#endif
}

void run(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  const Options options = optionsFrom(argc, argv);
  const HostParameters parameters = readParameters(options.parameters);
  const std::vector<float> soup = readSoup(options.soup);
  const std::list<SlicePicture> ofMesh = meshPictures(soup, options.quick);
  for (const SlicePicture& picture : ofMesh) {
    registerPicture(picture, parameters);
    registerSegmentationStream(picture);
  }
  const std::list<SlicePicture> others = otherPictures(options);
  for (const SlicePicture& picture : others) registerPicture(picture, parameters);
  registerPlacement(parameters, options.quick);
  registerModel(soup, parameters, options.quick ? quickWindows : windows);
  benchmark::RunSpecifiedBenchmarks();
}

}  // namespace
}  // namespace stiltforge::bench

int main(int argc, char** argv) {
  try {
    stiltforge::bench::run(argc, argv);
  } catch (const std::exception& error) {
    std::cerr << "stiltforge_bench: " << error.what() << '\n';
    return 1;
  }
}

// Prints a digest of the complete results of a fixed set of stacks, one line each, so that builds
// for other compilers, standard libraries and processors can be compared where no test framework
// runs.

#include <cstdio>
#include <exception>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "analysis/pixel_masks.h"
#include "built_digest.h"
#include "core/core_stack.h"
#include "digest.h"
#include "finished_digest.h"
#include "reference/stack_generator.h"
#include "result_digest.h"
#include "runtime/worker_pool.h"
#include "sliced_model.h"
#include "stack_file.h"

namespace stiltforge::digest {
namespace {

constexpr uint64_t generatedStacks = 2000;
constexpr uint64_t stacksPerLine = 250;

void print(const std::string& name, const Digest& digest) {
  std::printf("%s %016llx\n", name.c_str(), static_cast<unsigned long long>(digest.value()));
  std::fflush(stdout);
}

void print(const std::string& name, const reference::Stack& stack) {
  Digest digest;
  addResults(analyseWithCore(stack), digest);
  print(name, digest);
}

void printFinished(const std::string& name, const reference::Stack& stack, double pixelSize,
                   double layerHeight) {
  Digest digest;
  addFinished(stack, analyseWithCore(stack, false), pixelSize, layerHeight, digest);
  print(name, digest);
}

void forceVariant(std::string_view name) {
  for (const PixelMaskVariant& variant : pixelMaskVariants()) {
    if (variant.name == name) return forcePixelMaskFunction(variant.function);
  }
  throw std::runtime_error("this processor has no variant " + std::string(name));
}

void run(const std::vector<std::string>& arguments) {
  std::vector<std::string> files;
  for (const std::string& argument : arguments) {
    const std::string value = argument.substr(argument.find('=') + 1);
    if (argument == "--list-variants") {
      for (const PixelMaskVariant& variant : pixelMaskVariants()) std::puts(variant.name);
      return;
    }
    if (argument.rfind("--workers=", 0) == 0) {
      workers::setCount(std::atoi(value.c_str()));
    } else if (argument.rfind("--variant=", 0) == 0) {
      forceVariant(value);
    } else if (argument.rfind("--", 0) == 0) {
      throw std::runtime_error(
          "unknown argument " + argument +
          ": use --workers=N, --variant=NAME, --list-variants and stack files");
    } else {
      files.push_back(argument);
    }
  }
  for (const std::string& file : files) {
    print(std::filesystem::path(file).stem().string(), readStackFile(file));
  }
  for (uint64_t first = 0; first < generatedStacks; first += stacksPerLine) {
    Digest digest;
    Digest finished;
    for (uint64_t seed = first; seed < first + stacksPerLine; ++seed) {
      const reference::Stack stack = reference::generateStack(seed);
      const auto results = analyseWithCore(stack);
      addResults(results, digest);
      addFinished(stack, results, 0.1, 0.1, finished);
    }
    print("generated-" + std::to_string(first), digest);
    print("finished-" + std::to_string(first), finished);
  }
  Digest built;
  addBuilt(built);
  print("built-model", built);
  print("sliced-model", slicedModel(0.05, 1));
  printFinished("finished-model", slicedModel(0.1, 0.1), 0.1, 0.1);
}

}  // namespace
}  // namespace stiltforge::digest

int main(int argc, char** argv) {
  try {
    stiltforge::digest::run({argv + 1, argv + argc});
  } catch (const std::exception& error) {
    std::cerr << "stiltforge_digest: " << error.what() << '\n';
    return 1;
  }
}

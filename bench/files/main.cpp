// Times the decoders of printer files beside libpng's, and them with the analysis.

#include <benchmark/benchmark.h>
#include <png.h>

#include <cstring>
#include <exception>
#include <iostream>
#include <list>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "model/model.h"
#include "print/analysis_parameters.h"
#include "printed_stack.h"
#include "printer_files/open_printer_file.h"
#include "runtime/worker_pool.h"
#include "slicing/layer_slicer.h"
#include "soup_file.h"
#include "timing.h"

namespace stiltforge::bench {
namespace {

using printer_files::PrinterFile;

constexpr double pixelSizeOf(ScreenSize screen) {
  return 134.4 / screen.width;
}

void decodeByLibpng(const std::string& file, std::vector<uint8_t>& grey) {
  png_structp reader = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(reader);
  if (setjmp(png_jmpbuf(reader)) != 0) throw std::runtime_error("libpng refuses the picture");
  const char* at = file.data();
  png_set_read_fn(reader, &at, [](png_structp png, png_bytep target, std::size_t size) {
    const char*& from = *static_cast<const char**>(png_get_io_ptr(png));
    std::memcpy(target, from, size);
    from += size;
  });
  png_read_info(reader, info);
  const std::size_t height = png_get_image_height(reader, info);
  const std::size_t rowBytes = png_get_rowbytes(reader, info);
  grey.resize(height * rowBytes);
  for (std::size_t y = 0; y < height; ++y) png_read_row(reader, &grey[y * rowBytes], nullptr);
  png_destroy_read_struct(&reader, &info, nullptr);
}

std::unique_ptr<PrinterFile> opened(const std::string& bytes) {
  return printer_files::openPrinterFile(std::vector<char>(bytes.begin(), bytes.end()));
}

/// Analyses all layers of a file, supports included.
void analyse(PrinterFile& file, ScreenSize screen) {
  PrintSettings print;
  print.pixelSize = pixelSizeOf(screen);
  const uint32_t layers = file.info().layerCount;
  slicing::LayerSettings settings;
  settings.layerCount = layers;
  settings.layerWidth = settings.width = screen.width;
  settings.layerHeight = settings.height = screen.height;
  settings.channels = slicerSettings(print).channels;
  settings.channels.pixelSize = print.pixelSize;
  slicing::LayerSlicer slicer(
      settings, [&](uint32_t layer, Slice& slice) { file.readMaterial(layer, slice.material); });
  Model model(modelParameters(print, screen.width, screen.height, layers).settings,
              std::size_t{screen.width} * screen.height);
  std::vector<Slice> slices(layers);
  slicer.slice(0, slices);
  for (Slice& slice : slices) model.analyse(std::move(slice), {});
}

template <class Measured>
void add(const std::string& name, std::size_t layers, Measured measured) {
  benchmark::RegisterBenchmark(name.c_str(),
                               [=](benchmark::State& state) {
                                 timeEachWarm(
                                     state, [] {}, measured, layers);
                               })
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond);
}

void registerStack(const PrintedStack& stack) {
  const std::size_t layers = stack.pngs.size();
  const std::string screen = stack.screen.name;
  const PrintedStack* const all = &stack;
  const auto grey = std::make_shared<std::vector<uint8_t>>();
  add("libpng/" + screen, layers, [=] {
    for (const std::string& png : all->pngs) decodeByLibpng(png, *grey);
  });
  const auto addFile = [&](const std::string& kind, const std::string& bytes) {
    const std::shared_ptr<PrinterFile> file = opened(bytes);
    add(kind + "-decode/" + screen, layers, [=] {
      RunRows material;
      for (uint32_t i = 0; i < layers; ++i) file->readMaterial(i, material);
    });
    add(kind + "-analyse/" + screen, layers, [=] { analyse(*file, all->screen); });
  };
  addFile("sl1", stack.sl1);
  addFile("goo", stack.goo);
}

void run(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  constexpr std::string_view writing = "--write-sl1=";
  if (argc == 3 && std::string_view(argv[2]).starts_with(writing)) {
    constexpr ScreenSize screen{"2k", 2560, 1440};
    writeSl1(readSoup(argv[1]), screen, argv[2] + writing.size());
    return;
  }
  if (argc != 2) {
    throw std::runtime_error(
        "use: stiltforge_files_bench SOUP [--write-sl1=FILE], or SOUP and "
        "options of Google Benchmark");
  }
  const std::vector<float> soup = readSoup(argv[1]);
  constexpr uint32_t layers = 8;
  std::list<PrintedStack> stacks;
  for (const ScreenSize screen : {screen2k, screen4k, screen12k}) {
    stacks.push_back(printedStack(soup, screen, layers));
    registerStack(stacks.back());
  }
  benchmark::RunSpecifiedBenchmarks();
}

}  // namespace
}  // namespace stiltforge::bench

int main(int argc, char** argv) {
  try {
    stiltforge::bench::run(argc, argv);
  } catch (const std::exception& error) {
    std::cerr << "stiltforge_files_bench: " << error.what() << '\n';
    return 1;
  }
}

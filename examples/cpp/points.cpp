// Prints where a part needs supports: the finished points, as the command writes them to
// points.csv. What they hold is told on standard error. With a second file, also writes the
// supports as geometry, a binary STL.
//
//   points part.stl [supports.stl] > points.csv

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <stiltforge/stiltforge.hpp>
#include <string>
#include <vector>

// Little-endian, as the machine is taken to be. Readers make normals of the corners.
static void writeStl(const std::string& path, const stiltforge::Scaffold& supports) {
  std::ofstream file(path, std::ios::binary);
  const auto write = [&](const void* bytes, std::size_t size) {
    file.write(static_cast<const char*>(bytes), static_cast<std::streamsize>(size));
  };
  const char header[80] = "stiltforge: supports";
  const auto count = static_cast<std::uint32_t>(supports.triangleCount());
  const float normal[3] = {};
  const std::uint16_t attributes = 0;
  write(header, sizeof header);
  write(&count, sizeof count);
  for (std::size_t i = 0; i < count; ++i) {
    write(normal, sizeof normal);
    write(supports.positions().begin() + 9 * i, 9 * sizeof(float));
    write(&attributes, sizeof attributes);
  }
  file.close();
  if (!file) throw std::runtime_error(path + " cannot be written.");
}

int main(int argc, char** argv) {
  if (argc != 2 && argc != 3) {
    std::fprintf(stderr, "usage: points MESH [STL]\n");
    return 1;
  }
  try {
    const stiltforge::PrintSettings print;
    const stiltforge::Mesh mesh = stiltforge::Mesh::read(argv[1]);
    stiltforge::Slicer slicer(mesh, print);
    stiltforge::Model model(slicer.parameters());
    stiltforge::Survey survey(print);
    const unsigned layers = slicer.info().layer_count;
    model.analyse(slicer, survey, [&](const stiltforge::LayerView& layer) {
      std::fprintf(stderr, "\rlayer %u of %u", layer.index() + 1, layers);
    });
    std::fprintf(stderr, "\n");

    const stiltforge::Finished finished = survey.finish();
    const stiltforge::VerdictInfo held = survey.judge(finished).info();
    std::fprintf(stderr,
                 "%u of %u islands held; %.1f of %.1f mm2 of overhang further than %g mm away\n",
                 held.held_islands, held.islands, held.overhang.beyond_near, held.overhang.area,
                 held.near_reach);

    std::printf("x_mm,y_mm,z_mm,column,row,layer,region,kind,reason\n");
    const std::vector<stiltforge::Point> points = slicer.locate(finished.supports());
    for (std::size_t i = 0; i < points.size(); ++i) {
      const stiltforge::Point& point = points[i];
      std::printf("%.10g,%.10g,%.10g,%u,%u,%u,%u,%s,%s\n", point.x, point.y, point.z, point.column,
                  point.row, point.layer, point.group, point.island ? "island" : "overhang",
                  stiltforge_reason_name(finished.origins()[i].reason));
    }
    if (argc == 3) {
      const stiltforge::SlicerInfo info = slicer.info();
      writeStl(argv[2], stiltforge::Scaffold(mesh, points, info.plate_z, info.layer_height));
    }
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
}

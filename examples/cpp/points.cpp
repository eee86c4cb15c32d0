// Prints where a part needs supports: the points of the analysis, as stiltforge --as-analysed has
// them.
//
//   points part.stl > points.csv

#include <cstdio>
#include <exception>
#include <stiltforge/stiltforge.hpp>

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: points MESH\n");
    return 1;
  }
  try {
    const stiltforge::PrintSettings print;
    stiltforge::Slicer slicer(stiltforge::Mesh::read(argv[1]), print);
    stiltforge::Model model(slicer.parameters());
    const unsigned layers = slicer.info().layer_count;
    model.analyse(slicer, [&](const stiltforge::LayerView& layer) {
      std::fprintf(stderr, "\rlayer %u of %u", layer.index() + 1, layers);
    });
    std::fprintf(stderr, "\n");

    std::printf("x_mm,y_mm,z_mm,column,row,layer,region,kind\n");
    for (const stiltforge::Point& point : slicer.locate(model.supports())) {
      std::printf("%.10g,%.10g,%.10g,%u,%u,%u,%u,%s\n", point.x, point.y, point.z, point.column,
                  point.row, point.layer, point.group, point.island ? "island" : "overhang");
    }
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
}

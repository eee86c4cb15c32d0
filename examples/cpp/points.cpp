// Prints where a part needs supports: the finished points, as the command writes them to
// points.csv. What they hold is told on standard error.
//
//   points part.stl > points.csv

#include <cstddef>
#include <cstdio>
#include <exception>
#include <stiltforge/stiltforge.hpp>
#include <vector>

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: points MESH\n");
    return 1;
  }
  try {
    const stiltforge::PrintSettings print;
    stiltforge::Slicer slicer(stiltforge::Mesh::read(argv[1]), print);
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
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
}

/* Prints where a part needs supports: the points of the analysis, as stiltforge --as-analysed has
 * them.
 *
 *   points part.stl > points.csv
 */
#include <stdio.h>
#include <stdlib.h>
#include <stiltforge/stiltforge.h>

static void require(stiltforge_status status, const stiltforge_error* error) {
  if (status == STILTFORGE_OK) return;
  fprintf(stderr, "%s\n", error->message);
  exit(EXIT_FAILURE);
}

static int32_t show_progress(void* context, const stiltforge_layer* layer) {
  const stiltforge_slicer_info* info = context;
  fprintf(stderr, "\rlayer %u of %u", stiltforge_layer_index(layer) + 1, info->layer_count);
  return 0;
}

static void print_point(const stiltforge_point* point) {
  printf("%.10g,%.10g,%.10g,%u,%u,%u,%u,%s\n", point->x, point->y, point->z, point->column,
         point->row, point->layer, point->group, point->island ? "island" : "overhang");
}

int main(int argc, char** argv) {
  stiltforge_error error;
  stiltforge_print_settings print = {.struct_size = sizeof print};
  stiltforge_slicer_info info = {.struct_size = sizeof info};
  stiltforge_mesh* mesh;
  stiltforge_slicer* slicer;
  stiltforge_parameters* parameters;
  stiltforge_model* model;
  stiltforge_support* supports;
  stiltforge_point* points;
  size_t count;
  size_t i;

  if (argc != 2) {
    fprintf(stderr, "usage: points MESH\n");
    return EXIT_FAILURE;
  }
  require(stiltforge_print_settings_init(&print, &error), &error);
  require(stiltforge_mesh_read_file(argv[1], NULL, &mesh, &error), &error);
  require(stiltforge_slicer_create(mesh, &print, &slicer, &error), &error);
  require(stiltforge_slicer_get_info(slicer, &info, &error), &error);
  require(stiltforge_slicer_create_parameters(slicer, &parameters, &error), &error);
  require(stiltforge_model_create(parameters, &model, &error), &error);
  require(
      stiltforge_model_analyse_mesh(model, slicer, UINT32_MAX, NULL, show_progress, &info, &error),
      &error);
  fprintf(stderr, "\n");

  require(stiltforge_model_get_supports(model, NULL, 0, &count, &error), &error);
  supports = malloc((count + 1) * sizeof *supports);
  points = malloc((count + 1) * sizeof *points);
  if (supports == NULL || points == NULL) return EXIT_FAILURE;
  require(stiltforge_model_get_supports(model, supports, count, &count, &error), &error);
  require(stiltforge_slicer_locate(slicer, supports, count, points, &error), &error);

  printf("x_mm,y_mm,z_mm,column,row,layer,region,kind\n");
  for (i = 0; i < count; ++i) print_point(&points[i]);

  free(points);
  free(supports);
  stiltforge_model_destroy(model);
  stiltforge_parameters_destroy(parameters);
  stiltforge_slicer_destroy(slicer);
  stiltforge_mesh_destroy(mesh);
  return EXIT_SUCCESS;
}

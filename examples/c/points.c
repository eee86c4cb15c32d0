/* Prints where a part needs supports: the finished points, as the command writes them to
 * points.csv. What they hold is told on standard error. With a second file, also writes the
 * supports as geometry, a binary STL.
 *
 *   points part.stl [supports.stl] > points.csv
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

static void print_point(const stiltforge_point* point, const stiltforge_origin* origin) {
  printf("%.10g,%.10g,%.10g,%u,%u,%u,%u,%s,%s\n", point->x, point->y, point->z, point->column,
         point->row, point->layer, point->group, point->island ? "island" : "overhang",
         stiltforge_reason_name(origin->reason));
}

static void print_verdict(const stiltforge_verdict_info* verdict) {
  fprintf(stderr, "%u of %u islands held; %.1f of %.1f mm2 of overhang further than %g mm away\n",
          verdict->held_islands, verdict->islands, verdict->overhang.beyond_near,
          verdict->overhang.area, verdict->near_reach);
}

/* Little-endian, as the machine is taken to be. Readers make normals of the corners. */
static void write_stl(const char* path, const stiltforge_scaffold* supports) {
  const char header[80] = "stiltforge: supports";
  const float normal[3] = {0, 0, 0};
  const uint16_t attributes = 0;
  const float* corners = stiltforge_scaffold_positions(supports);
  const uint32_t count = (uint32_t)stiltforge_scaffold_triangle_count(supports);
  FILE* file = fopen(path, "wb");
  int is_written = file != NULL && fwrite(header, sizeof header, 1, file) == 1 &&
                   fwrite(&count, sizeof count, 1, file) == 1;
  uint32_t i;

  for (i = 0; is_written && i < count; ++i) {
    is_written = fwrite(normal, sizeof normal, 1, file) == 1 &&
                 fwrite(corners + 9 * (size_t)i, sizeof *corners, 9, file) == 9 &&
                 fwrite(&attributes, sizeof attributes, 1, file) == 1;
  }
  if (file != NULL && fclose(file) != 0) is_written = 0;
  if (is_written) return;
  fprintf(stderr, "%s cannot be written.\n", path);
  exit(EXIT_FAILURE);
}

int main(int argc, char** argv) {
  stiltforge_error error;
  stiltforge_print_settings print = {.struct_size = sizeof print};
  stiltforge_slicer_info info = {.struct_size = sizeof info};
  stiltforge_mesh* mesh;
  stiltforge_slicer* slicer;
  stiltforge_parameters* parameters;
  stiltforge_model* model;
  stiltforge_survey* survey;
  stiltforge_finished* finished;
  stiltforge_verdict* verdict;
  stiltforge_verdict_info held = {.struct_size = sizeof held};
  const stiltforge_support* supports;
  const stiltforge_origin* origins;
  stiltforge_scaffold* scaffold;
  stiltforge_point* points;
  size_t count;
  size_t i;

  if (argc != 2 && argc != 3) {
    fprintf(stderr, "usage: points MESH [STL]\n");
    return EXIT_FAILURE;
  }
  require(stiltforge_print_settings_init(&print, &error), &error);
  require(stiltforge_mesh_read_file(argv[1], NULL, &mesh, &error), &error);
  require(stiltforge_slicer_create(mesh, &print, &slicer, &error), &error);
  require(stiltforge_slicer_get_info(slicer, &info, &error), &error);
  require(stiltforge_slicer_create_parameters(slicer, &parameters, &error), &error);
  require(stiltforge_model_create(parameters, &model, &error), &error);
  require(stiltforge_survey_create(&print, &survey, &error), &error);
  require(stiltforge_model_survey_mesh(model, slicer, survey, UINT32_MAX, NULL, show_progress,
                                       &info, &error),
          &error);
  require(stiltforge_survey_finish(survey, &finished, &error), &error);
  require(stiltforge_survey_judge(survey, finished, NULL, &verdict, &error), &error);
  require(stiltforge_verdict_get_info(verdict, &held, &error), &error);
  fprintf(stderr, "\n");
  print_verdict(&held);

  supports = stiltforge_finished_supports(finished, &count);
  origins = stiltforge_finished_origins(finished, NULL);
  points = malloc((count + 1) * sizeof *points);
  if (points == NULL) return EXIT_FAILURE;
  require(stiltforge_slicer_locate(slicer, supports, count, points, &error), &error);

  printf("x_mm,y_mm,z_mm,column,row,layer,region,kind,reason\n");
  for (i = 0; i < count; ++i) print_point(&points[i], &origins[i]);

  if (argc == 3) {
    require(stiltforge_scaffold_create(mesh, points, count, info.plate_z, info.layer_height, NULL,
                                       NULL, NULL, NULL, &scaffold, &error),
            &error);
    write_stl(argv[2], scaffold);
    stiltforge_scaffold_destroy(scaffold);
  }

  free(points);
  stiltforge_verdict_destroy(verdict);
  stiltforge_finished_destroy(finished);
  stiltforge_survey_destroy(survey);
  stiltforge_model_destroy(model);
  stiltforge_parameters_destroy(parameters);
  stiltforge_slicer_destroy(slicer);
  stiltforge_mesh_destroy(mesh);
  return EXIT_SUCCESS;
}

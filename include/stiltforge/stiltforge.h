/*
 * stiltforge: decides where a resin print needs supports.
 *
 * The C interface of the library, for C99 and later and for every language that can call C.
 * stiltforge.hpp wraps it for C++; docs/embedding.md shows both, and Python.
 *
 * The road of a model
 *   mesh -> stiltforge_slicer -> stiltforge_model -> supports
 *   mesh -> stiltforge_slicer -> stiltforge_model -> stiltforge_survey -> finished supports
 *   mesh, supports in millimetres -> stiltforge_scaffold -> triangles to be printed
 * A host that slices by itself hands its layers over as pictures or as runs, in a stiltforge_slice.
 *
 * Words
 *   slice       what a layer of the model shows to the printer: pixels of material, and how well
 *               they are supported by the slice below.
 *   layer       an analysed slice. Layers are counted from 0, the one on the plate.
 *   group       a connected region of material of one layer, counted from 1.
 *   support     a point at which a support is to touch the part: a pixel of a layer.
 *   survey      what is known of a part to judge what supports hold of it, and to finish them: to
 *               leave out what no one needs and to add what is missing.
 *   check       looks for what would make a print of its layers fail.
 *   orientation how a part stands on the plate.
 *   scaffold    supports as geometry: tips, pillars, feet, braces and a raft, as triangles.
 *   x, y        column and row of a pixel, from 0 at the top left of the slice.
 * Lengths are in millimetres unless pixels or layers are said. All numbers are in the byte order
 * and the floating-point format (IEEE 754) of the machine.
 *
 * Errors
 *   Functions that can fail return a stiltforge_status and take a stiltforge_error, which may be
 *   null, as their last argument. A failed call changes nothing unless its description says so, and
 *   leaves what it would have returned as it was; handles that it would have created become null.
 *   No exception leaves the library, nothing is printed, and no argument but a bad pointer or a
 *   destroyed handle can crash it.
 *
 * Ownership
 *   Who creates a handle destroys it. What is passed to a function is read during the call and not
 *   kept, unless its description says so. Handles are independent of each other: a slicer does not
 *   need its mesh any more, a layer not its model. Destroying null does nothing. The use of a
 *   destroyed handle cannot be detected.
 *
 * Threads
 *   Every function may be called from any thread. Different handles may be used at the same time.
 *   Of one handle, functions that take it as const may run at the same time; any other call at the
 *   same time is refused with STILTFORGE_BUSY. Calls spread their work over worker threads that
 *   all share, see stiltforge_set_worker_count(). Results never depend on threads.
 *
 * Floats
 *   The same input gives the same results to the bit on every platform. The host's compiler flags,
 *   rounding mode and treatment of subnormal numbers have no influence.
 *
 * Growth
 *   Structures that begin with struct_size may get fields at their end in later versions. Set
 *   struct_size to the structure's size and the rest to zero, then let its init function fill in
 *   the defaults:
 *     stiltforge_print_settings print = {.struct_size = sizeof print};
 *     stiltforge_print_settings_init(&print, NULL);
 *   A library takes the structures of older headers, and those of newer ones as long as the fields
 *   that it does not know are zero. Structures without struct_size never change. Functions and
 *   constants are only added while the number in the library's soname stays.
 */
#ifndef STILTFORGE_H
#define STILTFORGE_H

#include <stddef.h>
#include <stdint.h>

#define STILTFORGE_VERSION_MAJOR 0
#define STILTFORGE_VERSION_MINOR 1
#define STILTFORGE_VERSION_PATCH 0

#if defined(_WIN32) && defined(STILTFORGE_BUILD_SHARED)
#define STILTFORGE_API __declspec(dllexport)
#elif defined(_WIN32) && defined(STILTFORGE_SHARED)
#define STILTFORGE_API __declspec(dllimport)
#elif defined(__GNUC__)
#define STILTFORGE_API __attribute__((visibility("default")))
#else
#define STILTFORGE_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Status and errors */

typedef int32_t stiltforge_status;
enum {
  STILTFORGE_OK = 0,
  /** An argument makes no sense: the message names it and says what it must be. */
  STILTFORGE_INVALID_ARGUMENT = 1,
  /** A file is no usable mesh, or a mesh cannot be sliced with these settings. The message is for
      the person who chose them. */
  STILTFORGE_UNUSABLE_MESH = 2,
  STILTFORGE_OUT_OF_MEMORY = 3,
  /** The host asked for an end. */
  STILTFORGE_CANCELLED = 4,
  /** Another call is using the handle. */
  STILTFORGE_BUSY = 5,
  /** An earlier call on this model failed half-way: it takes no more slices. */
  STILTFORGE_STOPPED = 6,
  /** The library was built without this function. */
  STILTFORGE_UNSUPPORTED = 7,
  /** A fault of the library. Please report it. */
  STILTFORGE_INTERNAL = 8
};

/** The name of a status, such as "STILTFORGE_OK"; "unknown" for any other number. */
STILTFORGE_API const char* stiltforge_status_name(stiltforge_status status);

/** What went wrong in a call. */
typedef struct stiltforge_error {
  /** A sentence or two in UTF-8, ended by a zero byte; empty after a call that went well. */
  char message[1024];
} stiltforge_error;

/** The library's version, such as "0.1.0"; the macros above are the header's. */
STILTFORGE_API const char* stiltforge_version(void);

/* Worker threads */

/** Number of worker threads, at least 1. The number of processors unless it was set. */
STILTFORGE_API uint32_t stiltforge_worker_count(void);

/**
 * Sets the number of worker threads of this process, 1 to 1024. They are started by the first call
 * that needs them and wait idly between calls.
 *
 * STILTFORGE_BUSY while any other call is at work with them.
 */
STILTFORGE_API stiltforge_status stiltforge_set_worker_count(uint32_t count,
                                                             stiltforge_error* error);

/**
 * Ends the worker threads; the next call that needs them starts them again. A host that unloads the
 * library, or forks, calls it before. STILTFORGE_BUSY as above.
 */
STILTFORGE_API stiltforge_status stiltforge_stop_workers(stiltforge_error* error);

/* Cancelling */

/** A request to end long calls early, made from any thread. */
typedef struct stiltforge_cancel_token stiltforge_cancel_token;

STILTFORGE_API stiltforge_status stiltforge_cancel_token_create(stiltforge_cancel_token** token,
                                                                stiltforge_error* error);

/**
 * Calls that were given the token end with STILTFORGE_CANCELLED as soon as they can, and later ones
 * at once. Safe at any time, also from a signal handler; null does nothing.
 */
STILTFORGE_API void stiltforge_cancel_token_cancel(stiltforge_cancel_token* token);

/** No call that was given the token may be running. */
STILTFORGE_API void stiltforge_cancel_token_destroy(stiltforge_cancel_token* token);

/* Progress */

/**
 * Called on the thread of a long call: about ten times a second while other threads work, and once
 * with done = total when all is done. done: steps of the work, never falling. total: all of them as
 * far as is known, above 0. Anything but 0 ends the call. Must not throw or jump out.
 */
typedef int32_t (*stiltforge_progress_callback)(void* context, uint64_t done, uint64_t total);

/* The settings of a print */

/** A print as a person describes it: the printer, how the part is cut for it, and where supports
    are wanted. docs/parameters.md gives the reasons for the defaults. */
typedef struct stiltforge_print_settings {
  size_t struct_size;
  double layer_height;    /**< mm; 0.05 */
  double pixel_size;      /**< mm, side of the square pixels; 0.05 */
  uint32_t screen_width;  /**< pixels, 1 to 65535; 3840 */
  uint32_t screen_height; /**< pixels, 1 to 65535; 2400 */
  double offset_x;        /**< mm from the screen's centre to the centre of the part's box; 0 */
  double offset_y;        /**< mm, likewise; 0 */
  uint32_t margin;        /**< pixels left free around the part where the screen has them; 2 */
  /** Degrees between the plate and a surface that just carries itself, above 0, to 90; 45. */
  double critical_angle;
  /** mm beyond the material below from where on a pixel hangs free. Below 0: 0.5, or twice the
      distance that carries itself at the critical angle, where that is more; -1. */
  double full_overhang;
  double inset;        /**< mm from the contour inwards where supports are avoided; 0.4 */
  double support_area; /**< mm2 of a layer that one support holds; 15 */
  double lift;         /**< mm from the plate to the part's lowest point, 0 to 1,000; 0 */
  /** mm from the plate, or the part, to a place where a support fits; 0.2. */
  double minimum_height;
  /** mm between finished supports of the same region, at least. Below 0: it follows from the area,
      1.5 for 15 mm2; -1. */
  double minimum_spacing;
  /** mm, of the layer on the plate, from 0.000001 to 1,000,000; 0 is as the others. Surveys count
      the room below a support by it; a slicer cuts all layers alike; 0. */
  double first_layer_height;
} stiltforge_print_settings;

/** Fills in the defaults. */
STILTFORGE_API stiltforge_status stiltforge_print_settings_init(stiltforge_print_settings* settings,
                                                                stiltforge_error* error);

/* The parameters of the analysis */

enum {
  STILTFORGE_FLAG = 0,  /**< 0 or 1 */
  STILTFORGE_WHOLE = 1, /**< a whole number */
  STILTFORGE_NUMBER = 2 /**< taken in single precision */
};

/** What is known of one of the parameters. The texts live as long as the library. */
typedef struct stiltforge_parameter_info {
  size_t struct_size;
  const char* name;
  /** "pixels", "layers", "area" (a number of pixels), "factor", "weight", "count", "blue", "flag"
   */
  const char* unit;
  const char* summary; /**< one sentence without a full stop */
  double least;        /**< values below are refused */
  double most;         /**< values above are refused */
  double default_value;
  int32_t kind; /**< STILTFORGE_FLAG, STILTFORGE_WHOLE or STILTFORGE_NUMBER */
} stiltforge_parameter_info;

/** The number of parameters. */
STILTFORGE_API size_t stiltforge_parameter_count(void);

/** Fills in what is known of parameter `index`, from 0 to stiltforge_parameter_count() - 1. */
STILTFORGE_API stiltforge_status stiltforge_get_parameter_info(size_t index,
                                                               stiltforge_parameter_info* info,
                                                               stiltforge_error* error);

/** The parameters of one model, by name. docs/parameters.md describes each. */
typedef struct stiltforge_parameters stiltforge_parameters;

/** Creates a set with the defaults. Its width and height are 0: set them before a model is made. */
STILTFORGE_API stiltforge_status stiltforge_parameters_create(stiltforge_parameters** parameters,
                                                              stiltforge_error* error);

/**
 * Creates the set that a print asks for: what the stiltforge command uses for the same settings.
 *
 * width, height: pixels of every slice, 1 to 65535. layers: number of slices, 0 to 65535. The
 * screen, offsets and margin of the settings have no influence.
 */
STILTFORGE_API stiltforge_status stiltforge_parameters_create_for_print(
    const stiltforge_print_settings* settings, uint32_t width, uint32_t height, uint32_t layers,
    stiltforge_parameters** parameters, stiltforge_error* error);

/** Sets the parameter of that name. STILTFORGE_INVALID_ARGUMENT where there is none or the value
    lies outside its range. */
STILTFORGE_API stiltforge_status stiltforge_parameters_set(stiltforge_parameters* parameters,
                                                           const char* name, double value,
                                                           stiltforge_error* error);

/** The value of the parameter of that name, as it was rounded when it was set. */
STILTFORGE_API stiltforge_status stiltforge_parameters_get(const stiltforge_parameters* parameters,
                                                           const char* name, double* value,
                                                           stiltforge_error* error);

STILTFORGE_API void stiltforge_parameters_destroy(stiltforge_parameters* parameters);

/* Meshes */

/** A triangle mesh in millimetres, z up. */
typedef struct stiltforge_mesh stiltforge_mesh;

/**
 * Creates a mesh of triangles.
 *
 * positions: nine floats a triangle, x, y, z of its three corners, counter-clockwise as seen from
 * outside; 9 * triangle_count entries, which are copied. triangle_count: 1 to 100,000,000. Whether
 * they make a solid is left to the slicer's report.
 */
STILTFORGE_API stiltforge_status stiltforge_mesh_create(const float* positions,
                                                        size_t triangle_count,
                                                        stiltforge_mesh** mesh,
                                                        stiltforge_error* error);

/**
 * Creates a mesh of triangles that share vertices.
 *
 * vertices: three floats each, x, y, z; 3 * vertex_count entries. indices: three a triangle, each
 * below vertex_count; 3 * triangle_count entries.
 */
STILTFORGE_API stiltforge_status stiltforge_mesh_create_indexed(
    const float* vertices, size_t vertex_count, const uint32_t* indices, size_t triangle_count,
    stiltforge_mesh** mesh, stiltforge_error* error);

/**
 * Reads a mesh file: STL (binary or text), OBJ, PLY or 3MF; the content tells the format. Files
 * without a unit are taken to be in millimetres.
 *
 * path: UTF-8, ended by a zero byte. cancel: may be null.
 *
 * STILTFORGE_UNUSABLE_MESH when there is no such file or it is no usable mesh: the message says
 * what is wrong, where, and what to do. STILTFORGE_UNSUPPORTED when the library was built without
 * the readers.
 */
STILTFORGE_API stiltforge_status stiltforge_mesh_read_file(const char* path,
                                                           stiltforge_cancel_token* cancel,
                                                           stiltforge_mesh** mesh,
                                                           stiltforge_error* error);

/** The same for a file that is in memory: `size` bytes. name: the file's, or null; its extension
    counts where the content leaves the format open. */
STILTFORGE_API stiltforge_status stiltforge_mesh_read_memory(const void* bytes, size_t size,
                                                             const char* name,
                                                             stiltforge_cancel_token* cancel,
                                                             stiltforge_mesh** mesh,
                                                             stiltforge_error* error);

/** What was left out or mended when the file was read: sentences for the person who chose it. */
STILTFORGE_API size_t stiltforge_mesh_warning_count(const stiltforge_mesh* mesh);
/** Warning `index`, from 0; null when there is none. Valid until the mesh is destroyed. */
STILTFORGE_API const char* stiltforge_mesh_warning(const stiltforge_mesh* mesh, size_t index);

/** Turns a mesh whose y axis points up, so that its z axis does. */
STILTFORGE_API stiltforge_status stiltforge_mesh_turn_y_up(stiltforge_mesh* mesh,
                                                           stiltforge_error* error);

/** Multiplies all coordinates by the factor, above 0. STILTFORGE_UNUSABLE_MESH, and no change, when
    that makes the mesh too large or too small. */
STILTFORGE_API stiltforge_status stiltforge_mesh_scale(stiltforge_mesh* mesh, double factor,
                                                       stiltforge_error* error);

/** The same, to a height in millimetres. */
STILTFORGE_API stiltforge_status stiltforge_mesh_scale_to_height(stiltforge_mesh* mesh,
                                                                 double height,
                                                                 stiltforge_error* error);

/** How a part is turned: degrees about the fixed axes x, then y, then z, counter-clockwise as seen
    from their positive ends. */
typedef struct stiltforge_turn {
  double x;
  double y;
  double z;
} stiltforge_turn;

/** Turns the mesh about the origin. Quarter turns are exact. */
STILTFORGE_API stiltforge_status stiltforge_mesh_turn(stiltforge_mesh* mesh,
                                                      const stiltforge_turn* turn,
                                                      stiltforge_error* error);

/** The corners of the mesh's box, mm: x, y, z each. */
STILTFORGE_API stiltforge_status stiltforge_mesh_get_box(const stiltforge_mesh* mesh, double min[3],
                                                         double max[3], stiltforge_error* error);

/** Number of triangles; 0 for null. */
STILTFORGE_API size_t stiltforge_mesh_triangle_count(const stiltforge_mesh* mesh);

/** The triangles: nine floats each, as stiltforge_mesh_create() takes them. Null for null. Valid
    until the mesh is changed or destroyed. */
STILTFORGE_API const float* stiltforge_mesh_positions(const stiltforge_mesh* mesh);

STILTFORGE_API void stiltforge_mesh_destroy(stiltforge_mesh* mesh);

/* Slices */

/** A slice of a model: its runs of material, and of pixels that overhang with the two values of
    each. Empty, of 0 x 0 pixels, when it is created; every function that fills it replaces all. */
typedef struct stiltforge_slice stiltforge_slice;

STILTFORGE_API stiltforge_status stiltforge_slice_create(stiltforge_slice** slice,
                                                         stiltforge_error* error);

/**
 * Fills a slice from a picture.
 *
 * rgba: width * height pixels of four bytes, row by row from the top; byte_count is that size. A
 * pixel is material when its red byte is not 0. Its blue byte says how well the slice below
 * supports it, 255 fully, its green byte how close it is to the contour, 255 on it. Alpha is not
 * read. width, height: 1 to 65535, together at most 2,147,483,647 pixels.
 */
STILTFORGE_API stiltforge_status stiltforge_slice_set_rgba(stiltforge_slice* slice,
                                                           const uint8_t* rgba, size_t byte_count,
                                                           uint32_t width, uint32_t height,
                                                           stiltforge_error* error);

/** Runs of pixels, row by row, in arrays of the host. */
typedef struct stiltforge_runs {
  /** Row y has the runs from row_start[y] to row_start[y + 1], not included: height + 1 entries,
      the first 0, the last run_count, never falling. */
  const uint32_t* row_start;
  const uint16_t* begin; /**< first column of each run; run_count entries */
  const uint16_t* end;   /**< the column after its last, above begin, to the slice's width */
  size_t run_count;
} stiltforge_runs;

/** Runs of the pixels that overhang, with the values of each. */
typedef struct stiltforge_overhang {
  stiltforge_runs runs;
  /** How well the slice below supports each pixel, 0 to 254, in the order of the runs. Pixels with
      255 are fully supported: leave them out. */
  const uint8_t* blue;
  const uint8_t* green; /**< how close it is to the contour, 255 on it */
  size_t pixel_count;   /**< entries of both */
} stiltforge_overhang;

/**
 * Fills a slice from runs.
 *
 * The runs of a row ascend and do not overlap; runs that touch are joined. overhang: each of its
 * runs lies within one (joined) run of the material; null when all material is supported. width,
 * height: as above.
 */
STILTFORGE_API stiltforge_status stiltforge_slice_set_runs(stiltforge_slice* slice, uint32_t width,
                                                           uint32_t height,
                                                           const stiltforge_runs* material,
                                                           const stiltforge_overhang* overhang,
                                                           stiltforge_error* error);

/** The sizes of a slice. */
typedef struct stiltforge_slice_info {
  size_t struct_size;
  uint32_t width;  /**< pixels */
  uint32_t height; /**< pixels */
  size_t material_runs;
  size_t overhang_runs;
  uint64_t material_pixels;
  uint64_t overhang_pixels;
} stiltforge_slice_info;

STILTFORGE_API stiltforge_status stiltforge_slice_get_info(const stiltforge_slice* slice,
                                                           stiltforge_slice_info* info,
                                                           stiltforge_error* error);

/**
 * Copies the runs of material out. row_start: height + 1 entries, begin, end: run_capacity entries,
 * at least stiltforge_slice_info::material_runs; see stiltforge_runs.
 */
STILTFORGE_API stiltforge_status stiltforge_slice_copy_material(const stiltforge_slice* slice,
                                                                uint32_t* row_start,
                                                                uint16_t* begin, uint16_t* end,
                                                                size_t run_capacity,
                                                                stiltforge_error* error);

/**
 * Copies the runs of overhang out, and the values of their pixels: pixel_capacity entries each, at
 * least stiltforge_slice_info::overhang_pixels; see stiltforge_overhang.
 */
STILTFORGE_API stiltforge_status
stiltforge_slice_copy_overhang(const stiltforge_slice* slice, uint32_t* row_start, uint16_t* begin,
                               uint16_t* end, size_t run_capacity, uint8_t* blue, uint8_t* green,
                               size_t pixel_capacity, stiltforge_error* error);

STILTFORGE_API void stiltforge_slice_destroy(stiltforge_slice* slice);

/* Supports */

/** A support, in pixels and layers. */
typedef struct stiltforge_support {
  uint32_t layer;  /**< from 0, the layer on the plate */
  uint32_t group;  /**< number of its group in the layer, from 1 */
  uint32_t x;      /**< column of the slice */
  uint32_t y;      /**< row of the slice */
  uint32_t island; /**< 1: its group rests on nothing, or on a single pixel; 0: it overhangs */
} stiltforge_support;

/** A support, in millimetres too: what a line of the command's points.csv says. */
typedef struct stiltforge_point {
  double x;        /**< mm, in the coordinates of the mesh, to the micrometre */
  double y;        /**< mm */
  double z;        /**< mm: the lower face of the layer */
  uint32_t column; /**< pixel of the whole screen */
  uint32_t row;    /**< likewise */
  uint32_t layer;  /**< as in stiltforge_support */
  uint32_t group;
  uint32_t island;
} stiltforge_point;

/* Slicing meshes */

/** Cuts a mesh into slices. Layer i is cut through its middle, (i + 0.5) layer heights above the
    plate, on which the model's lowest point stands unless the print lifts it. */
typedef struct stiltforge_slicer stiltforge_slicer;

/**
 * Creates a slicer. It keeps what it needs of the mesh.
 *
 * STILTFORGE_INVALID_ARGUMENT when a setting cannot be used, alone or with the others;
 * STILTFORGE_UNUSABLE_MESH when the mesh cannot be sliced or does not fit on the screen.
 */
STILTFORGE_API stiltforge_status stiltforge_slicer_create(const stiltforge_mesh* mesh,
                                                          const stiltforge_print_settings* settings,
                                                          stiltforge_slicer** slicer,
                                                          stiltforge_error* error);

/**
 * Where the slices lie on the screen and in the mesh. The centre of pixel (x, y) of a slice has in
 * the mesh's coordinates
 *   origin_x + (crop_x + x + 0.5) * pixel_size, origin_y - (crop_y + y + 0.5) * pixel_size,
 * since rows run against the y axis. Layer i reaches from plate_z + i * layer_height one layer up.
 */
typedef struct stiltforge_slicer_info {
  size_t struct_size;
  uint32_t layer_count; /**< 1 to 65535 */
  uint32_t width;       /**< pixels of the slices, 1 to 65535: the screen around the part */
  uint32_t height;      /**< likewise */
  int32_t crop_x;       /**< column of the screen that is column 0 of the slices */
  int32_t crop_y;       /**< row of the screen that is row 0 of the slices */
  double origin_x;      /**< mm, of the screen's corner at column 0, row 0 */
  double origin_y;      /**< mm */
  double plate_z;       /**< mm, of the plate */
  double pixel_size;    /**< mm */
  double layer_height;  /**< mm */
} stiltforge_slicer_info;

STILTFORGE_API stiltforge_status stiltforge_slicer_get_info(const stiltforge_slicer* slicer,
                                                            stiltforge_slicer_info* info,
                                                            stiltforge_error* error);

/** What a person should know of a mesh before trusting its slices. A part is a set of triangles
    that hang together by vertices; it is closed when each of its edges is used equally often in
    both directions. */
typedef struct stiltforge_mesh_report {
  size_t struct_size;
  uint32_t triangles;
  uint32_t vertices;             /**< distinct positions */
  uint32_t degenerate_triangles; /**< of zero area */
  uint32_t open_edges;           /**< edges of one triangle only */
  uint32_t non_manifold_edges;   /**< edges of more than two triangles */
  uint32_t misoriented_edges;    /**< edges along which two triangles run the same way */
  uint32_t parts;
  uint32_t open_parts;
  uint32_t flipped_parts; /**< closed parts inside out, cavities not counted */
  uint32_t cavities;      /**< closed parts that hollow a closed part around them */
  double signed_volume;   /**< mm3, the sum over the parts as they are oriented */
  double expected_volume; /**< mm3 of material; an estimate where parts are open or overlap */
  double min[3];          /**< mm: corner of the mesh's box, x, y, z */
  double max[3];          /**< mm: the opposite corner */
} stiltforge_mesh_report;

STILTFORGE_API stiltforge_status stiltforge_slicer_get_report(const stiltforge_slicer* slicer,
                                                              stiltforge_mesh_report* report,
                                                              stiltforge_error* error);

/** The parameters for a model of these slices: what the command uses for the same settings. */
STILTFORGE_API stiltforge_status stiltforge_slicer_create_parameters(
    const stiltforge_slicer* slicer, stiltforge_parameters** parameters, stiltforge_error* error);

/**
 * Cuts `count` layers from `first` on: slices[i] is filled with layer first + i. A few layers for
 * each worker thread keep all of them busy, and calls that go on where the last one ended are the
 * cheapest. The slices are different ones; they are empty after a failure.
 */
STILTFORGE_API stiltforge_status stiltforge_slicer_slice(stiltforge_slicer* slicer, uint32_t first,
                                                         uint32_t count,
                                                         stiltforge_slice* const* slices,
                                                         stiltforge_error* error);

/** Where supports lie in the mesh: points[i] is made of supports[i], for `count` of them. They must
    lie within the slicer's slices and layers. */
STILTFORGE_API stiltforge_status stiltforge_slicer_locate(const stiltforge_slicer* slicer,
                                                          const stiltforge_support* supports,
                                                          size_t count, stiltforge_point* points,
                                                          stiltforge_error* error);

STILTFORGE_API void stiltforge_slicer_destroy(stiltforge_slicer* slicer);

/* Slicing masks */

/** Makes slices of layers that are pictures in grey already, bottom first. */
typedef struct stiltforge_mask_slicer stiltforge_mask_slicer;

typedef struct stiltforge_mask_settings {
  size_t struct_size;
  uint32_t mask_width;  /**< pixels of the masks */
  uint32_t mask_height; /**< pixels */
  uint32_t crop_x;      /**< column of the masks with which the slices begin; 0 */
  uint32_t crop_y;      /**< row; 0 */
  uint32_t width;       /**< pixels of the slices, 1 to 65535; 0 for up to the end of the masks */
  uint32_t height;      /**< likewise */
  uint32_t threshold;   /**< the lowest grey that is material, 1 to 255; 128 */
} stiltforge_mask_settings;

/** Fills in the defaults; the masks' width and height have none. */
STILTFORGE_API stiltforge_status stiltforge_mask_settings_init(stiltforge_mask_settings* settings,
                                                               stiltforge_error* error);

/** Creates a mask slicer. The screen, offsets and margin of the print have no influence. */
STILTFORGE_API stiltforge_status stiltforge_mask_slicer_create(
    const stiltforge_mask_settings* masks, const stiltforge_print_settings* print,
    stiltforge_mask_slicer** slicer, stiltforge_error* error);

/**
 * Makes the next `count` slices, the first call's the ones on the plate: slices[i] of masks[i],
 * each mask_size = mask_width * mask_height grey bytes, row by row. A call that fails counts as
 * none; its slices are empty then.
 */
STILTFORGE_API stiltforge_status stiltforge_mask_slicer_next(stiltforge_mask_slicer* slicer,
                                                             const uint8_t* const* masks,
                                                             size_t mask_size, uint32_t count,
                                                             stiltforge_slice* const* slices,
                                                             stiltforge_error* error);

STILTFORGE_API void stiltforge_mask_slicer_destroy(stiltforge_mask_slicer* slicer);

/* Analysed layers */

/** The result of one slice. It never changes and does not need its model. */
typedef struct stiltforge_layer stiltforge_layer;

typedef struct stiltforge_group {
  uint32_t pixels;           /**< of the group */
  uint32_t supported_pixels; /**< of them over material of the layer below; 0 for an island */
  uint32_t x_min;            /**< its box: columns from x_min to x_max, not included */
  uint32_t y_min;
  uint32_t x_max;
  uint32_t y_max;
  uint32_t first_support; /**< place of its first support among those of the layer */
  uint32_t support_count;
} stiltforge_group;

/** Number of the layer, from 0; 0 for null. */
STILTFORGE_API uint32_t stiltforge_layer_index(const stiltforge_layer* layer);

/** Pixels of material; 0 for null. */
STILTFORGE_API uint32_t stiltforge_layer_pixels(const stiltforge_layer* layer);

/** The groups of the layer in the order of their numbers: groups[0] is group 1. Valid until the
    layer is destroyed. `count`, which may be null, becomes their number. Null when there are none,
    or for null. */
STILTFORGE_API const stiltforge_group* stiltforge_layer_groups(const stiltforge_layer* layer,
                                                               size_t* count);

/** The supports of the layer, group by group; otherwise as above. */
STILTFORGE_API const stiltforge_support* stiltforge_layer_supports(const stiltforge_layer* layer,
                                                                   size_t* count);

/** How the analysis weighed a group: why it got supports, or none. docs/algorithm.md has the words.
 */
typedef struct stiltforge_weight {
  uint32_t layer;             /**< from 0 */
  uint32_t group;             /**< its number in the layer, from 1 */
  uint32_t pixels;            /**< of the group */
  uint32_t resting;           /**< of them over material of the layer below */
  uint32_t overhanging;       /**< of them that are not fully supported */
  uint32_t layers_below;      /**< of material without a gap */
  uint32_t supports_below;    /**< of lower layers, on which it stands */
  uint32_t supports;          /**< that were placed in it */
  double strength_from_below; /**< pixels that the layer below can hold */
  double owed;                /**< pixels that nothing held: what supports were placed for */
} stiltforge_weight;

/** The weights of the groups of the layer, in their order; otherwise as above. */
STILTFORGE_API const stiltforge_weight* stiltforge_layer_weights(const stiltforge_layer* layer,
                                                                 size_t* count);

STILTFORGE_API void stiltforge_layer_destroy(stiltforge_layer* layer);

/* Models */

/** A model under analysis: takes its slices, bottom first, and keeps what the next ones need. */
typedef struct stiltforge_model stiltforge_model;

/** Creates a model. Later changes of the parameters do not reach it. */
STILTFORGE_API stiltforge_status stiltforge_model_create(const stiltforge_parameters* parameters,
                                                         stiltforge_model** model,
                                                         stiltforge_error* error);

typedef struct stiltforge_analysis_options {
  size_t struct_size;
  stiltforge_cancel_token* cancel; /**< may be null */
  /** Three blocks for pictures of the slice, each null or with an entry for each of its pixels, row
      by row; pixel_count is width * height then. To have all markers, ask from the first slice on
      (the parameter needBuffer has no influence here). */
  size_t pixel_count;
  /** 0x80000000 + (group & 0xFFFFFF) for material, 0xFF000000 for background. */
  uint32_t* labels;
  /** 0xFE000000 + (n & 0xFFFFFF), n being the highest layer so far with material there; 0 without
      any. */
  uint32_t* markers;
  /** How well the slice below supports the material, 0 to 255; 0 for background. */
  uint8_t* support_values;
} stiltforge_analysis_options;

/** Fills in the defaults: no blocks, no cancelling. */
STILTFORGE_API stiltforge_status
stiltforge_analysis_options_init(stiltforge_analysis_options* options, stiltforge_error* error);

/**
 * Analyses the next slice, which has the model's width and height. It is not changed, and may be
 * given to other models too.
 *
 * options: may be null. layer: may be null; otherwise the result, to be destroyed by the host.
 *
 * When it is cancelled or there is not enough memory, the model may have to stop there: the next
 * call is STILTFORGE_STOPPED then. Otherwise the same slice can be given again.
 */
STILTFORGE_API stiltforge_status stiltforge_model_analyse(
    stiltforge_model* model, const stiltforge_slice* slice,
    const stiltforge_analysis_options* options, stiltforge_layer** layer, stiltforge_error* error);

/**
 * Called for each layer as soon as it is analysed, on the thread of the call. The layer is valid
 * until the callback returns. Anything but 0 ends the call after this layer. The callback may use
 * the model and ask the slicer for what it knows, but must not throw or jump out.
 */
typedef int32_t (*stiltforge_layer_callback)(void* context, const stiltforge_layer* layer);

/**
 * Cuts and analyses the next layers of a mesh: where the model has n layers, those from layer n of
 * the slicer on, `count` of them or as many as there are. Slicing and analysis overlap.
 *
 * cancel, on_layer: may be null. context: handed to on_layer.
 *
 * STILTFORGE_CANCELLED when the callback or the token ended it. The layers until then stay
 * analysed; a further call goes on after them, unless it is STILTFORGE_STOPPED as above.
 */
STILTFORGE_API stiltforge_status
stiltforge_model_analyse_mesh(stiltforge_model* model, stiltforge_slicer* slicer, uint32_t count,
                              stiltforge_cancel_token* cancel, stiltforge_layer_callback on_layer,
                              void* context, stiltforge_error* error);

/** Layers analysed so far; 0 for null. May be called while another call uses the model. */
STILTFORGE_API uint32_t stiltforge_model_layer_count(const stiltforge_model* model);

/** Groups that got no supports because there was not enough memory to place them; likewise. */
STILTFORGE_API uint64_t stiltforge_model_failed_groups(const stiltforge_model* model);

/**
 * The supports of all layers so far, by layer, then by group. Copies up to `capacity` of them;
 * `count`, which may be null, becomes the number that there are. supports may be null when capacity
 * is 0.
 */
STILTFORGE_API stiltforge_status stiltforge_model_get_supports(const stiltforge_model* model,
                                                               stiltforge_support* supports,
                                                               size_t capacity, size_t* count,
                                                               stiltforge_error* error);

STILTFORGE_API void stiltforge_model_destroy(stiltforge_model* model);

/* Surveys: what supports hold, and finished supports */

/**
 * What has to be known of a part to judge what supports hold of it, and to finish them: collected
 * layer by layer, in memory that follows the contours and overhangs. docs/holding.md tells what is
 * judged, and how supports are finished.
 */
typedef struct stiltforge_survey stiltforge_survey;

/** Creates a survey for a print with these settings; the screen, offsets, margin, lift,
   full_overhang and inset have no influence. */
STILTFORGE_API stiltforge_status stiltforge_survey_create(const stiltforge_print_settings* print,
                                                          stiltforge_survey** survey,
                                                          stiltforge_error* error);

/**
 * Adds the next slice, bottom first, with the supports that stand in it, wherever they come from.
 * All slices have the size of the first; there are at most 65535.
 *
 * supports: `count` of them. Their layer is the number of the slice, from 0. x, y: 0 to 65535;
 * those beyond the slice or beside its material hold nothing. group: not read.
 *
 * Nothing can be added any more once the survey was judged or finished. When there is not enough
 * memory the survey has to stop there: it is STILTFORGE_STOPPED then.
 */
STILTFORGE_API stiltforge_status stiltforge_survey_add(stiltforge_survey* survey,
                                                       const stiltforge_slice* slice,
                                                       const stiltforge_support* supports,
                                                       size_t count, stiltforge_error* error);

/** The same for an analysed slice: `layer`, with its supports, is what stiltforge_model_analyse()
    made of it. */
STILTFORGE_API stiltforge_status stiltforge_survey_add_layer(stiltforge_survey* survey,
                                                             const stiltforge_slice* slice,
                                                             const stiltforge_layer* layer,
                                                             stiltforge_error* error);

/**
 * Does what stiltforge_model_analyse_mesh() does, and adds each layer to the survey. Beforehand the
 * survey has as many layers as the model; afterwards, too, however the call ends, unless one of the
 * two is STILTFORGE_STOPPED. The callback cannot use the survey.
 */
STILTFORGE_API stiltforge_status stiltforge_model_survey_mesh(
    stiltforge_model* model, stiltforge_slicer* slicer, stiltforge_survey* survey, uint32_t count,
    stiltforge_cancel_token* cancel, stiltforge_layer_callback on_layer, void* context,
    stiltforge_error* error);

/** Layers so far; 0 for null. May be called while another call uses the survey. */
STILTFORGE_API uint32_t stiltforge_survey_layer_count(const stiltforge_survey* survey);

STILTFORGE_API void stiltforge_survey_destroy(stiltforge_survey* survey);

/** In the place of a number where there is none. */
#define STILTFORGE_NONE 0xFFFFFFFFu

/* Finished supports */

/** Supports as an experienced person would leave them. They do not need their survey. */
typedef struct stiltforge_finished stiltforge_finished;

/**
 * Finishes the supports of a survey as the print asks for, by its support_area, minimum_height and
 * minimum_spacing: leaves out those for which there is no room and those that others make needless,
 * adds some where an island or an overhang would be left alone.
 */
STILTFORGE_API stiltforge_status stiltforge_survey_finish(stiltforge_survey* survey,
                                                          stiltforge_finished** finished,
                                                          stiltforge_error* error);

/** Why a finished support is there. */
enum {
  STILTFORGE_ANALYSED = 0,      /**< it was there before */
  STILTFORGE_MERGED = 1,        /**< likewise, and it stands for others, too */
  STILTFORGE_ADDED_ISLAND = 2,  /**< none before could hold an island */
  STILTFORGE_ADDED_OVERHANG = 3 /**< it closes a gap between the others */
};

/** Its name in the command's outputs, such as "addedForIsland"; "unknown" for any other number. */
STILTFORGE_API const char* stiltforge_reason_name(uint32_t reason);

/** What is known of a finished support. */
typedef struct stiltforge_origin {
  uint32_t reason; /**< STILTFORGE_ANALYSED and so on */
  /** Its number among the supports of the survey, from 0, in the order in which they were added;
      STILTFORGE_NONE for one that was not among them. */
  uint32_t before;
  uint32_t first_merged; /**< place of the first support that it stands for in the list of these */
  uint32_t merged_count;
} stiltforge_origin;

/** The finished supports, bottom first, within a layer by row, then column. `count`, which may be
    null, becomes their number. Null when there are none, or for null. The group is 0 where no
    analysed layer was added. Valid until the handle is destroyed. */
STILTFORGE_API const stiltforge_support* stiltforge_finished_supports(
    const stiltforge_finished* finished, size_t* count);

/** What is known of each of them, in the same order; otherwise as above. */
STILTFORGE_API const stiltforge_origin* stiltforge_finished_origins(
    const stiltforge_finished* finished, size_t* count);

/** How the analysis weighed the group in which each of them stands, in the same order; all zeros
   for one in no analysed layer. Otherwise as above. */
STILTFORGE_API const stiltforge_weight* stiltforge_finished_weights(
    const stiltforge_finished* finished, size_t* count);

/** Numbers, among the supports of the survey, of those that finished ones stand for: see
    stiltforge_origin. */
STILTFORGE_API const uint32_t* stiltforge_finished_merged(const stiltforge_finished* finished,
                                                          size_t* count);

/** Why a support of the survey is not among the finished ones. */
enum {
  STILTFORGE_DROPPED_MERGED = 0,       /**< another holds what it held */
  STILTFORGE_DROPPED_HOLDS_LITTLE = 1, /**< no other is near, but it held next to nothing */
  STILTFORGE_DROPPED_NO_ROOM = 2,      /**< no support fits below it */
  STILTFORGE_DROPPED_SEALED_VOID = 3,  /**< its support could not be taken out */
  STILTFORGE_DROPPED_HOLDS_NOTHING = 4 /**< there is no overhang where it stands */
};

/** Its name in the command's outputs, such as "holdsLittle"; "unknown" for any other number. */
STILTFORGE_API const char* stiltforge_drop_reason_name(uint32_t reason);

typedef struct stiltforge_dropped {
  stiltforge_support support;
  uint32_t reason; /**< STILTFORGE_DROPPED_MERGED and so on */
  uint32_t before; /**< its number among the supports of the survey */
  uint32_t into;   /**< the finished support that stands for it, from 0, or STILTFORGE_NONE */
} stiltforge_dropped;

/** The supports of the survey that are not among the finished ones, in their order; otherwise as
    above. */
STILTFORGE_API const stiltforge_dropped* stiltforge_finished_dropped(
    const stiltforge_finished* finished, size_t* count);

/** The weights of their groups, in the same order; otherwise as for the finished ones. */
STILTFORGE_API const stiltforge_weight* stiltforge_finished_dropped_weights(
    const stiltforge_finished* finished, size_t* count);

/** Numbers, from 0, of the islands of the survey that get no support, because none fits or none
    could be taken out, or because they are lone pixels on which nothing grows: see
    stiltforge_verdict_islands(). */
STILTFORGE_API const uint32_t* stiltforge_finished_islands_left(const stiltforge_finished* finished,
                                                                size_t* count);

/** What supports cannot hold, and how they were finished. */
typedef struct stiltforge_finished_info {
  size_t struct_size;
  double spacing;         /**< mm between supports of the same region, at least */
  double area_near_plate; /**< mm2 of steep overhang too close to the plate for a support */
  double area_near_part;  /**< mm2 too close to the part below */
  double sealed_area;     /**< mm2 in sealed voids */
  double lift;            /**< mm to lift the part so that supports fit below all near the plate */
} stiltforge_finished_info;

STILTFORGE_API stiltforge_status stiltforge_finished_get_info(const stiltforge_finished* finished,
                                                              stiltforge_finished_info* info,
                                                              stiltforge_error* error);

STILTFORGE_API void stiltforge_finished_destroy(stiltforge_finished* finished);

/* Verdicts */

/** What a set of supports holds of a part. It does not need its survey. */
typedef struct stiltforge_verdict stiltforge_verdict;

typedef struct stiltforge_judge_settings {
  size_t struct_size;
  /** mm around a support within which it holds an overhang well, to 1,000,000. Below 0: 3, or ten
      pixels, where that is more; -1. */
  double near_reach;
  double far_reach; /**< mm within which it holds one at all; likewise with 5; -1 */
  /** mm, to 1,000,000; supports closer to each other stand in each other's way. Below 0: 1, or that
      of the finished supports, where it is less; -1. */
  double spacing;
} stiltforge_judge_settings;

/** Fills in the defaults. */
STILTFORGE_API stiltforge_status stiltforge_judge_settings_init(stiltforge_judge_settings* settings,
                                                                stiltforge_error* error);

/**
 * Judges supports by distances, straight through air and material: it knows nothing of forces, of
 * the resin, or of whether a support finds its way to the plate.
 *
 * finished: those to judge, which came of this survey; null for the supports of the survey.
 * settings: null for the defaults.
 */
STILTFORGE_API stiltforge_status stiltforge_survey_judge(stiltforge_survey* survey,
                                                         const stiltforge_finished* finished,
                                                         const stiltforge_judge_settings* settings,
                                                         stiltforge_verdict** verdict,
                                                         stiltforge_error* error);

/** Overhanging surface: what lies further from the material of the layer below than one and a half
 *  layers are high, and than 1.5 pixels. */
typedef struct stiltforge_surface {
  double area;        /**< mm2 */
  double beyond_near; /**< mm2 of it further than near_reach from every support */
  double beyond_far;  /**< mm2 of it further than far_reach */
} stiltforge_surface;

typedef struct stiltforge_verdict_info {
  size_t struct_size;
  uint32_t supports; /**< that were judged */
  double near_reach; /**< mm: what they were judged by */
  double far_reach;  /**< mm */
  double spacing;    /**< mm */
  uint32_t islands;
  uint32_t held_islands;
  stiltforge_surface overhang;                 /**< where a support fits */
  stiltforge_surface overhang_without_room;    /**< where none fits */
  stiltforge_surface overhang_in_sealed_voids; /**< where none could be taken out */
} stiltforge_verdict_info;

STILTFORGE_API stiltforge_status stiltforge_verdict_get_info(const stiltforge_verdict* verdict,
                                                             stiltforge_verdict_info* info,
                                                             stiltforge_error* error);

enum {
  STILTFORGE_HELD_BY_NOTHING = 0,
  STILTFORGE_HELD_BY_SUPPORT = 1,
  STILTFORGE_HELD_BY_MATERIAL = 2 /**< that is held already */
};

/** A region that rests on nothing in the layer where it begins. */
typedef struct stiltforge_island {
  uint32_t layer;
  uint32_t x; /**< its pixel nearest to its centre */
  uint32_t y;
  uint32_t pixels;
  uint32_t held_by;   /**< STILTFORGE_HELD_BY_NOTHING and so on */
  uint32_t support;   /**< number of the support that holds it, or STILTFORGE_NONE */
  uint32_t taken_in;  /**< layer in which it is held; STILTFORGE_NONE when nothing takes it soon */
  uint32_t has_room;  /**< 1: a support fits below it */
  uint32_t is_sealed; /**< 1: it lies in a sealed void */
} stiltforge_island;

/** The islands, bottom first. `count`, which may be null, becomes their number. Null when there are
    none, or for null. Valid until the handle is destroyed. */
STILTFORGE_API const stiltforge_island* stiltforge_verdict_islands(
    const stiltforge_verdict* verdict, size_t* count);

typedef struct stiltforge_worst_place {
  uint32_t layer;
  uint32_t x;
  uint32_t y;
  double distance; /**< mm to the nearest support; infinite without any */
} stiltforge_worst_place;

/** The places of the overhang where a support fits that are furthest from one, worst first, beyond
    near_reach, where surfaces do not nearly carry themselves; 10 at most. Otherwise as above. */
STILTFORGE_API const stiltforge_worst_place* stiltforge_verdict_worst(
    const stiltforge_verdict* verdict, size_t* count);

/** Two supports closer than the spacing, by their numbers. */
typedef struct stiltforge_close_pair {
  uint32_t first;
  uint32_t second;      /**< above first */
  uint32_t is_separate; /**< 1: of regions that stay separate */
  double distance;      /**< mm */
} stiltforge_close_pair;

/** The pairs, ascending; otherwise as above. */
STILTFORGE_API const stiltforge_close_pair* stiltforge_verdict_close_pairs(
    const stiltforge_verdict* verdict, size_t* count);

/** What may be wrong with a support. */
enum {
  STILTFORGE_IN_NO_MATERIAL = 0,
  STILTFORGE_ON_HELD_MATERIAL = 1, /**< that overhangs nowhere near it */
  STILTFORGE_WITHOUT_ROOM = 2,
  STILTFORGE_IN_SEALED_VOID = 3
};

/** The numbers of the supports with this fault, ascending; null for a fault that there is not.
    Otherwise as above. */
STILTFORGE_API const uint32_t* stiltforge_verdict_faults(const stiltforge_verdict* verdict,
                                                         uint32_t fault, size_t* count);

STILTFORGE_API void stiltforge_verdict_destroy(stiltforge_verdict* verdict);

/* Checks: whether a print holds as it is */

/** Takes the layers of a print as they will be cured, with its supports where it has any, and finds
    what would make it fail. docs/check.md tells what is found, and how. */
typedef struct stiltforge_check stiltforge_check;

typedef struct stiltforge_check_settings {
  size_t struct_size;
  double layer_height; /**< mm; 0.05 */
  double pixel_width;  /**< mm; 0.05 */
  double pixel_height; /**< mm; 0.05 */
  /** mm, of the lowest layer, of which the print's volume takes account. Below 0: as the others;
   * -1.
   */
  double first_layer_height;
  uint32_t screen_width;  /**< pixels; 3840 */
  uint32_t screen_height; /**< pixels; 2400 */
  uint32_t crop_x;        /**< column of the screen that is column 0 of the slices; 0 */
  uint32_t crop_y;        /**< row; 0 */
  /** Layers between the plate and a lifted part, which may be empty; 0. */
  uint32_t lifted_layers;
  double
      critical_angle;   /**< degrees between the plate and a surface that just carries itself; 45 */
  double near_reach;    /**< mm from what carries it, beyond which an overhang is at risk; 4 */
  double far_reach;     /**< mm beyond which it fails; 6 */
  double island_height; /**< mm that an island may grow before something takes it; 0.2 */
} stiltforge_check_settings;

/** Fills in the defaults. */
STILTFORGE_API stiltforge_status stiltforge_check_settings_init(stiltforge_check_settings* settings,
                                                                stiltforge_error* error);

/** The same, with the layers, pixels, screen, critical angle and lift of a slicer. */
STILTFORGE_API stiltforge_status stiltforge_check_settings_init_for_slicer(
    stiltforge_check_settings* settings, const stiltforge_slicer* slicer, stiltforge_error* error);

/**
 * Creates a check.
 *
 * supports: `count` of them, in any order, for slices that do not show them; null and 0 for slices
 * that do. Their layer, x and y are read.
 */
STILTFORGE_API stiltforge_status stiltforge_check_create(const stiltforge_check_settings* settings,
                                                         const stiltforge_support* supports,
                                                         size_t count, stiltforge_check** check,
                                                         stiltforge_error* error);

/**
 * Adds the next slice, bottom first; its overhang is not read. All slices have the size of the
 * first and lie on the screen; there are at most 65535.
 *
 * When there is not enough memory the check has to stop there: it is STILTFORGE_STOPPED then.
 */
STILTFORGE_API stiltforge_status stiltforge_check_add(stiltforge_check* check,
                                                      const stiltforge_slice* slice,
                                                      stiltforge_error* error);

/** Slices so far; 0 for null. May be called while another call uses the check. */
STILTFORGE_API uint32_t stiltforge_check_layer_count(const stiltforge_check* check);

STILTFORGE_API void stiltforge_check_destroy(stiltforge_check* check);

/** What a check has found. It does not need the check. */
typedef struct stiltforge_check_report stiltforge_check_report;

/** Ends the print: nothing can be added any more, nor can it be finished again. */
STILTFORGE_API stiltforge_status stiltforge_check_finish(stiltforge_check* check,
                                                         stiltforge_check_report** report,
                                                         stiltforge_error* error);

enum {
  STILTFORGE_EMPTY_LAYERS = 0,  /**< layers without material */
  STILTFORGE_FLOATING_PART = 1, /**< material that never hangs together with plate or support */
  STILTFORGE_FOUND_ISLAND = 2,  /**< material that begins in the air and is taken later */
  STILTFORGE_OVERHANG = 3,      /**< material too far from what carries it */
  STILTFORGE_SCREEN_EDGE = 4,   /**< material in the first or last column or row of the screen */
  STILTFORGE_RESIN_TRAP = 5,    /**< a cavity without an opening */
  STILTFORGE_SUCTION_CUP = 6,   /**< a cavity open towards the film alone while it is printed */
  STILTFORGE_SPECKS = 7,        /**< small things that float, all of a print */
  STILTFORGE_IDLE_SUPPORTS = 8  /**< supports that touch no material, all of a print */
};

/** Its name in the command's outputs, such as "resinTrap"; "unknown" for any other number. */
STILTFORGE_API const char* stiltforge_finding_kind_name(uint32_t kind);

enum {
  STILTFORGE_FAILS = 0, /**< what is printed is lost or useless */
  STILTFORGE_RISK = 1,  /**< it may go wrong */
  STILTFORGE_NOTE = 2   /**< good to know */
};

/** Something wrong with a print: one for each cause, without what follows from it. */
typedef struct stiltforge_finding {
  uint32_t kind;      /**< STILTFORGE_EMPTY_LAYERS and so on */
  uint32_t severity;  /**< STILTFORGE_FAILS and so on */
  const char* what;   /**< what is wrong, for people; no capital, no full stop */
  const char* remedy; /**< what to do about it, a sentence */
  uint32_t first_layer;
  uint32_t last_layer; /**< among them */
  uint32_t has_place;  /**< 1: the following fields are set; 0 for empty layers and supports */
  uint32_t layer;      /**< a pixel of the slices in it */
  uint32_t x;
  uint32_t y;
  uint32_t x_min; /**< around all of it: columns from x_min to x_max, not included */
  uint32_t y_min;
  uint32_t x_max;
  uint32_t y_max;
  uint32_t count; /**< of a floating part, the islands it begins with; of specks and supports, how
                     many; else 1 */
  uint32_t taken_in; /**< of an island: the layer in which it is taken; else STILTFORGE_NONE */
  double volume;     /**< mm3 of material, of a cavity: of resin; 0 where there is none to tell */
  double area; /**< mm2 of its largest piece in a layer; of a cavity, of its opening; 0 likewise */
} stiltforge_finding;

/** The findings, those that fail first, then bottom first. `count`, which may be null, becomes
   their number. Null when there are none, or for null. With their texts valid until the report is
    destroyed. */
STILTFORGE_API const stiltforge_finding* stiltforge_check_report_findings(
    const stiltforge_check_report* report, size_t* count);

typedef struct stiltforge_check_report_info {
  size_t struct_size;
  double volume;   /**< mm3 of material */
  uint32_t layers; /**< that were added */
  uint32_t fails;  /**< findings; of more than 1,000 of a kind, some are not listed */
  uint32_t risks;
  uint32_t notes;
} stiltforge_check_report_info;

STILTFORGE_API stiltforge_status
stiltforge_check_report_get_info(const stiltforge_check_report* report,
                                 stiltforge_check_report_info* info, stiltforge_error* error);

STILTFORGE_API void stiltforge_check_report_destroy(stiltforge_check_report* report);

/* Orientations */

/** Ways in which a part can be printed, ranked. They do not need their mesh. docs/orientation.md
    tells how they are found, and what is measured. */
typedef struct stiltforge_orientations stiltforge_orientations;

/** How orientations are ranked: a weight says how much a measure counts, 0 to 1,000,000. */
typedef struct stiltforge_orient_settings {
  size_t struct_size;
  double supports_weight; /**< 1 */
  double overhang_weight; /**< 0.5 */
  double islands_weight;  /**< 0.25 */
  double height_weight;   /**< 0.25 */
  double cups_weight;     /**< 0.5 */
  double marks_weight;    /**< counts only with a side to be kept clean; 2 */
  /** The side of the part that is to carry no marks: the direction that it faces, x, y, z, of any
      length; three zeros for none; 0, 0, 0. */
  double keep_clean[3];
  uint32_t directions; /**< that are tried, over the sphere, 1 to 100,000; 200 */
  uint32_t listed;     /**< orientations of the result, at most, 1 to 1,000; 6 */
  /** 1: measures those again as they will be printed; 0: all figures are of a coarser grid; 1. */
  uint32_t confirm;
  /** Measured side by side, at most, 1 to 1,000: each takes the memory of a print; 1000. */
  uint32_t at_once;
} stiltforge_orient_settings;

/** Fills in the defaults. */
STILTFORGE_API stiltforge_status
stiltforge_orient_settings_init(stiltforge_orient_settings* settings, stiltforge_error* error);

/**
 * Tries orientations of a mesh: its flat sides, a spread over the sphere, and around the best of
 * them; only those that fit on the screen. Each is sliced, analysed and finished at a coarser grid,
 * about 250 pixels along the part. Hundreds of orientations are tried, so it takes a while.
 *
 * print: its offsets, margin and first_layer_height have no influence. settings: null for the
 * defaults. cancel, on_progress: may be null. context: handed to on_progress.
 *
 * STILTFORGE_INVALID_ARGUMENT when a setting cannot be used; STILTFORGE_UNUSABLE_MESH when the mesh
 * cannot be sliced or fits in no way; STILTFORGE_CANCELLED when the callback or the token ended it.
 */
STILTFORGE_API stiltforge_status stiltforge_orientations_create(
    const stiltforge_mesh* mesh, const stiltforge_print_settings* print,
    const stiltforge_orient_settings* settings, stiltforge_cancel_token* cancel,
    stiltforge_progress_callback on_progress, void* context, stiltforge_orientations** orientations,
    stiltforge_error* error);

/** Where an orientation comes from. */
enum {
  STILTFORGE_AS_IT_IS = 0,  /**< the mesh as it was given */
  STILTFORGE_FLAT_SIDE = 1, /**< a flat side lies on the plate */
  STILTFORGE_SPREAD = 2,    /**< one of the directions over the sphere */
  STILTFORGE_NEARBY = 3     /**< near a better one */
};

/** A way in which the part can stand, and what a print of it costs. */
typedef struct stiltforge_orientation {
  stiltforge_turn turn;   /**< for stiltforge_mesh_turn() */
  uint32_t origin;        /**< STILTFORGE_AS_IT_IS and so on */
  uint32_t islands;       /**< bodies that begin in the air and that nothing takes soon */
  uint64_t first_support; /**< place of its first support in the list of these */
  uint64_t support_count; /**< supports, after finishing */
  double overhang;        /**< mm2 of steep overhang, seen from below */
  double height;          /**< mm from the lowest point to the highest */
  double cups;  /**< mm3 of empty space that is closed while it is printed: bowls, bells, voids */
  double marks; /**< mm2 of the side to be kept clean that supports or the plate would mark */
  /** The weighted mean of the measures, each as a multiple of an average orientation's: 1 is about
      average, less is better. */
  double cost;
} stiltforge_orientation;

/** The best orientations, best first, no two alike. `count`, which may be null, becomes their
    number. Null for null. Valid until the handle is destroyed. */
STILTFORGE_API const stiltforge_orientation* stiltforge_orientations_best(
    const stiltforge_orientations* orientations, size_t* count);

/** The mesh as it was given; null when it does not fit on the screen or shows nothing, and for
   null. Valid until the handle is destroyed. */
STILTFORGE_API const stiltforge_orientation* stiltforge_orientations_as_it_is(
    const stiltforge_orientations* orientations);

/** The supports of these orientations, of each the lowest first: x, y and z in the coordinates of
    the turned mesh, and island; the rest is 0. Null when there are none; otherwise as above. */
STILTFORGE_API const stiltforge_point* stiltforge_orientations_supports(
    const stiltforge_orientations* orientations, size_t* count);

typedef struct stiltforge_orientations_info {
  size_t struct_size;
  uint64_t tried;      /**< orientations */
  double pixel_size;   /**< mm, of the grid on which they were tried */
  double layer_height; /**< mm, likewise */
} stiltforge_orientations_info;

STILTFORGE_API stiltforge_status
stiltforge_orientations_get_info(const stiltforge_orientations* orientations,
                                 stiltforge_orientations_info* info, stiltforge_error* error);

STILTFORGE_API void stiltforge_orientations_destroy(stiltforge_orientations* orientations);

/* Supports as geometry */

/**
 * The supports of a part as closed surfaces, triangles counter-clockwise as seen from outside: one
 * for each support, then one for each brace between two, and one for the raft, the last. They
 * overlap where supports meet, and reach into the part by their tips: slicers take the union. It
 * needs neither its mesh nor its points. docs/geometry.md tells how supports are built.
 */
typedef struct stiltforge_scaffold stiltforge_scaffold;

/** How supports are built, mm. */
typedef struct stiltforge_scaffold_settings {
  size_t struct_size;
  double tip_diameter;    /**< where a support touches the part, 0.1 to 5; 0.4 */
  double tip_length;      /**< of the cone from there to the pillar, upright, 0.5 to 20; 2 */
  double penetration;     /**< by which a tip reaches into the part, 0 to 2; 0.2 */
  double pillar_diameter; /**< from the tip's to 20; 1 */
  double foot_diameter;   /**< on the plate or the raft, from the pillar's to 100; 3 */
  double foot_height;     /**< of the cone from the foot to the pillar, 0 to 20; 0.5 */
  double clearance;       /**< between a pillar and the part, 0 to 10; 0.3 */
  /** Of a plate below all supports, 0 to 20; 0 is none. The part must be lifted by 0.5 more; 0. */
  double raft_thickness;
  /** Of the rods between slender pillars, 0.1 to 20; they stay thinner than these; 0.6. */
  double brace_diameter;
  double
      brace_reach; /**< of pillars from each other, at most, for braces, 0 to 100; 0 is none; 10 */
} stiltforge_scaffold_settings;

/** Fills in the defaults. */
STILTFORGE_API stiltforge_status
stiltforge_scaffold_settings_init(stiltforge_scaffold_settings* settings, stiltforge_error* error);

/**
 * Builds the supports of points: a tip on the part, a pillar down to the plate, past the part where
 * it is in the way, or on the part where nothing else is left. None but the tips touch the part.
 *
 * mesh: the part, closed or not, within 16,384 mm of the origin. points: `count` of them, as
 * stiltforge_slicer_locate() gives them, or with x, y and z alone: the middle of a pixel, and the
 * lower face of its layer, in the coordinates of the mesh, within 16,384 mm of the origin, too.
 * plate_z: mm, of the plate, likewise. layer_height: mm, of the print, from 0.000001 to 1,000,000.
 * For both, see stiltforge_slicer_info. settings: null for the defaults. cancel, on_progress: may
 * be null. context: handed to on_progress.
 *
 * Supports that cannot be built are no error, see stiltforge_scaffold_left_out().
 * STILTFORGE_INVALID_ARGUMENT when a setting cannot be used, alone or with the others, as a raft
 * for which there is no room below the part; STILTFORGE_UNUSABLE_MESH when the mesh has no
 * triangles, or it, a point or the plate is too far from the origin; STILTFORGE_CANCELLED when the
 * callback or the token ended it.
 */
STILTFORGE_API stiltforge_status stiltforge_scaffold_create(
    const stiltforge_mesh* mesh, const stiltforge_point* points, size_t count, double plate_z,
    double layer_height, const stiltforge_scaffold_settings* settings,
    stiltforge_cancel_token* cancel, stiltforge_progress_callback on_progress, void* context,
    stiltforge_scaffold** scaffold, stiltforge_error* error);

/** Number of triangles; 0 for null. */
STILTFORGE_API size_t stiltforge_scaffold_triangle_count(const stiltforge_scaffold* scaffold);

/** Those of the raft, the last ones; 0 without one, and for null. */
STILTFORGE_API size_t stiltforge_scaffold_raft_triangle_count(const stiltforge_scaffold* scaffold);

/** The triangles: nine floats each, mm in the coordinates of the part, as stiltforge_mesh_create()
    takes them. Null when there are none, or for null. Valid until the handle is destroyed. */
STILTFORGE_API const float* stiltforge_scaffold_positions(const stiltforge_scaffold* scaffold);

/** A level circle. A surface goes straight from one of its rings to the next, in 16 sides. */
typedef struct stiltforge_ring {
  double x; /**< mm: its middle */
  double y;
  double z;
  double radius; /**< mm */
} stiltforge_ring;

/** The rings of the supports, then of the braces; of each the lowest first. `count`, which may be
    null, becomes their number. Null when there are none, or for null. Valid until the handle is
    destroyed. */
STILTFORGE_API const stiltforge_ring* stiltforge_scaffold_rings(const stiltforge_scaffold* scaffold,
                                                                size_t* count);

/** What a support stands on. */
enum {
  STILTFORGE_STANDS_ON_PLATE = 0,  /**< a pillar straight down to the plate or the raft */
  STILTFORGE_STANDS_BY_BRIDGE = 1, /**< the same, to which a slanting part leads over */
  STILTFORGE_STANDS_ON_PART = 2,   /**< on the part below, with a tip there, too */
  STILTFORGE_STANDS_LOW = 3        /**< a cone from the plate: there is no height for more */
};

/** A support that was built. */
typedef struct stiltforge_built_support {
  uint32_t point;          /**< its number, from 0 */
  uint32_t stand;          /**< STILTFORGE_STANDS_ON_PLATE and so on */
  uint64_t first_triangle; /**< place of its first triangle among all */
  uint64_t triangle_count;
  uint64_t first_ring; /**< place of its lowest ring among all */
  uint64_t ring_count;
} stiltforge_built_support;

/** The supports that were built, in the order of the points; otherwise as above. */
STILTFORGE_API const stiltforge_built_support* stiltforge_scaffold_supports(
    const stiltforge_scaffold* scaffold, size_t* count);

/** A rod that rises by 45 degrees from the pillar of one support to that of another. */
typedef struct stiltforge_brace {
  uint32_t first;  /**< number of a point, from 0 */
  uint32_t second; /**< likewise, above first */
  uint64_t first_triangle;
  uint64_t triangle_count;
  uint64_t first_ring;
  uint64_t ring_count;
} stiltforge_brace;

/** The braces; otherwise as above. */
STILTFORGE_API const stiltforge_brace* stiltforge_scaffold_braces(
    const stiltforge_scaffold* scaffold, size_t* count);

/** Why a point has no support. */
enum {
  STILTFORGE_LEFT_TOO_LOW = 0, /**< it is less than a layer above the plate or the raft */
  STILTFORGE_LEFT_NO_WAY = 1   /**< the part is in the way wherever a pillar might go */
};

typedef struct stiltforge_left_out {
  uint32_t point;  /**< its number, from 0 */
  uint32_t reason; /**< STILTFORGE_LEFT_TOO_LOW and so on */
} stiltforge_left_out;

/** The points without a support, in their order; otherwise as above. */
STILTFORGE_API const stiltforge_left_out* stiltforge_scaffold_left_out(
    const stiltforge_scaffold* scaffold, size_t* count);

/** Numbers of points whose pillar is at least ten times as high as wide and has no brace,
   ascending; otherwise as above. */
STILTFORGE_API const uint32_t* stiltforge_scaffold_alone(const stiltforge_scaffold* scaffold,
                                                         size_t* count);

STILTFORGE_API void stiltforge_scaffold_destroy(stiltforge_scaffold* scaffold);

/* Pictures of a group */

/** How a group was sampled, as eight pictures of its box. They do not need their model. */
typedef struct stiltforge_group_images stiltforge_group_images;

enum {
  STILTFORGE_IMAGE_SAMPLE = 0,        /**< grey 255 where a sample was taken, else 100 */
  STILTFORGE_IMAGE_GHOST = 1,         /**< red: nearness of earlier supports */
  STILTFORGE_IMAGE_ANGLE = 2,         /**< blue: support value */
  STILTFORGE_IMAGE_SCORE = 3,         /**< red: score, low where a support is needed most */
  STILTFORGE_IMAGE_SCORE_SUPPORT = 4, /**< the same, with the supports in green and blue */
  STILTFORGE_IMAGE_SUPPORT = 5,       /**< grey 255 where a support is, else 100 */
  STILTFORGE_IMAGE_STROKE = 6,        /**< green: nearness of the contour */
  STILTFORGE_IMAGE_COMBINED = 7,      /**< ghost, stroke and angle together */
  STILTFORGE_IMAGE_COUNT = 8
};

/** Renders a group of an analysed layer: layer from 0, group from 1. Those of a group that was
    never sampled are all zeros. */
STILTFORGE_API stiltforge_status
stiltforge_model_create_group_images(stiltforge_model* model, uint32_t layer, uint32_t group,
                                     stiltforge_group_images** images, stiltforge_error* error);

/** Pixels of each picture, the size of the group's box; 0 for null. */
STILTFORGE_API uint32_t stiltforge_group_images_width(const stiltforge_group_images* images);
STILTFORGE_API uint32_t stiltforge_group_images_height(const stiltforge_group_images* images);

/** One of the pictures: width * height RGBA pixels, row by row from the top. Valid until the images
    are destroyed. Null for null, and when there is no such picture. */
STILTFORGE_API const uint8_t* stiltforge_group_images_pixels(const stiltforge_group_images* images,
                                                             int32_t image);

STILTFORGE_API void stiltforge_group_images_destroy(stiltforge_group_images* images);

/* Memory */

/** What is expected of a model, rather too much than too little. */
typedef struct stiltforge_model_size {
  size_t struct_size;
  uint32_t width;            /**< pixels of the slices, 1 to 65535 */
  uint32_t height;           /**< likewise */
  uint32_t layers;           /**< number of slices */
  uint32_t buffers;          /**< 1 when the host asks for labels, markers or support values; 0 */
  double ghost_radius;       /**< the parameter ghostRadius, pixels; 0 */
  uint32_t queued_slices;    /**< made and not yet analysed, at any one time; 1 */
  uint32_t groups_per_layer; /**< in the layers with the most; 20 */
  uint64_t supports;         /**< in the whole model; 0 */
  double pixels_per_support; /**< the parameter supportStrength; 0 */
  double unsupported_share;  /**< of a layer's pixels, in the layer with the most; 0.1 */
  uint32_t ghosts_per_group; /**< the parameter maxGhost; 10000 */
} stiltforge_model_size;

/** Fills in the defaults; the size and the number of layers have none. */
STILTFORGE_API stiltforge_status stiltforge_model_size_init(stiltforge_model_size* size,
                                                            stiltforge_error* error);

/** Bytes that the analysis of a model takes at its peak, beyond what the process holds without it.
    An upper bound for parts whose rows cross a region a few times. */
typedef struct stiltforge_memory_estimate {
  size_t struct_size;
  uint64_t total;     /**< of the following */
  uint64_t slices;    /**< slices in hand, and the blocks of one of them */
  uint64_t groups;    /**< of two layers, and their relations */
  uint64_t placement; /**< work space for placing supports */
  uint64_t history;   /**< what stays of every layer */
  uint64_t fixed;     /**< threads, tables, allocator */
} stiltforge_memory_estimate;

STILTFORGE_API stiltforge_status stiltforge_estimate_memory(const stiltforge_model_size* size,
                                                            stiltforge_memory_estimate* estimate,
                                                            stiltforge_error* error);

#ifdef __cplusplus
}
#endif

#endif

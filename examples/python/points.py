"""Prints where a part needs supports: the finished points, as the command writes them to points.csv.
What they hold is told on standard error. With a second file, also writes the supports as geometry, a
binary STL.

    python3 points.py part.stl [supports.stl] > points.csv

Needs nothing but the shared library. Where it is not in a folder that the system searches,
STILTFORGE_LIBRARY names the file.
"""

import ctypes
import os
import struct
import sys
from ctypes import POINTER, byref, c_char_p, c_double, c_int32, c_size_t, c_uint32, c_void_p

library = ctypes.CDLL(os.environ.get("STILTFORGE_LIBRARY", "libstiltforge.so.0"))
library.stiltforge_layer_index.argtypes = [c_void_p]
LayerCallback = ctypes.CFUNCTYPE(c_int32, c_void_p, c_void_p)


class Error(ctypes.Structure):
    _fields_ = [("message", ctypes.c_char * 1024)]


class PrintSettings(ctypes.Structure):
    _fields_ = [
        ("struct_size", c_size_t),
        ("layer_height", c_double),
        ("pixel_size", c_double),
        ("screen_width", c_uint32),
        ("screen_height", c_uint32),
        ("offset_x", c_double),
        ("offset_y", c_double),
        ("margin", c_uint32),
        ("critical_angle", c_double),
        ("full_overhang", c_double),
        ("inset", c_double),
        ("support_area", c_double),
        ("lift", c_double),
        ("minimum_height", c_double),
        ("minimum_spacing", c_double),
        ("first_layer_height", c_double),
    ]


class Support(ctypes.Structure):
    _fields_ = [(name, c_uint32) for name in ("layer", "group", "x", "y", "island")]


class SlicerInfo(ctypes.Structure):
    _fields_ = [
        ("struct_size", c_size_t),
        ("layer_count", c_uint32),
        ("width", c_uint32),
        ("height", c_uint32),
        ("crop_x", c_int32),
        ("crop_y", c_int32),
        ("origin_x", c_double),
        ("origin_y", c_double),
        ("plate_z", c_double),
        ("pixel_size", c_double),
        ("layer_height", c_double),
    ]


class Point(ctypes.Structure):
    _fields_ = [(name, c_double) for name in ("x", "y", "z")] + [
        (name, c_uint32) for name in ("column", "row", "layer", "group", "island")
    ]


class Origin(ctypes.Structure):
    _fields_ = [(name, c_uint32) for name in ("reason", "before", "first_merged", "merged_count")]


class Surface(ctypes.Structure):
    _fields_ = [(name, c_double) for name in ("area", "beyond_near", "beyond_far")]


class VerdictInfo(ctypes.Structure):
    _fields_ = [
        ("struct_size", c_size_t),
        ("supports", c_uint32),
        ("near_reach", c_double),
        ("far_reach", c_double),
        ("spacing", c_double),
        ("islands", c_uint32),
        ("held_islands", c_uint32),
        ("overhang", Surface),
        ("overhang_without_room", Surface),
        ("overhang_in_sealed_voids", Surface),
    ]


library.stiltforge_finished_supports.restype = POINTER(Support)
library.stiltforge_finished_origins.restype = POINTER(Origin)
library.stiltforge_reason_name.restype = c_char_p
library.stiltforge_scaffold_triangle_count.restype = c_size_t
library.stiltforge_scaffold_positions.restype = c_void_p


def call(name, *arguments):
    """Calls a function whose last argument is the error. Pointers are c_void_p or byref()."""
    error = Error()
    if getattr(library, "stiltforge_" + name)(*arguments, byref(error)) != 0:
        raise RuntimeError(error.message.decode())


class Handle(c_void_p):
    """What a function creates, destroyed with it."""

    def __init__(self, kind, create, *arguments):
        super().__init__()
        self.kind = kind
        call(create, *arguments, byref(self))

    def __del__(self):
        getattr(library, f"stiltforge_{self.kind}_destroy")(self)


def points_of(mesh, show_layer):
    """The points of a mesh with the default settings, why each is there, what they hold, and where the
    slices lie."""
    print_settings = PrintSettings(struct_size=ctypes.sizeof(PrintSettings))
    call("print_settings_init", byref(print_settings))
    slicer = Handle("slicer", "slicer_create", mesh, byref(print_settings))
    info = SlicerInfo(struct_size=ctypes.sizeof(SlicerInfo))
    call("slicer_get_info", slicer, byref(info))
    parameters = Handle("parameters", "slicer_create_parameters", slicer)
    model = Handle("model", "model_create", parameters)
    survey = Handle("survey", "survey_create", byref(print_settings))

    @LayerCallback
    def on_layer(_, layer):
        show_layer(library.stiltforge_layer_index(layer))
        return 0

    all_layers = c_uint32(0xFFFFFFFF)
    call("model_survey_mesh", model, slicer, survey, all_layers, None, on_layer, None)
    finished = Handle("finished", "survey_finish", survey)
    verdict = Handle("verdict", "survey_judge", survey, finished, None)
    held = VerdictInfo(struct_size=ctypes.sizeof(VerdictInfo))
    call("verdict_get_info", verdict, byref(held))

    count = c_size_t()
    supports = library.stiltforge_finished_supports(finished, byref(count))
    origins = library.stiltforge_finished_origins(finished, None)
    points = (Point * count.value)()
    call("slicer_locate", slicer, supports, count, points)
    reasons = [
        library.stiltforge_reason_name(c_uint32(origins[i].reason)).decode()
        for i in range(count.value)
    ]
    return points, reasons, held, info


def write_supports(path, mesh, points, info):
    """The supports as geometry. Readers make normals of the corners."""
    plate_z, layer_height = c_double(info.plate_z), c_double(info.layer_height)
    given = mesh, points, c_size_t(len(points)), plate_z, layer_height
    scaffold = Handle("scaffold", "scaffold_create", *given, None, None, None, None)
    count = library.stiltforge_scaffold_triangle_count(scaffold)
    positions = ctypes.string_at(library.stiltforge_scaffold_positions(scaffold), 36 * count)
    with open(path, "wb") as file:
        file.write(struct.pack("<80sI", b"stiltforge: supports", count))
        for i in range(0, len(positions), 36):
            file.write(bytes(12) + positions[i : i + 36] + bytes(2))


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit("usage: points.py MESH [STL]")
    show = lambda layer: print(f"\rlayer {layer + 1}", end="", file=sys.stderr)
    try:
        mesh = Handle("mesh", "mesh_read_file", c_char_p(os.fsencode(sys.argv[1])), None)
        points, reasons, held, info = points_of(mesh, show)
    except RuntimeError as error:
        sys.exit(str(error))
    print(file=sys.stderr)
    print(
        f"{held.held_islands} of {held.islands} islands held; {held.overhang.beyond_near:.1f} of "
        f"{held.overhang.area:.1f} mm2 of overhang further than {held.near_reach:g} mm away",
        file=sys.stderr,
    )
    print("x_mm,y_mm,z_mm,column,row,layer,region,kind,reason")
    for p, reason in zip(points, reasons):
        place = f"{p.x:.10g},{p.y:.10g},{p.z:.10g},{p.column},{p.row},{p.layer},{p.group}"
        print(f"{place},{'island' if p.island else 'overhang'},{reason}")
    if len(sys.argv) == 3:
        try:
            write_supports(sys.argv[2], mesh, points, info)
        except (RuntimeError, OSError) as error:
            sys.exit(str(error))


if __name__ == "__main__":
    main()

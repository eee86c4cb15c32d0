"""Prints where a part needs supports: the points of the analysis, as stiltforge --as-analysed has them.

    python3 points.py part.stl > points.csv

Needs nothing but the shared library. Where it is not in a folder that the system searches,
STILTFORGE_LIBRARY names the file.
"""

import ctypes
import os
import sys
from ctypes import byref, c_char_p, c_double, c_int32, c_size_t, c_uint32, c_void_p

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
    ]


class Support(ctypes.Structure):
    _fields_ = [(name, c_uint32) for name in ("layer", "group", "x", "y", "island")]


class Point(ctypes.Structure):
    _fields_ = [(name, c_double) for name in ("x", "y", "z")] + [
        (name, c_uint32) for name in ("column", "row", "layer", "group", "island")
    ]


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


def points_of(path, show_layer):
    """The points of a mesh file with the default settings."""
    print_settings = PrintSettings(struct_size=ctypes.sizeof(PrintSettings))
    call("print_settings_init", byref(print_settings))
    mesh = Handle("mesh", "mesh_read_file", c_char_p(os.fsencode(path)), None)
    slicer = Handle("slicer", "slicer_create", mesh, byref(print_settings))
    parameters = Handle("parameters", "slicer_create_parameters", slicer)
    model = Handle("model", "model_create", parameters)

    @LayerCallback
    def on_layer(_, layer):
        show_layer(library.stiltforge_layer_index(layer))
        return 0

    all_layers = c_uint32(0xFFFFFFFF)
    call("model_analyse_mesh", model, slicer, all_layers, None, on_layer, None)

    count = c_size_t()
    call("model_get_supports", model, None, c_size_t(0), byref(count))
    supports = (Support * count.value)()
    points = (Point * count.value)()
    call("model_get_supports", model, supports, count, byref(count))
    call("slicer_locate", slicer, supports, count, points)
    return points


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: points.py MESH")
    show = lambda layer: print(f"\rlayer {layer + 1}", end="", file=sys.stderr)
    try:
        points = points_of(sys.argv[1], show)
    except RuntimeError as error:
        sys.exit(str(error))
    print(file=sys.stderr)
    print("x_mm,y_mm,z_mm,column,row,layer,region,kind")
    for p in points:
        kind = "island" if p.island else "overhang"
        print(f"{p.x:.10g},{p.y:.10g},{p.z:.10g},{p.column},{p.row},{p.layer},{p.group},{kind}")


if __name__ == "__main__":
    main()

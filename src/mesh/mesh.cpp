#include "mesh/mesh.h"

namespace stiltforge::mesh {

const char* nameOf(Format format) {
  switch (format) {
    case Format::binaryStl:
      return "binary STL";
    case Format::textStl:
      return "text STL";
    case Format::obj:
      return "OBJ";
    case Format::ply:
      return "PLY";
    case Format::threeMf:
      return "3MF";
  }
  return "";
}

}  // namespace stiltforge::mesh

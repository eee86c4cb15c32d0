#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "slicing/slicer.h"
#include "slicing/triangle_mesh.h"

namespace stiltforge::slicing {

/// Nine floats a triangle.
using Soup = std::vector<float>;

/// Twelve triangles, closed, outwards.
Soup box(Vertex min, Vertex max);
/// A closed ball of 2 * segments * (rings - 1) triangles with exactly shared corners.
Soup ball(Vertex centre, float radius, int segments, int rings);
/// A double pyramid of eight triangles with its square waist at the centre's height.
Soup octahedron(Vertex centre, float radius);

Soup flipped(Soup soup);
Soup joined(std::initializer_list<Soup> soups);
Soup withoutTriangle(Soup soup, std::size_t triangle);
void append(Soup& soup, const Triangle& triangle);

/// Pixels and layers of 1 mm on a screen of `side` x `side` pixels.
SlicerSettings unitSettings(uint32_t side);

/// One character a pixel, '#' for material.
std::vector<std::string> picture(const std::vector<uint8_t>& rgba, int width);
std::vector<uint8_t> sliceBytes(Slicer& slicer, uint32_t index);
std::vector<std::string> slicePicture(Slicer& slicer, uint32_t index);
/// mm3 of all slices.
double sliceVolume(Slicer& slicer, const SlicerSettings& settings);

}  // namespace stiltforge::slicing

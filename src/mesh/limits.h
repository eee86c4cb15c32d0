#pragma once

#include <cstddef>
#include <cstdint>

namespace stiltforge::mesh {

// What a file may hold at most, so that a damaged or hostile one ends with a sentence and not in
// the want of memory or time. Each is far beyond real files; docs/formats.md lists them.

/// Triangles of a mesh, 3.6 GB of coordinates.
inline constexpr std::size_t mostTriangles = 100'000'000;
/// Vertices that a file lists, used or not.
inline constexpr std::size_t mostVertices = 3 * mostTriangles;
/// Named parts of a file.
inline constexpr std::size_t mostObjects = 100'000;
/// Corners of one face.
inline constexpr std::size_t mostCorners = 1'000'000;
/// Corners of one face that is not convex: cutting it up takes a time that grows with their square.
inline constexpr std::size_t mostCornersNotConvex = 4096;
/// Characters of one word or number of a text file.
inline constexpr std::size_t longestWord = 4096;

/// Entries of a 3MF archive.
inline constexpr std::size_t mostArchiveEntries = 100'000;
/// Unpacked bytes of all the model parts of a 3MF that are read.
inline constexpr std::uint64_t mostModelBytes = std::uint64_t{4} << 30;
/// Unpacked bytes of the list of relationships of a 3MF.
inline constexpr std::uint64_t mostRelationshipBytes = 1 << 20;
/// Bytes of a model part of a 3MF from one XML element to the next.
inline constexpr std::uint64_t mostBytesBetweenElements = 16 << 20;
/// Bytes of one XML tag.
inline constexpr std::uint64_t longestTag = 1 << 20;
/// XML elements inside each other.
inline constexpr int deepestElement = 100;
/// Objects, components and build items of a 3MF, taken together.
inline constexpr std::size_t mostParts = 1'000'000;
/// Components inside each other.
inline constexpr int deepestComponent = 64;

}  // namespace stiltforge::mesh

#pragma once

#include <cstddef>
#include <cstdint>

namespace stiltforge::printer_files {

// What a file of layers may hold at most, so that a damaged or hostile one ends with a sentence and
// not in the want of memory or time. Each is far beyond real files; docs/formats.md lists them.

/// Layers of a print.
inline constexpr uint32_t mostLayers = 65535;
/// Entries of an archive or of a folder.
inline constexpr std::size_t mostEntries = 200'000;
/// Pixels of a side of a layer.
inline constexpr uint32_t longestSide = 65535;
/// Pixels of a layer.
inline constexpr uint64_t mostPixels = uint64_t{256} << 20;
/// Bytes of a layer in its file, packed and unpacked.
inline constexpr uint64_t mostPictureBytes = uint64_t{512} << 20;
/// Bytes of the pixels of a PNG, unpacked.
inline constexpr uint64_t mostPixelBytes = uint64_t{1} << 30;
/// Bytes of a file with settings.
inline constexpr uint64_t mostSettingsBytes = uint64_t{4} << 20;

}  // namespace stiltforge::printer_files

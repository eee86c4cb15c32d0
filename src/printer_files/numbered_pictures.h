#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace stiltforge::printer_files {

/// Which of some file names are a print's layers: the PNG files that differ only in the number at
/// the end of their names, most of all that do. Returns their positions, lowest number first.
///
/// Throws FileError when there are none, a number is missing or there twice, or there are two such
/// series of the same length. `home` is where they are: "the archive". A series with the prefix
/// `preferred`, unless that is empty, goes before longer ones.
std::vector<std::size_t> findNumberedPictures(const std::vector<std::string>& names,
                                              const std::string& home,
                                              const std::string& preferred = {});

}  // namespace stiltforge::printer_files

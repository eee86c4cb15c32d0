#include "printer_files/folder_pictures.h"

#include <algorithm>
#include <system_error>

#include "files/byte_source.h"
#include "printer_files/defect.h"
#include "printer_files/limits.h"
#include "printer_files/numbered_pictures.h"

namespace stiltforge::printer_files {

namespace {

using files::FileError;

std::string nameIn(const std::filesystem::path& file) {
  const std::u8string name = file.filename().u8string();
  return {name.begin(), name.end()};
}

std::vector<std::filesystem::path> filesIn(const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> list;
  std::error_code failure;
  for (std::filesystem::directory_iterator at(folder, failure), end; !failure && at != end;
       at.increment(failure)) {
    list.push_back(at->path());
    if (list.size() > mostEntries) {
      throw FileError("the folder has more than " + files::counted(mostEntries, "entry"),
                      "Name a folder with nothing but a print's layers");
    }
  }
  if (failure) {
    throw FileError("the folder can't be read (" + failure.message() + ")",
                    "Check the path and its permissions");
  }
  // The order of a directory is the file system's.
  std::sort(list.begin(), list.end());
  return list;
}

}  // namespace

FolderPictures::FolderPictures(const std::filesystem::path& folder,
                               const std::atomic<bool>* cancelled)
    : cancelled_(cancelled) {
  const std::vector<std::filesystem::path> all = filesIn(folder);
  std::vector<std::string> allNames;
  allNames.reserve(all.size());
  for (const auto& file : all) allNames.push_back(nameIn(file));
  for (const std::size_t i : findNumberedPictures(allNames, "the folder")) {
    files_.push_back(all[i]);
    names_.push_back(allNames[i]);
  }
}

std::span<const uint8_t> FolderPictures::read(uint32_t layer, DecodeMemory& memory) {
  try {
    files::FileSource source(files_[layer], "a folder of pictures");
    source.cancelWhen(cancelled_);
    if (source.size() > mostPictureBytes) {
      throw Defect{"has " + files::grouped(source.size()) + " bytes; the limit is " +
                       files::grouped(mostPictureBytes),
                   "Export the layers as 8-bit grey PNG"};
    }
    const auto size = static_cast<std::size_t>(source.size());
    uint8_t* const bytes = memory.packed.reserve(size);
    return {bytes, source.read(0, {reinterpret_cast<char*>(bytes), size})};
  } catch (const FileError&) {
    throw Defect{"is no file that can be read",
                 "Check the files of the folder and their permissions"};
  }
}

}  // namespace stiltforge::printer_files

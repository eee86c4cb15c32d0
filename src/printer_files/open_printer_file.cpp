#include "printer_files/open_printer_file.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "files/byte_source.h"
#include "files/file_error.h"
#include "files/zip_archive.h"
#include "printer_files/archive_settings.h"
#include "printer_files/folder_pictures.h"
#include "printer_files/goo_file.h"
#include "printer_files/goo_header.h"
#include "printer_files/limits.h"
#include "printer_files/numbered_pictures.h"
#include "printer_files/picture_stack.h"
#include "printer_files/zip_pictures.h"

namespace stiltforge::printer_files {

namespace {

using files::FileError;

constexpr const char* kind = "a printer file or a folder of pictures";

bool isZip(files::ByteSource& source) {
  std::array<char, 4> head{};
  const std::size_t there = source.read(0, head);
  const std::string_view begin(head.data(), there);
  return begin == "PK\x03\x04" || begin == "PK\x05\x06";
}

std::unique_ptr<PrinterFile> openArchive(std::unique_ptr<files::ByteSource> source,
                                         uint8_t threshold) {
  auto archive = std::make_unique<PrintArchive>(std::move(source));
  const ArchiveSettings settings = readArchiveSettings(*archive);
  const std::vector<std::size_t> layers =
      findNumberedPictures(archive->names(), "the archive", settings.layerPrefix);
  auto pictures = std::make_unique<ZipPictures>(std::move(archive), layers);
  return std::make_unique<PictureStack>(std::move(pictures), settings, threshold);
}

std::unique_ptr<PrinterFile> openSource(std::unique_ptr<files::ByteSource> source,
                                        const ReadOptions& options) {
  source->cancelWhen(options.cancelled);
  if (source->size() == 0) throw FileError("the file is empty", "Copy or export it again");
  if (isGoo(*source)) return std::make_unique<GooFile>(std::move(source), options.threshold);
  if (isZip(*source)) return openArchive(std::move(source), options.threshold);
  throw FileError("the content is none of SL1, NanoDLP, GOO or a zip archive of pictures",
                  "Export the print in one of these formats, or as a folder of numbered PNGs");
}

std::string lowerCase(std::string text) {
  for (char& character : text) {
    if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
  }
  return text;
}

/// Whether an archive is a 3MF; one that is damaged is taken for none.
bool holdsModel(files::ByteSource& source) {
  try {
    const files::ZipArchive archive(source, {"the archive", "the entry", mostEntries});
    return archive.find("3D/3dmodel.model") != nullptr || archive.find("_rels/.rels") != nullptr;
  } catch (const FileError&) {
    return false;
  }
}

bool hasOwnExtension(const std::filesystem::path& name) {
  const std::string extension = lowerCase(name.extension().string());
  constexpr std::array<const char*, 4> own = {".sl1", ".sl1s", ".nanodlp", ".goo"};
  return std::find(own.begin(), own.end(), extension) != own.end();
}

bool beginsLikePrint(files::ByteSource& source, const std::filesystem::path& name) {
  if (isGoo(source)) return true;
  return isZip(source) && lowerCase(name.extension().string()) != ".3mf" && !holdsModel(source);
}

/// The bytes of a file in memory of their own.
class OwnedBytes : public files::ByteSource {
 public:
  explicit OwnedBytes(std::vector<char> bytes) : bytes_(std::move(bytes)), source_(bytes_) {}
  std::uint64_t size() const override { return bytes_.size(); }

 protected:
  std::size_t readAt(std::uint64_t offset, std::span<char> target) override {
    return source_.read(offset, target);
  }

 private:
  std::vector<char> bytes_;
  files::MemorySource source_;
};

}  // namespace

std::unique_ptr<PrinterFile> openPrinterFile(const std::filesystem::path& path,
                                             const ReadOptions& options) {
  std::error_code failure;
  if (std::filesystem::is_directory(path, failure)) {
    ArchiveSettings none;
    none.format = "folder of pictures";
    return std::make_unique<PictureStack>(std::make_unique<FolderPictures>(path, options.cancelled),
                                          none, options.threshold);
  }
  return openSource(std::make_unique<files::FileSource>(path, kind), options);
}

std::unique_ptr<PrinterFile> openPrinterFile(std::vector<char> bytes, const ReadOptions& options) {
  return openSource(std::make_unique<OwnedBytes>(std::move(bytes)), options);
}

bool isPrinterFile(const std::filesystem::path& path) {
  std::error_code failure;
  if (std::filesystem::is_directory(path, failure)) return true;
  if (hasOwnExtension(path)) return true;
  try {
    files::FileSource source(path, kind);
    return beginsLikePrint(source, path);
  } catch (const FileError&) {
    return false;
  }
}

bool isPrinterFile(std::span<const char> bytes, const std::filesystem::path& name) {
  files::MemorySource source(bytes);
  return hasOwnExtension(name) || beginsLikePrint(source, name);
}

}  // namespace stiltforge::printer_files

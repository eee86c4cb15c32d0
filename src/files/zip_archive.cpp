#include "files/zip_archive.h"

#include <minizip/unzip.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <exception>
#include <string_view>
#include <utility>
#include <vector>

#include "files/file_error.h"

namespace stiltforge::files {

namespace {

constexpr std::size_t pieceBytes = std::size_t{64} << 10;
constexpr uLong encryptedFlag = 1;

/// The archive library takes a directory's end at byte 0 for none.
bool isEmptyArchive(ByteSource& source) {
  constexpr std::string_view endOfDirectory = "PK\5\6";
  std::array<char, endOfDirectory.size()> first{};
  return source.read(0, first) == first.size() &&
         std::string_view(first.data(), first.size()) == endOfDirectory;
}

std::string keyOf(std::string_view name) {
  while (!name.empty() && name.front() == '/') name.remove_prefix(1);
  std::string key(name);
  for (char& character : key) {
    if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
  }
  return key;
}

int hexDigit(char character) {
  if (character >= '0' && character <= '9') return character - '0';
  if (character >= 'a' && character <= 'f') return character - 'a' + 10;
  return -1;
}

/// A key with each %20 as the character that it stands for.
std::string decoded(const std::string& key) {
  std::string text;
  for (std::size_t i = 0; i < key.size(); ++i) {
    const bool isCode = key[i] == '%' && i + 2 < key.size() && hexDigit(key[i + 1]) >= 0 &&
                        hexDigit(key[i + 2]) >= 0;
    text += isCode ? static_cast<char>(16 * hexDigit(key[i + 1]) + hexDigit(key[i + 2])) : key[i];
    if (isCode) i += 2;
  }
  return text;
}

}  // namespace

/// The archive library's view of the source: a file to seek and read in. It reads the directory
/// byte by byte, so the last piece is kept. No exception may cross it: they wait here.
struct ZipArchive::Reader {
  explicit Reader(ByteSource& bytes) : source(bytes), piece(pieceBytes) {
    zlib_filefunc64_def functions{};
    functions.zopen64_file = [](voidpf opaque, const void*, int) { return opaque; };
    functions.zread_file = [](voidpf opaque, voidpf, void* buffer, uLong size) {
      return static_cast<Reader*>(opaque)->read(static_cast<char*>(buffer), size);
    };
    functions.zwrite_file = [](voidpf, voidpf, const void*, uLong) { return uLong{0}; };
    functions.ztell64_file = [](voidpf opaque, voidpf) -> ZPOS64_T {
      return static_cast<Reader*>(opaque)->offset;
    };
    functions.zseek64_file = [](voidpf opaque, voidpf, ZPOS64_T distance, int origin) {
      return static_cast<Reader*>(opaque)->seek(distance, origin);
    };
    functions.zclose_file = [](voidpf, voidpf) { return 0; };
    functions.zerror_file = [](voidpf opaque, voidpf) {
      return static_cast<Reader*>(opaque)->failure ? 1 : 0;
    };
    functions.opaque = this;
    handle = unzOpen2_64("", &functions);
  }
  ~Reader() {
    if (handle != nullptr) unzClose(handle);
  }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  uLong read(char* target, uLong size) noexcept {
    uLong done = 0;
    while (done < size) {
      if (offset < pieceBegin || offset >= pieceEnd) {
        pieceBegin = pieceEnd = offset;
        try {
          pieceEnd += source.read(offset, piece);
        } catch (...) {
          failure = std::current_exception();
        }
        if (pieceEnd == pieceBegin) break;
      }
      const auto count =
          static_cast<uLong>(std::min<std::uint64_t>(size - done, pieceEnd - offset));
      std::memcpy(target + done, piece.data() + (offset - pieceBegin), count);
      offset += count;
      done += count;
    }
    return done;
  }

  long seek(std::uint64_t distance, int origin) noexcept {
    const std::uint64_t from = origin == ZLIB_FILEFUNC_SEEK_CUR   ? offset
                               : origin == ZLIB_FILEFUNC_SEEK_END ? source.size()
                                                                  : 0;
    offset = from + distance;
    return 0;
  }

  ByteSource& source;
  std::uint64_t offset = 0;
  std::vector<char> piece;
  std::uint64_t pieceBegin = 0;
  std::uint64_t pieceEnd = 0;
  std::exception_ptr failure;
  unzFile handle = nullptr;
};

ZipArchive::ZipArchive(ByteSource& source, ZipKind kind)
    : kind_(std::move(kind)), reader_(std::make_unique<Reader>(source)) {
  if (reader_->failure) std::rethrow_exception(reader_->failure);
  if (reader_->handle == nullptr) {
    if (isEmptyArchive(source))
      throw FileError(kind_.archive + " has no entries", "Export it again");
    throw FileError(kind_.archive + " is cut off: the directory at its end is missing or damaged",
                    "Copy or export it again");
  }
  listEntries();
}

ZipArchive::~ZipArchive() = default;

void ZipArchive::check(int result, const std::string& problem) const {
  if (reader_->failure) std::rethrow_exception(reader_->failure);
  if (result >= UNZ_OK) return;
  throw FileError(problem, copyAgain);
}

void ZipArchive::listEntries() {
  const std::string damaged = "the directory of " + kind_.archive + " is damaged";
  unz_global_info64 archive{};
  check(unzGetGlobalInfo64(reader_->handle, &archive), damaged);
  if (archive.number_entry > kind_.mostEntries) {
    throw FileError(kind_.archive + " has " + grouped(archive.number_entry) +
                        " entries; the limit is " + grouped(kind_.mostEntries),
                    "Export it again");
  }
  std::vector<char> name(std::size_t{1} << 16);
  for (std::uint64_t i = 0; i < archive.number_entry; ++i) {
    check(i == 0 ? unzGoToFirstFile(reader_->handle) : unzGoToNextFile(reader_->handle), damaged);
    unz_file_info64 info{};
    check(unzGetCurrentFileInfo64(reader_->handle, &info, name.data(), name.size(), nullptr, 0,
                                  nullptr, 0),
          damaged);
    unz64_file_pos position{};
    check(unzGetFilePos64(reader_->handle, &position), damaged);
    const std::size_t length = std::min<std::size_t>(info.size_filename, name.size());
    const std::string entryName(name.data(), length);
    byName_.emplace(keyOf(entryName), entries_.size());
    entries_.push_back({entryName, info.compressed_size, info.uncompressed_size,
                        static_cast<std::uint32_t>(info.crc), position.pos_in_zip_directory,
                        position.num_of_file, info.compression_method,
                        (info.flag & encryptedFlag) != 0});
  }
}

const ZipArchive::Entry* ZipArchive::find(const std::string& partName) const {
  const std::string key = keyOf(partName);
  auto found = byName_.find(key);
  if (found == byName_.end()) found = byName_.find(decoded(key));
  return found == byName_.end() ? nullptr : &entries_[found->second];
}

std::string ZipArchive::describe(const Entry& entry) const {
  return kind_.entry + " " + inQuotes(entry.name) + " of " + kind_.archive;
}

void ZipArchive::goTo(const Entry& entry) {
  const std::string part = describe(entry);
  if (entry.isEncrypted) throw FileError(part + " is encrypted", "Export it without a password");
  if (!entry.isStored() && entry.method != Z_DEFLATED) {
    throw FileError(part + " is packed by method " + std::to_string(entry.method) +
                        "; stored and deflated ones are read",
                    "Export it again");
  }
  unz64_file_pos position{entry.directoryOffset, entry.number};
  check(unzGoToFilePos64(reader_->handle, &position), part + " is damaged: it can't be unpacked");
}

std::uint64_t ZipArchive::packedBytesAt(const Entry& entry) {
  goTo(entry);
  constexpr int isRaw = 1;
  check(unzOpenCurrentFile2(reader_->handle, nullptr, nullptr, isRaw),
        describe(entry) + " is damaged: what stands before it contradicts the directory");
  const std::uint64_t offset = unzGetCurrentFileZStreamPos64(reader_->handle);
  unzCloseCurrentFile(reader_->handle);
  return offset;
}

void ZipArchive::unpack(const Entry& entry,
                        const std::function<void(std::span<const char>)>& take) {
  goTo(entry);
  const std::string part = describe(entry);
  const std::string damaged = part + " is damaged: it can't be unpacked";
  check(unzOpenCurrentFile(reader_->handle), damaged);
  struct Closing {
    unzFile handle;
    ~Closing() {
      if (handle != nullptr) unzCloseCurrentFile(handle);
    }
  } closing{reader_->handle};
  std::vector<char> piece(pieceBytes);
  std::uint64_t unpacked = 0;
  for (;;) {
    reader_->source.requireGoingOn();
    const int count = unzReadCurrentFile(reader_->handle, piece.data(), pieceBytes);
    check(count, damaged);
    if (count == 0) break;
    unpacked += static_cast<std::uint64_t>(count);
    take({piece.data(), static_cast<std::size_t>(count)});
  }
  closing.handle = nullptr;
  check(unzCloseCurrentFile(reader_->handle), part + " is damaged: its checksum (CRC) is wrong");
  if (unpacked != entry.unpackedSize) throw FileError(damaged, copyAgain);
}

}  // namespace stiltforge::files

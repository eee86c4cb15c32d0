#include "printer_files/kept_layers.h"

#include <cstdint>
#include <mutex>
#include <new>
#include <unordered_map>
#include <utility>
#include <vector>

namespace stiltforge::printer_files {

namespace {

/// Rows of a layer without the empty ones above and below, of which a plate has many.
class PackedRows {
 public:
  explicit PackedRows(const RunRows& rows) : height_(rows.height()) {
    const RowRange occupied = rows.occupiedRows();
    begin_ = occupied.begin;
    runs_.reserve(rows.runCount());
    ends_.reserve(static_cast<std::size_t>(occupied.end - occupied.begin));
    for (int y = occupied.begin; y < occupied.end; ++y) {
      runs_.insert(runs_.end(), rows.row(y).begin(), rows.row(y).end());
      ends_.push_back(static_cast<uint32_t>(runs_.size()));
    }
  }

  std::size_t bytes() const { return runs_.size() * sizeof(Run) + ends_.size() * sizeof(uint32_t); }

  void unpack(RunRows& rows) const {
    rows.clear();
    rows.endRows(begin_);
    uint32_t run = 0;
    for (const uint32_t end : ends_) {
      for (; run < end; ++run) rows.add(runs_[run].begin, runs_[run].end);
      rows.endRow();
    }
    rows.endRows(height_ - begin_ - static_cast<int>(ends_.size()));
  }

 private:
  int height_;
  int begin_ = 0;  // the first row that is not empty
  std::vector<Run> runs_;
  std::vector<uint32_t> ends_;  // in runs_, of the rows from there on
};

/// The material of a layer.
class PackedMaterial {
 public:
  explicit PackedMaterial(const RunRows& material) : rows_(material) {}
  std::size_t bytes() const { return sizeof(*this) + rows_.bytes(); }
  void unpack(RunRows& material) const { rows_.unpack(material); }

 private:
  PackedRows rows_;
};

/// A layer with its channels.
class PackedSlice {
 public:
  explicit PackedSlice(const Slice& slice)
      : material_(slice.material),
        overhang_(slice.overhang),
        blue_(slice.blue.begin(), slice.blue.end()),
        green_(slice.green.begin(), slice.green.end()) {}
  std::size_t bytes() const {
    return sizeof(*this) + material_.bytes() + overhang_.bytes() + blue_.size() + green_.size();
  }
  void unpack(Slice& slice) const {
    material_.unpack(slice.material);
    overhang_.unpack(slice.overhang);
    slice.blue.assign(blue_.begin(), blue_.end());
    slice.green.assign(green_.begin(), green_.end());
  }

 private:
  PackedRows material_;
  PackedRows overhang_;
  std::vector<uint8_t> blue_;
  std::vector<uint8_t> green_;
};

class KeptLayers : public PrinterFile {
 public:
  KeptLayers(std::unique_ptr<PrinterFile> file, std::size_t mostBytes)
      : file_(std::move(file)), bytesLeft_(mostBytes) {
    info_ = file_->info();
  }

  void readMaterial(uint32_t layer, RunRows& material) override {
    read(materials_, layer, material, [&] { file_->readMaterial(layer, material); });
  }
  void readChannels(uint32_t layer, Slice& slice) override {
    read(slices_, layer, slice, [&] { file_->readChannels(layer, slice); });
  }

 private:
  // By number.
  template <class Packed>
  using Layers = std::unordered_map<uint32_t, std::shared_ptr<const Packed>>;

  template <class Packed, class Layer, class Decode>
  void read(Layers<Packed>& layers, uint32_t number, Layer& layer, const Decode& decode) {
    if (const auto kept = find(layers, number)) {
      kept->unpack(layer);
      return;
    }
    decode();
    try {
      keep(layers, number, std::make_shared<const Packed>(layer));
    } catch (const std::bad_alloc&) {
      // It was read all the same.
    }
  }

  template <class Packed>
  std::shared_ptr<const Packed> find(const Layers<Packed>& layers, uint32_t number) {
    const std::lock_guard lock(mutex_);
    const auto found = layers.find(number);
    return found == layers.end() ? nullptr : found->second;
  }

  template <class Packed>
  void keep(Layers<Packed>& layers, uint32_t number, std::shared_ptr<const Packed> packed) {
    const std::size_t bytes = packed->bytes();
    const std::lock_guard lock(mutex_);
    if (bytes > bytesLeft_) return;
    if (layers.emplace(number, std::move(packed)).second) bytesLeft_ -= bytes;
  }

  const std::unique_ptr<PrinterFile> file_;
  std::mutex mutex_;
  std::size_t bytesLeft_;
  Layers<PackedMaterial> materials_;
  Layers<PackedSlice> slices_;
};

}  // namespace

std::unique_ptr<PrinterFile> keepLayers(std::unique_ptr<PrinterFile> file, std::size_t mostBytes) {
  if (mostBytes == 0) return file;
  return std::make_unique<KeptLayers>(std::move(file), mostBytes);
}

}  // namespace stiltforge::printer_files

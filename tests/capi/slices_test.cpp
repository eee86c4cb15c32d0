#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "capi/parts.h"

namespace stiltforge::capi_test {
namespace {

std::string refusalOf(const stiltforge_runs& material, const stiltforge_overhang* overhang) {
  const host::Slice slice;
  stiltforge_error error;
  const stiltforge_status status =
      stiltforge_slice_set_runs(slice.get(), 8, 2, &material, overhang, &error);
  EXPECT_EQ(slice.info().width, status == STILTFORGE_OK ? 8u : 0u);
  return error.message;
}

TEST(Slices, AreEmptyAtFirst) {
  const host::SliceInfo info = host::Slice().info();
  EXPECT_EQ(info.width + info.height + info.material_runs + info.overhang_runs, 0u);
  uint32_t rowStart = 7;
  EXPECT_EQ(
      stiltforge_slice_copy_material(host::Slice().get(), &rowStart, nullptr, nullptr, 0, nullptr),
      STILTFORGE_OK);
  EXPECT_EQ(rowStart, 0u);
}

TEST(Slices, GiveBackTheRunsThatTheyWereMadeOf) {
  const std::vector<uint32_t> rowStart{0, 2, 3};
  const std::vector<uint16_t> begin{0, 4, 1};
  const std::vector<uint16_t> end{2, 8, 7};
  const std::vector<uint32_t> hangingRows{0, 1, 2};
  const std::vector<uint16_t> hangingBegin{5, 1};
  const std::vector<uint16_t> hangingEnd{7, 2};
  const std::vector<uint8_t> blue{0, 100, 254};
  const std::vector<uint8_t> green{1, 2, 255};
  const stiltforge_runs material{rowStart.data(), begin.data(), end.data(), begin.size()};
  const stiltforge_overhang overhang{
      {hangingRows.data(), hangingBegin.data(), hangingEnd.data(), hangingBegin.size()},
      blue.data(),
      green.data(),
      blue.size()};
  host::Slice slice;
  slice.setRuns(8, 2, material, &overhang);

  const host::SliceInfo info = slice.info();
  EXPECT_EQ(info.material_runs, 3u);
  EXPECT_EQ(info.material_pixels, 12u);
  EXPECT_EQ(info.overhang_runs, 2u);
  EXPECT_EQ(info.overhang_pixels, 3u);
  std::vector<uint32_t> rows(3);
  std::vector<uint16_t> from(3);
  std::vector<uint16_t> to(3);
  ASSERT_EQ(
      stiltforge_slice_copy_material(slice.get(), rows.data(), from.data(), to.data(), 3, nullptr),
      STILTFORGE_OK);
  EXPECT_EQ(rows, rowStart);
  EXPECT_EQ(from, begin);
  EXPECT_EQ(to, end);
  from.resize(2);
  to.resize(2);
  std::vector<uint8_t> first(3);
  std::vector<uint8_t> second(3);
  ASSERT_EQ(stiltforge_slice_copy_overhang(slice.get(), rows.data(), from.data(), to.data(), 2,
                                           first.data(), second.data(), 3, nullptr),
            STILTFORGE_OK);
  EXPECT_EQ(rows, hangingRows);
  EXPECT_EQ(from, hangingBegin);
  EXPECT_EQ(to, hangingEnd);
  EXPECT_EQ(first, blue);
  EXPECT_EQ(second, green);

  stiltforge_error error;
  EXPECT_EQ(
      stiltforge_slice_copy_material(slice.get(), rows.data(), from.data(), to.data(), 2, &error),
      STILTFORGE_INVALID_ARGUMENT);
  EXPECT_STREQ(error.message,
               "stiltforge_slice_copy_material: run_capacity is 2; 3 entries are needed.");
}

TEST(Slices, RefuseRunsThatAreNone) {
  const std::vector<uint32_t> rowStart{0, 1, 2};
  const std::vector<uint16_t> begin{0, 4};
  const std::vector<uint16_t> end{2, 9};
  stiltforge_runs material{rowStart.data(), begin.data(), end.data(), 2};
  EXPECT_EQ(refusalOf(material, nullptr),
            "stiltforge_slice_set_runs: Row 1 of the material has a run of columns 4 to 9, but the "
            "slice is 8 pixels wide.");
  material.run_count = 3;
  EXPECT_EQ(refusalOf(material, nullptr),
            "stiltforge_slice_set_runs: material.run_count is 3, but its row_start ends with 2.");
  material.run_count = 2;
  material.begin = nullptr;
  EXPECT_EQ(refusalOf(material, nullptr), "stiltforge_slice_set_runs: material.begin is null.");
  material.row_start = nullptr;
  EXPECT_EQ(refusalOf(material, nullptr), "stiltforge_slice_set_runs: material.row_start is null.");
}

TEST(Slices, RefuseAnOverhangThatIsNone) {
  const std::vector<uint32_t> rowStart{0, 1, 1};
  const std::vector<uint16_t> begin{0};
  const std::vector<uint16_t> end{4};
  const std::vector<uint8_t> values{0, 0, 0, 0};
  const stiltforge_runs runs{rowStart.data(), begin.data(), end.data(), 1};
  stiltforge_overhang overhang{runs, values.data(), values.data(), 3};
  EXPECT_EQ(refusalOf(runs, &overhang),
            "stiltforge_slice_set_runs: The overhang has 4 pixels, but 3 blue values and 3 green "
            "values; each pixel has one of both.");
  overhang.pixel_count = 4;
  EXPECT_EQ(refusalOf(runs, &overhang), "");
  overhang.green = nullptr;
  EXPECT_EQ(refusalOf(runs, &overhang), "stiltforge_slice_set_runs: overhang->green is null.");
}

TEST(Slices, RefuseAPictureOfAnotherSize) {
  const host::Slice slice;
  const std::vector<uint8_t> rgba(4 * 6);
  stiltforge_error error;
  EXPECT_EQ(stiltforge_slice_set_rgba(slice.get(), rgba.data(), rgba.size() - 1, 3, 2, &error),
            STILTFORGE_INVALID_ARGUMENT);
  EXPECT_STREQ(error.message, "stiltforge_slice_set_rgba: byte_count is 23; 3 x 2 pixels have 24.");
  EXPECT_EQ(stiltforge_slice_set_rgba(slice.get(), rgba.data(), 0, 0, 2, &error),
            STILTFORGE_INVALID_ARGUMENT);
  EXPECT_STREQ(error.message, "stiltforge_slice_set_rgba: width is 0; it must be from 1 to 65535.");
  EXPECT_EQ(
      stiltforge_slice_set_rgba(slice.get(), rgba.data(), ~std::size_t{0}, 65535, 65535, &error),
      STILTFORGE_INVALID_ARGUMENT);
  EXPECT_STREQ(error.message,
               "stiltforge_slice_set_rgba: width x height is 4294836225 pixels; a slice has "
               "2147483647 at most.");
}

TEST(Slices, OfAMeshAreCutInAnyOrder) {
  host::Slicer slicer(host::Mesh(table()), coarsePrint());
  const uint32_t layers = slicer.info().layer_count;
  ASSERT_EQ(layers, 45u);
  std::vector<host::Slice> ascending(layers);
  slicer.slice(0, ascending);
  std::vector<host::Slice> one(1);
  for (uint32_t layer : {layers - 1, 36u, 0u}) {
    slicer.slice(layer, one);
    EXPECT_EQ(one[0].info().material_pixels, ascending[layer].info().material_pixels);
    EXPECT_EQ(one[0].info().overhang_pixels, ascending[layer].info().overhang_pixels);
  }
  EXPECT_GT(ascending[35].info().overhang_pixels, 0u) << "the table top";
}

TEST(Slices, OfAMeshBeyondItsLayersAreRefusedAndChangeNothing) {
  host::Slicer slicer(host::Mesh(table()), coarsePrint());
  std::vector<host::Slice> slices(2);
  slicer.slice(0, slices);
  const uint64_t pixels = slices[0].info().material_pixels;
  EXPECT_THROW(slicer.slice(44, slices), host::Error);
  EXPECT_THROW(slicer.slice(UINT32_MAX, slices), host::Error);
  EXPECT_EQ(slices[0].info().material_pixels, pixels);
}

TEST(Slices, OfMasksAreThoseOfTheMeshWithTheSameMaterial) {
  const host::PrintSettings print = coarsePrint();
  host::Slicer slicer(host::Mesh(table()), print);
  const host::SlicerInfo info = slicer.info();
  host::MaskSettings masks;
  masks.mask_width = info.width;
  masks.mask_height = info.height;
  host::MaskSlicer maskSlicer(masks, print);
  host::Model fromMesh(slicer.parameters());
  host::Model fromMasks(slicer.parameters());
  std::vector<host::Slice> slice(1);
  for (uint32_t layer = 0; layer < info.layer_count; ++layer) {
    slicer.slice(layer, slice);
    fromMesh.analyse(slice[0]);
    const host::SliceInfo size = slice[0].info();
    std::vector<uint32_t> rows(size.height + 1);
    std::vector<uint16_t> begin(size.material_runs);
    std::vector<uint16_t> end(size.material_runs);
    ASSERT_EQ(stiltforge_slice_copy_material(slice[0].get(), rows.data(), begin.data(), end.data(),
                                             begin.size(), nullptr),
              STILTFORGE_OK);
    std::vector<uint8_t> mask(std::size_t{info.width} * info.height);
    for (uint32_t y = 0; y < info.height; ++y) {
      for (uint32_t run = rows[y]; run < rows[y + 1]; ++run) {
        const std::size_t row = std::size_t{y} * info.width;
        std::fill(mask.begin() + static_cast<std::ptrdiff_t>(row + begin[run]),
                  mask.begin() + static_cast<std::ptrdiff_t>(row + end[run]), uint8_t{200});
      }
    }
    maskSlicer.next({mask.data()}, mask.size(), slice);
    fromMasks.analyse(slice[0]);
  }
  EXPECT_FALSE(fromMesh.supports().empty());
  EXPECT_EQ(places(fromMasks.supports()), places(fromMesh.supports()));
}

TEST(Slices, OfMasksOfAnotherSizeAreRefused) {
  host::MaskSettings masks;
  masks.mask_width = 10;
  masks.mask_height = 10;
  host::MaskSlicer slicer(masks, coarsePrint());
  std::vector<host::Slice> slices(1);
  const std::vector<uint8_t> mask(100);
  EXPECT_THROW(slicer.next({mask.data()}, 99, slices), host::Error);
  EXPECT_THROW(slicer.next({nullptr}, 100, slices), host::Error);
  slicer.next({mask.data()}, 100, slices);
  EXPECT_EQ(slices[0].info().width, 10u);
  masks.crop_x = 10;
  EXPECT_THROW(host::MaskSlicer(masks, coarsePrint()), host::Error);
}

}  // namespace
}  // namespace stiltforge::capi_test

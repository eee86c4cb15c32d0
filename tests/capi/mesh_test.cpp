#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "capi/parts.h"

namespace stiltforge::capi_test {
namespace {

std::string refusalOf(const std::function<void()>& call, stiltforge_status status) {
  try {
    call();
    return "";
  } catch (const host::Error& error) {
    EXPECT_EQ(error.status(), status);
    return error.what();
  }
}

TEST(Mesh, OfSharedVerticesIsThatOfItsTriangles) {
  const std::vector<float> vertices{0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1};
  const std::vector<uint32_t> indices{0, 2, 1, 0, 1, 3, 0, 3, 2, 1, 2, 3};
  const host::Mesh mesh(vertices, indices);
  ASSERT_EQ(mesh.triangleCount(), 4u);
  EXPECT_EQ(mesh.positions()[3], 0);
  EXPECT_EQ(mesh.positions()[4], 1);
  EXPECT_EQ(refusalOf(
                [&] {
                  host::Mesh(vertices, {0, 1, 4});
                },
                STILTFORGE_INVALID_ARGUMENT),
            "stiltforge_mesh_create_indexed: indices[2] is 4; there are 4 vertices, counted from "
            "0.");
}

TEST(Mesh, NumbersThatAreLeftOverAreRefused) {
  const auto refusalOfList = [](const std::function<void()>& call) -> std::string {
    try {
      call();
    } catch (const std::invalid_argument& refused) {
      return refused.what();
    }
    return "";
  };
  const std::vector<float> vertices{0, 0, 0, 1, 0, 0, 0, 1, 0};
  EXPECT_EQ(refusalOfList([] { host::Mesh(std::vector<float>(10)); }),
            "positions has 10 numbers, which is no multiple of 9");
  EXPECT_EQ(refusalOfList([&] {
              host::Mesh(vertices, {0, 1, 2, 0});
            }),
            "indices has 4 numbers, which is no multiple of 3");
  EXPECT_EQ(refusalOfList([] {
              host::Mesh(std::vector<float>(8), {0, 1, 2});
            }),
            "vertices has 8 numbers, which is no multiple of 3");
}

TEST(Mesh, CountsThatCannotBeAreRefusedUnread) {
  const float corner[9] = {};
  const uint32_t indices[3] = {};
  stiltforge_mesh* mesh = nullptr;
  for (const std::size_t count : {std::size_t{0}, std::size_t{100'000'001}, ~std::size_t{0}}) {
    EXPECT_EQ(stiltforge_mesh_create(corner, count, &mesh, nullptr), STILTFORGE_INVALID_ARGUMENT);
    EXPECT_EQ(stiltforge_mesh_create_indexed(corner, 3, indices, count, &mesh, nullptr),
              STILTFORGE_INVALID_ARGUMENT);
  }
  EXPECT_EQ(stiltforge_mesh_create_indexed(corner, ~std::size_t{0}, indices, 1, &mesh, nullptr),
            STILTFORGE_INVALID_ARGUMENT);
}

TEST(Mesh, IsTurnedAndSized) {
  host::Mesh mesh(table());
  mesh.turnYUp();
  EXPECT_EQ(mesh.box().min[1], -4.5);
  EXPECT_EQ(mesh.box().max[2], 12);
  mesh.scaleToHeight(24);
  EXPECT_EQ(mesh.box().min[1], -9);
  EXPECT_EQ(mesh.box().max[0], 24);
  mesh.scale(0.5);
  EXPECT_EQ(mesh.box().max[2], 12);
  const std::string tooLarge = refusalOf(
      [&] {
        mesh.scale(1e30);
        mesh.scale(1e30);
      },
      STILTFORGE_UNUSABLE_MESH);
  EXPECT_EQ(tooLarge, "Scaled by 1e+30 the mesh is too large to be sliced.");
  for (const double factor : {0.0, -1.0, std::nan(""), HUGE_VAL}) {
    EXPECT_NE(refusalOf([&] { mesh.scale(factor); }, STILTFORGE_INVALID_ARGUMENT), "") << factor;
    EXPECT_NE(refusalOf([&] { mesh.scaleToHeight(factor); }, STILTFORGE_INVALID_ARGUMENT), "");
  }
}

TEST(Mesh, ThatCannotBeSlicedIsRefusedForThePersonWhoMadeIt) {
  std::vector<float> broken = table();
  broken[4] = NAN;
  EXPECT_NE(
      refusalOf([&] { host::Slicer(host::Mesh(broken), coarsePrint()); }, STILTFORGE_UNUSABLE_MESH),
      "");
  host::PrintSettings small = coarsePrint();
  small.screen_width = 50;
  const std::string outside =
      refusalOf([&] { host::Slicer(host::Mesh(table()), small); }, STILTFORGE_UNUSABLE_MESH);
  EXPECT_EQ(outside.find("stiltforge_"), std::string::npos) << outside;
  host::PrintSettings wrong = coarsePrint();
  wrong.layer_height = -1;
  EXPECT_EQ(
      refusalOf([&] { host::Slicer(host::Mesh(table()), wrong); }, STILTFORGE_INVALID_ARGUMENT),
      "stiltforge_slicer_create: settings->layer_height is -1: it must be from 0.000001 "
      "to 1,000,000 mm.");
}

TEST(Mesh, IsReportedOn) {
  const host::MeshReport report = host::Slicer(host::Mesh(table()), coarsePrint()).report();
  EXPECT_EQ(report.triangles, 36u);
  EXPECT_EQ(report.parts, 3u);
  EXPECT_EQ(report.open_edges, 0u);
  EXPECT_EQ(report.max[2], 4.5);
}

TEST(Mesh, PlacesItsSupportsWhereThePixelsAre) {
  const host::PrintSettings print = coarsePrint();
  host::Slicer slicer(host::Mesh(table()), print);
  const host::SlicerInfo info = slicer.info();
  host::Support support{};
  support.x = 10;
  support.y = 20;
  support.layer = 35;
  const host::Point point = slicer.locate({support}).front();
  EXPECT_EQ(point.column, static_cast<uint32_t>(info.crop_x) + 10);
  EXPECT_EQ(point.row, static_cast<uint32_t>(info.crop_y) + 20);
  EXPECT_NEAR(point.x, info.origin_x + (point.column + 0.5) * info.pixel_size, 0.0005);
  EXPECT_NEAR(point.y, info.origin_y - (point.row + 0.5) * info.pixel_size, 0.0005);
  EXPECT_EQ(point.z, 3.5);
  EXPECT_EQ(point.x * 1000, std::round(point.x * 1000)) << "to the micrometre";
}

#ifdef STILTFORGE_MESH_READERS
class MeshFile : public testing::Test {
 protected:
  MeshFile() : path_(std::filesystem::path(testing::TempDir()) / u8"stiltforge_\u00e4.stl") {
    std::ofstream(path_) << text;
  }
  ~MeshFile() override { std::filesystem::remove(path_); }

  std::string utf8() const {
    const std::u8string name = path_.u8string();
    return {name.begin(), name.end()};
  }

  const std::string text =
      "solid t\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\nvertex 0 1 2\n"
      "endloop\nendfacet\nendsolid t\n";
  const std::filesystem::path path_;
};

TEST_F(MeshFile, IsReadFromItsPathAndFromMemory) {
  const host::Mesh mesh = host::Mesh::read(utf8());
  ASSERT_EQ(mesh.triangleCount(), 1u);
  EXPECT_EQ(mesh.positions()[8], 2);
  const host::Mesh same = host::Mesh::read(text.data(), text.size());
  EXPECT_EQ(std::vector<float>(same.positions().begin(), same.positions().end()),
            std::vector<float>(mesh.positions().begin(), mesh.positions().end()));
}

TEST_F(MeshFile, ThatIsNoneIsRefusedForThePersonWhoChoseIt) {
  const std::string message =
      refusalOf([] { host::Mesh::read("no such file.stl"); }, STILTFORGE_UNUSABLE_MESH);
  EXPECT_NE(message, "");
  EXPECT_EQ(message.find("stiltforge_"), std::string::npos) << message;
  EXPECT_NE(refusalOf([] { host::Mesh::read("", 0); }, STILTFORGE_UNUSABLE_MESH), "");
  EXPECT_NE(refusalOf([] { host::Mesh::read("solid", 5); }, STILTFORGE_UNUSABLE_MESH), "");
}

TEST_F(MeshFile, IsNotReadWhenItIsCancelled) {
  host::CancelToken token;
  token.cancel();
  EXPECT_NE(refusalOf([&] { host::Mesh::read(utf8(), &token); }, STILTFORGE_CANCELLED), "");
}
#endif

}  // namespace
}  // namespace stiltforge::capi_test

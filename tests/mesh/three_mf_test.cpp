#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "core/failing_allocation.h"
#include "mesh/limits.h"
#include "mesh/mesh_files.h"

namespace stiltforge::mesh {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const Soup cube = box({1, 2, 3}, {4, 6, 8});
const std::string item = "<item objectid=\"1\"/>";
const std::string cubeObject = objectXml(meshXml(cube));

std::string itemAt(const std::string& transform, const std::string& id = "1") {
  return "<item objectid=\"" + id + "\" transform=\"" + transform + "\"/>";
}

std::string components(const std::string& id, const std::string& content) {
  return objectXml("<components>" + content + "</components>", "id=\"" + id + "\"");
}

std::string component(const std::string& id, const std::string& more = "") {
  return "<component objectid=\"" + id + "\" " + more + "/>";
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  return text.replace(at, from.size(), to);
}

Soup moved(Soup soup, float x, float y, float z) {
  for (std::size_t i = 0; i < soup.size(); i += 3) {
    soup[i] += x;
    soup[i + 1] += y;
    soup[i + 2] += z;
  }
  return soup;
}

Soup joined(Soup first, const Soup& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

TEST(ThreeMf, IsReadTriangleForTriangle) {
  const Mesh mesh = read(threeMf(cube));
  EXPECT_EQ(mesh.format, Format::threeMf);
  EXPECT_EQ(mesh.positions, cube);
  EXPECT_THAT(mesh.warnings, IsEmpty());
}

TEST(ThreeMf, ItsModelIsTheOneThatTheRelationshipsName) {
  const std::string model = modelXml(cubeObject, item);
  const std::string other = modelXml(objectXml(meshXml(box({0, 0, 0}, {1, 1, 1}))), item);
  const auto in = [&](const std::string& target, const std::string& name) {
    return zipArchive({relationships(target), {"3D/3dmodel.model", other}, {name, model}});
  };
  EXPECT_EQ(read(in("/3D/mine.model", "3D/mine.model")).positions, cube);
  EXPECT_EQ(read(in("3D/Mine.Model", "3d/mine.model")).positions, cube);
  EXPECT_EQ(read(in("/3D/my%20part.model", "3D/my part.model")).positions, cube);
  EXPECT_EQ(read(zipArchive({{"3D/3dmodel.model", model}})).positions, cube);
}

TEST(ThreeMf, CoordinatesAreInItsUnit) {
  const auto widthIn = [](const std::string& attributes) {
    const Mesh mesh = read(packed(modelXml(objectXml(meshXml(box({0, 0, 0}, {1, 1, 2}))),
                                           itemAt("1 0 0 0 1 0 0 0 1 3 0 0"), attributes)));
    return mesh.positions[3] - mesh.positions[0] + mesh.positions[0] / 3;
  };
  EXPECT_FLOAT_EQ(widthIn(""), 1);
  EXPECT_FLOAT_EQ(widthIn("unit=\"micron\""), 0.001f);
  EXPECT_FLOAT_EQ(widthIn("unit=\"centimeter\""), 10);
  EXPECT_FLOAT_EQ(widthIn("unit=\"inch\""), 25.4f);
  EXPECT_FLOAT_EQ(widthIn("unit=\"foot\""), 304.8f);
  EXPECT_FLOAT_EQ(widthIn("unit=\"meter\""), 1000);
  EXPECT_THAT(refusal(packed(modelXml(cubeObject, item, "unit=\"parsec\""))),
              HasSubstr("has the unit \"parsec\", which 3MF does not know"));
}

TEST(ThreeMf, BuildItemsAreObjectsInTheirPlaces) {
  const Mesh mesh = read(
      packed(modelXml(objectXml(meshXml(cube), "id=\"1\" name=\"a part\"") +
                          objectXml(meshXml(cube), "id=\"7\" name=\"not built\""),
                      itemAt("1 0 0 0 1 0 0 0 1 10 20 30") + itemAt("1 0 0 0 1 0 0 0 1 0 0 0"))));
  EXPECT_EQ(mesh.positions, joined(moved(cube, 10, 20, 30), cube));
  ASSERT_EQ(mesh.objects.size(), 2u);
  EXPECT_EQ(mesh.objects[0].name, "a part");
  EXPECT_EQ(mesh.objects[1].triangles, 12u);
}

TEST(ThreeMf, TransformsAreRowsTimesColumns) {
  // A quarter turn to the left about z, and twice the height.
  const Mesh mesh = read(packed(modelXml(cubeObject, itemAt("0 1 0  -1 0 0\n0 0 2 0 0 0"))));
  EXPECT_EQ(mesh.positions[0], -cube[1]);
  EXPECT_EQ(mesh.positions[1], cube[0]);
  EXPECT_EQ(mesh.positions[2], 2 * cube[2]);
  EXPECT_DOUBLE_EQ(volumeOf(mesh.positions), 2 * volumeOf(cube));
}

TEST(ThreeMf, MirroredPartsKeepTheirFrontsOutside) {
  const std::string mirror = "-1 0 0 0 1 0 0 0 1 0 0 0";
  EXPECT_EQ(volumeOf(read(packed(modelXml(cubeObject, itemAt(mirror)))).positions), 60);
  const std::string twice = components("2", component("1", "transform=\"" + mirror + "\""));
  EXPECT_EQ(read(packed(modelXml(cubeObject + twice, itemAt(mirror, "2")))).positions, cube);
}

TEST(ThreeMf, ComponentsAreMovedByTheirOwnTransformAndThenByThoseAroundThem) {
  // The turn of the item comes after the move of the component.
  const std::string resources =
      cubeObject +
      components("2", component("1", "transform=\"1 0 0 0 1 0 0 0 1 10 0 0\"") + component("1"));
  const Mesh mesh = read(packed(modelXml(resources, itemAt("0 1 0 -1 0 0 0 0 1 0 0 0", "2"))));
  EXPECT_EQ(mesh.triangleCount(), 24u);
  EXPECT_EQ(mesh.objects.size(), 1u);
  EXPECT_EQ(mesh.positions[0], -cube[1]);
  EXPECT_EQ(mesh.positions[1], cube[0] + 10);
  EXPECT_EQ(mesh.positions[9 * 12 + 1], cube[0]);
}

TEST(ThreeMf, ComponentsMayComeBeforeWhatTheyName) {
  EXPECT_EQ(
      read(packed(modelXml(components("2", component("1")) + cubeObject, "<item objectid=\"2\"/>")))
          .positions,
      cube);
}

TEST(ThreeMf, PartsOfTheArchiveMayHoldObjectsOfTheRoot) {
  const std::string resources = components("5", component("1",
                                                          "p:path=\"/3D/Objects/part_1.model\" "
                                                          "transform=\"1 0 0 0 1 0 0 0 1 1 0 0\""));
  const std::string root = modelXml(
      resources, "<item objectid=\"5\"/><item objectid=\"1\" p:path=\"/3D/Objects/part_1.model\"/>",
      "requiredextensions=\"p\" unit=\"centimeter\"");
  const std::string part = modelXml(cubeObject, "");
  const auto archive = [&](const std::string& inner) {
    return zipArchive({relationships("/3D/3dmodel.model"),
                       {"3D/3dmodel.model", root},
                       {"3D/Objects/part_1.model", inner}});
  };
  EXPECT_EQ(read(archive(part)).positions, joined(moved(cube, 10, 0, 0), cube));
  EXPECT_THAT(
      refusal(
          archive(modelXml(components("1", component("2", "p:path=\"/3D/3dmodel.model\"")), ""))),
      HasSubstr("component 1 of object 1 of the 3MF names another part of the archive, which "
                "only the root model may"));
  EXPECT_THAT(refusal(packed(root)), HasSubstr("names the part \"/3D/Objects/part_1.model\", which "
                                               "the archive does not have"));
}

TEST(ThreeMf, OnlySolidObjectsCount) {
  const auto typed = [](const std::string& id, const std::string& type) {
    return objectXml(meshXml(cube), "id=\"" + id + "\" type=\"" + type + "\"");
  };
  const std::string resources =
      typed("1", "model") + typed("2", "support") + typed("3", "solidsupport") +
      typed("4", "surface") + typed("6", "support") +
      components(
          "5", component("1") + component("2") + component("3") + component("4") + component("6"));
  const Mesh mesh = read(packed(modelXml(resources, "<item objectid=\"5\"/>")));
  EXPECT_EQ(mesh.triangleCount(), 24u);
  EXPECT_THAT(mesh.warnings,
              ElementsAre("Left out of the 3MF: 2 objects of type \"support\" and 1 object of type "
                          "\"surface\" (only \"model\" and \"solidsupport\" are solid)."));
  EXPECT_THAT(refusal(packed(modelXml(typed("1", "other"), item))),
              HasSubstr("the 3MF has no triangles to print, only 1 object of type \"other\""));
}

TEST(ThreeMf, TheTypeOfAnAssemblyDoesNotMatter) {
  const std::string assembly =
      objectXml("<components><component objectid=\"1\"/></components>", "id=\"2\" type=\"other\"");
  EXPECT_EQ(read(packed(modelXml(cubeObject + assembly, "<item objectid=\"2\"/>"))).positions,
            cube);
}

TEST(ThreeMf, ItemsThatAreNotToBePrintedAreLeftOut) {
  const Mesh mesh = read(packed(modelXml(
      cubeObject, "<item objectid=\"1\" printable=\"0\"/><item objectid=\"1\" printable=\"1\"/>")));
  EXPECT_EQ(mesh.positions, cube);
  EXPECT_THAT(mesh.warnings,
              ElementsAre("Left out of the 3MF: 1 build item marked as not printable."));
}

TEST(ThreeMf, BeamLatticesAreLeftOutWithAWarning) {
  const std::string beams = replaced(
      meshXml(cube), "</mesh>",
      "<b:beamlattice xmlns:b=\"http://schemas.microsoft.com/3dmanufacturing/beamlattice/2017/02\">"
      "<b:beams><b:beam v1=\"0\" v2=\"1\"/></b:beams></b:beamlattice></mesh>");
  EXPECT_THAT(read(packed(modelXml(objectXml(beams), item))).warnings,
              ElementsAre("Left out of the 3MF: 1 beam lattice (only triangles are read)."));
}

TEST(ThreeMf, WhatIsNotOfTheCoreIsPassedOver) {
  const std::string stranger = "<x:vertices xmlns:x=\"urn:x\"><vertex x=\"no\"/></x:vertices>";
  const std::string resources =
      "<basematerials id=\"9\"><base name=\"red\"/></basematerials>" + stranger +
      objectXml("<metadatagroup><metadata name=\"vertex\"/></metadatagroup>" +
                replaced(meshXml(cube), "<vertices>", stranger + "<vertices>"));
  EXPECT_EQ(read(packed(modelXml(resources, item))).positions, cube);
}

TEST(ThreeMf, ItsNamespaceMayHaveAPrefix) {
  std::string model = modelXml(cubeObject, item);
  for (const std::string name : {"model", "resources", "object", "mesh", "vertices", "vertex",
                                 "triangles", "triangle", "build", "item"}) {
    for (const std::string end : {" ", ">"}) {
      for (const std::string begin : {"<", "</"}) {
        for (std::size_t at = model.find(begin + name + end); at != std::string::npos;
             at = model.find(begin + name + end)) {
          model.replace(at, begin.size(), begin + "c:");
        }
      }
    }
  }
  EXPECT_EQ(read(packed(replaced(model, "xmlns=", "xmlns:c="))).positions, cube);
}

TEST(ThreeMf, AnExtensionThatIsNotReadIsNamedWhereTheFileNeedsIt) {
  EXPECT_EQ(
      refusal(
          packed(modelXml(cubeObject, item, "xmlns:s=\"urn:slices\" requiredextensions=\"p s\""))),
      "the part \"3D/3dmodel.model\" of the 3MF can only be understood with the 3MF extension "
      "\"urn:slices\", which is not read. Export it as a plain triangle mesh.");
  EXPECT_EQ(read(packed(modelXml(cubeObject, item, "xmlns:s=\"urn:slices\""))).positions, cube);
}

TEST(ThreeMf, AComponentThatContainsItselfIsNamed) {
  const std::string resources = cubeObject + components("2", component("1") + component("3")) +
                                components("3", component("2"));
  EXPECT_EQ(refusal(packed(modelXml(resources, "<item objectid=\"2\"/>"))),
            "object 2 of the 3MF contains itself. Repair its assembly in a modelling program.");
}

TEST(ThreeMf, TrianglesAreCountedBeforeTheyAreMade) {
  std::string resources = cubeObject;
  for (int level = 2; level <= 10; ++level) {
    std::string content;
    for (int i = 0; i < 10; ++i) content += component(std::to_string(level - 1));
    resources += components(std::to_string(level), content);
  }
  const std::string model = modelXml(resources, "<item objectid=\"10\"/>");
  EXPECT_LT(packed(model).size(), 2000u);
  const FailingAllocation large(std::size_t{1} << 20);
  EXPECT_EQ(
      refusal(packed(model)),
      "the build of the 3MF has more than 100,000,000 triangles once all its components are in "
      "place. Simplify it in a modelling program.");
}

TEST(ThreeMf, ComponentsMayNotBeNestedWithoutEnd) {
  const auto nested = [](int depth) {
    std::string resources;
    for (int i = depth; i > 0; --i) {
      resources += components(std::to_string(i + 1), component(std::to_string(i)));
    }
    return packed(
        modelXml(resources + cubeObject, "<item objectid=\"" + std::to_string(depth + 1) + "\"/>"));
  };
  EXPECT_EQ(read(nested(deepestComponent)).positions, cube);
  for (const int depth : {deepestComponent + 1, 10 * deepestComponent, 30000}) {
    EXPECT_THAT(refusal(nested(depth)),
                HasSubstr("the 3MF has components more than 64 deep inside each other"));
  }
}

TEST(ThreeMf, EmptyComponentsWithoutNumberCostNothing) {
  std::string resources =
      objectXml("<mesh><vertices/><triangles/></mesh>") + objectXml(meshXml(cube), "id=\"100\"");
  for (int level = 2; level <= 40; ++level) {
    std::string content;
    for (int i = 0; i < 10; ++i) content += component(std::to_string(level - 1));
    resources += components(std::to_string(level), content);
  }
  EXPECT_EQ(read(packed(modelXml(resources, "<item objectid=\"40\"/><item objectid=\"100\"/>")))
                .positions,
            cube);
}

TEST(ThreeMf, AnObjectThatIsNotThereIsNamed) {
  EXPECT_THAT(refusal(packed(modelXml(cubeObject, "<item objectid=\"9\"/>"))),
              HasSubstr("build item 1 of the 3MF names object 9, which is not there"));
  EXPECT_THAT(refusal(packed(modelXml(components("2", component("1")), "<item objectid=\"2\"/>"))),
              HasSubstr("component 1 of object 2 of the 3MF names object 1, which is not there"));
  EXPECT_THAT(refusal(packed(modelXml(cubeObject + cubeObject, item))),
              HasSubstr("has two objects with the id 1"));
}

TEST(ThreeMf, AVertexThatIsNotThereIsNamedWithItsTriangle) {
  EXPECT_THAT(
      refusal(packed(replaced(modelXml(cubeObject, item), "v2=\"34\"", "v2=\"36\""))),
      HasSubstr("has a triangle, number 11 (counted from 0) of object 1, that names vertex 36, "
                "but the object has 36 vertices, counted from 0"));
  for (const char* index : {"-1", "1.5", "", "99999999999999"}) {
    EXPECT_THAT(
        refusal(packed(replaced(modelXml(cubeObject, item), "v2=\"34\"",
                                std::string("v2=\"") + index + "\""))),
        HasSubstr("has no vertex for v2 of triangle 11 (counted from 0) of object 1: it is \""));
  }
  EXPECT_THAT(refusal(packed(replaced(modelXml(cubeObject, item), "v2=\"34\"", ""))),
              HasSubstr("it is missing"));
}

TEST(ThreeMf, CoordinatesThatAreNoFiniteNumbersAreNamedWithTheirVertex) {
  const std::string model = modelXml(objectXml(meshXml(moved(cube, 0.5f, 0, 0))), item);
  EXPECT_THAT(refusal(packed(replaced(model, "x=\"4.5\"", "x=\"4,5\""))),
              HasSubstr("the part \"3D/3dmodel.model\" of the 3MF has no number for x of vertex 2 "
                        "(counted from 0) of object 1: it is \"4,5\""));
  EXPECT_THAT(
      refusal(packed(replaced(model, "x=\"4.5\"", "x=\"NaN\""))),
      HasSubstr("has \"NaN\" for x of vertex 2 (counted from 0) of object 1, which is not"));
  EXPECT_THAT(refusal(packed(replaced(model, "x=\"4.5\"", ""))),
              HasSubstr("no number for x of vertex 2 (counted from 0) of object 1: it is missing"));
}

TEST(ThreeMf, TransformsThatMakeNoSenseAreNamed) {
  EXPECT_THAT(refusal(packed(modelXml(cubeObject, itemAt("1 0 0 0 1 0 0 0 1 0 0")))),
              HasSubstr("has a transform, of build item 1, that is not 12 numbers"));
  EXPECT_THAT(refusal(packed(modelXml(cubeObject, itemAt("1 0 0 0 1 0 0 0 1 0 0 0 1")))),
              HasSubstr("that is not 12 numbers"));
  EXPECT_THAT(refusal(packed(modelXml(cubeObject, itemAt("1 0 0 0 1 0 0 0 0 0 0 0")))),
              HasSubstr("has a transform, of build item 1, that leaves no volume"));
  EXPECT_THAT(refusal(packed(modelXml(cubeObject, itemAt("1 0 0 0 1 0 0 0 1 0 0 1e300")))),
              HasSubstr("beyond the range of coordinates"));
}

TEST(ThreeMf, NothingToPrintIsSaid) {
  EXPECT_THAT(refusal(packed(modelXml(cubeObject, ""))),
              HasSubstr("the 3MF has nothing to print: its build is empty"));
  EXPECT_THAT(refusal(packed(modelXml(cubeObject, "<item objectid=\"1\" printable=\"0\"/>"))),
              HasSubstr("the 3MF has no triangles to print"));
}

TEST(ThreeMf, AModelThatIsNoXmlOrNoModelIsNamed) {
  const std::string model = modelXml(cubeObject, item);
  EXPECT_THAT(
      refusal(packed(model.substr(0, model.size() / 2))),
      AllOf(HasSubstr("the part \"3D/3dmodel.model\" of the 3MF is not well-formed XML: line 2"),
            HasSubstr("unclosed token")));
  EXPECT_THAT(refusal(packed("<html/>")),
              HasSubstr("is no 3D model: its XML begins with \"html\""));
  EXPECT_THAT(refusal(packed("")), HasSubstr("is not well-formed XML"));
  EXPECT_THAT(refusal(packed("<!DOCTYPE m [<!ENTITY a \"aaaa\">]>" + model.substr(39))),
              HasSubstr("has a document type (DTD), which 3MF forbids"));
}

TEST(ThreeMf, AModelOfBlanksEndsSoonAndInLittleMemory) {
  const std::string blanks(mostBytesBetweenElements + (std::size_t{1} << 20), ' ');
  std::string archive = packed(replaced(modelXml(cubeObject, item), "<resources>", blanks));
  const FailingAllocation large(std::size_t{1} << 20);
  EXPECT_EQ(
      refusal(archive),
      "the part \"3D/3dmodel.model\" of the 3MF has more than 16,777,216 bytes without an XML "
      "element. The file is cut off or damaged; copy or export it again.");
}

TEST(ThreeMf, AnEndlessTagOrNestingIsRefused) {
  EXPECT_THAT(refusal(packed(modelXml("<object name=\"" + std::string(2 * longestTag, 'x'), item))),
              HasSubstr("has a tag of more than 1,048,576 bytes"));
  std::string nested;
  for (int i = 0; i < 1000; ++i) nested += "<a>";
  EXPECT_THAT(refusal(packed(modelXml(nested, item))),
              HasSubstr("has more than 100 elements inside each other"));
}

TEST(ThreeMf, PartsThatAreNotNeededAreNotUnpacked) {
  ZipEntry zeros("3D/zeros.bin", "garbage, not four gigabytes of zeros");
  zeros.unpackedSize = 0xfffffffe;
  zeros.method = 8;
  zeros.isDeflated = false;
  EXPECT_EQ(read(zipArchive({zeros, {"3D/3dmodel.model", modelXml(cubeObject, item)}})).positions,
            cube);
}

TEST(ThreeMf, AModelLargerThanTheLimitIsNotUnpacked) {
  ZipEntry first(
      "3D/3dmodel.model",
      modelXml("", "<item objectid=\"1\" p:path=\"/a\"/><item objectid=\"1\" p:path=\"/b\"/>"));
  ZipEntry second("a", modelXml(cubeObject, ""));
  second.unpackedSize = 0xfffffffe;
  EXPECT_THAT(refusal(zipArchive({first, second})),
              HasSubstr("the models of the 3MF unpack to more than 4,294,967,296 bytes"));
}

TEST(ThreeMf, PartsThatAreStoredAreRead) {
  ZipEntry stored("3D/3dmodel.model", modelXml(cubeObject, item));
  stored.isDeflated = false;
  EXPECT_EQ(read(zipArchive({stored})).positions, cube);
}

TEST(ThreeMf, AWrongChecksumIsRefused) {
  ZipEntry model("3D/3dmodel.model", modelXml(cubeObject, item));
  for (const bool isDeflated : {true, false}) {
    model.isDeflated = isDeflated;
    model.checksum = 0x12345678;
    EXPECT_EQ(refusal(zipArchive({model})),
              "the part \"3D/3dmodel.model\" of the 3MF archive is damaged: its checksum (CRC) is "
              "wrong. The file is cut off or damaged; copy or export it again.");
  }
}

TEST(ThreeMf, APartThatIsLongerOrShorterThanItsEntrySaysIsRefused) {
  for (const int difference : {-20, 20}) {
    ZipEntry model("3D/3dmodel.model", modelXml(cubeObject, item));
    model.unpackedSize = static_cast<std::int64_t>(model.content.size()) + difference;
    EXPECT_THAT(refusal(zipArchive({model})), testing::Not(IsEmpty()));
  }
}

TEST(ThreeMf, DamagedAndStrangePartsAreNamed) {
  ZipEntry encrypted("3D/3dmodel.model", modelXml(cubeObject, item));
  encrypted.flags = 1;
  EXPECT_THAT(refusal(zipArchive({encrypted})),
              HasSubstr("\"3D/3dmodel.model\" of the 3MF archive is "
                        "encrypted"));
  ZipEntry strange("3D/3dmodel.model", modelXml(cubeObject, item));
  strange.method = 93;
  EXPECT_THAT(refusal(zipArchive({strange})), HasSubstr("is packed by method 93"));
  ZipEntry garbage("3D/3dmodel.model", std::string(100, '\xff'));
  garbage.isDeflated = false;
  garbage.method = 8;
  EXPECT_THAT(refusal(zipArchive({garbage})), HasSubstr("is damaged: it can't be unpacked"));
  ZipEntry list = relationships("/3D/3dmodel.model");
  list.unpackedSize = 1 << 21;
  EXPECT_THAT(
      refusal(zipArchive({list})),
      HasSubstr("the list of relationships of the 3MF archive has more than 1,048,576 bytes"));
}

TEST(ThreeMf, AnArchiveThatIsCutOffOrNo3mfIsNamed) {
  const std::string archive = threeMf(cube);
  EXPECT_EQ(refusal(archive.substr(0, archive.size() - 60)),
            "the 3MF archive is cut off: the directory at its end is missing or damaged. Copy or "
            "export it again.");
  EXPECT_EQ(refusal(zipArchive({})), "the 3MF archive has no entries. Export it again.");
  EXPECT_THAT(refusal(zipArchive({{"readme.txt", "no model"}})),
              HasSubstr("the zip archive holds no 3D model \"3D/3dmodel.model\", so it is no 3MF"));
}

}  // namespace
}  // namespace stiltforge::mesh

// Object and image files as trees: roots, labels, types, summaries and detail lines.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <tuple>

#include "HalconCpp.h"
#include "HalconCreate.h"
#include "quovel_adapter_2411/quovel_adapter.h"
#include "support/failing.h"
#include "support/files.h"
#include "support/host.h"
#include "support/objects.h"
#include "support/values.h"

namespace {

using namespace test;

// What a node tells of its objects: type, class, whether it is an image, their number, the summary and the details.
std::string told(const qv_node* node) {
  std::string text = type(node) + " " + narrow(qv_node_object_class(node)) + " " +
                     std::to_string(qv_node_is_image(node)) + " " + std::to_string(qv_node_object_count(node)) + " | " +
                     summary(node);
  for (const std::string& line : details(node)) text += "; " + line;
  EXPECT_EQ(qv_node_detail_entry_count(node), details(node).size());
  return text;
}

using Row = std::tuple<const char*, HObject, const char*>;

TEST(ObjectFile, SingleObjectsReadAsTheyAre) {
  HObject empty_region;
  HalconCpp::GenEmptyRegion(&empty_region);
  const HObject gray = ramp(4, 3);
  const Row table[] = {
      {"gray", gray, "image image 1 1 | 4x3, 1ch, byte"},
      {"five channels", ramp(2, 2, 5, "real"), "image image 1 1 | 2x2, 5ch, real"},
      {"full domain", with_domain(gray, 0, 0, 2, 3), "image image 1 1 | 4x3, 1ch, byte"},
      {"domain", with_domain(gray, 1, 1, 1, 2), "image image 1 1 | 4x3, 1ch, byte, domain: area: 2; center: 1.0, 1.5"},
      {"empty domain", with_domain(gray, 7, 7, 8, 8), "image image 1 1 | 4x3, 1ch, byte, domain: area: 0"},
      {"region", rectangle(20, 30, 29, 41), "region region 0 1 | area: 120; center: 24.5, 35.5"},
      {"empty region", empty_region, "region region 0 1 | area: 0"},
      {"contour", contour({0, 0, 3}, {0, 4, 4}), "xld_cont xld_cont 0 1 | contour points: 3; length: 7.00"},
      {"polygon", polygon({0, 3, 3}, {0, 4, 6}), "xld_poly xld_poly 0 1 | points: 3; length: 7.00"},
      {"parallels", parallels(),
       "xld_parallel xld_parallel 0 1 | first line: points: 2; length: 10.00 / second line: points: 3; length: 4.00"},
  };
  const TempDir folder;
  const Reader reader;
  for (const auto& [name, object, expected] : table) {
    save(object, folder / "one.part.hobj");
    const qv_node* root = reader.objects(folder / "one.part.hobj");
    ASSERT_TRUE(root) << reader.error();
    EXPECT_EQ(dump(root).substr(0, dump(root).find('\n')), "0 0/0 '' <file> 1 object n=0 t=0  i=0 o=1 d=0");
    const qv_node* node = qv_node_child_at(root, 0);
    EXPECT_EQ(label(node), "one.part");
    EXPECT_EQ(qv_node_kind(node), static_cast<uint32_t>(QV_NODE_OBJECT));
    EXPECT_EQ(qv_node_path_segment_kind(node), static_cast<uint32_t>(QV_PATH_INDEX));
    EXPECT_EQ(told(node), expected) << name;
  }
}

// Tuples of several objects are entries of a dictionary.
TEST(ObjectFile, TuplesTellTheFirstAndListAll) {
  const HObject gray = ramp(4, 3), color = ramp(2, 5, 3), real = ramp(4, 3, 1, "real");
  const Row table[] = {
      {"none", empty_object(), "empty_obj empty_obj 0 0 | "},
      {"same images", concat({gray, gray}),
       "images[2] image 1 2 | 4x3, 1ch, byte; image: 4x3, 1ch, byte; image: 4x3, 1ch, byte"},
      {"images", concat({color, gray, real, color}),
       "images[4] image 1 4 | 2x5 (first), [1ch, 3ch], [byte, real]; image: 2x5, 3ch, byte; image: 4x3, 1ch, byte; "
       "image: 4x3, 1ch, real; image: 2x5, 3ch, byte"},
      {"first unlike", concat({ramp(4, 3, 3, "real"), gray}),
       "images[2] image 1 2 | 4x3, [1ch, 3ch], [byte, real]; image: 4x3, 3ch, real; image: 4x3, 1ch, byte"},
      {"heights", concat({gray, gray, ramp(4, 2)}),
       "images[3] image 1 3 | 4x3 (first), 1ch, byte; image: 4x3, 1ch, byte; image: 4x3, 1ch, byte; "
       "image: 4x2, 1ch, byte"},
      {"widths", concat({gray, ramp(5, 3), ramp(5, 3)}),
       "images[3] image 1 3 | 4x3 (first), 1ch, byte; image: 4x3, 1ch, byte; image: 5x3, 1ch, byte; "
       "image: 5x3, 1ch, byte"},
      {"first domain only", concat({with_domain(gray, 0, 0, 0, 0), gray}),
       "images[2] image 1 2 | 4x3, 1ch, byte, domain: area: 1; center: 0.0, 0.0; "
       "image: 4x3, 1ch, byte, domain: area: 1; center: 0.0, 0.0; image: 4x3, 1ch, byte"},
      {"regions", concat({rectangle(0, 0, 0, 1), rectangle(2, 2, 2, 2)}),
       "region[2] region 0 2 | area: 2; center: 0.0, 0.5 (first); region: area: 2; center: 0.0, 0.5; "
       "region: area: 1; center: 2.0, 2.0"},
      {"mixed", concat({rectangle(0, 0, 0, 0), gray}),
       "mixed[2] mixed 0 2 | area: 1; center: 0.0, 0.0 (first); region: area: 1; center: 0.0, 0.0; "
       "image: 4x3, 1ch, byte"},
      {"mixed, image first", concat({gray, contour({0, 1}, {0, 0})}),
       "mixed[2] mixed 1 2 | 4x3, 1ch, byte (first); image: 4x3, 1ch, byte; "
       "xld_cont: contour points: 2; length: 1.00"},
  };
  const HTuple dict = new_dict();
  for (const auto& [name, object, expected] : table) HalconCpp::SetDictObject(object, dict, name);
  const TempDir folder;
  save_dict(dict, folder / "tuples.hdict");
  const Reader reader;
  const qv_node* root = reader.dict(folder / "tuples.hdict");
  ASSERT_TRUE(root) << reader.error();
  for (const auto& [name, object, expected] : table) EXPECT_EQ(told(child(root, name)), expected) << name;
}

TEST(ObjectFile, DomainsThatHalconDoesNotTellAreLeftOut) {
  const TempDir folder;
  const Reader reader;
  save(with_domain(ramp(4, 3), 1, 1, 1, 2), folder / "d.hobj");
  for (const char* operation : {"GetDomain", "AreaCenter"}) {
    const Failing failing(operation);
    const qv_node* root = reader.objects(folder / "d.hobj");
    EXPECT_TRUE(failing.met);
    ASSERT_TRUE(root) << reader.error();
    EXPECT_EQ(summary(qv_node_child_at(root, 0)), "4x3, 1ch, byte");
    EXPECT_EQ(reader.error(), "");
  }
}

TEST(ObjectFile, RootsCountTheirObjects) {
  const TempDir folder;
  const Reader reader;
  save(empty_object(), folder / "none.HOBJ");
  EXPECT_EQ(summary(reader.objects(folder / "none.HOBJ")), "0 objects");
  save(concat({ramp(1, 1), rectangle(0, 0, 0, 0), ramp(1, 1)}), folder / "three.hobj");
  const qv_node* root = reader.objects(folder / "three.hobj");
  EXPECT_EQ(summary(root), "3 objects");
  EXPECT_EQ(label(qv_node_child_at(root, 2)), "Object 3");
  EXPECT_EQ(qv_node_path_index(qv_node_child_at(root, 2)), 2u);
}

TEST(ObjectFile, NamesOfAnyLanguageOpen) {
  const TempDir folder;
  const Reader reader;
  const std::string names[] = {
      "a b.pgm",      "Ümläut.pgm", "画像.pgm", "😀.pgm", ".pgm", "dir.old/photo", std::string(200, 'x') + ".pgm",
      "sub\\deep.pgm"};  // on Windows in a folder, elsewhere a name
  for (const std::string& name : names) {
    SCOPED_TRACE(name);
    const std::string file = folder / name;
    write(file, "P5 2 1 255\nab");
    const qv_node* root = reader.objects(file);
    ASSERT_TRUE(root) << reader.error();
    EXPECT_EQ(summary(qv_node_child_at(root, 0)), "2x1, 1ch, byte");
  }
  EXPECT_EQ(label(qv_node_child_at(reader.objects(folder / ".pgm"), 0)), "");
  EXPECT_EQ(label(qv_node_child_at(reader.objects(folder / "dir.old/photo"), 0)), "photo");
}

TEST(ObjectFile, BadFilesAreOneReadableLine) {
  const TempDir folder;
  const Reader reader;
  write(folder / "empty.png", "");
  write(folder / "foreign.hobj", "no such thing");
  write(folder / "cut.pgm", "P5 4 4 255\nabc");
  write(folder / "huge.pgm", "P5 2147483648 2147483648 255\nabc");
  write(folder / "folder.png/x", "");
  for (const char* name :
       {"missing.png", "missing.hobj", "empty.png", "foreign.hobj", "cut.pgm", "huge.pgm", "folder.png"}) {
    EXPECT_EQ(reader.objects(folder / name), nullptr) << name;
    EXPECT_NE(reader.error().find(name), std::string::npos) << reader.error();
    EXPECT_EQ(reader.error().find('\n'), std::string::npos);
    EXPECT_GT(reader.error().size(), std::string(name).size() + folder.path().size() + 10);
  }
}

}  // namespace

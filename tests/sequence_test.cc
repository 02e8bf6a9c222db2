// Sequence files: their format, the search for their files, and paths by Windows rules.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <tuple>
#include <utility>

#include "platform/path_text.h"
#include "quovel_adapter_2411/quovel_adapter.h"
#include "support/files.h"
#include "support/host.h"

#ifdef __linux__
#include <fcntl.h>
#include <sys/stat.h>

// Called in place of the C library's: counts how often the state of a file is asked for by name.
static int status_queries = 0;
extern "C" int stat(const char* path, struct stat* status) {
  ++status_queries;
  return fstatat(AT_FDCWD, path, status, 0);
}
#endif

namespace {

using test::Reader;
using test::TempDir;

std::string pgm(char pixel) { return std::string("P5 1 1 255\n") + pixel; }

// The first pixel of each image, or the error.
std::string opened(const Reader& reader, const std::string& path) {
  const qv_node* root = reader.objects(path);
  if (!root) return reader.error();
  std::string pixels;
  for (const qv_node* node : test::children(root)) {
    uint32_t width, height, stride, format;
    uint8_t* buffer = nullptr;
    if (!qv_extract_image(reader, node, 0, &width, &height, &stride, &format, &buffer)) return "no pixels";
    pixels += static_cast<char>(buffer[0]);
    qv_free_buffer(buffer);
  }
  return pixels;
}

TEST(Sequence, EntriesAreFoundInOrder) {
  const TempDir folder;
  const Reader reader;
  const std::pair<const char*, char> files[] = {{"above.pgm", 'A'},    {"both.pgm", 'u'},       {"s/both.pgm", 'd'},
                                                {"s/beside.pgm", 'B'}, {"s/two.pgm", '2'},      {"s/two.png", '1'},
                                                {"s/x.png.png", 'X'},  {"s/sub/deep.pgm", 'D'}, {"s/dir/file.pgm", '-'},
                                                {"s/dir.gif", 'G'},    {"s/Ärger 1.pgm", 'U'},  {"s/部品.pgm", 'J'}};
  for (const auto& [name, pixel] : files) test::write(folder / name, pgm(pixel));
  const std::pair<std::string, std::string> cases[] = {
      {"above\nbeside\n", "AB"},
      {"both", "u"},                               // the folder above comes first
      {"two", "1"},                                // png before pgm
      {"x.png", "X"},                              // extensions are appended
      {"dir", "G"},                                // a folder is not a file
      {"sub\\deep\r\nsub/deep.pgm", "DD"},         // both separators
      {"\n \t\r\n  beside \t\r\n\t above", "BA"},  // blanks and line ends
      {"beside\nbeside\nbeside", "BBB"},
      {folder / "s/beside.pgm", "B"},  // absolute
      {"Ärger 1\n部品.pgm", "UJ"},
      {"\xC4rger 1", "U"},  // no UTF-8: taken as Latin-1
      {"above\nnowhere\nbeside", "Sequence entry not found: nowhere"},
      {"# note", "Sequence entry not found: # note"},
      {"\xEF\xBB\xBF"
       "above",
       "Sequence entry not found: \xEF\xBB\xBF"
       "above"},
      {"dir/", "Sequence entry not found: dir/"},
      {"\vbeside", "Sequence entry not found: \vbeside"},  // spaces and tabs only are trimmed
      {"beside\f", "Sequence entry not found: beside\f"},
      {"\u00A0beside", "Sequence entry not found: \u00A0beside"},
      {"beside\r\r\n", "Sequence entry not found: beside\r"},
  };
  for (const auto& [content, expected] : cases) {
    test::write(folder / "s/list.Seq", content);
    EXPECT_EQ(opened(reader, folder / "s/list.Seq"), expected) << content;
  }
  test::write(folder / "s/list.seq", "both");
  EXPECT_EQ(test::label(qv_node_child_at(reader.objects(folder / "s/list.seq"), 0)), "list");
}

#ifdef __linux__
TEST(Sequence, RepeatedEntriesAreLookedForOnce) {
  const TempDir folder;
  const Reader reader;
  test::write(folder / "s/only.xwd", pgm('x'));
  const auto queries = [&](int lines) {
    std::string list;
    for (int i = 0; i < lines; ++i) list += "only\n";
    test::write(folder / "s/list.seq", list);
    const int before = status_queries;
    EXPECT_EQ(opened(reader, folder / "s/list.seq"), std::string(static_cast<std::size_t>(lines), 'x'));
    return status_queries - before;
  };
  const int once = queries(1);
  EXPECT_GT(once, 21 + 18);  // all names in the folder above, most in the folder of the list
  EXPECT_EQ(queries(1000), once);
}
#endif

TEST(Sequence, ExtensionsAreTriedInTheirOrder) {
  const TempDir folder;
  const Reader reader;
  const char* const extensions[] = {"png", "tif", "tiff", "jpg", "jpeg", "bmp", "jp2", "jxr", "wdp", "wmp",
                                    "hdp", "pcx", "ras",  "pgm", "ppm",  "pbm", "pnm", "xwd", "gif", "ima"};
  const auto file = [&](std::size_t i) { return folder / (std::string("s/e.") + extensions[i]); };
  for (std::size_t i = 0; i < std::size(extensions); ++i) test::write(file(i), pgm(static_cast<char>('a' + i)));
  test::write(folder / "s/list.seq", "e");
  for (std::size_t i = 0; i < std::size(extensions); ++i) {
    EXPECT_EQ(opened(reader, folder / "s/list.seq"), std::string(1, static_cast<char>('a' + i))) << extensions[i];
    std::filesystem::remove(test::native(file(i)));
  }
  EXPECT_EQ(opened(reader, folder / "s/list.seq"), "Sequence entry not found: e");
}

#ifndef _WIN32
// There '\\' is a character of names, except in the entries of a sequence file.
TEST(Sequence, NamesWithBackslashesAreLiteral) {
  const TempDir folder;
  const Reader reader;
  test::write(folder / "a/b.pgm", pgm('1'));
  test::write(folder / "a\\b.pgm", pgm('2'));
  test::write(folder / "x\\y/beside.pgm", pgm('3'));
  test::write(folder / "x\\y/li\\st.seq", "a\\b\nbeside");
  test::write(folder / "x/beside.pgm", pgm('-'));
  test::write(folder / "x/a\\b.pgm", pgm('-'));
  EXPECT_EQ(opened(reader, folder / "a\\b.pgm"), "2");
  EXPECT_EQ(opened(reader, folder / "x\\y/li\\st.seq"), "13");
  const qv_node* image = qv_node_child_at(reader.objects(folder / "a/b.pgm"), 0);
  EXPECT_TRUE(reader.save(image, folder / "x\\beside.pgm")) << reader.error();
  EXPECT_EQ(opened(reader, folder / "x\\beside.pgm"), "1");
  EXPECT_EQ(opened(reader, folder / "x/beside.pgm"), "-");
}
#endif

TEST(Sequence, LongPathsOpen) {
  const TempDir folder;
  const Reader reader;
  std::string deep = folder.path(), separator = "/";
#ifdef _WIN32
  deep = "\\\\?\\" + deep;  // the form of path that may be long there
  separator = "\\";
  std::replace(deep.begin(), deep.end(), '/', '\\');
#endif
  for (int i = 0; i < 3; ++i) {
    deep += separator + std::string(100, 'd');
    ASSERT_TRUE(std::filesystem::create_directory(test::native(deep)));
  }
  const std::string image = deep + separator + "x.pgm", list = deep + separator + "list.seq";
  std::ofstream(test::native(image), std::ios::binary) << pgm('L');
  std::ofstream(test::native(list)) << "x\n" << image;
  EXPECT_EQ(opened(reader, image), "L");
  EXPECT_EQ(opened(reader, list), "LL");
}

TEST(Sequence, NothingToReadIsSaid) {
  const TempDir folder;
  const Reader reader;
  test::write(folder / "blank.seq", " \t\r\n\n");
  test::write(folder / "dir.seq/x", "");
  for (const char* name : {"missing.seq", "blank.seq", "dir.seq"})
    EXPECT_EQ(opened(reader, folder / name), "Sequence file is empty or could not be read: " + (folder / name));
  test::write(folder / "self.seq", "self.seq");
  EXPECT_EQ(reader.objects(folder / "self.seq"), nullptr);
  EXPECT_NE(reader.error().find("self.seq"), std::string::npos);
}

// The rows are written for Windows, where they are used as they are. Elsewhere every backslash becomes '/', in what is
// given and in what is expected.
TEST(PathText, FollowsWindowsRules) {
  using namespace quovel;
  const auto local = [](const char16_t* path) { return from_windows_path(path); };
  const std::pair<const char16_t*, const char16_t*> parents[] = {{u"E:/data/seq/list.seq", u"E:/data/seq"},
                                                                 {u"E:/data/seq", u"E:/data"},
                                                                 {u"E:/list.seq", u"E:/"},
                                                                 {u"E:/", u"E:/"},
                                                                 {u"E:list.seq", u"E:"},
                                                                 {u"list.seq", u""},
                                                                 {u"", u""},
                                                                 {u"a\\b//c", u"a\\b"},
                                                                 {u"/x", u"/"},
                                                                 {u"\\\\srv\\share\\x", u"\\\\srv\\share"},
                                                                 {u"\\\\srv\\x", u"\\\\srv\\"},
                                                                 {u"\\\\?\\C:\\x", u"\\\\?\\C:"}};
  for (const auto& [path, parent] : parents)
    EXPECT_EQ(parent_path(local(path)), local(parent)) << test::narrow(reinterpret_cast<const qv_char*>(path));
  const std::tuple<const char16_t*, const char16_t*, const char16_t*> joins[] = {
      {u"E:/data", u"img01.png", u"E:/data\\img01.png"},
      {u"", u"img01.png", u"img01.png"},
      {u"E:/d/", u"sub/img", u"E:/d/sub/img"},
      {u"E:/d", u"D:/img/a.png", u"D:/img/a.png"},
      {u"E:/d", u"D:a.png", u"D:a.png"},
      {u"E:/d", u"e:a.png", u"e:a.png"},
      {u"E:/d", u"E:a.png", u"E:/d\\a.png"},
      {u"E:/d", u"/img/a", u"E:/img/a"},
      {u"/d", u"\\a", u"\\a"},
      {u"E:", u"a", u"E:a"},
      {u"\\\\srv", u"a", u"\\\\srv\\a"},
      {u"\\\\srv\\s", u"\\a", u"\\\\srv\\a"},
      {u"d", u"\\\\srv\\s\\a", u"\\\\srv\\s\\a"}};
  for (const auto& [directory, entry, joined] : joins)
    EXPECT_EQ(join_path(local(directory), local(entry)), local(joined));
  const std::tuple<const char16_t*, const char16_t*, const char16_t*> names[] = {
      {u"E:/img/part.a.PNG", u"png", u"part.a"},
      {u"E:/scans.old/photo", u"old/photo", u"photo"},
      {u".hobj", u"hobj", u""},
      {u"plain", u"", u"plain"},
      {u"a\\b.", u"", u"b"}};
  for (const auto& [path, extension, stem] : names) {
    EXPECT_EQ(file_extension(path), extension);
    EXPECT_EQ(file_stem(path), stem);
  }
}

}  // namespace

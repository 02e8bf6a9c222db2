// The container format: what goes in comes out to the last bit, and no file that is not whole is taken for one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <climits>
#include <limits>
#include <random>

#include "support/files.h"
#include "support/objects.h"
#include "support/small_stack.h"

namespace {

using namespace HalconCpp;
using namespace test;
using testing::HasSubstr;

// The message of the failure; empty when there was none.
template <class Body>
std::string failure(Body body) {
  try {
    body();
    return {};
  } catch (const HException& exception) {
    return exception.ErrorMessage().Text();
  }
}

// A value as text: two of the same text are equal to the last bit. What it holds is listed and follows it.
class Description {
 public:
  explicit Description(const HObject& objects) { add_objects(objects); }
  explicit Description(const HTuple& tuple) : tuples_{tuple} {}

  std::string text() {
    for (std::size_t i = 0; i < tuples_.size(); ++i) add_elements(HTuple(tuples_[i]));
    return text_;
  }

 private:
  void add_elements(const HTuple& tuple) {
    const HTuple types = tuple.TupleSemTypeElem();
    text_ += "\n";
    for (Hlong i = 0; i < tuple.Length(); ++i) {
      const std::string type = types[i].S().Text();
      text_ += type + " ";
      if (type == "integer") text_ += std::to_string(tuple[i].L());
      if (type == "real") text_ += std::to_string(std::bit_cast<std::uint64_t>(tuple[i].D()));
      if (type == "string") text_ += tuple[i].S().Text();
      if (type == "matrix") add_matrix(tuple[i].H());
      if (type == "dict" || type == "object_model_3d" || type == "dl_model") add_entries(tuple[i].H());
    }
  }
  void add_matrix(const HHandle& matrix) {
    HTuple rows, columns, values;
    GetSizeMatrix(matrix, &rows, &columns);
    GetFullMatrix(matrix, &values);
    tuples_.insert(tuples_.end(), {rows, columns, values});
  }
  void add_entries(const HHandle& handle) {
    HTuple keys, kind, value;
    GetHandleParam(handle, "keys", HTuple(), &keys);
    tuples_.push_back(keys);
    for (Hlong i = 0; i < keys.Length(); ++i) {
      HObject object;
      GetHandleParam(handle, "key_data_type", keys[i], &kind);
      if (kind[0].S().Text() == std::string("object")) {
        GetHandleObject(&object, handle, keys[i]);
        add_objects(object);
      } else {
        GetHandleTuple(handle, keys[i], &value);
        tuples_.push_back(value);
      }
    }
  }
  void add_objects(const HObject& objects) {
    HTuple names, t1, t2, t3, t4, t5, t6, t7, t8;
    GetObjClass(objects, &names);
    tuples_.push_back(names);
    for (Hlong i = 0; i < names.Length(); ++i) {
      HObject object;
      SelectObj(objects, &object, i + 1);
      const std::string name = names[i].S().Text();
      if (name == "image") add_image(object);
      if (name == "region") GetRegionRuns(object, &t1, &t2, &t3);
      if (name == "xld_cont") GetContourXld(object, &t1, &t2);
      if (name == "xld_poly") GetPolygonXld(object, &t1, &t2, &t3, &t4);
      if (name == "xld_parallel") GetParallelsXld(object, &t1, &t2, &t3, &t4, &t5, &t6, &t7, &t8);
      tuples_.insert(tuples_.end(), {t1, t2, t3, t4, t5, t6, t7, t8});
    }
  }
  void add_image(const HImage& image) {
    HString type;
    Hlong width, height, pitch, step, bits;
    for (Hlong channel = 1; channel <= image.CountChannels()[0].L(); ++channel) {
      HObject plane;
      AccessChannel(image, &plane, channel);
      HImage(plane).GetImagePointer1(&type, &width, &height);
      const void* pixels = HImage(plane).GetImagePointer1Rect(&width, &height, &pitch, &step, &bits);
      text_ += std::string(type.Text()) + std::to_string(width) + "x" + std::to_string(height);
      text_.append(static_cast<const char*>(pixels), static_cast<std::size_t>(pitch * height));
    }
    HTuple row, begin, end;
    GetRegionRuns(image.GetDomain(), &row, &begin, &end);
    tuples_.insert(tuples_.end(), {row, begin, end});
  }

  std::string text_;
  std::vector<HTuple> tuples_;
};

template <class Value>
std::string text_of(const Value& value) {
  return Description(value).text();
}

HTuple new_dict(std::initializer_list<std::pair<HTuple, HTuple>> entries = {}) {
  HTuple dict;
  CreateDict(&dict);
  for (const auto& [key, value] : entries) SetDictTuple(dict, key, value);
  return dict;
}

HTuple read_dict(const std::string& path) {
  HDict dict;
  dict.ReadDict(path.c_str(), HTuple(), HTuple());
  return static_cast<const HHandle&>(dict);
}

HObject read_objects(const std::string& path) {
  HObject object;
  ReadObject(&object, path.c_str());
  return object;
}

const double nan_with_payload = std::bit_cast<double>(0x7FF4000000ABCDEFu);

HTuple odd_reals() { return tuple({0.1, -0.0, 5e-324, -std::numeric_limits<double>::infinity(), nan_with_payload}); }

HObject every_kind_of_object() {
  HObject odd_pixels, odd_points, no_region, region;
  const std::uint32_t pixels[] = {0x7FA00001, 0x80000000, 0x00000001, 0xFF800000};
  GenImage1(&odd_pixels, "real", 2, 2, pixels);
  GenContourPolygonXld(&odd_points, odd_reals(), odd_reals());
  GenEmptyRegion(&no_region);
  GenRegionRuns(&region, tuple({INT_MIN, 0, 0, INT_MAX}), tuple({INT_MIN, 3, 9, 5}), tuple({INT_MAX, 6, 12, 5}));
  HObject all = concat({odd_pixels, odd_points, no_region, parallels(), polygon({1, 2.5}, {3, 4}), contour({7}, {8}),
                        region, with_domain(ramp(5, 4, 3), 1, 1, 2, 3), with_domain(ramp(3, 3), 7, 7, 9, 9)});
  for (const char* type : {"byte", "int1", "int2", "uint2", "int4", "int8", "real"})
    for (const int channels : {1, 2, 5}) all = concat({all, ramp(7, 3, channels, type)});
  return concat({all, ramp(700, 500, 2)});
}

HTuple numbers(Hlong count) {
  HTuple result;
  for (Hlong i = 0; i < count; ++i) result.Append(i * 0x123456789);
  return result;
}

HTuple every_kind_of_value() {
  HTuple matrix, no_matrix, points, sphere, model, texts, row, begin, end;
  CreateMatrix(2, 3, tuple({1.5, 2.5, 3.5, 4.5, 5.5, nan_with_payload}), &matrix);
  CreateMatrix(0, 5, 1.0, &no_matrix);
  GenObjectModel3dFromPoints(odd_reals(), odd_reals(), odd_reals(), &points);
  GenSphereObjectModel3d(1, 2, 3, 0.5, &sphere);
  CreateDlModel(new_dict({{"layers", tuple({"conv", "pool"})}, {"inner", new_dict({{1, new_dict()}})}}), &model);
  for (int i = 0; i < 9000; ++i) texts.Append(std::string(static_cast<std::size_t>(i % 40), 'x').c_str());
  GetRegionRuns(rectangle(4, 1, 6, 7), &row, &begin, &end);
  HTuple dict = new_dict({{"", HTuple()},
                          {"integer", Hlong{-5}},
                          {"real", nan_with_payload},
                          {"text", "\u00e4 \U0001F600"},
                          {"no text", ""},
                          {"reals", odd_reals()},
                          {"32 bits", row},
                          {"equal", texts.TupleIsIntElem()},
                          {"equal texts", row.TupleSemTypeElem()},
                          {"texts", texts},
                          {"mixed", tuple({1, 2.5, "three", new_dict({{4, 5}}), matrix, HTuple(HHandle())})},
                          {"handles", tuple({new_dict({{1.5, 2}}), points, new_dict(), sphere})},
                          {"matrix", matrix},
                          {"no matrix", no_matrix},
                          {"points", points},
                          {"model", model},
                          {7, new_dict({{"down", new_dict({{"deeper", tuple({new_dict(), new_dict()})}})}})},
                          {7.0, "another key"}});
  // Below, at and above the size of the buffers that files go through.
  for (const Hlong count : {2, 8190, 8191, 8192, 8193, 17000}) SetDictTuple(dict, count, numbers(count));
  SetDictObject(every_kind_of_object(), dict, "objects");
  SetDictObject(empty_object(), dict, "no objects");
  return dict;
}

TEST(Container, HoldsEveryKindOfValue) {
  const TempDir folder;
  for (const char* name : {"objects.hobj", "other.extension", "none"}) {
    save(every_kind_of_object(), folder / name);
    EXPECT_EQ(text_of(read_objects(folder / name)), text_of(every_kind_of_object()));
    save(empty_object(), folder / name);
    EXPECT_EQ(text_of(read_objects(folder / name)), text_of(empty_object()));
  }
  save_dict(every_kind_of_value(), folder / "all.hdict");
  EXPECT_EQ(text_of(read_dict(folder / "all.hdict")), text_of(every_kind_of_value()));
}

TEST(Container, HoldsModels) {
  const TempDir folder;
  HTuple model, read, status;
  write(folder / "mesh.off", "OFF\n4 2 0\n0 0 0\n1 0 0\n1 1 0\n0 1 0.5\n4 0 1 2 3\n3 0 1 2\n");
  ReadObjectModel3d((folder / "mesh.off").c_str(), "m", HTuple(), HTuple(), &model, &status);
  WriteObjectModel3d(model, (folder / "mesh.om3").c_str());
  ReadObjectModel3d((folder / "mesh.om3").c_str(), "m", HTuple(), HTuple(), &read, &status);
  EXPECT_EQ(text_of(read), text_of(model));
  CreateDlModel(new_dict({{"type", "classification"}, {"inputs", tuple({new_dict(), new_dict({{"n", 1}})})}}), &model);
  WriteDlModel(model, (folder / "model.hdl").c_str());
  HDlModel opened;
  opened.ReadDlModel((folder / "model.hdl").c_str());
  EXPECT_EQ(text_of(HTuple(static_cast<const HHandle&>(opened))), text_of(model));
}

HTuple chain(int length) {
  HTuple dict = new_dict();
  for (int i = 1; i < length; ++i) dict = new_dict({{"in", i % 2 ? dict : tuple({1, dict})}});
  return dict;
}

// A container that somebody else made; its checksum is never right.
struct File {
  std::string bytes = "QVHALCON\1";
  File& tags(std::initializer_list<int> values) {
    for (const int value : values) bytes += static_cast<char>(value);
    return *this;
  }
  template <class T>
  File& put(std::initializer_list<T> values) {
    for (const T value : values) bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
    return *this;
  }
  File& counts(std::initializer_list<std::uint64_t> values) { return put(values); }
  void write_to(const std::string& path) const { write(path, bytes + "checksum"); }
};

TEST(Container, NestsAsDeepAsTheLimitAndNoDeeper) {
  const TempDir folder;
  on_small_stack([&] {
    save_dict(chain(1024), folder / "deep");
    HTuple dict = read_dict(folder / "deep"), inner;
    int levels = 1;
    for (; HDict(dict[0].H()).GetDictParam("keys", HTuple()).Length() == 1; ++levels) {
      GetHandleTuple(dict, "in", &inner);
      dict = inner[inner.Length() - 1];
    }
    EXPECT_EQ(levels, 1024);
    EXPECT_THAT(failure([&] { save_dict(chain(1025), folder / "deeper"); }), HasSubstr("1024 levels"));
    File file;  // 1025 dictionaries with the key 0: each is the value in the one after it
    file.tags({1}).counts({1025});
    for (std::uint64_t i = 0; i < 1025; ++i) file.tags({1, 1}).counts({0}).tags({4}).counts({i});
    file.write_to(folder / "deeper");
    EXPECT_THAT(failure([&] { read_dict(folder / "deeper"); }), HasSubstr("1024 levels"));
  });
}

TEST(Container, ReadsATreeWhateverWasShared) {
  const TempDir folder;
  const HTuple shared = new_dict({{"n", 1}});
  save_dict(new_dict({{"both", tuple({shared, shared})}}), folder / "dict");
  const HTuple both = HDict(read_dict(folder / "dict")[0].H()).GetDictTuple("both");
  SetDictTuple(both[0], "n", 2);
  EXPECT_EQ(text_of(both[1]), text_of(shared));

  HTuple doubling = new_dict();
  for (int i = 0; i < 60; ++i) doubling = new_dict({{"both", tuple({doubling, doubling})}});
  EXPECT_THAT(failure([&] { save_dict(doubling, folder / "large"); }), HasSubstr("1048576 times"));
  const HTuple own = new_dict();
  SetDictTuple(own, "self", own);
  EXPECT_THAT(failure([&] { save_dict(own, folder / "large"); }), HasSubstr("key 'self': nested"));
  SetDictTuple(own, "self", 0);  // or it would hold itself for ever
  EXPECT_FALSE(std::filesystem::exists(native(folder / "large")));
}

TEST(Container, RefusesEveryCutAndEveryChange) {
  const TempDir folder;
  const HTuple dict = new_dict({{"n", tuple({1, "two", 3.5})}, {2, tuple({"a", "bc"})}, {"d", new_dict({{1, 1.5}})}});
  SetDictObject(concat({with_domain(ramp(3, 2), 0, 0, 1, 1), parallels(), rectangle(1, 2, 3, 4)}), dict, "o");
  save_dict(dict, folder / "whole");
  const std::string whole = read(folder / "whole");
  const auto is_refused = [&](const std::string& bytes) {
    std::filesystem::remove(native(folder / "bad"));  // writing over a file may wait for the disk
    write(folder / "bad", bytes);
    const std::string message = failure([&] { read_dict(folder / "bad"); });
    return message.starts_with("ReadDict: '" + folder / "bad" + "': ") && message.find('\n') == std::string::npos;
  };
  EXPECT_FALSE(is_refused(whole));
  EXPECT_TRUE(is_refused(whole + "x"));
  for (std::size_t length = 0; length < whole.size(); ++length) EXPECT_TRUE(is_refused(whole.substr(0, length)));
  for (std::size_t at = 0; at < whole.size(); ++at)
    for (const int change : {1, 3, 0x80}) {
      std::string changed = whole;
      changed[at] = static_cast<char>(changed[at] ^ change);
      EXPECT_TRUE(is_refused(changed)) << at << " ^ " << change;
    }
  std::mt19937 random(7);
  for (int i = 0; i < 1000; ++i) {
    std::string changed = whole;
    for (int k = 0; k < 3; ++k) changed[random() % whole.size()] = static_cast<char>(random());
    EXPECT_TRUE(changed == whole || is_refused(changed)) << i;
  }
}

TEST(Container, RefusesContentThatCannotBe) {
  const auto object = [](int object_class) { return File().tags({0}).counts({1}).tags({object_class}); };
  const auto dict = [] { return File().tags({1}).counts({1}).tags({1}); };
  const auto value = [] { return File().tags({1}).counts({1}).tags({1, 1}).counts({0}); };
  const auto two_dicts = [] { return File().tags({1}).counts({2}).tags({1, 0, 1}); };
  const auto matrix = [] { return File().tags({1}).counts({2}).tags({2}); };
  const auto model = [] { return File().tags({1}).counts({2}).tags({3}); };
  constexpr std::uint64_t huge = std::uint64_t{1} << 63;
  const struct {
    File file;
    const char* reason;
  } cases[] = {
      {File().tags({1}).counts({huge}), "claims 9223372036854775808 elements"},
      {File().tags({1}).counts({0}), "that nothing refers to"},
      {File().tags({1}).counts({1}).tags({2}).counts({0, 0}).tags({0}), "another type"},
      {File().tags({4}).counts({1}), "\"dl_model\", not a handle of type \"dict\""},
      {dict().tags({8}).counts({huge}), "claims 9223372036854775808 elements"},
      {dict().tags({5}).counts({2, 6, 6}).tags({0, 0}), "a key twice"},
      {dict().tags({5}).counts({2, 6, 7}).tags({0}), "more keys than values"},
      {dict().tags({9}).counts({1}).tags({4}).counts({0}).tags({0}), "a key is one"},
      {value().tags({4}).counts({1}), "a part that is not there"},
      {value().tags({5}).counts({huge}), "claims 9223372036854775808 elements"},
      {value().tags({7}).counts({huge / 4}), "claims 2305843009213693952 elements"},
      {value().tags({8}).counts({1, 1}).put<int>({2}).tags({'x'}), "longer than all texts"},
      {value().tags({99}), "unknown type 99"},
      {two_dicts().tags({0}), "that nothing refers to"},
      {two_dicts().tags({1}).counts({0}).tags({9}).counts({2}).tags({4}).counts({1}).tags({4}).counts({1}),
       "a part that is not there"},
      {matrix().counts({2, 2}).tags({2}).put({1.0}), "values of a matrix"},
      {matrix().counts({huge / 2, huge / 2}).tags({0}), "values of a matrix"},
      {matrix().counts({1, 1}).tags({1}).counts({1}), "values of a matrix"},
      {model().counts({0}).tags({2}).put({1.0}).tags({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}), "columns of a 3D model"},
      {model().counts({1}).tags({0, 0, 0, 0, 0, 0, 0, 0, 0, 1}).counts({0}).tags({0, 0}), "a 3D model has 0 where"},
      {object(9).counts({0}), "unknown class"},
      {object(2).counts({huge}), "claims 9223372036854775808 elements"},
      {object(1).counts({2}).put({5, 4, 0, 0, 1, 1}), "out of order"},
      {object(1).counts({2}).put({5, 5, 0, 1, 1, 2}), "out of order"},
      {object(1).counts({1}).put({5, 1, 0}), "out of order"},
      {object(0).tags({0}).put({INT_MIN, INT_MIN, 1}), "2147483648 x 2147483648 pixels"},
      {object(0).tags({0}).put({1 << 12, 1 << 12, 1}).tags({0}), "is cut short"},
      {object(0).tags({7}).put({1, 1, 1}).tags({0, 0}), "unknown pixel type"},
      {object(0).tags({0}).put({2, 2, 1}).tags({1}).counts({1}).put({1, 1, 2, 0}), "reaches outside"},
  };
  const TempDir folder;
  for (const auto& [file, reason] : cases) {
    file.write_to(folder / "bad");
    EXPECT_THAT(failure([&] { read_objects(folder / "bad"); }) + failure([&] { read_dict(folder / "bad"); }),
                HasSubstr(reason));
  }
}

TEST(Container, SaysWhatAForeignFileIs) {
  const TempDir folder;
  const struct {
    const char* name;
    const char* content;
    const char* reason;
  } cases[] = {{"empty.hobj", "", "the file is empty"},
               {"other.hobj", "no such thing", "an installed HALCON"},
               {"short.HOBJ", "x", "an installed HALCON"},
               {"other.bin", "no such thing", "of no format that is read"},
               {"new.hobj", "QVHALCON\7\1 and more", "container of version 7"},
               {"dict.hobj", "QVHALCON\1\1 and more", "\"dict\", not iconic objects"}};
  for (const auto& each : cases) {
    write(folder / each.name, each.content);
    EXPECT_THAT(failure([&] { read_objects(folder / each.name); }), HasSubstr(each.reason)) << each.name;
  }
  EXPECT_THAT(failure([&] { read_objects(folder / "none.hobj"); }), HasSubstr("no such file"));
  EXPECT_THAT(failure([&] { save(HObject(), folder / "unset"); }), HasSubstr("not set"));
  EXPECT_FALSE(std::filesystem::exists(native(folder / "unset")));
}

}  // namespace

// The page is page/page.html with one JSON object in it: the nodes in the order of the tree, each with its drawings.
// The script of the page does the rest.
#include "html_page.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

#include "drawing.h"
#include "exact_values.h"
#include "files.h"
#include "image_info.h"
#include "page_image.h"
#include "place.h"
#include "quovel_adapter_2411/quovel_adapter.h"
#include "stored_image.h"
#include "walk.h"

namespace host {

// page/page.html with its parts, embedded by the build.
extern const unsigned char page_template[];
extern const std::size_t page_template_size;

namespace {

// Limits of one page, so that a browser on a phone can open it.
constexpr std::int64_t max_nodes = 100'000;
constexpr std::int64_t max_drawings = 5'000;
constexpr std::int64_t max_numbers = 4'000'000;               // of points and runs
constexpr std::uint64_t max_pixels = 32'000'000;              // of all images
constexpr std::uint64_t max_picture_pixels = 4'000'000;       // of one image
constexpr std::uint64_t max_folder_picture_pixels = 250'000;  // of one image among several files
constexpr std::uint64_t max_image_bytes = 96u << 20;          // of the values of all images
constexpr std::size_t max_text = 48u << 20;                   // bytes of all texts
constexpr std::size_t max_value_text = 8u << 20;              // of the values of one node
constexpr std::size_t max_line_text = 4096;                   // of one label, summary or detail line
constexpr std::int32_t max_detail_lines = 2'000;              // of one node

std::string base64(std::string_view bytes) {
  static constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const auto byte = [&](std::size_t at) -> std::uint32_t {
      return at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0;
    };
    const std::uint32_t three = byte(i) << 16 | byte(i + 1) << 8 | byte(i + 2);
    for (const int shift : {18, 12, 6, 0}) text += digits[three >> shift & 63];
  }
  const std::size_t missing = (3 - bytes.size() % 3) % 3;
  return text.replace(text.size() - missing, missing, missing, '=');
}

// The first characters, at most `limit` bytes.
std::string whole_characters(std::string text, std::size_t limit) {
  if (text.size() <= limit) return text;
  while (limit > 0 && (text[limit] & 0xC0) == 0x80) --limit;
  text.resize(limit);
  return text;
}

// Images are shown smaller when there are many, rather than some of them not at all.
std::uint64_t pixels_per_image(const qv_node* root) {
  std::uint64_t images = 0;
  walk(root, [&](const std::vector<Step>& steps) {
    const qv_node* const node = steps.back().node;
    if (qv_node_kind(node) == QV_NODE_OBJECT && qv_node_is_image(node)) images += qv_node_object_count(node);
    return true;
  });
  return std::min(max_picture_pixels, max_pixels / std::max<std::uint64_t>(images, 1) + 1);
}

std::string_view whole_template() { return {reinterpret_cast<const char*>(page_template), page_template_size}; }

class PageData {
 public:
  PageData(const std::string& title, bool several) : several_(several), writer_(json_) {
    writer_.StartObject();
    member("title", title);
    member("halcon", to_utf8(qv_adapter_halcon_version()));
    key("nodes");
    writer_.StartArray();
    if (several_) write_folder(title);
  }

  void add(const Session& session, const qv_node* root, ExactValues& exact) {
    session_ = &session;
    exact_ = &exact;
    place_ = Place();
    picture_pixels_ = several_ ? max_folder_picture_pixels : pixels_per_image(root);
    has_network_ = has_network_ || to_utf8(qv_node_type_label(root)) == "dl_model";
    write_nodes(root, file_name(session.path()));
  }

  void add_error(const std::string& path, const std::string& error) {
    if (written_ == max_nodes) return leave_out("nodes: the page shows 100000");
    ++written_;
    writer_.StartObject();
    write_texts(0, file_name(path), "value", "<error>", error);
    member("segment", file_name(path));
    key("child_count");
    writer_.Int(0);
    writer_.EndObject();
  }

  void finish() {
    writer_.EndArray();
    key("left_out");
    writer_.StartArray();
    for (const auto& [what, count] : left_out_) string(std::to_string(count) + " " + what);
    writer_.EndArray();
    writer_.EndObject();
  }

  bool has_network() const { return has_network_; }
  std::string_view json() const { return {json_.GetString(), json_.GetSize()}; }

 private:
  void key(const char* name) { writer_.Key(name); }
  void string(std::string_view text) { writer_.String(text.data(), static_cast<rapidjson::SizeType>(text.size())); }
  void member(const char* name, std::string_view text) {
    key(name);
    string(text);
  }
  void boolean(const char* name, bool value) {
    key(name);
    writer_.Bool(value);
  }
  void leave_out(const char* what) { ++left_out_[what]; }

  // As much of the text as fits, cut between two characters.
  std::string fitting(std::string all, std::size_t limit, const char* cut_what) {
    const std::size_t size = all.size();
    all = whole_characters(std::move(all), std::min(limit, text_left_));
    text_left_ -= all.size();
    if (all.size() < size) {
      all += "…";
      leave_out(cut_what);
    }
    return all;
  }
  std::string line(const qv_char* text) { return fitting(to_utf8(text), max_line_text, "labels or lines end early"); }

  void write_info() {
    const ImageInfo info = image_info(session_->path());
    if (info.empty()) return;
    key("info");
    writer_.StartArray();
    for (const auto& [name, value] : info) {
      writer_.StartArray();
      string(name);
      string(fitting(value, max_line_text, "labels or lines end early"));
      writer_.EndArray();
    }
    writer_.EndArray();
  }

  void write_texts(std::int64_t parent, std::string_view label, std::string_view kind, std::string_view type,
                   std::string_view summary) {
    key("parent");
    writer_.Int64(parent);
    member("label", label);
    member("kind", kind);
    member("type", type);
    member("summary", summary);
  }

  void write_folder(const std::string& title) {
    ++written_;
    writer_.StartObject();
    write_texts(-1, title, "dict", "files", "");
    boolean("folder", true);
    key("child_count");
    writer_.Int(0);
    writer_.EndObject();
  }

  // The root of a file is the first node of the page, or a child of it named as the file.
  void write_nodes(const qv_node* root, const std::string& name) {
    std::vector<std::int64_t> numbers;  // of the nodes from the root to the current one
    walk(root, [&](const std::vector<Step>& steps) {
      if (written_ == max_nodes) {
        leave_out("nodes: the page shows 100000");
        return true;
      }
      numbers.resize(steps.size() - 1);
      const std::string place(place_.of(steps));
      const bool is_root = numbers.empty();
      write_node(steps.back().node, is_root ? (several_ ? 0 : -1) : numbers.back(), place, is_root ? name : "");
      numbers.push_back(written_++);
      return true;
    });
  }

  // `name` is that of the file for its root, and otherwise empty.
  void write_node(const qv_node* node, std::int64_t parent, const std::string& place, const std::string& name) {
    writer_.StartObject();
    write_texts(parent, name.empty() ? line(qv_node_label(node)) : name, kind_name(node),
                line(qv_node_type_label(node)), line(qv_node_value_summary(node)));
    if (parent >= 0) member("segment", name.empty() ? whole_characters(place_segment(node), max_line_text) : name);
    if (!name.empty()) write_info();
    key("child_count");
    writer_.Int64(qv_node_child_count(node));
    if (qv_node_kind(node) == QV_NODE_VALUE) write_values(node, place);
    if (qv_node_kind(node) == QV_NODE_OBJECT) write_object(node);
    writer_.EndObject();
  }

  void write_values(const qv_node* node, const std::string& place) {
    key("total");
    writer_.Uint(qv_node_total_count(node));
    if (qv_node_value_count(node) == 0) return;
    const auto [text, is_exact] = exact_->text(node, place);
    if (!is_exact) boolean("rounded", true);
    member("values",
           fitting(text, max_value_text, "value texts end early: the page holds 8 MiB of one, 48 MiB of all"));
  }

  void write_object(const qv_node* node) {
    const auto lines =
        static_cast<std::int32_t>(std::min<std::int64_t>(qv_node_detail_line_count(node), max_detail_lines));
    if (lines < qv_node_detail_line_count(node)) leave_out("lists of detail lines end early: the page shows 2000");
    key("details");
    writer_.StartArray();
    for (std::int32_t i = 0; i < lines; ++i) string(line(qv_node_detail_line_at(node, i)));
    writer_.EndArray();
    if (qv_node_object_count(node) == 0 || !has_iconic_class(node)) return;
    key("drawings");
    writer_.StartArray();
    for (std::uint32_t i = 0; i < qv_node_object_count(node); ++i) {
      if (drawings_left_ == 0) {
        leave_out("objects: the page draws 5000");
        continue;
      }
      --drawings_left_;
      write_drawing(node, static_cast<std::int32_t>(i));
    }
    writer_.EndArray();
  }

  // Matrices, models and other handles are nodes of the same kind.
  static bool has_iconic_class(const qv_node* node) {
    static constexpr std::string_view classes[] = {"image", "region", "xld_cont", "xld_poly", "xld_parallel", "mixed"};
    return std::find(std::begin(classes), std::end(classes), to_utf8(qv_node_object_class(node))) != std::end(classes);
  }

  void write_drawing(const qv_node* node, std::int32_t index) {
    writer_.StartObject();
    member("class", object_class(node, index));
    try {
      if (object_class(node, index) == "image")
        write_image(page_image(*session_, node, index, picture_pixels_));
      else
        write_geometry(draw(*session_, node, index));
    } catch (const Failure& failure) {
      member("reason", failure.what());
    }
    writer_.EndObject();
  }

  void write_geometry(const Drawing& drawing) { drawing.runs ? write_runs(*drawing.runs) : write_lines(drawing.lines); }

  void write_image(const PageImage& page) {
    const StoredImage& image = page.image;
    if (image.values.size() > image_bytes_left_) {
      leave_out("images: the page holds 96 MiB of their values");
      throw Failure("left out: the page holds 96 MiB of the values of images");
    }
    image_bytes_left_ -= image.values.size();
    for (const auto& [name, value] : {std::pair{"width", page.width},
                                      {"height", page.height},
                                      {"step", page.step},
                                      {"columns", image.width},
                                      {"rows", image.height},
                                      {"channels", image.channels}}) {
      key(name);
      writer_.Uint(value);
    }
    member("type", sample_type_name(image.type));
    if (!page.drawn_because.empty()) member("drawn_because", page.drawn_because);
    member("values", base64(packed(image)));
    if (!page.domain.empty())
      member("domain", base64(packed({SampleType::U1, image.width, image.height, 1, page.domain})));
  }

  void take_numbers(std::int64_t count) {
    if (count > numbers_left_) {
      leave_out("regions or lines: the page holds 4 million numbers of them");
      throw Failure("left out: the page holds 4 million numbers of regions and lines");
    }
    numbers_left_ -= count;
  }

  void write_runs(const Runs& runs) {
    take_numbers(std::int64_t{3} * runs.count);
    key("runs");
    writer_.StartArray();
    for (std::uint32_t i = 0; i < runs.count; ++i)
      for (const std::int32_t number : {runs.rows[i], runs.begins[i], runs.ends[i]}) writer_.Int(number);
    writer_.EndArray();
  }

  // Coordinates are written relative to the first point of a line, so that single precision does for them.
  void write_lines(const std::vector<Line>& lines) {
    for (const Line& line : lines) take_numbers(std::int64_t{2} * line.count);
    key("lines");
    writer_.StartArray();
    for (const Line& line : lines) {
      const double row = first_finite(line.rows.get(), line.count), col = first_finite(line.cols.get(), line.count);
      writer_.StartObject();
      key("origin");
      writer_.StartArray();
      number(row), number(col);
      writer_.EndArray();
      key("points");
      writer_.StartArray();
      for (std::uint32_t i = 0; i < line.count; ++i)
        number(static_cast<float>(line.rows[i] - row)), number(static_cast<float>(line.cols[i] - col));
      writer_.EndArray();
      writer_.EndObject();
    }
    writer_.EndArray();
  }

  static double first_finite(const double* numbers, std::uint32_t count) {
    const double* const found =
        std::find_if(numbers, numbers + count, [](double number) { return std::isfinite(number); });
    return found == numbers + count ? 0 : *found;
  }

  // The fewest digits that read back to the same number.
  template <class Real>
  void number(Real value) {
    if (!std::isfinite(value)) {
      writer_.Null();
      return;
    }
    char digits[32];
    const auto size = static_cast<std::size_t>(std::to_chars(digits, std::end(digits), value).ptr - digits);
    writer_.RawValue(digits, size, rapidjson::kNumberType);
  }

  const bool several_;
  // Of the file that is being written.
  const Session* session_ = nullptr;
  ExactValues* exact_ = nullptr;
  Place place_;
  rapidjson::StringBuffer json_;
  rapidjson::Writer<rapidjson::StringBuffer> writer_;
  std::int64_t drawings_left_ = max_drawings, numbers_left_ = max_numbers;
  std::int64_t written_ = 0;
  bool has_network_ = false;
  std::uint64_t picture_pixels_ = max_picture_pixels, image_bytes_left_ = max_image_bytes;
  std::size_t text_left_ = max_text;
  std::map<std::string, std::int64_t> left_out_;
};

}  // namespace

namespace {

// Without the library that lays out networks, unless there is one.
std::string template_for(const PageData& data) {
  static constexpr std::string_view begin = "<!--begin of dagre-->", end = "<!--end of dagre-->";
  std::string page(whole_template());
  if (data.has_network()) return page;
  const std::size_t from = page.find(begin), to = page.find(end, from) + end.size();
  return page.erase(from, to - from);
}

void add_file(PageData& data, const PageFile& file, const std::vector<ReadingOption>& options) {
  if (!file.error.empty()) throw Failure(file.error);
  Session session;
  const qv_node* root = session.open(file.path, file.kind, options);
  ExactValues exact(session, file.kind, options);
  data.add(session, root, exact);
}

}  // namespace

std::string_view html_page_prefix() {
  const std::string_view page = whole_template();
  return page.substr(0, page.find("<html"));
}

std::string html_page(const std::vector<PageFile>& files, const std::vector<ReadingOption>& options,
                      const std::string& title) {
  static constexpr std::string_view mark = "{{data}}";
  PageData data(title, files.size() != 1);
  for (const PageFile& file : files) try {
      add_file(data, file, options);
    } catch (const Failure& failure) {
      if (files.size() == 1) throw;
      data.add_error(file.path, failure.what());
    }
  data.finish();
  const std::string page = template_for(data);
  const std::size_t place = page.find(mark);
  std::string result(page, 0, place);
  result.reserve(page.size() + data.json().size() + data.json().size() / 16);
  // Escapes '<', so that no text can end the script element that holds the data.
  for (const char c : data.json()) c == '<' ? result += "\\u003c" : result += c;
  return result += std::string_view(page).substr(place + mark.size());
}

}  // namespace host

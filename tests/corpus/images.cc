#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "HalconCpp.h"
#include "sections.h"
#include "support/bytes.h"
#include "support/values.h"
#include "table.h"

namespace corpus {

namespace {

using namespace HalconCpp;

struct Picture {
  std::string type;
  Hlong width = 0, height = 0, images = 0;
  std::vector<std::vector<double>> channels;
};

// The first image of a file, and how many there are.
Picture read(const std::filesystem::path& file) {
  const HObject images = test::read_image(file.string().c_str());
  HTuple count;
  CountObj(images, &count);
  HObject image;
  SelectObj(images, &image, 1);
  Picture picture;
  picture.images = count[0].L();
  for (Hlong i = 1; i <= HImage(image).CountChannels()[0].L(); ++i) {
    const test::Plane plane = test::plane(image, i);
    picture.type = plane.type, picture.width = plane.width, picture.height = plane.height;
    picture.channels.push_back(plane.reals());
  }
  return picture;
}

// Of all samples row by row, interleaved: 8 bits as bytes, 16 bits big-endian.
std::string checksum(const Picture& picture) {
  const int width = picture.type == "uint2" || picture.type == "int2" ? 2 : 1;
  std::string samples;
  for (std::size_t i = 0; i < picture.channels[0].size(); ++i)
    for (const auto& channel : picture.channels) samples += test::be({static_cast<std::int64_t>(channel[i])}, width);
  char text[9];
  std::snprintf(text, sizeof text, "%08x", test::crc32(samples));
  return text;
}

bool contains(const std::string& text, std::string_view part) {
  const auto same = [](char a, char b) { return std::tolower(a) == b; };
  return std::search(text.begin(), text.end(), part.begin(), part.end(), same) != text.end();
}

// One row of the table, with what it says about the picture in numbers.
class Expectation {
 public:
  Expectation(const Row& row, std::filesystem::path corpus) : row_(row), corpus_(std::move(corpus)) {}

  const std::string& path() const { return cell("path"); }
  std::filesystem::path file() const { return corpus_ / path(); }

  // A sample format that no pixel type holds: 24 bits, 64 bits without a sign, complex numbers.
  bool has_no_pixel_type() const {
    return (cell("type") == "uint" && (cell("bits") == "24" || cell("bits") == "64")) || cell("type") == "complex";
  }
  // More than the decoder of the usual JPEG files was built for.
  bool is_deep_jpeg() const { return is("jpg") && cell("bits") != "8"; }
  // Colors that become RGB, so that samples differ; CMYK loses a channel.
  bool is_cmyk() const {
    return channels() == 4 && (is("jpg") || contains(cell("note"), "cmyk") || contains(path(), "cmyk"));
  }
  // The one decoder that the table asked does not apply the palettes of JPEG 2000.
  bool has_indices() const { return is("jp2") && cell("pixels_checked_by") == "PIL alone"; }
  bool is_ycc() const { return is("jp2") && contains(path(), "ycc"); }
  bool is_lab() const { return contains(path(), "-lab-") || contains(cell("note"), "cielab"); }
  bool may_have_palette() const {
    constexpr const char* formats[] = {"bmp", "gif", "pcx", "PCX", "png", "ras", "tif", "tiff", "xwd"};
    return std::any_of(std::begin(formats), std::end(formats), [&](const char* format) { return is(format); }) ||
           contains(cell("note"), "palette");
  }
  bool is(const char* extension) const { return path().ends_with(std::string(".") + extension); }

  std::size_t channels() const { return std::stoul(cell("channels")); }

  // Where no two decoders agree on the pixels, some reject the data as damaged, and so may we.
  bool may_be_damaged() const {
    return cell("pixels_checked_by").empty() || cell("pixels_checked_by").ends_with(" alone");
  }

  // Empty when all agrees, otherwise "what is expected" and "what is found".
  std::optional<std::pair<std::string, std::string>> difference(const Picture& found) const {
    const auto differ = [](const std::string& a, const std::string& b) { return std::optional(std::make_pair(a, b)); };
    const std::string size = cell("width") + " x " + cell("height"),
                      found_size = std::to_string(found.width) + " x " + std::to_string(found.height);
    if (size != found_size) return differ(size, found_size);
    if ((is("gif") || is("tif") || is("tiff")) && cell("frames") != std::to_string(found.images))
      return differ(cell("frames") + " frames", std::to_string(found.images));
    const std::size_t wanted = is_cmyk() ? channels() - 1 : channels();
    if (found.channels.size() != wanted)
      return differ(std::to_string(wanted) + " channels", std::to_string(found.channels.size()));
    if (is_cmyk() || is_ycc() || is_lab() || has_indices()) return std::nullopt;
    std::vector<double> first, last, mean;
    for (const auto& channel : found.channels) {
      first.push_back(channel.front());
      last.push_back(channel.back());
      double sum = 0;
      for (const double value : channel) sum += value;
      mean.push_back(sum / static_cast<double>(channel.size()));
    }
    if (!near("top_left", first)) return differ("first pixel " + cell("top_left"), text_of(first));
    if (!near("bottom_right", last)) return differ("last pixel " + cell("bottom_right"), text_of(last));
    if (!near("mean", mean)) return differ("mean " + cell("mean"), text_of(mean));
    const bool short_samples = found.type == "byte" || found.type == "uint2" || found.type == "int2";
    if (short_samples && !cell("crc32").empty() && checksum(found) != cell("crc32"))
      return differ("checksum " + cell("crc32"), checksum(found));
    return std::nullopt;
  }

  // The table names a picture that is the same by its own check; where decoders disagree it decides.
  bool agrees_with_reference(const Picture& found) const {
    if (cell("reference").empty() || cell("reference_diff") != "equal") return false;
    Picture reference = read(corpus_ / cell("reference"));
    if (reference.channels.size() == 1) reference.channels.resize(found.channels.size(), reference.channels[0]);
    return reference.channels == found.channels;
  }

 private:
  const std::string& cell(const char* column) const { return row_.at(column); }

  // How far a sample may be off: by rounding where the table prints fewer digits, by the decoder where data is lost.
  double tolerance() const {
    const std::string& checked = cell("pixels_checked_by");
    const std::size_t at = checked.find("\u00B1");
    if (at != std::string::npos) return std::stod(checked.substr(at + std::strlen("\u00B1")));
    return cell("coding") == "lossy" ? 2 : 0;
  }

  // The table has JPEG 2000 samples as they are, but those of less than 8 bits are read stretched to 0..255.
  double scale() const {
    const int bits = is("jp2") ? std::stoi(cell("bits")) : 8;
    return bits < 8 ? 255.0 / ((1 << bits) - 1) : 1;
  }

  bool near(const char* column, const std::vector<double>& found) const {
    const std::vector<std::string> wanted = split(cell(column), ',');
    if (wanted.empty()) return true;
    if (wanted.size() != found.size()) return false;
    for (std::size_t i = 0; i < found.size(); ++i) {
      const double value = std::stod(wanted[i]) * scale();
      if (!(std::abs(value - found[i]) <= tolerance() + 1e-5 * std::abs(value))) return false;
    }
    return true;
  }

  const Row& row_;
  std::filesystem::path corpus_;
};

void check_opened(const Expectation& expected, Picture picture, Report& report) {
  if (expected.has_no_pixel_type())
    return report.disagree(expected.path(), "an error for its sample format", "a picture");
  // An all-gray palette is read as one channel: for comparison it becomes the three that are stored.
  const bool gray = expected.may_have_palette() && expected.channels() == 3 && picture.channels.size() == 1;
  if (gray) picture.channels.assign(3, picture.channels[0]);
  if (const auto difference = expected.difference(picture)) {
    if (expected.agrees_with_reference(picture)) return report.by_design("as its reference picture, not as the table");
    return report.disagree(expected.path(), difference->first, difference->second);
  }
  const std::pair<bool, const char*> designs[] = {{expected.has_indices(), "palette applied, not as the table"},
                                                  {gray, "gray palette as one channel"},
                                                  {expected.is_cmyk(), "CMYK as RGB"},
                                                  {expected.is_ycc(), "YCbCr as RGB"},
                                                  {expected.is_lab(), "Lab as RGB"}};
  for (const auto& [holds, reason] : designs)
    if (holds) return report.by_design(reason);
  report.agree();
}

// Words of OpenJPEG and libtiff for coded data that breaks the rules of its format.
bool tells_damage(const std::string& message) {
  constexpr const char* words[] = {"Invalid bit number", "Premature EOL"};
  return std::any_of(std::begin(words), std::end(words),
                     [&](const char* word) { return message.find(word) != std::string::npos; });
}

void check_rejected(const Expectation& expected, const std::string& message, Report& report) {
  if (expected.is("jxr") && message.find("HALCON_JPEGXR") != std::string::npos)
    report.by_design("JPEG XR is off");
  else if (expected.has_no_pixel_type())
    report.by_design("sample format without a pixel type");
  else if (expected.is_deep_jpeg())
    report.by_design("JPEG of more than 8 bits");
  else if (expected.may_be_damaged() && message.find("planes of different sizes") != std::string::npos)
    report.by_design("YCbCr in planes of different sizes");
  else if (expected.may_be_damaged() && tells_damage(message))
    report.by_design("data that its codec calls damaged");
  else
    report.disagree(expected.path(), "a picture", message);
}

}  // namespace

void check_images(const std::filesystem::path& corpus, Report& report) {
  for (const Row& row : read_table(corpus / "images" / "expected.tsv")) {
    const Expectation expected(row, corpus);
    try {
      check_opened(expected, read(expected.file()), report);
    } catch (const HException& failure) {
      check_rejected(expected, failure.ErrorMessage().Text(), report);
    }
  }
}

}  // namespace corpus

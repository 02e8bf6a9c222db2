#include "image_info.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string_view>

#include "files.h"

namespace host {

namespace {

// A TIFF directory may be at the end of its file. Of a larger file what is in the beginning is found.
constexpr std::size_t max_file = 64u << 20;
// Enough to tell the format, and all that is read of BMP, GIF and PNM files.
constexpr std::size_t max_header = 64;
// Entries may overlap: a small file could declare many long texts.
constexpr std::size_t max_text = 8192;

// Bytes with numbers in them; reading past the end gives 0.
class Bytes {
 public:
  Bytes(std::string_view bytes, bool big) : bytes_(bytes), big_(big) {}
  std::size_t size() const { return bytes_.size(); }
  std::string_view text(std::size_t at, std::size_t size) const {
    return at < bytes_.size() ? bytes_.substr(at, size) : std::string_view();
  }
  std::uint32_t number(std::size_t at, int bytes) const {
    if (at > bytes_.size() || bytes_.size() - at < static_cast<std::size_t>(bytes)) return 0;
    std::uint32_t value = 0;
    for (int i = 0; i < bytes; ++i) {
      const auto index = at + static_cast<std::size_t>(big_ ? i : bytes - 1 - i);
      value = value << 8 | static_cast<unsigned char>(bytes_[index]);
    }
    return value;
  }

 private:
  std::string_view bytes_;
  bool big_;
};

std::string shortest(double value) {
  char digits[32];
  return {digits, std::to_chars(digits, digits + sizeof digits, value).ptr};
}

// Each name once: its first value.
void add(ImageInfo& info, const char* name, std::string value) {
  const bool known = std::any_of(info.begin(), info.end(), [&](const auto& each) { return each.first == name; });
  if (!known) info.emplace_back(name, std::move(value));
}

// "96 x 96 dpi"; nothing for a resolution that is not known.
void add_resolution(ImageInfo& info, double x, double y, const char* unit) {
  if (x > 0 && y > 0) add(info, "Resolution", shortest(x) + " x " + shortest(y) + unit);
}

// A name by its number, or "2" where it has none.
template <std::size_t n>
std::string named(const std::pair<std::uint32_t, const char*> (&names)[n], std::uint32_t number) {
  for (const auto& [known, name] : names)
    if (known == number) return name;
  return std::to_string(number);
}

std::string printed(std::string_view text) {
  text = text.substr(0, max_text);
  text = text.substr(0, text.find('\0'));
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return std::string(text);
}

// ---- TIFF 6.0 and EXIF 2.32, which has the same directories

constexpr std::pair<std::uint32_t, const char*> compressions[] = {
    {1, "none"},          {2, "CCITT RLE"}, {3, "CCITT Group 3"}, {4, "CCITT Group 4"}, {5, "LZW"},
    {6, "JPEG (old)"},    {7, "JPEG"},      {8, "Deflate"},       {32773, "PackBits"},  {32946, "Deflate"},
    {34712, "JPEG 2000"}, {34925, "LZMA"},  {50000, "Zstandard"}, {50001, "WebP"}};
constexpr std::pair<std::uint32_t, const char*> orientations[] = {{1, "as stored"},
                                                                  {2, "mirrored"},
                                                                  {3, "turned by 180 degrees"},
                                                                  {4, "upside down"},
                                                                  {5, "transposed"},
                                                                  {6, "to be turned by 90 degrees"},
                                                                  {7, "transverse"},
                                                                  {8, "to be turned by 270 degrees"}};

struct Entry {
  std::uint32_t type, count;
  std::size_t at;  // of the values
};

std::string value_text(const Bytes& tiff, const Entry& entry) {
  switch (entry.type) {
    case 2:
      return printed(tiff.text(entry.at, entry.count));
    case 3:
      return std::to_string(tiff.number(entry.at, 2));
    case 4:
      return std::to_string(tiff.number(entry.at, 4));
    case 5: {
      const double below = tiff.number(entry.at + 4, 4);
      return below > 0 ? shortest(tiff.number(entry.at, 4) / below) : "";
    }
    default:
      return {};
  }
}

double real_value(const Bytes& tiff, const Entry& entry) {
  const double below = tiff.number(entry.at + 4, 4);
  return entry.type == 5 && below > 0 ? tiff.number(entry.at, 4) / below : 0;
}

// Calls take(tag, entry) for each entry of a directory, of those with the same tag only for the first.
template <class Take>
void directory(const Bytes& tiff, std::size_t at, Take take) {
  static constexpr std::array<std::size_t, 6> sizes{0, 1, 1, 2, 4, 8};
  std::bitset<65536> seen;
  const std::uint32_t entries = tiff.number(at, 2);
  for (std::uint32_t i = 0; i < entries && at + 14 + 12 * i <= tiff.size(); ++i) {
    const std::size_t place = at + 2 + 12 * i;
    Entry entry{tiff.number(place + 2, 2), tiff.number(place + 4, 4), place + 8};
    const std::uint32_t tag = tiff.number(place, 2);
    if (entry.type >= sizes.size() || seen[tag]) continue;
    seen.set(tag);
    if (sizes[entry.type] * std::uint64_t{entry.count} > 4) entry.at = tiff.number(place + 8, 4);
    take(tag, entry);
  }
}

void add_exposure(ImageInfo& info, const Bytes& tiff, std::size_t at) {
  directory(tiff, at, [&](std::uint32_t tag, const Entry& entry) {
    static constexpr std::pair<std::uint32_t, const char*> names[] = {{33437, "Aperture (f-number)"},
                                                                      {34855, "ISO speed"},
                                                                      {36867, "Taken"},
                                                                      {37386, "Focal length (mm)"},
                                                                      {42036, "Lens"}};
    if (tag == 33434 && tiff.number(entry.at, 4) == 1)
      add(info, "Exposure time (s)", "1/" + std::to_string(tiff.number(entry.at + 4, 4)));
    else if (tag == 33434)
      add(info, "Exposure time (s)", value_text(tiff, entry));
    for (const auto& [known, name] : names)
      if (tag == known) add(info, name, value_text(tiff, entry));
  });
}

// The first directory, and that of EXIF. `is_file`: of a TIFF file, not of EXIF data in another file.
void add_tiff(ImageInfo& info, std::string_view bytes, bool is_file) {
  const Bytes tiff(bytes, bytes.starts_with("MM"));
  double x = 0, y = 0;
  std::uint32_t unit = 2, exif = 0;
  directory(tiff, tiff.number(4, 4), [&](std::uint32_t tag, const Entry& entry) {
    static constexpr std::pair<std::uint32_t, const char*> names[] = {
        {271, "Camera maker"}, {272, "Camera"}, {305, "Software"}, {306, "Changed"}, {315, "Artist"}};
    if (tag == 258 && is_file) add(info, "Bits per channel", value_text(tiff, entry));
    if (tag == 259 && is_file) add(info, "Compression", named(compressions, tiff.number(entry.at, 2)));
    if (tag == 274) add(info, "Orientation", named(orientations, tiff.number(entry.at, 2)));
    if (tag == 282) x = real_value(tiff, entry);
    if (tag == 283) y = real_value(tiff, entry);
    if (tag == 296) unit = tiff.number(entry.at, 2);
    if (tag == 34665) exif = tiff.number(entry.at, 4);
    for (const auto& [known, name] : names)
      if (tag == known) add(info, name, value_text(tiff, entry));
  });
  if (is_file) add_resolution(info, x, y, unit == 2 ? " dpi" : unit == 3 ? " per cm" : " (no unit)");
  if (exif > 0) add_exposure(info, tiff, exif);
}

// ---- The other formats

void add_png(ImageInfo& info, const Bytes& file) {
  static constexpr std::pair<std::uint32_t, const char*> colors[] = {
      {0, "gray"}, {2, "RGB"}, {3, "palette"}, {4, "gray and alpha"}, {6, "RGB and alpha"}};
  info = {{"Format", "PNG"},
          {"Compression", "Deflate"},
          {"Bits per channel", std::to_string(file.number(24, 1))},
          {"Colors", named(colors, file.number(25, 1))}};
  if (file.number(28, 1) == 1) add(info, "Interlaced", "yes");
  bool has_exif = false;
  for (std::size_t at = 8; at + 12 <= file.size();) {
    const std::uint32_t size = file.number(at, 4);
    const std::string_view type = file.text(at + 4, 4);
    if (type == "pHYs" && file.number(at + 16, 1) == 1)
      add_resolution(info, file.number(at + 8, 4), file.number(at + 12, 4), " per m");
    if (type == "eXIf" && !std::exchange(has_exif, true)) add_tiff(info, file.text(at + 8, size), false);
    at += 12 + std::size_t{size};
  }
}

void add_jpeg(ImageInfo& info, const Bytes& file) {
  info = {{"Format", "JPEG"}};
  bool has_exif = false;
  for (std::size_t at = 2; file.number(at, 1) == 0xFF;) {
    while (file.number(at + 1, 1) == 0xFF) ++at;  // fill bytes
    const std::uint32_t marker = file.number(at + 1, 1), size = file.number(at + 2, 2);
    if (marker == 0xDA || size < 2) return;
    const bool is_frame = marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
    if (is_frame) {
      add(info, "Compression",
          marker == 0xC2   ? "JPEG, progressive"
          : marker == 0xC3 ? "JPEG, lossless"
                           : "JPEG, sequential");
      add(info, "Bits per channel", std::to_string(file.number(at + 4, 1)));
      add(info, "Channels", std::to_string(file.number(at + 9, 1)));
    }
    if (marker == 0xE0 && file.text(at + 4, 4) == "JFIF") {
      const std::uint32_t unit = file.number(at + 11, 1);
      if (unit > 0)
        add_resolution(info, file.number(at + 12, 2), file.number(at + 14, 2), unit == 1 ? " dpi" : " per cm");
    }
    if (marker == 0xE1 && size > 8 && file.text(at + 4, 4) == "Exif" && !std::exchange(has_exif, true))
      add_tiff(info, file.text(at + 10, size - 8), false);
    at += 2 + size;
  }
}

void add_bmp(ImageInfo& info, const Bytes& file) {
  static constexpr std::pair<std::uint32_t, const char*> compressed[] = {
      {0, "none"}, {1, "run lengths"}, {2, "run lengths"}, {3, "none"}, {4, "JPEG"}, {5, "PNG"}, {6, "none"}};
  const bool old = file.number(14, 4) == 12;
  info = {{"Format", "BMP"},
          {"Compression", old ? "none" : named(compressed, file.number(30, 4))},
          {"Bits per pixel", std::to_string(file.number(old ? 24 : 28, 2))}};
  if (!old) add_resolution(info, file.number(38, 4), file.number(42, 4), " per m");
}

void add_pnm(ImageInfo& info, std::string_view file) {
  static constexpr const char* kinds[] = {"PBM, text", "PGM, text", "PPM, text", "PBM", "PGM", "PPM", "PAM"};
  info = {{"Format", kinds[file[1] - '1']}, {"Compression", "none"}};
}

// Reads on until there are `size` bytes or the file ends.
void read_up_to(std::ifstream& stream, std::string& content, std::size_t size) {
  while (stream && content.size() < size) {
    const std::size_t begin = content.size();
    content.resize(std::min(size, std::max(max_header, 2 * begin)));
    stream.read(content.data() + begin, static_cast<std::streamsize>(content.size() - begin));
    content.resize(begin + static_cast<std::size_t>(stream.gcount()));
  }
}

}  // namespace

ImageInfo image_info(const std::string& path) {
  std::ifstream stream(native_path(path), std::ios::binary);
  std::string file;
  read_up_to(stream, file, max_header);
  const auto begins = [&](std::string_view bytes) { return file.starts_with(bytes); };
  ImageInfo info;
  if (begins("\x89PNG\r\n\x1A\n")) {
    read_up_to(stream, file, max_file);
    add_png(info, Bytes(file, true));
  } else if (begins("\xFF\xD8\xFF")) {
    read_up_to(stream, file, max_file);
    add_jpeg(info, Bytes(file, true));
  } else if (begins(std::string_view("II*\0", 4)) || begins(std::string_view("MM\0*", 4))) {
    read_up_to(stream, file, max_file);
    info = {{"Format", "TIFF"}};
    add_tiff(info, file, true);
  } else if (begins("BM")) {
    add_bmp(info, Bytes(file, false));
  } else if (begins("GIF8")) {
    info = {{"Format", "GIF"},
            {"Compression", "LZW"},
            {"Bits per pixel", std::to_string(1 + (file.size() > 10 ? file[10] & 7 : 0))}};
  } else if (file.size() > 2 && file[0] == 'P' && file[1] >= '1' && file[1] <= '7') {
    add_pnm(info, file);
  }
  return info;
}

}  // namespace host

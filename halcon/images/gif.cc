// GIF after "Graphics Interchange Format, Version 89a" (CompuServe, 1990), read with giflib. A file is a sequence of
// pictures on one logical screen; each image that is returned is the screen as a viewer shows it, with all pictures so
// far, each disposed of as its Graphic Control Extension says.
//
// giflib gets one record after another: its own function for whole files (DGifSlurp) allocates what each picture
// declares before anything could check it.
#include <gif_lib.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <span>
#include <vector>

#include "core/buffer.h"
#include "core/failure.h"
#include "core/limits.h"
#include "iconic/image.h"
#include "iconic/plane.h"
#include "images/codec.h"
#include "images/formats.h"
#include "images/gif_codes.h"
#include "images/memory_file.h"
#include "images/raster.h"

namespace HalconCpp::detail {

namespace {

constexpr int none = NO_TRANSPARENT_COLOR;
// Offsets of the two 16-bit sizes: in the file (Logical Screen Descriptor), and in an Image Descriptor without its
// separator.
constexpr std::size_t screen_size_at = 6, picture_size_at = 4, descriptor_bytes = 9;

int read_source(GifFileType* gif, GifByteType* to, int bytes) {
  return static_cast<int>(static_cast<MemoryFile*>(gif->UserData)->read(to, static_cast<std::size_t>(bytes)));
}

[[noreturn]] void fail_with(int error) {
  if (error == D_GIF_ERR_NOT_ENOUGH_MEM) throw std::bad_alloc();
  if (error == D_GIF_ERR_READ_FAILED) fail("the file ends too early");
  if (error == D_GIF_ERR_EOF_TOO_SOON) fail("a picture ends too early: the file is damaged");
  const char* text = GifErrorString(error);  // null where giflib sets no code
  fail(text ? text : "giflib cannot decode it: the file is damaged");
}

Palette palette_of(const ColorMapObject& map) {
  Palette palette;
  for (int i = 0; i < map.ColorCount; ++i)
    palette.set(static_cast<std::size_t>(i), map.Colors[i].Red, map.Colors[i].Green, map.Colors[i].Blue);
  return palette;
}

// A picture inside the screen. Its sizes may exceed those of the screen.
struct Frame {
  std::size_t left, top, width, height;
  bool interlaced;
  Palette palette;
  int transparent;  // index of the Transparent Color, or `none`
  int disposal;     // Disposal Method
};

// The records of a file in their order.
class GifReader {
 public:
  explicit GifReader(Bytes file) {
    content_.append(file.data(), file.size());
    source_.source = content_;
    int error = 0;
    gif_ = DGifOpen(&source_, read_source, &error);
    if (gif_) return;
    // giflib does not say why it has no screen: the file ended, or there was no memory for the color table.
    if (error != D_GIF_ERR_NO_SCRN_DSCR) fail_with(error);
    fail_with(source_.position >= content_.size() ? D_GIF_ERR_READ_FAILED : D_GIF_ERR_NOT_ENOUGH_MEM);
  }
  ~GifReader() { DGifCloseFile(gif_, nullptr); }
  GifReader(const GifReader&) = delete;
  GifReader& operator=(const GifReader&) = delete;

  const GifFileType& screen() const noexcept { return *gif_; }

  // The next picture, up to its codes; false at the end of the file. The trailer may be missing.
  bool next(Frame& frame) {
    GraphicsControlBlock control{};
    control.TransparentColor = none;
    for (GifRecordType type; !(has_frames_ && source_.position >= content_.size());) {
      check(DGifGetRecordType(gif_, &type));
      if (type == TERMINATE_RECORD_TYPE) break;
      if (type == EXTENSION_RECORD_TYPE) {
        read_extension(control);
      } else if (type == IMAGE_DESC_RECORD_TYPE) {
        frame = read_descriptor(control);
        return has_frames_ = true;
      }
    }
    if (!has_frames_) fail("holds no picture");
    return false;
  }

  void skip_codes() {
    GifByteType* block;
    do check(DGifGetCodeNext(gif_, &block));
    while (block);
  }

  void read_line(std::vector<GifPixelType>& line) {
    check(DGifGetLine(gif_, line.data(), static_cast<int>(line.size())));
  }

 private:
  void check(int result) {
    if (result != GIF_OK) fail_with(gif_->Error);
  }

  // No viewer in use draws a Plain Text Extension. The Graphic Control Extension before it applies to it alone.
  void read_extension(GraphicsControlBlock& control) {
    int label;
    GifByteType* block;  // its size, then its bytes
    check(DGifGetExtension(gif_, &label, &block));
    if (label == PLAINTEXT_EXT_FUNC_CODE) {
      control = {};
      control.TransparentColor = none;
    }
    if (label == GRAPHICS_EXT_FUNC_CODE && block && block[0] >= 4) DGifExtensionToGCB(4, block + 1, &control);
    while (block) check(DGifGetExtensionNext(gif_, &block));
  }

  Frame read_descriptor(const GraphicsControlBlock& control) {
    prepare_picture();
    check(DGifGetImageDesc(gif_));
    const GifImageDesc& image = gif_->Image;
    const ColorMapObject* map = image.ColorMap ? image.ColorMap : gif_->SColorMap;
    if (!map) fail("holds no colors for a picture");
    const auto size = [](GifWord value) { return static_cast<std::size_t>(value); };
    return {size(image.Left), size(image.Top),  size(image.Width),        size(image.Height),
            image.Interlace,  palette_of(*map), control.TransparentColor, control.DisposalMode};
  }

  // Changes what giflib does not read; its next call reads the descriptor. A picture of width or height 0 takes the
  // size of the screen, as in web browsers.
  void prepare_picture() {
    const std::span<std::byte> rest(content_.data() + source_.position, content_.size() - source_.position);
    if (rest.size() < descriptor_bytes) return;
    std::byte* const size = rest.data() + picture_size_at;
    const auto is_zero = [size](int at) { return size[at] == std::byte{0} && size[at + 1] == std::byte{0}; };
    if (is_zero(0) || is_zero(2)) std::memcpy(size, content_.data() + screen_size_at, 4);
    const auto packed = static_cast<unsigned>(rest[descriptor_bytes - 1]);  // flag and size of the Local Color Table
    const std::size_t table = packed & 0x80 ? std::size_t{3} << ((packed & 7) + 1) : 0;
    narrow_codes(rest.subspan(std::min(descriptor_bytes + table, rest.size())));
  }

  Buffer<std::byte> content_;  // a copy, for prepare_picture
  MemoryFile source_;
  GifFileType* gif_ = nullptr;
  bool has_frames_ = false;
};

// What all images of a file have in common.
struct Screen {
  std::size_t width, height;
  std::size_t channels;
  std::array<std::uint8_t, 3> background{};  // Background Color; black without a Global Color Table
  std::size_t frames = 0;
};

// Goes through the file without decoding, since the number of channels depends on all pictures: color when any of them
// has color. There is alpha when the first picture has a Transparent Color; otherwise an empty screen is of the
// Background Color, as GIF89a says, and Transparent Colors of later pictures mean what is below them.
Screen survey(Bytes file) {
  GifReader gif(file);
  const auto size = [](GifWord value) { return static_cast<std::size_t>(value); };
  Screen screen{size(gif.screen().SWidth), size(gif.screen().SHeight), 0};
  bool gray = true, transparent = false;
  if (gif.screen().SColorMap) {
    const Palette colors = palette_of(*gif.screen().SColorMap);
    const auto index = static_cast<std::size_t>(gif.screen().SBackGroundColor);
    for (std::size_t c = 0; c < 3; ++c) screen.background[c] = colors.value(c, index);
    gray = screen.background[0] == screen.background[1] && screen.background[1] == screen.background[2];
  }
  for (Frame frame; gif.next(frame); gif.skip_codes()) {
    if (screen.frames == 0) {
      transparent = frame.transparent != none;
      if (screen.width == 0 || screen.height == 0) {  // some writers leave the screen's size out
        screen.width = frame.left + frame.width;
        screen.height = frame.top + frame.height;
      }
    }
    gray = gray && frame.palette.channels() == 1;
    if (++screen.frames > limits::file_images) break;
  }
  screen.channels = transparent ? 4 : gray ? 1 : 3;
  return screen;
}

// Calls `put` with the rows of a picture in the order in which the file holds them.
template <class Put>
void each_row(const Frame& frame, Put&& put) {
  static constexpr struct { std::size_t first, step; } whole[] = {{0, 1}}, passes[] = {{0, 8}, {4, 8}, {2, 4}, {1, 2}};
  for (const auto& pass : frame.interlaced ? std::span(passes, 4) : std::span(whole, 1))
    for (std::size_t y = pass.first; y < frame.height; y += pass.step) put(y);
}

// Draws one picture after the other.
class Canvas {
 public:
  explicit Canvas(const Screen& screen) : screen_(screen) {}

  // The screen with the next picture, whose lines come from `gif`.
  ImageRef draw(GifReader& gif, const Frame& frame) {
    ImageDraft draft(PixelType::Byte, static_cast<std::int32_t>(screen_.width),
                     static_cast<std::int32_t>(screen_.height), screen_.channels);
    start(draft);
    const std::size_t visible = frame.left < screen_.width ? std::min(frame.width, screen_.width - frame.left) : 0;
    std::vector<GifPixelType> line(frame.width);
    each_row(frame, [&](std::size_t y) {
      gif.read_line(line);
      if (frame.top + y < screen_.height)
        put(frame, line.data(), visible, draft, (frame.top + y) * screen_.width + frame.left);
    });
    ImageRef image = draft.finish();
    if (frame.disposal != DISPOSE_PREVIOUS) {
      below_ = image;
      cleared_ = frame.disposal == DISPOSE_BACKGROUND ? Area{frame.left, frame.top, frame.width, frame.height} : Area{};
    }
    return image;
  }

 private:
  struct Area {
    std::size_t left = 0, top = 0, width = 0, height = 0;
  };

  // The screen after the last picture was disposed of.
  void start(ImageDraft& draft) const {
    for (std::size_t c = 0; below_ && c < screen_.channels; ++c)
      std::memcpy(draft.plane<std::uint8_t>(c), below_->plane<std::uint8_t>(c), draft.plane_bytes());
    clear(draft, below_ ? cleared_ : Area{0, 0, screen_.width, screen_.height});
  }

  // To the background color, which is transparent where there is alpha.
  void clear(ImageDraft& draft, const Area& area) const {
    const std::size_t right = std::min(area.left + area.width, screen_.width),
                      bottom = std::min(area.top + area.height, screen_.height);
    for (std::size_t y = area.top; area.left < right && y < bottom; ++y)
      for (std::size_t c = 0; c < screen_.channels; ++c)
        std::memset(draft.plane<std::uint8_t>(c) + y * screen_.width + area.left, c < 3 ? screen_.background[c] : 0,
                    right - area.left);
  }

  // Transparent pixels leave what is below. On an empty screen they keep their own color, under alpha 0.
  void put(const Frame& frame, const GifPixelType* line, std::size_t pixels, ImageDraft& draft, std::size_t at) const {
    if (frame.transparent == none && screen_.channels < 4) return frame.palette.put(line, pixels, draft, at);
    const bool stored = !below_ && screen_.channels == 4;
    for (std::size_t c = 0; c < screen_.channels; ++c) {
      std::uint8_t* const plane = draft.plane<std::uint8_t>(c) + at;
      for (std::size_t i = 0; i < pixels; ++i) {
        const bool shows = line[i] != frame.transparent;
        if (shows || (stored && c < 3)) plane[i] = frame.palette.value(c, line[i]);
      }
    }
  }

  Screen screen_;
  ImageRef below_;  // null: the empty screen
  Area cleared_;    // of below_, before the next picture is drawn
};

}  // namespace

Images read_gif(Bytes file) {
  const Screen screen = survey(file);
  ImageBudget budget(file.size());
  for (std::size_t i = 0; i < screen.frames; ++i)
    budget.charge(screen.width, screen.height, screen.channels, PixelType::Byte);
  Images images;
  Canvas canvas(screen);
  GifReader gif(file);
  for (Frame frame; images.size() < screen.frames && gif.next(frame);) images.push_back(canvas.draw(gif, frame));
  return images;
}

}  // namespace HalconCpp::detail

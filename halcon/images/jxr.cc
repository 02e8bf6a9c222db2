// JPEG XR after ITU-T T.832 (container: Annex A), with jxrlib.
#include <string>

#include "core/failure.h"
#include "images/formats.h"
#include "images/pixels.h"
#include "images/raster.h"
// The last one: it defines min and max as macros.
// clang-format off
#include <JXRGlue.h>
// clang-format on
#undef min
#undef max

namespace HalconCpp::detail {

namespace {

constexpr std::uint32_t pixel_format = 0xBC01, width_tag = 0xBC80, height_tag = 0xBC81;
constexpr std::uint32_t image_offset = 0xBCC0, alpha_bytes = 0xBCC3;  // between them: image bytes, alpha offset

// The file with a directory of nothing but the tags above. On damaged metadata the library stops the process, and it
// reads past the end of its stream without reporting an error.
Buffer<std::byte> plain_copy(Bytes file) {
  const Fields fields(file, std::endian::little);
  const std::size_t directory = fields.u32(4), entry_bytes = 12;
  const std::size_t count = fields.u16(directory);
  const Bytes entries = fields.part(directory + 2, count * entry_bytes + 4);
  Buffer<std::byte> copy(file.size());
  std::memcpy(copy.data(), file.data(), file.size());
  std::byte* to = copy.data() + directory + 2;
  std::uint64_t places[4] = {};  // the values of the last four tags
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t at = directory + 2 + i * entry_bytes;
    const std::uint32_t tag = fields.u16(at), value = fields.u32(at + 8);
    if (tag == pixel_format) fields.part(value, 16);
    if (tag >= image_offset && tag <= alpha_bytes)
      places[tag - image_offset] = value;
    else if (tag != pixel_format && tag != width_tag && tag != height_tag)
      continue;
    std::memcpy(to, entries.data() + i * entry_bytes, entry_bytes);
    to += entry_bytes;
  }
  std::memset(to, 0, 4);  // no further directory
  const std::size_t kept = static_cast<std::size_t>(to - copy.data() - directory - 2) / entry_bytes;
  copy[directory] = static_cast<std::byte>(kept & 255);
  copy[directory + 1] = static_cast<std::byte>(kept >> 8);

  // Files of jxrlib's own encoder give the end of the alpha plane in place of its size.
  const std::uint64_t alpha_end = places[3] > places[2] ? places[3] : places[2] + places[3];
  if (places[1] == 0 || places[0] + places[1] > file.size() || alpha_end > file.size()) fail("the file ends too early");
  return copy;
}

// The decoder of one file in memory. Every call of the library answers a code that is negative on failure.
class Decoder {
 public:
  explicit Decoder(Bytes file) : file_(plain_copy(file)) {
    try {
      open();
    } catch (...) {
      close();
      throw;
    }
  }
  ~Decoder() { close(); }
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;

  PKImageDecode* operator->() const noexcept { return decoder_; }
  PKImageDecode* get() const noexcept { return decoder_; }

 private:
  void open() {
    if (CreateWS_Memory(&stream_, file_.data(), file_.size()) < 0 || PKImageDecode_Create_WMP(&decoder_) < 0)
      throw std::bad_alloc();
    if (decoder_->Initialize(decoder_, stream_) < 0) fail("is not a JPEG XR file that can be read");
  }

  void close() noexcept {
    if (decoder_) decoder_->Release(&decoder_);
    if (stream_) stream_->Close(&stream_);
  }

  Buffer<std::byte> file_;
  WMPStream* stream_ = nullptr;
  PKImageDecode* decoder_ = nullptr;
};

// How a decoded pixel lies in memory.
struct Layout {
  PixelType type;
  std::size_t bits;      // of a pixel
  std::size_t channels;  // the samples that count; a pixel may end with one that does not
  bool bgr;
  bool alpha;
  BITDEPTH_BITS depth;

  std::size_t row_bytes(std::size_t width) const { return (width * bits + 7) / 8; }
};

Layout layout_of(PKImageDecode* decoder) {
  PKPixelInfo info{};
  PKPixelFormatGUID format;
  if (decoder->GetPixelFormat(decoder, &format) < 0) fail("has no pixel format");
  info.pGUIDPixFmt = &format;
  if (PixelFormatLookup(&info, LOOKUP_FORWARD) < 0) fail("has an unknown pixel format");

  const bool color =
      info.uInterpretation == PK_PI_B0 || info.uInterpretation == PK_PI_RGB || info.uInterpretation == PK_PI_NCH;
  const bool packed = info.bdBitDepth == BD_5 || info.bdBitDepth == BD_565;
  const bool known = info.bdBitDepth == BD_1 || info.bdBitDepth == BD_8 || info.bdBitDepth == BD_16 ||
                     info.bdBitDepth == BD_32F || packed;
  if (!color || !known)
    fail("JPEG XR samples of kind " + std::to_string(info.bdBitDepth) + " and color space " +
         std::to_string(info.uInterpretation) + " are not read");
  const PixelType type = info.bdBitDepth == BD_16    ? PixelType::UInt2
                         : info.bdBitDepth == BD_32F ? PixelType::Real
                                                     : PixelType::Byte;
  return {type,
          info.cbitUnit,
          packed ? 3 : info.uSamplePerPixel,
          (info.grBit & PK_pixfmtBGR) != 0,
          (info.grBit & PK_pixfmtHasAlpha) != 0,
          info.bdBitDepth};
}

template <class T>
void split_row(const std::byte* row, const Layout& layout, std::size_t width, ImageDraft& draft, std::size_t at) {
  const std::size_t stored = layout.bits / (8 * sizeof(T));
  for (std::size_t c = 0; c < layout.channels; ++c) {
    const std::size_t sample = layout.bgr && c < 3 ? 2 - c : c;
    split_channel(reinterpret_cast<const T*>(row) + sample, stored, width, draft.plane<T>(c) + at);
  }
}

// Bits and packed colors are those of the plain formats.
Raster raster_of(const Layout& layout, std::size_t width, std::size_t height) {
  Raster raster;
  raster.width = static_cast<std::uint32_t>(width);
  raster.height = static_cast<std::uint32_t>(height);
  raster.bits = static_cast<unsigned>(layout.bits);
  raster.row_bytes = layout.row_bytes(width);
  raster.order = std::endian::native;
  raster.palette.set(1, 255, 255, 255);
  if (layout.depth == BD_5) raster.masks = {0x7C00, 0x3E0, 0x1F};
  if (layout.depth == BD_565) raster.masks = {0xF800, 0x7E0, 0x1F};
  return raster;
}

ImageRef split(const Buffer<std::byte>& pixels, const Layout& layout, std::size_t width, std::size_t height) {
  if (layout.depth == BD_1 || layout.depth == BD_5 || layout.depth == BD_565)
    return read_raster(raster_of(layout, width, height), pixels);
  ImageDraft draft(layout.type, static_cast<std::int32_t>(width), static_cast<std::int32_t>(height), layout.channels);
  with_pixel_type(layout.type, [&](auto pixel) {
    for (std::size_t y = 0; y < height; ++y)
      split_row<decltype(pixel)>(pixels.data() + y * layout.row_bytes(width), layout, width, draft, y * width);
  });
  return draft.finish();
}

}  // namespace

ImageRef read_jxr(Bytes file) {
  const Decoder decoder(file);
  const Layout layout = layout_of(decoder.get());
  const std::size_t width = decoder->uWidth, height = decoder->uHeight;  // as stored, before any turning
  check_image_size(width, height, layout.channels, layout.type, file.size());

  decoder->WMP.wmiSCP.uAlphaMode = layout.alpha ? 2 : 0;  // 2: colors and alpha
  decoder->WMP.wmiI.oOrientation = O_NONE;
  const PKRect area{0, 0, static_cast<I32>(width), static_cast<I32>(height)};
  Buffer<std::byte> pixels(layout.row_bytes(width) * height);
  if (decoder->Copy(decoder.get(), &area, reinterpret_cast<U8*>(pixels.data()),
                    static_cast<U32>(layout.row_bytes(width))) < 0)
    fail("its pixels cannot be decoded: the file is damaged");
  return split(pixels, layout, width, height);
}

}  // namespace HalconCpp::detail

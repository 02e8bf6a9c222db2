// JPEG 2000 after ITU-T T.800, with OpenJPEG: JP2 files and bare codestreams to images, images to lossless JP2 files.
#include <openjpeg.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "core/buffer.h"
#include "core/failure.h"
#include "core/memory_limit.h"
#include "iconic/image.h"
#include "iconic/plane.h"
#include "images/codec.h"
#include "images/colors.h"
#include "images/formats.h"
#include "images/jp2_check.h"
#include "images/memory_file.h"

namespace HalconCpp::detail {

namespace {

template <auto destroy>
struct Closer {
  template <class T>
  void operator()(T* handle) const noexcept {
    destroy(handle);
  }
};
using Codec = std::unique_ptr<opj_codec_t, Closer<opj_destroy_codec>>;
using Stream = std::unique_ptr<opj_stream_t, Closer<opj_stream_destroy>>;
using Picture = std::unique_ptr<opj_image_t, Closer<opj_image_destroy>>;

template <class Handle>
Handle required(Handle handle) {
  if (!handle) throw std::bad_alloc();
  return handle;
}

// The first error; the later ones follow from it.
using Message = std::array<char, 400>;

void keep_error(const char* text, void* user) {
  auto& message = *static_cast<Message*>(user);
  if (message[0]) return;
  const std::size_t length = std::min(std::strcspn(text, "\r\n"), message.size() - 1);
  std::memcpy(message.data(), text, length);
}
void ignore(const char*, void*) {}

[[noreturn]] void reject_because(const Message& message) {
  fail(message[0] ? message.data() : "OpenJPEG fails and gives no reason");
}

constexpr auto failed = static_cast<OPJ_SIZE_T>(-1);

// The two parts of a checked file as one stream.
struct Source {
  MemoryFile boxes, codestream;

  std::size_t size() const { return boxes.source.size() + codestream.source.size(); }
  void seek(std::size_t to) {
    boxes.position = std::min(to, boxes.source.size());
    codestream.position = to - boxes.position;
  }
  std::size_t position() const { return boxes.position + codestream.position; }
};

OPJ_SIZE_T read_source(void* to, OPJ_SIZE_T bytes, void* user) {
  auto& source = *static_cast<Source*>(user);
  const std::size_t first = source.boxes.read(to, bytes);
  const std::size_t count = first + source.codestream.read(static_cast<char*>(to) + first, bytes - first);
  return count ? count : failed;
}
OPJ_OFF_T skip_source(OPJ_OFF_T bytes, void* user) {
  auto& source = *static_cast<Source*>(user);
  source.seek(source.position() + static_cast<std::size_t>(bytes));
  return bytes;
}
OPJ_BOOL seek_source(OPJ_OFF_T to, void* user) {
  static_cast<Source*>(user)->seek(static_cast<std::size_t>(to));
  return OPJ_TRUE;
}

OPJ_SIZE_T write_sink(void* from, OPJ_SIZE_T bytes, void* user) {
  return static_cast<MemoryFile*>(user)->write(from, bytes) ? bytes : failed;
}
OPJ_OFF_T skip_sink(OPJ_OFF_T bytes, void* user) {
  static_cast<MemoryFile*>(user)->position += static_cast<std::size_t>(bytes);
  return bytes;
}
OPJ_BOOL seek_sink(OPJ_OFF_T to, void* user) {
  static_cast<MemoryFile*>(user)->position = static_cast<std::size_t>(to);
  return OPJ_TRUE;
}

constexpr OPJ_SIZE_T stream_buffer = 64 * 1024;

Stream open_stream(Source& source) {
  Stream stream = required(Stream(opj_stream_create(stream_buffer, OPJ_TRUE)));
  opj_stream_set_user_data(stream.get(), &source, nullptr);
  opj_stream_set_user_data_length(stream.get(), source.size());
  opj_stream_set_read_function(stream.get(), read_source);
  opj_stream_set_skip_function(stream.get(), skip_source);
  opj_stream_set_seek_function(stream.get(), seek_source);
  return stream;
}

Stream open_stream(MemoryFile& sink) {
  Stream stream = required(Stream(opj_stream_create(stream_buffer, OPJ_FALSE)));
  opj_stream_set_user_data(stream.get(), &sink, nullptr);
  opj_stream_set_write_function(stream.get(), write_sink);
  opj_stream_set_skip_function(stream.get(), skip_sink);
  opj_stream_set_seek_function(stream.get(), seek_sink);
  return stream;
}

void listen(const Codec& codec, Message& message) {
  opj_set_error_handler(codec.get(), keep_error, &message);
  opj_set_warning_handler(codec.get(), ignore, nullptr);
  opj_set_info_handler(codec.get(), ignore, nullptr);
}

Picture decode(const CheckedJp2& file) {
  Source source{{file.boxes}, {file.codestream}};
  Message message{};
  const Codec codec = required(Codec(opj_create_decompress(file.boxes.empty() ? OPJ_CODEC_J2K : OPJ_CODEC_JP2)));
  const Stream stream = open_stream(source);
  listen(codec, message);
  opj_dparameters_t parameters;
  opj_set_default_decoder_parameters(&parameters);
  opj_image_t* header = nullptr;
  bool done = opj_setup_decoder(codec.get(), &parameters) && opj_decoder_set_strict_mode(codec.get(), OPJ_TRUE) &&
              opj_codec_set_threads(codec.get(), 0) && opj_read_header(stream.get(), codec.get(), &header);
  Picture picture(header);
  done = done && opj_decode(codec.get(), stream.get(), picture.get());
  if (!done) reject_because(message);
  for (OPJ_UINT32 c = 0; c < picture->numcomps; ++c)
    if (const auto& component = picture->comps[c]; !component.data || component.w == 0 || component.h == 0)
      fail("component " + std::to_string(c) + " holds nothing");
  return picture;
}

enum class Colors { AsStored, Ycc, Cmyk, Lab };

// A picture without a color space is YCC when its second and third components are smaller than the first.
Colors colors_of(const opj_image_t& picture) {
  const auto* parts = picture.comps;
  const bool unknown = picture.color_space == OPJ_CLRSPC_UNKNOWN || picture.color_space == OPJ_CLRSPC_UNSPECIFIED;
  if (picture.numcomps >= 4 && picture.color_space == OPJ_CLRSPC_CMYK) return Colors::Cmyk;
  if (picture.numcomps < 3) return Colors::AsStored;
  // OpenJPEG gives the parameters of L*a*b* as a profile of no length.
  if (picture.icc_profile_buf && picture.icc_profile_len == 0) return Colors::Lab;
  if (picture.color_space == OPJ_CLRSPC_SYCC || picture.color_space == OPJ_CLRSPC_EYCC) return Colors::Ycc;
  const bool smaller = parts[0].dx == 1 && parts[1].dx > 1 && parts[2].dx == parts[1].dx;
  return unknown && smaller ? Colors::Ycc : Colors::AsStored;
}

// How the samples of all components become pixels of one type. Pixels are signed when every component is; otherwise
// half of its range is added to a signed component. Unsigned samples of fewer bits than `bits` are stretched.
struct Scale {
  PixelType type = PixelType::Byte;
  unsigned bits = 8;
  bool is_signed = false;
};

Scale scale_of(const opj_image_t& picture, Colors colors) {
  Scale scale;
  scale.is_signed = colors == Colors::AsStored;
  for (OPJ_UINT32 c = 0; c < picture.numcomps; ++c) {
    scale.bits = std::max(scale.bits, picture.comps[c].prec);
    scale.is_signed = scale.is_signed && picture.comps[c].sgnd;
  }
  if (scale.bits > 31 || (scale.bits > 16 && colors != Colors::AsStored))
    fail("its samples of " + std::to_string(scale.bits) + " bits are too wide to be read");
  if (scale.bits > 16)
    scale.type = PixelType::Int4;
  else if (scale.bits > 8)
    scale.type = scale.is_signed ? PixelType::Int2 : PixelType::UInt2;
  else
    scale.type = scale.is_signed ? PixelType::Int1 : PixelType::Byte;
  return scale;
}

// The samples of a component as pixels.
template <class T>
class Samples {
 public:
  Samples(const opj_image_comp_t& component, const Scale& scale) {
    const auto range = static_cast<std::int32_t>((std::uint32_t{1} << component.prec) - 1);
    if (scale.is_signed) {
      lowest_ = -(range / 2) - 1;
      highest_ = range / 2;
    } else {
      up_ = component.sgnd ? range / 2 + 1 : 0;
      lowest_ = 0;
      highest_ = range;
      top_ = component.prec == scale.bits ? 0 : (std::uint64_t{1} << scale.bits) - 1;
    }
  }
  void convert(const OPJ_INT32* from, std::size_t count, T* to) const {
    if (top_)
      for (std::size_t i = 0; i < count; ++i)
        to[i] = static_cast<T>((static_cast<std::uint64_t>(value(from[i])) * top_ + highest_ / 2) / highest_);
    else
      for (std::size_t i = 0; i < count; ++i) to[i] = static_cast<T>(value(from[i]));
  }

 private:
  std::int32_t value(std::int32_t sample) const {
    return std::clamp(std::clamp(sample, lowest_ - up_, highest_ - up_) + up_, lowest_, highest_);
  }
  std::int32_t lowest_, highest_, up_ = 0;
  std::uint64_t top_ = 0;  // what `highest_` becomes; 0: itself
};

// A component on the grid of the picture: its sample i is at i times its step, counted from the grid's origin.
template <class T>
void fill_plane(const opj_image_t& picture, const opj_image_comp_t& component, const Scale& scale, T* plane) {
  const std::size_t width = picture.x1 - picture.x0, height = picture.y1 - picture.y0;
  const Samples<T> samples(component, scale);
  if (component.w == width && component.h == height) return samples.convert(component.data, width * height, plane);
  const auto sample_at = [](std::uint64_t position, std::uint32_t step, std::uint32_t first, std::uint32_t count) {
    const std::uint64_t index = position / step;
    return static_cast<std::size_t>(std::min<std::uint64_t>(index - std::min<std::uint64_t>(first, index), count - 1));
  };
  std::vector<std::size_t> columns(width);
  for (std::size_t x = 0; x < width; ++x)
    columns[x] = sample_at(picture.x0 + x, component.dx, component.x0, component.w);
  Buffer<T> row(component.w);
  for (std::size_t y = 0; y < height; ++y) {
    const std::size_t from = sample_at(picture.y0 + y, component.dy, component.y0, component.h);
    samples.convert(component.data + from * component.w, component.w, row.data());
    for (std::size_t x = 0; x < width; ++x) plane[y * width + x] = row[columns[x]];
  }
}

// The range of L*, a* and b* and the sample that means zero, by default those of the
// standard.
LabCoding lab_coding(const opj_image_t& picture, unsigned bits) {
  constexpr std::uint32_t by_default = 0x44454600;
  std::uint32_t given[9];  // 14, `by_default` or 0, then range and zero of each channel, the illuminant
  std::memcpy(given, picture.icc_profile_buf, sizeof given);
  const double usual[6] = {100, 0, 170, 0.5, 200, 0.375};  // zero as a fraction of 2^precision
  LabCoding coding;
  for (int c = 0; c < 3; ++c) {
    const bool usually = given[1] == by_default;
    const double steps = std::ldexp(1.0, static_cast<int>(picture.comps[c].prec));
    const double range = usually ? usual[2 * c] : given[2 + 2 * c];
    const double zero = usually ? usual[2 * c + 1] * steps : given[3 + 2 * c];
    coding.scale[c] = static_cast<float>(range / (std::ldexp(1.0, static_cast<int>(bits)) - 1));
    coding.offset[c] = static_cast<float>(-range * zero / (steps - 1));
  }
  return coding;
}

template <class T>
void convert_colors(const opj_image_t& picture, Colors colors, unsigned bits, ImageDraft& draft) {
  const std::size_t pixels = std::size_t{picture.x1 - picture.x0} * (picture.y1 - picture.y0);
  const std::uint32_t max = (1u << bits) - 1;
  if (colors == Colors::Ycc) ycc_to_rgb<T>(draft, pixels, max);
  if (colors == Colors::Cmyk) cmyk_to_rgb<T>(draft, pixels, max);
  if (colors == Colors::Lab) lab_to_rgb<T>(draft, pixels, lab_coding(picture, bits), max);
}

// A picture to be encoded. Three and four channels are colors; the fourth and the second are taken for an alpha
// channel.
template <class T>
Picture make_picture(const Image& image) {
  const auto channels = static_cast<OPJ_UINT32>(image.channels.size());
  opj_image_cmptparm_t parameters{};
  parameters.dx = parameters.dy = 1;
  parameters.w = static_cast<OPJ_UINT32>(image.width);
  parameters.h = static_cast<OPJ_UINT32>(image.height);
  parameters.prec = 8 * sizeof(T);
  parameters.sgnd = std::numeric_limits<T>::is_signed;
  std::vector<opj_image_cmptparm_t> all(channels, parameters);
  const OPJ_COLOR_SPACE space = channels == 3 || channels == 4 ? OPJ_CLRSPC_SRGB : OPJ_CLRSPC_GRAY;
  Picture picture = required(Picture(opj_image_create(channels, all.data(), space)));
  picture->x1 = parameters.w;
  picture->y1 = parameters.h;
  for (OPJ_UINT32 c = 0; c < channels; ++c) std::copy_n(image.plane<T>(c), image.pixels(), picture->comps[c].data);
  if (channels == 2 || channels == 4) picture->comps[channels - 1].alpha = 1;
  return picture;
}

Picture make_picture(const Image& image) {
  switch (image.type) {
    case PixelType::Byte:
      return make_picture<std::uint8_t>(image);
    case PixelType::Int1:
      return make_picture<std::int8_t>(image);
    case PixelType::UInt2:
      return make_picture<std::uint16_t>(image);
    case PixelType::Int2:
      return make_picture<std::int16_t>(image);
    default:
      reject_to_write(image, "JPEG 2000 holds byte, int1, uint2 and int2 images");
  }
}

}  // namespace

ImageRef read_jp2(Bytes file) {
  const CheckedJp2 checked = check_jp2(file);
  const MemoryCharge charge(checked.decoded_bytes);
  const Picture picture = decode(checked);
  const std::uint32_t width = picture->x1 - picture->x0, height = picture->y1 - picture->y0;
  check_image_size(width, height, picture->numcomps, PixelType::Int4, file.size());
  const Colors colors = colors_of(*picture);
  const Scale scale = scale_of(*picture, colors);
  ImageDraft draft(scale.type, static_cast<std::int32_t>(width), static_cast<std::int32_t>(height), picture->numcomps);
  with_pixel_type(scale.type, [&](auto pixel) {
    using T = decltype(pixel);
    for (OPJ_UINT32 c = 0; c < picture->numcomps; ++c)
      fill_plane(*picture, picture->comps[c], scale, draft.plane<T>(c));
  });
  if (scale.type == PixelType::Byte) convert_colors<std::uint8_t>(*picture, colors, scale.bits, draft);
  if (scale.type == PixelType::UInt2) convert_colors<std::uint16_t>(*picture, colors, scale.bits, draft);
  if (checked.gray_palette && draft.channels() == 3) draft.keep_channels(1);
  return draft.finish();
}

Buffer<std::byte> write_jp2(const Image& image) {
  const Picture picture = make_picture(image);
  opj_cparameters_t parameters;
  opj_set_default_encoder_parameters(&parameters);
  parameters.tcp_numlayers = 1;
  parameters.cp_disto_alloc = 1;
  parameters.tcp_mct = picture->color_space == OPJ_CLRSPC_SRGB;
  while (parameters.numresolution > 1 && 1 << (parameters.numresolution - 1) > std::min(image.width, image.height))
    --parameters.numresolution;
  MemoryFile sink;
  Message message{};
  const Codec codec = required(Codec(opj_create_compress(OPJ_CODEC_JP2)));
  const Stream stream = open_stream(sink);
  listen(codec, message);
  const bool done = opj_codec_set_threads(codec.get(), 0) &&
                    opj_setup_encoder(codec.get(), &parameters, picture.get()) &&
                    opj_start_compress(codec.get(), picture.get(), stream.get()) &&
                    opj_encode(codec.get(), stream.get()) && opj_end_compress(codec.get(), stream.get());
  if (sink.out_of_memory) throw std::bad_alloc();
  if (!done) reject_because(message);
  return std::move(sink.written);
}

}  // namespace HalconCpp::detail

#include "images/tiff_file.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>

#include "core/failure.h"
#include "core/limits.h"
#include "images/codec.h"

namespace HalconCpp::detail {

namespace {

MemoryFile& file_of(thandle_t handle) { return *static_cast<MemoryFile*>(handle); }

tmsize_t read_file(thandle_t handle, void* to, tmsize_t bytes) {
  return static_cast<tmsize_t>(file_of(handle).read(to, static_cast<std::size_t>(bytes)));
}
tmsize_t write_file(thandle_t handle, void* from, tmsize_t bytes) {
  return file_of(handle).write(from, static_cast<std::size_t>(bytes)) ? bytes : -1;
}
toff_t seek_file(thandle_t handle, toff_t offset, int whence) {
  MemoryFile& file = file_of(handle);
  if (whence == SEEK_CUR) offset += file.position;
  if (whence == SEEK_END) offset += file.content().size();
  return file.position = static_cast<std::size_t>(offset);
}
toff_t size_of_file(thandle_t handle) { return file_of(handle).content().size(); }

// libtiff maps only files that it reads, and does not write there.
int map_file(thandle_t handle, void** base, toff_t* size) {
  const Bytes content = file_of(handle).content();
  *base = const_cast<std::byte*>(content.data());
  *size = content.size();
  return 1;
}
void unmap_file(thandle_t, void*, toff_t) {}

int close_nothing(thandle_t) { return 0; }

int keep_error(TIFF*, void* user, const char*, const char* format, va_list arguments) {
  auto& text = static_cast<TiffMessages*>(user)->error;
  if (!text[0]) std::vsnprintf(text.data(), text.size(), format, arguments);
  return 1;
}

// For JPEG and fax data that is missing or damaged, libtiff only warns and fills in pixels. Here that is an error.
bool tells_damage(const char* warning) {
  for (const char* sign : {"Premature end of JPEG", "Corrupt JPEG data", "Premature EO", "Line length mismatch"})
    if (std::strstr(warning, sign)) return !std::strstr(warning, "extraneous bytes");
  return false;
}

int keep_warning(TIFF*, void* user, const char*, const char* format, va_list arguments) {
  auto& [error, text, tag_lost] = *static_cast<TiffMessages*>(user);
  std::vsnprintf(text.data(), text.size(), format, arguments);
  if (!error[0] && tells_damage(text.data())) error = text;
  tag_lost = tag_lost || std::strstr(text.data(), "IO error during reading of ");
  return 1;
}

struct OptionsFree {
  void operator()(TIFFOpenOptions* options) const noexcept { TIFFOpenOptionsFree(options); }
};
using Options = std::unique_ptr<TIFFOpenOptions, OptionsFree>;

Options make_options(TiffMessages& messages) {
  Options options(TIFFOpenOptionsAlloc());
  if (!options) throw std::bad_alloc();
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), keep_error, &messages);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), keep_warning, &messages);
  return options;
}

}  // namespace

TiffHandle open_tiff(MemoryFile& file, const char* mode, TiffMessages& messages) {
  const Options options = make_options(messages);
  const std::uint64_t max =
      std::min(limits::image_bytes, std::max<std::uint64_t>(limits::decoded_free, 16 * file.source.size()));
  TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), static_cast<tmsize_t>(max));
  TiffHandle tiff(TIFFClientOpenExt("TIFF", mode, &file, read_file, write_file, seek_file, close_nothing, size_of_file,
                                    map_file, unmap_file, options.get()));
  if (!tiff) reject_tiff(messages);
  return tiff;
}

void reject_tiff(const TiffMessages& messages) {
  if (messages.error[0]) fail(messages.error.data());
  if (messages.warning[0]) fail(messages.warning.data());
  fail("libtiff cannot decode it and gives no reason");
}

}  // namespace HalconCpp::detail

#include "images/tiff_file.h"

#include <cstdio>
#include <string>

#include "core/failure.h"
#include "core/limits.h"

namespace HalconCpp::detail {

namespace {

MemorySource& source_of(thandle_t handle) { return *static_cast<MemorySource*>(handle); }
MemorySink& sink_of(thandle_t handle) { return *static_cast<MemorySink*>(handle); }

tmsize_t read_source(thandle_t handle, void* to, tmsize_t bytes) {
  return static_cast<tmsize_t>(source_of(handle).read(to, static_cast<std::size_t>(bytes)));
}
tmsize_t write_nothing(thandle_t, void*, tmsize_t) { return 0; }

toff_t seek_source(thandle_t handle, toff_t offset, int whence) {
  MemorySource& source = source_of(handle);
  if (whence == SEEK_CUR) offset += source.position;
  if (whence == SEEK_END) offset += source.content.size();
  return source.position = static_cast<std::size_t>(offset);
}
toff_t source_size(thandle_t handle) { return source_of(handle).content.size(); }

// libtiff only reads what it maps for reading.
int map_source(thandle_t handle, void** base, toff_t* size) {
  const Bytes content = source_of(handle).content;
  *base = const_cast<std::byte*>(content.data());
  *size = content.size();
  return 1;
}
void unmap_source(thandle_t, void*, toff_t) {}

tmsize_t read_sink(thandle_t handle, void* to, tmsize_t bytes) {
  MemorySink& sink = sink_of(handle);
  MemorySource written{sink.content, sink.position};
  const std::size_t count = written.read(to, static_cast<std::size_t>(bytes));
  sink.position = written.position;
  return static_cast<tmsize_t>(count);
}
tmsize_t write_sink(thandle_t handle, void* from, tmsize_t bytes) {
  return sink_of(handle).write(from, static_cast<std::size_t>(bytes)) ? bytes : -1;
}
toff_t seek_sink(thandle_t handle, toff_t offset, int whence) {
  MemorySink& sink = sink_of(handle);
  if (whence == SEEK_CUR) offset += sink.position;
  if (whence == SEEK_END) offset += sink.content.size();
  return sink.position = static_cast<std::size_t>(offset);
}
toff_t sink_size(thandle_t handle) { return sink_of(handle).content.size(); }

int close_nothing(thandle_t) { return 0; }

int keep_error(TIFF*, void* user, const char*, const char* format, va_list arguments) {
  auto& text = static_cast<TiffMessages*>(user)->error;
  if (!text[0]) std::vsnprintf(text.data(), text.size(), format, arguments);
  return 1;
}

// Of JPEG and fax data that is missing or damaged libtiff only warns and fills it up: here that is an error.
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

TiffHandle open_tiff(MemorySource& source, TiffMessages& messages) {
  const Options options = make_options(messages);
  const std::uint64_t most =
      std::min(limits::image_bytes, std::max<std::uint64_t>(limits::decoded_free, 16 * source.content.size()));
  TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), static_cast<tmsize_t>(most));
  TiffHandle tiff(TIFFClientOpenExt("TIFF", "r", &source, read_source, write_nothing, seek_source, close_nothing,
                                    source_size, map_source, unmap_source, options.get()));
  if (!tiff) reject_tiff(messages);
  return tiff;
}

TiffHandle create_tiff(MemorySink& sink, bool big, TiffMessages& messages) {
  const Options options = make_options(messages);
  TiffHandle tiff(TIFFClientOpenExt("TIFF", big ? "w8" : "w", &sink, read_sink, write_sink, seek_sink, close_nothing,
                                    sink_size, nullptr, nullptr, options.get()));
  if (!tiff) reject_tiff(messages);
  return tiff;
}

void reject_tiff(const TiffMessages& messages) {
  if (messages.error[0]) fail(messages.error.data());
  if (messages.warning[0]) fail(messages.warning.data());
  fail("libtiff cannot decode it and gives no reason");
}

}  // namespace HalconCpp::detail

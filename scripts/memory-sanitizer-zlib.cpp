// What zlib writes is written as far as MemorySanitizer is concerned: zlib itself is not built under it. The linker
// puts these in front of its functions (scripts/memory-sanitizer).
#include <sanitizer/msan_interface.h>
#include <zlib.h>

extern "C" {

int __real_inflateInit2_(z_stream* stream, int bits, const char* version, int size);
int __real_inflateInit_(z_stream* stream, const char* version, int size);
int __real_inflateReset(z_stream* stream);
int __real_inflate(z_stream* stream, int flush);
int __real_deflateInit2_(z_stream* stream, int level, int method, int bits, int memory, int strategy,
                         const char* version, int size);
int __real_deflate(z_stream* stream, int flush);
int __real_deflateInit_(z_stream* stream, int level, const char* version, int size);

static int written(z_stream* stream, int result) {
  __msan_unpoison(stream, sizeof(*stream));
  if (stream->msg != nullptr)
    __msan_unpoison_string(stream->msg);
  return result;
}

// The bytes between where the output began and where it is now.
static int written_from(const Bytef* start, z_stream* stream, int result) {
  written(stream, result);
  if (start != nullptr && stream->next_out > start)
    __msan_unpoison(start, static_cast<size_t>(stream->next_out - start));
  return result;
}

int __wrap_inflateInit2_(z_stream* stream, int bits, const char* version, int size) {
  return written(stream, __real_inflateInit2_(stream, bits, version, size));
}
int __wrap_inflateInit_(z_stream* stream, const char* version, int size) {
  return written(stream, __real_inflateInit_(stream, version, size));
}
int __wrap_inflateReset(z_stream* stream) {
  return written(stream, __real_inflateReset(stream));
}
int __wrap_inflate(z_stream* stream, int flush) {
  // What goes in must have been written by somebody else.
  __msan_check_mem_is_initialized(stream->next_in, stream->avail_in);
  const Bytef* const start = stream->next_out;
  return written_from(start, stream, __real_inflate(stream, flush));
}
int __wrap_deflateInit2_(z_stream* stream, int level, int method, int bits, int memory, int strategy,
                         const char* version, int size) {
  return written(stream, __real_deflateInit2_(stream, level, method, bits, memory, strategy, version, size));
}
int __wrap_deflateInit_(z_stream* stream, int level, const char* version, int size) {
  return written(stream, __real_deflateInit_(stream, level, version, size));
}
int __wrap_deflate(z_stream* stream, int flush) {
  __msan_check_mem_is_initialized(stream->next_in, stream->avail_in);
  const Bytef* const start = stream->next_out;
  return written_from(start, stream, __real_deflate(stream, flush));
}
}

// zlib, and zopfli for those who have time.
#include "sheaf/document/writer/deflater.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "sheaf/document/writer/doc_writer.h"

#ifdef SHEAF_HAS_ZOPFLI
#include <zopfli/zopfli.h>
#endif

namespace sheaf {

namespace {

constexpr int kWindowBits = 15;
constexpr int kMostMemory = 9;
constexpr std::size_t kFirstRoom = 4096;

#ifdef SHEAF_HAS_ZOPFLI
// What is larger than this takes minutes by the slow way, and zlib comes close to it there.
constexpr std::size_t kMostForEffort = 16 * 1024 * 1024;

// So many rounds over the data make small streams as small as they get; large ones have fewer, so that none takes much
// longer than a few mebibytes read once.
constexpr std::size_t kMostRounds = 15;
constexpr std::size_t kMostBytesOfRounds = kMostRounds * 256 * 1024;

unsigned char* deflate_slowly(const unsigned char* data, std::size_t size, std::size_t& out_size) {
  ZopfliOptions options;
  ZopfliInitOptions(&options);
  const std::size_t rounds = kMostBytesOfRounds / std::max<std::size_t>(size, 1);
  options.numiterations = static_cast<int>(std::clamp<std::size_t>(rounds, 1, kMostRounds));
  unsigned char* packed = nullptr;
  out_size = 0;
  ZopfliCompress(&options, ZOPFLI_FORMAT_ZLIB, data, size, &packed, &out_size);
  auto* const block = packed != nullptr ? static_cast<unsigned char*>(QVAlloc(out_size)) : nullptr;
  if (block != nullptr)
    std::memcpy(block, packed, out_size);
  std::free(packed);
  return block;
}
#endif

}  // namespace

Deflater::Deflater(int level) {
  failed_ = deflateInit2(&zstream_, level, Z_DEFLATED, kWindowBits, kMostMemory, Z_DEFAULT_STRATEGY) != Z_OK;
}

Deflater::~Deflater() {
  deflateEnd(&zstream_);
}

void Deflater::restart() {
  failed_ = deflateReset(&zstream_) != Z_OK;
  size_ = 0;
}

bool Deflater::make_room() {
  const std::size_t room = room_ == 0 ? kFirstRoom : room_ * 2;
  auto* const grown = room <= INT_MAX ? static_cast<unsigned char*>(QVRealloc(block_.get(), room)) : nullptr;
  if (grown == nullptr)
    return false;
  block_.release();
  block_.reset(grown);
  room_ = room;
  return true;
}

void Deflater::run(int flush) {
  for (;;) {
    if (failed_ || (size_ == room_ && !make_room())) {
      failed_ = true;
      return;
    }
    zstream_.next_out = block_.get() + size_;
    zstream_.avail_out = static_cast<uInt>(room_ - size_);
    const int result = deflate(&zstream_, flush);
    size_ = room_ - zstream_.avail_out;
    if (result == Z_STREAM_END || (flush == Z_NO_FLUSH && zstream_.avail_in == 0 && zstream_.avail_out != 0))
      return;
    failed_ = result != Z_OK && result != Z_BUF_ERROR;
  }
}

void Deflater::add(const void* data, std::size_t size) {
  if (size == 0 || size > UINT_MAX)
    return;
  zstream_.next_in = static_cast<Bytef*>(const_cast<void*>(data));
  zstream_.avail_in = static_cast<uInt>(size);
  run(Z_NO_FLUSH);
}

bool Deflater::finish() {
  zstream_.next_in = nullptr;
  zstream_.avail_in = 0;
  run(Z_FINISH);
  return !failed_;
}

bool has_most_effort() {
#ifdef SHEAF_HAS_ZOPFLI
  return true;
#else
  return false;
#endif
}

unsigned char* deflate_block(const unsigned char* data, std::size_t size, int level, std::size_t& out_size) {
#ifdef SHEAF_HAS_ZOPFLI
  if (level >= PDF_WRITE_OPTIONS::kMostEffort && size <= kMostForEffort)
    return deflate_slowly(data, size, out_size);
#endif
  Deflater deflater(std::clamp(level, 1, Z_BEST_COMPRESSION));
  deflater.add(data, size);
  if (!deflater.finish())
    return nullptr;
  out_size = deflater.size();
  return deflater.release();
}

}  // namespace sheaf

// OpenJPEG over a block of memory.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sheaf/base/heap.h"

struct opj_image;

namespace sheaf {

/// The functions that get the messages.
using JpxMessage = void (*)(const char* msg, void* client);

/// How the data are read.
struct JpxForm {
  bool is_bare = false;        ///< A code stream without boxes.
  bool keeps_indexes = false;  ///< A palette of the data is not applied.
};

/// One image being read. The data are borrowed and must stay until the object ends.
class JpxSource : public QVHeapObject<JpxSource> {
public:
  JpxSource() = default;
  JpxSource(const JpxSource&) = delete;
  JpxSource& operator=(const JpxSource&) = delete;
  ~JpxSource() { close(); }

  /// Reads the headers. False when the data are no image, or claim what their length cannot justify.
  bool open(const std::uint8_t* data, std::size_t len, JpxForm form, JpxMessage on_error, JpxMessage on_warning);
  /// Decodes all samples into the planes of `image`. False on a fatal error.
  bool decode();
  /// The image of the header, or null. Borrowed.
  const opj_image* image() const { return image_; }
  void close();

private:
  static std::size_t read(void* dst, std::size_t size, void* client);
  static std::int64_t skip(std::int64_t count, void* client);
  static int seek(std::int64_t pos, void* client);

  const std::uint8_t* data_ = nullptr;
  std::size_t len_ = 0;
  std::size_t pos_ = 0;
  void* codec_ = nullptr;
  void* stream_ = nullptr;
  opj_image* image_ = nullptr;
};

}  // namespace sheaf

// Byte streams: the library's one abstraction of a seekable sequence of bytes, and the three
// classes behind it. No operation reports an error except by its count: a failed seek is silent, and
// a short read or write is the only sign of the end. One thread at a time.
#pragma once

#include <cstdint>
#include <cstdio>

#include "sheaf/base/heap.h"

/// Abstract seekable byte stream. Positions are the storage's less `base_offset`, so that bytes
/// that start some way into their storage can be presented as if they started at 0.
class CQVStream : public QVHeapObject<CQVStream> {
public:
  enum STR_SEEK : int { STR_SEEK_SET = 0, STR_SEEK_CUR = 1, STR_SEEK_END = 2 };

  CQVStream() = default;
  CQVStream(const CQVStream&) = delete;
  CQVStream& operator=(const CQVStream&) = delete;
  virtual ~CQVStream() = default;

  /// The length in bytes, counted from `base_offset`.
  virtual long long GetLen() const = 0;
  /// The present position, counted from `base_offset`.
  virtual long long GetPos() const = 0;
  /// Moves the position; `offset` counts from `base_offset` for STR_SEEK_SET only. Always 1.
  virtual int SetPos(STR_SEEK whence, long long offset) = 0;
  /// Moves up to `size` bytes to `dst` and gives their count; a count below `size` is the end.
  virtual unsigned int Read(void* dst, unsigned int size) = 0;
  /// Moves up to `size` bytes from `src` and gives their count.
  virtual unsigned int Write(const void* src, unsigned int size) = 0;
  /// Returns the stream to its freshly built state; a second call is harmless.
  virtual void Close() {}
  virtual void Flush() {}

  /// Logical origin of the stream inside its storage, in bytes.
  long long base_offset = 0;

  /// For readers of PDF syntax: the bytes that strings without an end have run over so far, and
  /// whether these are so many that strings of this file end with their object.
  long long unclosed_bytes = 0;
  bool has_unclosed_strings = false;
};

/// A growing buffer of the QVAlloc family that the stream owns. Positions are unsigned 32 bits.
class CQVStreamMem : public CQVStream {
public:
  ~CQVStreamMem() override;
  long long GetLen() const override;
  long long GetPos() const override;
  /// A position before the start wraps to a huge one and so ends at the end, not at 0.
  int SetPos(STR_SEEK whence, long long offset) override;
  unsigned int Read(void* dst, unsigned int size) override;
  /// Grows the buffer to the next multiple of 8,192 bytes. 0 when that fails: the stream is then
  /// closed, empty and usable again.
  unsigned int Write(const void* src, unsigned int size) override;
  void Close() override;

  std::uint8_t* data = nullptr;  ///< The buffer; may be read directly.
  std::uint32_t pos = 0;         ///< Index into `data`.
  std::uint32_t len = 0;         ///< Valid bytes.
  std::uint32_t capacity = 0;    ///< Bytes allocated.
};

/// A view of a buffer that the caller keeps; it never allocates, frees or grows.
class CQVStreamMemFix : public CQVStream {
public:
  ~CQVStreamMemFix() override;
  /// Views `len` bytes at `data`, borrowed, from position 0.
  void Open(void* data, int len);
  long long GetLen() const override;
  long long GetPos() const override;
  /// Clamps on both sides; any other `whence` leaves the position alone.
  int SetPos(STR_SEEK whence, long long offset) override;
  unsigned int Read(void* dst, unsigned int size) override;
  /// Overwrites the view in place; the count says how much fitted.
  unsigned int Write(const void* src, unsigned int size) override;
  void Close() override;

  std::int32_t len = 0;          ///< Size of the view.
  std::int32_t pos = 0;          ///< Index into `data`.
  std::uint8_t* data = nullptr;  ///< Borrowed.
};

/// A C library FILE. Without an open file it behaves as an empty stream.
class CQVStreamFile : public CQVStream {
public:
  ~CQVStreamFile() override;
  /// Copies `path` and opens it for reading. A failure leaves `file` null.
  void Open(const char* path);
  /// The low 32 bits of the file's length: files of 4 GiB and more report it modulo 2^32.
  long long GetLen() const override;
  long long GetPos() const override;
  int SetPos(STR_SEEK whence, long long offset) override;
  unsigned int Read(void* dst, unsigned int size) override;
  unsigned int Write(const void* src, unsigned int size) override;
  void Close() override;
  /// fflush of the file; without one it flushes every open output file of the process.
  void Flush() override;

  char* path = nullptr;       ///< Copy of the file's name, owned, from the QVAlloc family.
  std::FILE* file = nullptr;  ///< Owned.
};

// A read-only file stream for documents that are read object by object: a few blocks of the file
// stay in memory, so that neighbouring objects cost no system call of their own.
#pragma once

#include "sheaf/base/stream.h"

/// Reads a file through a small cache of aligned blocks. Without an open file it behaves as an
/// empty stream; `Write` moves nothing.
class CQVStreamBlocks : public CQVStream {
public:
  ~CQVStreamBlocks() override;
  /// Opens `path`. False when that fails, or when there is no memory for the blocks.
  bool Open(const char* path);
  /// The file's length at opening.
  long long GetLen() const override { return len_ - base_offset; }
  long long GetPos() const override { return pos_ - base_offset; }
  int SetPos(STR_SEEK whence, long long offset) override;
  unsigned int Read(void* dst, unsigned int size) override;
  unsigned int Write(const void*, unsigned int) override { return 0; }
  void Close() override;
  /// Whether `file` is the file that is read, and nobody has changed it since it was opened.
  bool reads_same_file(const CQVStreamFile& file) const;

private:
  static constexpr unsigned kBlock = 8 * 1024;
  static constexpr unsigned kSlots = 8;

  const std::uint8_t* block_at(long long start, unsigned& available);
  unsigned read_direct(std::uint8_t* dst, unsigned size);

  int handle_ = -1;
  long long len_ = 0;
  long long changed_ = 0;  // when the file was changed last, in nanoseconds, as of opening
  long long pos_ = 0;
  std::uint8_t* blocks_ = nullptr;  // kSlots blocks; a block's slot follows from its place
  long long starts_[kSlots];        // where each slot's block begins, -1 for none
  unsigned sizes_[kSlots];
};

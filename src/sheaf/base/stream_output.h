// A file that is being made: every write goes to its place without a buffer or a seek of its own,
// which suits the saves, since they collect their bytes into blocks themselves.
#pragma once

#include "sheaf/base/stream.h"

/// Reads and writes a file by position. Without an open file it behaves as an empty stream.
class CQVStreamOutput : public CQVStream {
public:
  ~CQVStreamOutput() override;
  /// Takes over `handle`, a descriptor open for reading and writing.
  void Open(int handle);
  /// The low 32 bits of the file's length, as for CQVStreamFile.
  long long GetLen() const override;
  long long GetPos() const override { return pos_ - base_offset; }
  int SetPos(STR_SEEK whence, long long offset) override;
  unsigned int Read(void* dst, unsigned int size) override;
  unsigned int Write(const void* src, unsigned int size) override;
  void Close() override;
  int handle() const { return handle_; }

private:
  std::uint32_t length() const;

  int handle_ = -1;
  long long pos_ = 0;
};

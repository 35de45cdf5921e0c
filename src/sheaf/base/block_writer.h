// The output side of a save: collects small writes into blocks, keeps its own position, and
// remembers whether any of them came short. Reads of the same file between two writes do no harm,
// since each block seeks to its place first.
#pragma once

#include "sheaf/base/stream.h"

namespace sheaf {

class BlockWriter : public CQVStream {
public:
  /// Writes to `target`, borrowed, from its present position on.
  explicit BlockWriter(CQVStream* target);
  ~BlockWriter() override;

  long long GetLen() const override;
  long long GetPos() const override;
  int SetPos(STR_SEEK whence, long long offset) override;
  unsigned int Read(void* dst, unsigned int size) override;
  unsigned int Write(const void* src, unsigned int size) override;
  /// Brings all bytes to the target and flushes it.
  void Flush() override;

  /// Brings all bytes to the target and leaves it at the writer's position.
  void write_out();
  bool failed() const { return failed_; }

  void text(const char* text);
  void decimal(std::uint32_t value);

private:
  static constexpr unsigned kBlock = 32 * 1024;

  void put_block();

  CQVStream* target_;
  std::uint8_t* block_;
  unsigned used_ = 0;
  long long start_;  // where the block belongs
  bool failed_ = false;
};

}  // namespace sheaf

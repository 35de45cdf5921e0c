// Writes go into one block; a seek or a full block sends it to its place.
#include <algorithm>
#include <cstring>

#include "sheaf/base/block_writer.h"
#include "sheaf/base/heap.h"
#include "sheaf/base/number_text.h"
#include "sheaf/base/work_watch.h"

namespace sheaf {

BlockWriter::BlockWriter(CQVStream* target)
    : target_(target), block_(static_cast<std::uint8_t*>(QVAlloc(kBlock))), start_(target->GetPos()) {}

BlockWriter::~BlockWriter() {
  write_out();
  QVFree(block_);
}

long long BlockWriter::GetLen() const {
  return std::max<long long>(target_->GetLen(), GetPos());
}

long long BlockWriter::GetPos() const {
  return start_ + used_;
}

int BlockWriter::SetPos(STR_SEEK whence, long long offset) {
  write_out();
  target_->SetPos(whence, offset);
  start_ = target_->GetPos();
  return 1;
}

unsigned int BlockWriter::Read(void* dst, unsigned int size) {
  write_out();
  const unsigned count = target_->Read(dst, size);
  start_ += count;
  return count;
}

unsigned int BlockWriter::Write(const void* src, unsigned int size) {
  if (block_ == nullptr || size >= kBlock) {
    write_out();
    WorkWatch::step();  // for who watches: a body of any length is written without a request for memory
    const unsigned count = target_->Write(src, size);
    failed_ = failed_ || count != size;
    start_ += size;
    return size;
  }
  if (size > kBlock - used_)
    put_block();
  std::memcpy(block_ + used_, src, size);
  used_ += size;
  return size;
}

void BlockWriter::put_block() {
  if (used_ == 0)
    return;
  WorkWatch::step();
  target_->SetPos(STR_SEEK_SET, start_);
  failed_ = failed_ || target_->GetPos() != start_ || target_->Write(block_, used_) != used_;
  start_ += used_;
  used_ = 0;
}

void BlockWriter::write_out() {
  put_block();
  target_->SetPos(STR_SEEK_SET, start_);
}

void BlockWriter::Flush() {
  write_out();
  target_->Flush();
}

void BlockWriter::text(const char* text) {
  Write(text, static_cast<unsigned>(std::strlen(text)));
}

void BlockWriter::decimal(std::uint32_t value) {
  char digits[kNumberTextSize];
  Write(digits, static_cast<unsigned>(ansi_from_u32(digits, value)));
}

}  // namespace sheaf

// A stream over another one whose operations fail on demand: the n-th one comes short, does
// nothing, or nothing works any more from it on.
#pragma once

#include "sheaf/base/stream.h"

using namespace sheaf;

enum class Fault { kShort, kNothing, kDead };

class FaultyStream : public CQVStream {
public:
  enum Operation { kRead = 1, kWrite = 2, kSeek = 4 };

  /// The operation of this number, from 1 on, among those in the mask `counted` is the faulty one; 0: none.
  FaultyStream(CQVStream& target, int counted, long long faulty, Fault fault)
      : target_(target), counted_(counted), faulty_(faulty), fault_(fault) {}

  long long GetLen() const override { return target_.GetLen() - base_offset; }
  long long GetPos() const override { return target_.GetPos() - base_offset; }
  int SetPos(STR_SEEK whence, long long offset) override {
    // Half a seek is no seek.
    return is_faulty(kSeek) ? 1 : target_.SetPos(whence, whence == STR_SEEK_SET ? offset + base_offset : offset);
  }
  unsigned int Read(void* dst, unsigned int size) override {
    return is_faulty(kRead) ? target_.Read(dst, rest_of(size)) : target_.Read(dst, size);
  }
  unsigned int Write(const void* src, unsigned int size) override {
    return is_faulty(kWrite) ? target_.Write(src, rest_of(size)) : target_.Write(src, size);
  }
  void Flush() override { target_.Flush(); }

  bool has_failed() const { return has_failed_; }
  /// From here on everything works.
  void repair() { faulty_ = 0; }

  long long operations = 0;

private:
  bool is_faulty(Operation operation) {
    if ((counted_ & operation) != 0)
      ++operations;
    if (faulty_ <= 0 || operations < faulty_)
      return false;
    has_failed_ = true;
    return fault_ == Fault::kDead || ((counted_ & operation) != 0 && operations == faulty_);
  }
  unsigned rest_of(unsigned size) const { return fault_ == Fault::kShort ? size / 2 : 0; }

  CQVStream& target_;
  int counted_;
  long long faulty_;
  Fault fault_;
  bool has_failed_ = false;
};

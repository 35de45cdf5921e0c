// The bytes of a stream as they are stored: their true count, and the encryption taken off. The
// filters stay on. Whoever decodes, copies or saves a stream takes its bytes through here.
#pragma once

#include <cstdint>

#include "sheaf/base/scope_guard.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/object.h"

class CPDFSecHand;
class CQVStream;

namespace sheaf {

/// What an integer below 1 under "Length" means: no bytes, or as many as there are up to "endstream".
enum class NoLength { kEmpty, kSearched };

class StoredBytes {
public:
  /// Finds the bytes of `rec` in `source`: as many as the record says; else as the integer `stated`
  /// says, which is its "Length" with a reference followed, or null; else those up to "endstream".
  /// Of what `source` lacks after its end no more than 64 KiB count. False: the record cannot be
  /// used, or there is no memory.
  bool find(const CPDFStreamRec& rec, CQVStream* source, const CPDFObj* stated, NoLength none);
  /// Leaves out what `source` does not have.
  void cut_to_source();
  /// Reads the bytes into a block of memory, a NUL after them; zeros stand for those that cannot be
  /// read. False when there is no memory.
  bool load();
  /// Takes the encryption of the object `ref` off. False when there is no memory.
  bool decrypt(CPDFSecHand& hand, const PDF_REF& ref);

  /// No bytes.
  void clear();

  std::int32_t size() const { return size_; }
  /// The bytes in memory; null while they are only found. Borrowed.
  unsigned char* data() const { return block_.get(); }
  /// Copies `count` bytes from place `at` on into `dst`; zeros stand for those that cannot be read.
  /// May move the position of the source.
  void copy(std::int32_t at, unsigned char* dst, unsigned count) const;
  /// Hands out the block, which is the caller's then and is released with QVFree.
  unsigned char* release() { return block_.release(); }

private:
  bool search();
  void read(std::int32_t at, unsigned char* dst, unsigned count) const;

  CQVStream* source_ = nullptr;
  std::uint32_t offset_ = 0;
  std::int32_t size_ = 0;
  HeapBlock<unsigned char> block_;
};

}  // namespace sheaf

// A new file as it grows: objects one after the other, and at its end the section that says where they are.
#pragma once

#include <cstdint>

#include "sheaf/base/block_writer.h"
#include "sheaf/base/grow_array.h"
#include "sheaf/document/writer/target_section.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/object.h"

class CPDFEncrypt;
class CPDFXRefTable;

namespace sheaf {

class TargetFile {
public:
  /// Writes to `out` from its present position on, which counts as 0. `enc` may be null.
  TargetFile(CQVStream& out, CPDFEncrypt* enc);
  TargetFile(const TargetFile&) = delete;
  TargetFile& operator=(const TargetFile&) = delete;

  /// Room for entries below `count`. False when there is no memory.
  bool reserve(std::int32_t count);
  /// From here on objects are printed for people, unless they are encrypted.
  void make_readable() { readable_ = enc_ == nullptr; }
  void put_header(const char* version);
  /// Prints an object of `table` under `num`. False when its bytes cannot be had: the entry is free then.
  bool put(CPDFXRefTable& table, CPDFObj& obj, std::int32_t num);
  /// Prints a stream of these bytes. Takes over what `dict` holds.
  void put_stream(CPDFDictionary& dict, unsigned char* data, std::size_t size, std::int32_t num);
  /// The object is member `index` of the object stream `holder`.
  void set_member(std::int32_t num, std::int32_t holder, std::int32_t index);
  void set_place(std::int32_t num, std::uint32_t place);

  /// A classic section and its trailer. `trailer` lacks only "Size".
  void put_classic_section(CPDFDictionary& trailer);
  /// A cross-reference stream with the number `num`, which is above all others.
  void put_section_stream(CPDFDictionary& trailer, std::int32_t num);

  CPDFEncrypt* encrypt() const { return enc_; }
  BlockWriter& out() { return out_; }
  const TargetEntry& entry(std::int32_t num) const { return entries_[object_index(num)]; }
  /// Changes an entry, but never that of object 0.
  void set_entry(std::int32_t num, const TargetEntry& entry) {
    if (num > 0)
      entries_[object_index(num)] = entry;
  }
  std::uint32_t position() const { return static_cast<std::uint32_t>(out_.GetPos() - start_); }
  /// Whether all was written, and no offset is above what a file can have.
  bool finish();
  void fail() { failed_ = true; }

private:
  BlockWriter out_;
  CPDFEncrypt* enc_;
  long long start_;
  bool failed_ = false;
  bool readable_ = false;
  GrowArray<TargetEntry> entries_;
};

}  // namespace sheaf

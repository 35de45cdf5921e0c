// A new file as it grows: objects one after the other, and at its end the section that says where they are.
#pragma once

#include <cstdint>

#include "sheaf/base/block_writer.h"
#include "sheaf/base/grow_array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/object.h"

class CPDFEncrypt;
class CPDFXRefTable;

namespace sheaf {

/// Where an object is in the new file.
struct TargetEntry {
  static constexpr std::uint32_t kFree = UINT32_MAX;
  static constexpr std::uint32_t kInFile = UINT32_MAX - 1;

  std::uint32_t place;  ///< A position, or the number of the object stream.
  std::uint32_t index;  ///< In the object stream, or kFree, kInFile.
};

class TargetFile {
public:
  /// Writes to `out` from its present position on, which counts as 0. `enc` may be null.
  TargetFile(CQVStream& out, CPDFEncrypt* enc);
  TargetFile(const TargetFile&) = delete;
  TargetFile& operator=(const TargetFile&) = delete;

  /// Room for entries below `count`. False when there is no memory.
  bool reserve(std::int32_t count);
  void put_header(const char* version);
  /// Prints an object of `table` under `num`. False when its bytes cannot be had: the entry is free then.
  bool put(CPDFXRefTable& table, CPDFObj& obj, std::int32_t num);
  /// Prints a stream of these bytes, encrypted if `enc` is not null. Takes over what `dict` holds.
  void put_stream(CPDFDictionary& dict, unsigned char* data, std::size_t size, std::int32_t num, CPDFEncrypt* enc);
  /// The object is member `index` of the object stream `holder`.
  void set_member(std::int32_t num, std::int32_t holder, std::int32_t index);
  void set_place(std::int32_t num, std::uint32_t place);

  /// A classic section and its trailer. `trailer` lacks only "Size".
  void put_classic_section(CPDFDictionary& trailer);
  /// A cross-reference stream with the number `num`, which is above all others.
  void put_section_stream(CPDFDictionary& trailer, std::int32_t num);
  void put_end(std::uint32_t section);

  CPDFEncrypt* encrypt() const { return enc_; }
  BlockWriter& out() { return out_; }
  const TargetEntry& entry(std::int32_t num) const { return entries_[static_cast<std::size_t>(num)]; }
  std::size_t entry_count() const { return entries_.size(); }
  std::uint32_t position() const { return static_cast<std::uint32_t>(out_.GetPos() - start_); }
  /// Whether all was written, and no offset is above what a file can have.
  bool finish();
  void fail() { failed_ = true; }

private:
  struct Run {
    std::size_t first;
    std::size_t end;
  };

  bool next_run(Run& run) const;

  BlockWriter out_;
  CPDFEncrypt* enc_;
  long long start_;
  bool failed_ = false;
  GrowArray<TargetEntry> entries_;
};

/// The rows of a cross-reference stream, `width` bytes each, deflated with the predictor "up" in front. Fields: the
/// kind, a place, an index.
struct SectionRows {
  unsigned place_width;
  unsigned index_width;

  unsigned width() const { return 1 + place_width + index_width; }
  void fill(unsigned char* row, const TargetEntry& entry) const;
};

}  // namespace sheaf

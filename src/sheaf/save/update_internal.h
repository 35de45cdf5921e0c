// What the two kinds of update section share: preparation, the scan of the table, the printing of
// the objects and the tail of the file.
#pragma once

#include "sheaf/base/block_writer.h"
#include "sheaf/base/grow_array.h"
#include "sheaf/base/heap_watch.h"
#include "sheaf/save/object_runs_internal.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

class UpdateSection {
public:
  UpdateSection(CPDFXRefTable& table, CPDFEncrypt* enc, PDF_SIGN_DATA* sign);

  /// Fonts, PDF/A objects and the file identifier.
  void prepare();
  /// Reads every object when many were repaired, so that misplaced ones are corrected here.
  void confirm_positions();
  /// Collects the runs of type 3 entries. Before an object of type 4 a digit in the old
  /// content becomes a space, so that no reader takes it for a part of the object's number.
  /// False when there is no memory.
  bool scan();
  /// Opens the section with its one byte at `append_offset`. Where an older section of the same
  /// document is there, its tail goes first, so that no reader ever takes the two for one.
  void begin();
  /// The position of the entry's object, which is printed now unless it stays where it is in the
  /// file. `keeps_slot` leaves the printing to the caller.
  std::uint32_t put_object(std::int32_t num, bool keeps_slot);
  /// The generation that the object is printed and listed under: 0 unless the table keeps them.
  std::int32_t generation(std::int32_t num) const;
  /// Whether a generation in the runs may need more than a byte.
  bool has_high_generations() const;
  /// Zero fill, tail and, in a sealed save, the commit of the section that starts at `start`. When
  /// something came short there is no tail: the file still ends, for a reader, as it did before, the
  /// table stays as it was, and `write_failed` is set.
  void finish(std::uint32_t start);

  /// The values that a section takes over from the table.
  void set_trailer_values(CPDFDictionary& dict) const;

  ObjectRuns runs;
  BlockWriter& out() { return out_; }

private:
  void separate_from_digit(const PDF_XREF& entry);
  void fill(std::uint32_t end);
  void commit(std::uint32_t start);

  CPDFXRefTable& table_;
  CPDFEncrypt* enc_;
  PDF_SIGN_DATA* sign_;
  BlockWriter out_;
  const HeapWatch watch_;
  bool complete_ = true;  // every object could be printed
  std::uint32_t objects_ = 0;
  std::uint32_t put_ = 0;
  // Objects of a sealed save, with their places in the file.
  struct Place {
    std::int32_t num;
    std::uint32_t pos;
    std::int32_t gen;
  };
  GrowArray<Place> sealed_;
};

}  // namespace sheaf

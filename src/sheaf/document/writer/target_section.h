// The section of a new file that says where its objects are (ISO 32000-1, 7.5.4, 7.5.8).
#pragma once

#include <cstddef>
#include <cstdint>

#include "sheaf/base/block_writer.h"
#include "sheaf/object/dictionary.h"

class CPDFEncrypt;

namespace sheaf {

/// Where an object is in the new file.
struct TargetEntry {
  static constexpr std::uint32_t kFree = UINT32_MAX;
  static constexpr std::uint32_t kInFile = UINT32_MAX - 1;

  std::uint32_t place;  ///< A position, or the number of the object stream.
  std::uint32_t index;  ///< In the object stream, or kFree, kInFile.
};

/// Prints the entries of the numbers from `first` to `end`.
class TargetSection {
public:
  /// `entries`, borrowed, begin with that of object 0.
  TargetSection(const TargetEntry* entries, std::size_t first, std::size_t end)
      : entries_(entries), first_(first), end_(end) {}

  /// "xref" and the entries.
  void print_classic(BlockWriter& out) const;
  /// A cross-reference stream with the number `num`. `dict` has the trailer's values, and is empty afterwards. False
  /// when there is no memory.
  bool print_stream(CQVStream& out, CPDFDictionary& dict, std::int32_t num) const;

private:
  struct Run {
    std::size_t first;
    std::size_t end;
  };

  bool next_run(Run& run) const;

  const TargetEntry* entries_;
  std::size_t first_;
  std::size_t end_;
};

/// Prints a stream of these bytes as object `num`, encrypted if `enc` is not null. Takes over what `dict` holds. False
/// when there is no memory.
bool print_stream(CQVStream& out, CPDFDictionary& dict, unsigned char* data, std::size_t size, std::int32_t num,
                  CPDFEncrypt* enc);
/// Prints "trailer" and what `dict` holds, which it takes over, in one line.
void print_trailer(BlockWriter& out, CPDFDictionary& dict);
/// Prints the end of a section that begins at `section`.
void print_section_end(BlockWriter& out, std::uint32_t section);

}  // namespace sheaf

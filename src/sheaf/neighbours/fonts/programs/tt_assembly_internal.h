// A font file put together from tables: some copied from another file, some built.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/stream.h"
#include "sheaf/neighbours/fonts/programs/tt_bytes_internal.h"
#include "sheaf/neighbours/fonts/programs/tt_parser.h"

namespace sheaf {

class TTAssembly {
public:
  /// Both borrow: the file behind `parser` and the block stay until `write`.
  void copy(CQVTTParser& parser, const PDF_TT_TABLE& table);
  void add(std::uint32_t tag, const TTBytes& bytes);
  /// Writes header, directory and tables in ascending order of their tags, with checksums and the
  /// adjustment of "head". False when a table could not be read or written.
  bool write(CQVStream* out);

private:
  struct Part {
    std::uint32_t tag;
    std::uint32_t length;
    CQVTTParser* parser;  // null: the bytes lie in memory
    const std::uint8_t* bytes;
    std::uint32_t checksum;
  };

  bool write_part(CQVStream* out, Part& part, long long& head_at);

  GrowArray<Part> parts_;
  bool failed_ = false;
};

}  // namespace sheaf

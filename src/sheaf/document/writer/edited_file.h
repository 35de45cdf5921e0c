// Makes a file sound again that was changed in a text editor: the lengths of its streams, and its table.
#pragma once

#include <cstddef>
#include <cstdint>

class CQVStream;

/// How `fix_edited_file` ended, and what it changed.
struct PDF_FIX_RESULT {
  enum Trouble : std::int32_t {
    kNone,
    kNoObjects,      ///< There is no object in it, or no trailer.
    kObjectStreams,  ///< It has object streams or cross-reference streams, which are nothing to edit.
    kOpenStream,     ///< A stream has no end.
    kTooLarge,       ///< 4 GiB or more.
    kNoMemory,
    kWrite,  ///< The output came short.
  };

  Trouble trouble = kNone;
  std::int32_t num = 0;       ///< The object that `trouble` is about; 0: none.
  std::int64_t objects = 0;   ///< Objects listed.
  std::int64_t lengths = 0;   ///< Lengths set right.
  std::int64_t repeated = 0;  ///< Objects whose number comes again after them.
};

namespace sheaf {

/// Writes the file `data` to `out`, unchanged except for the lengths of streams, and with a new classic table and the
/// last trailer in it. Objects begin at the start of a line; of several with one number the last one counts. False when
/// that cannot be done: `result` says why.
bool fix_edited_file(const unsigned char* data, std::size_t size, CQVStream& out, PDF_FIX_RESULT& result);

}  // namespace sheaf

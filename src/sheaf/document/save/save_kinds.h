// How a document is saved, and how a save can end.
#pragma once

#include <cstdint>

/// How an update section ends.
enum class PDF_SAVE_FORM : std::int32_t {
  kAsFile,   ///< As the file's newest section does.
  kClassic,  ///< In a classic table.
  kStream,   ///< In a cross-reference stream.
};

/// How the last `save_update` ended.
enum class PDF_SAVE : std::int32_t {
  kDone,         ///< All changes are in the file.
  kUnchanged,    ///< There was nothing to write.
  kShort,        ///< The output came short, as on a full disk: `undo_failed_save` takes back what was written.
  kFileChanged,  ///< Another program changed, cut, replaced or removed the file. Nothing was written.
  kRefused,      ///< The document cannot be saved: no memory, no keys, no catalogue. Nothing was written.
};

/// What a plain save does with the plain save before it.
enum class PDF_SAVE_SAFETY : std::int32_t {
  kWriteOver,  ///< Goes over it, so that the file stays short.
  kAppend,     ///< Goes behind it, so that what the last save wrote outlives one that fails.
};

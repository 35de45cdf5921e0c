// How a document is saved, what saves add to it, and how a save can end.
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

/// The frame of PDF/A-1 (ISO 19005-1, 6.2.2, 6.7) that saves give a document.
enum class PDF_FRAME : std::int32_t {
  kNone,   ///< As it is.
  kFrame,  ///< An output intent with its profile, and metadata.
  kClaim,  ///< The same, and the metadata identify the document as PDF/A-1b: the caller vouches for the rest.
};

/// What a document has of that frame.
struct PDF_FRAME_FOUND {
  int output_intents = 0;         ///< How many there are,
  int pdfa_intents = 0;           ///< and how many of them for PDF/A with a profile.
  bool has_metadata = false;      ///< The catalogue has a metadata stream,
  bool metadata_is_read = false;  ///< which is a packet that can be read,
  char claim[8] = {};             ///< and identifies the document as, for example, "1B"; "" when it does not.
};

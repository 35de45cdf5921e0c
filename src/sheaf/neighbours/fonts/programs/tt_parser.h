// The outer form of TrueType and OpenType files: single fonts and collections, and the table
// directory of one face (ISO/IEC 14496-22, 4.5, 4.6).
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/stream.h"

/// One table of a face; the bytes lie inside the file.
struct PDF_TT_TABLE {
  std::uint32_t tag;
  std::uint32_t offset;
  std::uint32_t length;
};

/// Reads a font file through a stream that the caller keeps open while tables are read.
class CQVTTParser {
public:
  CQVTTParser() = default;
  CQVTTParser(const CQVTTParser&) = delete;
  CQVTTParser& operator=(const CQVTTParser&) = delete;

  /// Looks at the start of the file. 0 on success, another value for what is no font file.
  int TT_Open(CQVStream* stream);
  /// Lets the stream go; what is known of the file's form stays.
  void TT_Close();
  /// Reads the directory of face `index` (from 0). Tables that lie beyond the file, and further
  /// ones of a tag, are left out. 0 on success.
  int TT_Select(std::uint32_t index);

  /// The table, or null. Borrowed; valid until the next TT_Select.
  const PDF_TT_TABLE* find(std::uint32_t tag) const;
  /// The bytes of a table, or null, also without memory. The caller owns the block and
  /// releases it with QVFree.
  std::uint8_t* load(std::uint32_t tag, std::uint32_t& length) const;
  /// Reads `count` bytes at `offset` of a table. False when it has not that many.
  bool read(std::uint32_t tag, std::uint32_t offset, void* to, std::uint32_t count) const;

  int is_collection = 0;                  ///< Not 0 after TT_Open: the file is a collection.
  std::uint32_t face_count = 0;           ///< Faces in the file.
  std::uint32_t outline_tag = 0;          ///< First four bytes of the selected face: "OTTO" means CFF outlines.
  sheaf::GrowArray<PDF_TT_TABLE> tables;  ///< Of the selected face, ascending by tag.

private:
  bool read_at(std::uint64_t offset, void* to, std::uint32_t count) const;

  CQVStream* stream_ = nullptr;
  std::uint32_t file_length_ = 0;
};

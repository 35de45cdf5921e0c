// What a stream holds, in the forms in which people can look at it: content, text, picture, table, bytes.
#pragma once

#include <cstdint>
#include <string>

#include "map/file_scan.h"
#include "support/json_writer.h"

namespace sheaf::tool {

/// How much of one stream is shown.
struct ViewLimits {
  std::int32_t text_bytes = 256 * 1024;
  std::int32_t hex_bytes = 4096;
  std::int64_t picture_bytes = std::int64_t{2} << 20;  ///< Of the file that a picture becomes, about.
};

class StreamViews {
public:
  /// `table` is borrowed.
  explicit StreamViews(CPDFXRefTable& table) : table_(table) {}
  /// For what is written from now on.
  void set_limits(const ViewLimits& limits) { limits_ = limits; }

  /// Writes the member "views" for `stream`, the value of a stream object that counts as `kind`: an array of objects
  /// whose "type" says which members follow.
  void write(const CPDFObj& stream, PartKind kind, JsonWriter& json);
  /// The start of what the stream holds, where that is content or text; else empty.
  std::string text(const CPDFStreamRec& rec, PartKind kind);
  /// Writes the member "glyphs" for a font: arrays of code, glyph name and text.
  void write_glyphs(const CPDFDictionary& font, JsonWriter& json);

private:
  bool write_picture(const CPDFObj& stream, JsonWriter& json);
  void write_entries(const CPDFStreamRec& rec, JsonWriter& json);
  void write_members(const CPDFStreamRec& rec, const std::string& bytes, JsonWriter& json);
  bool is_content(const CPDFStreamRec& rec, PartKind kind);
  void write_text(const CPDFStreamRec& rec, PartKind kind, const std::string& bytes, bool is_cut, JsonWriter& json);
  void write_hex(const std::string& bytes, bool is_cut, JsonWriter& json) const;
  bool decode(const CPDFStreamRec& rec, std::int32_t most, std::string& bytes);

  CPDFXRefTable& table_;
  ViewLimits limits_;
  std::int64_t codes_left_ = std::int64_t{1} << 22;  // that may still be looked up in maps of fonts
};

}  // namespace sheaf::tool

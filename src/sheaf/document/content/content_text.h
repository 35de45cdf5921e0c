// The decoded content of a page or a form as one text, with the places of the streams that it came from.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "sheaf/base/grow_array.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/object/object.h"

class CPDFXRefTable;

namespace sheaf {

/// One stream of a text of content.
struct ContentPart {
  PDF_REF ref;        ///< The stream's object; {0, 0} for one without a number.
  std::size_t begin;  ///< Where its bytes begin in the text. A line end follows each stream's bytes.
  bool is_whole;      ///< The stream was found, and was decoded to its end.
  bool is_read;       ///< It was found, and `flaw` says how its data end. Never for pictures.
  CPDFStreamFlaw flaw;
  std::size_t size;  ///< Bytes that it decoded to.
};

/// Owns the text.
class ContentText {
public:
  static constexpr std::size_t kMost = std::size_t{64} << 20;  ///< Bytes of a text, unless asked for more or fewer.

  /// Replaces the text by the decoded bytes of `contents`: a stream, an array of streams, or a reference to one of
  /// these (ISO 32000-1, 7.8.2); null for none. Where a stream cannot be decoded the text has what could be. False
  /// when the text is not all of the content: for damage, for want of memory, or because it passes `most` bytes.
  bool load(CPDFXRefTable& table, const CPDFObj* contents, std::size_t most = kMost);

  /// Borrowed; valid until the next `load`.
  std::string_view text() const { return {text_.begin(), text_.size()}; }
  const GrowArray<ContentPart>& parts() const { return parts_; }
  /// The stream that byte `position` of the text came from; null for an empty text.
  const ContentPart* part_at(std::size_t position) const;

private:
  bool add(CPDFXRefTable& table, const CPDFObj* item, std::size_t most);
  void decode(CPDFXRefTable& table, const CPDFObj& stream, std::size_t most, ContentPart& part);

  GrowArray<char> text_;
  GrowArray<ContentPart> parts_;
};

}  // namespace sheaf

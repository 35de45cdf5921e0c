// Joins the streams of a content. Streams are read to the end of their data, a block at a time.
#include "sheaf/document/content/content_text.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "sheaf/base/scope_guard.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/filters/stream_flaw.h"
#include "sheaf/object/array.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

namespace {

constexpr std::size_t kBlock = 16384;
constexpr std::size_t kMostRoom = INT32_MAX;

}  // namespace

bool ContentText::load(CPDFXRefTable& table, const CPDFObj* contents, std::size_t most) {
  text_.clear();
  parts_.clear();
  Freed<CPDFObj> value = table.value(contents);
  const CPDFArray* const streams = value.as_array();
  if (streams == nullptr)
    return value.is_null() || add(table, contents, most);
  bool whole = true;
  for (std::int32_t i = 0; i < streams->count && text_.size() < most; ++i)
    whole = add(table, streams->items + i, most) && whole;
  return whole && text_.size() < most;
}

bool ContentText::add(CPDFXRefTable& table, const CPDFObj* item, std::size_t most) {
  Freed<CPDFObj> stream = table.value(item);
  if (!parts_.push({item->as_ref(), text_.size(), false}))
    return false;
  parts_.back().is_whole = stream.as_stream() != nullptr && decode(table, stream, most);
  return text_.push('\n') && parts_.back().is_whole;
}

bool ContentText::decode(CPDFXRefTable& table, const CPDFObj& stream, std::size_t most) {
  const std::unique_ptr<CPDFStream> decoder(table.make_stream(stream.as_stream()));
  if (decoder != nullptr) {
    const std::size_t room = most - std::min(most, text_.size());
    most = text_.size() + static_cast<std::size_t>(decoder->most_text(static_cast<int>(std::min(room, kMostRoom))));
  }
  while (decoder != nullptr && text_.size() < most) {
    const std::size_t size = text_.size();
    const std::size_t room = std::min(kBlock, most - size);
    if (!text_.resize(size + room))
      return false;
    const int got = decoder->read_block(text_.begin() + size, static_cast<int>(room));
    text_.resize(size + static_cast<std::size_t>(std::max(got, 0)));
    // Rows of a picture are no content, and some of these decoders never end.
    if (got <= 0)
      return !decoder->is_picture() && find_flaw(*decoder) == kFlawNone;
  }
  return false;
}

const ContentPart* ContentText::part_at(std::size_t position) const {
  const ContentPart* const behind = std::upper_bound(
      parts_.begin(), parts_.end(), position, [](std::size_t at, const ContentPart& part) { return at < part.begin; });
  return behind == parts_.begin() ? nullptr : behind - 1;
}

}  // namespace sheaf

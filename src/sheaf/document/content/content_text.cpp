// Joins the streams of a content. Streams are read to the end of their data, a block at a time.
#include "sheaf/document/content/content_text.h"

#include <algorithm>
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
constexpr std::size_t kMostWhole = 1 << 20;  // longer data are decoded in pieces, straight into the text

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
  ContentPart part{item->as_ref(), text_.size(), false, false, kFlawNone, 0};
  decode(table, stream, most, part);
  return parts_.push(part) && text_.push('\n') && part.is_whole;
}

void ContentText::decode(CPDFXRefTable& table, const CPDFObj& stream, std::size_t most, ContentPart& part) {
  const std::unique_ptr<CPDFStream> decoder(stream.as_stream() != nullptr ? table.make_stream(stream.as_stream())
                                                                          : nullptr);
  if (decoder != nullptr) {
    decoder->decode_whole(kMostWhole);
    const std::size_t room = most - std::min(most, text_.size());
    most = text_.size() + static_cast<std::size_t>(decoder->most_text(static_cast<int>(std::min(room, kMostRoom))));
  }
  while (decoder != nullptr && text_.size() < most) {
    const std::size_t size = text_.size();
    const std::size_t room = std::min(kBlock, most - size);
    if (!text_.resize_unset(size + room))
      return;
    const int got = decoder->read_block(text_.begin() + size, static_cast<int>(room));
    text_.resize(size + static_cast<std::size_t>(std::max(got, 0)));
    part.size = text_.size() - part.begin;
    if (got > 0)
      continue;
    // Rows of a picture are no content, and some of these decoders never end.
    part.is_read = !decoder->is_picture();
    part.flaw = find_flaw(*decoder);
    part.is_whole = part.is_read && part.flaw == kFlawNone;
    return;
  }
}

const ContentPart* ContentText::part_at(std::size_t position) const {
  const ContentPart* const behind = std::upper_bound(
      parts_.begin(), parts_.end(), position, [](std::size_t at, const ContentPart& part) { return at < part.begin; });
  return behind == parts_.begin() ? nullptr : behind - 1;
}

}  // namespace sheaf

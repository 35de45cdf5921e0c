// What the end of a file says about bytes that are gone, and what follows that end.
#include "sheaf/base/number_text.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/open/document_opener_internal.h"
#include "sheaf/document/open/object_scan_internal.h"
#include "sheaf/object/parse_buf.h"

namespace sheaf {

// An update that was cut off leaves objects after the last section.
bool DocumentOpener::has_object_after(const SectionMark& mark, PDF_REF& ref, std::uint32_t& place) {
  constexpr long long kMostBehind = 1 << 20;
  constexpr long long kLeastBehind = 64;  // no update is shorter
  if (stream_.GetLen() - mark.end < kLeastBehind)
    return false;
  stream_.SetPos(CQVStream::STR_SEEK_SET, mark.end);
  CPDFBufBase buf;
  buf.buf_init(&stream_);
  while (buf.position() - mark.end < kMostBehind) {
    const char* const header = buf.buf_skip_to_obj();
    if (header == nullptr)
      return false;
    ref.num = ansi_to_i32(header);
    place = buf.position();
    Freed<CPDFObj> obj;
    obj.read(&buf, nullptr);
    if (obj.as_dict_or_stream() != nullptr)
      return true;
  }
  return false;
}

// Whether the last section is before where the end of the file says, or the file is shorter
// than it says: something was cut out of it, and nobody can say what.
void DocumentOpener::report_missing_bytes() {
  constexpr std::uint32_t kMostBeyond = 4 * kSectionReach;  // after the end, an offset is garbage
  const ObjectScan* const file = scan();
  const std::uint32_t found = file != nullptr ? file->last_section() : 0;
  const bool too_near = found != 0 && stated_section_ > found && stated_section_ < stream_.GetLen() + kMostBeyond;
  const bool too_short = stated_length_ != 0 && stated_length_ > stream_.GetLen();
  if (too_near || too_short)
    add_repair("bytes", 0, found, kBytesMissing);
  else if (found == 0 && stated_section_ != 0)
    add_repair("bytes", 0, stated_section_, "no section is left in the file; what stood beside it may be gone as well");
}

}  // namespace sheaf

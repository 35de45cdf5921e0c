// The table keeps four values of the trailers that it reads; the dictionary itself is read once more.
#include "sheaf/document/paths/file_trailer.h"

#include <cstring>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/object/parse_buf.h"

namespace sheaf {

namespace {

constexpr const char* kKnown[] = {"Root",   "Info", "ID", "Encrypt", "Size",   "Prev",       "XRefStm",
                                  "Length", "Type", "W",  "Index",   "Filter", "DecodeParms"};

// Moves to the dictionary of the section that begins at the start of `buf`. False when there is no dictionary.
bool skip_to_dictionary(CPDFBuf& buf) {
  constexpr char kTable[] = "xref";
  constexpr unsigned kTableLen = sizeof(kTable) - 1;
  if (buf.buf_len == 0 || !buf.buf_skip_ws(true))
    return false;
  buf.buf_need(kTableLen);
  const bool is_table = std::strncmp(buf.buf_data + buf.buf_pos, kTable, kTableLen) == 0;
  const char* const word = is_table ? "trailer" : "obj";
  const auto len = static_cast<unsigned>(std::strlen(word));
  if (!skip_to_word(buf, word, len))
    return false;
  buf.buf_skip(len);
  return buf.buf_skip_ws(true);
}

}  // namespace

void read_other_trailer_keys(CPDFDoc& doc, CPDFDictionary& others) {
  CPDFXRefTable& table = doc.table();
  others.clear();
  if (table.stream == nullptr || table.last_xref_offset == 0)
    return;
  table.stream->SetPos(CQVStream::STR_SEEK_SET, table.last_xref_offset);
  CPDFBufBase buf;
  buf.buf_init(table.stream);
  if (!skip_to_dictionary(buf))
    return;
  Freed<CPDFObj> trailer;
  trailer.read(&buf, nullptr);
  const CPDFDictionary* const dict = trailer.as_dict_or_stream();
  if (dict == nullptr)
    return;
  others.copy_from(dict);
  for (const char* key : kKnown)
    others.set_item(key, nullptr);
}

}  // namespace sheaf

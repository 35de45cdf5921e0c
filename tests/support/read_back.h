// What was written, read again: the data of streams and the newest section.
#pragma once

#include <memory>
#include <string>

#include "sheaf/filters/stream_filter.h"
#include "support/test_table.h"

/// All that a stream decodes to; "" for what is no stream.
inline std::string decoded_stream(CPDFXRefTable& table, const CPDFObj& obj) {
  std::string data;
  const std::unique_ptr<CPDFStream> decoder(obj.as_stream() != nullptr ? table.make_stream(obj.as_stream()) : nullptr);
  char block[4096];
  for (int got = 1; decoder != nullptr && got > 0;) {
    got = decoder->read_block(block, sizeof(block));
    data.append(block, static_cast<std::size_t>(got > 0 ? got : 0));
  }
  return data;
}

/// The value of a key in the dictionary of the newest cross-reference stream; "" without one.
inline std::string newest_section_value(MemStream& file, const char* key) {
  const std::string text = file.str();
  file.SetPos(CQVStream::STR_SEEK_SET, std::stoll(text.substr(text.rfind("startxref\n") + 10)));
  CPDFBufBase buf;
  buf.buf_init(&file);
  Freed<CPDFObj> section;
  section.read(&buf, nullptr);
  const CPDFObj* item = section.as_dict_or_stream()->get_item(key);
  return item != nullptr ? TestTable::syntax(*item) : "";
}

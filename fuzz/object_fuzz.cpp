// Any bytes as object syntax. The first byte says how far the input is shifted against the
// buffers; a value must come out the same from a file, from memory and behind any shift, and what
// is printed must read back as the value that was printed. The searches run over the same bytes.
#include <algorithm>
#include <cstdlib>
#include <string>

#include "../tests/support/same_value.h"
#include "../tests/support/test_table.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/references.h"

using namespace sheaf;

namespace {

void expect(bool condition) {
  if (!condition)
    std::abort();
}

// The place behind the value.
std::uint32_t read_file(CPDFObj& value, MemStream& file) {
  file.SetPos(CQVStream::STR_SEEK_SET, 0);
  CPDFBufBase buf;
  buf.buf_init(&file);
  value.read(&buf, nullptr);
  expect(buf.buf_pos <= buf.buf_len && buf.buf_len <= CPDFBuf::kFill);
  return buf.position();
}

// A value as it is, once printed and read again.
void check_printing(const CPDFObj& value) {
  if (value.tag == kTagNoValue || value.tag == kTagStream)
    return;
  const std::string text = TestTable::syntax(value);
  Freed<CPDFObj> again;
  read_value(again, text);
  expect(same_value(value, again));
  expect(TestTable::syntax(again) == text);
  Freed<CPDFObj> copy;
  copy.copy_from(&value);
  expect(same_value(value, copy));
}

// A stream printed as an object of its own holds as many bytes as its length says.
void check_stream(const CPDFObj& value) {
  const CPDFStreamRec& rec = *value.as_stream();
  CQVStreamMem out;
  PDF_ENC_PARA para{7, 0, 1, nullptr};
  value.write(&out, &para);
  MemStream printed(std::string(reinterpret_cast<const char*>(out.data), out.len));
  Freed<CPDFObj> again;
  read_file(again, printed);
  expect(again.tag == kTagStream && again.as_stream()->ref.num == 7);
  const CPDFObj* length = again.as_stream()->dict.get_item("Length");
  expect(length != nullptr && length->tag == kTagInt && length->as_int() >= 0);
  const auto size = static_cast<std::size_t>(length->as_int());
  const auto* source = static_cast<MemStream*>(rec.source);
  expect(rec.offset <= source->len && size <= source->len - rec.offset);
  const std::string tail = printed.str().substr(again.as_stream()->offset);
  expect(tail == source->str().substr(rec.offset, size) + "\nendstream\nendobj\n");
}

// What is passed without making values leads where the value leads, and ends where it ends. A key that
// is there twice leads to more.
void check_references(const CPDFObj& value, MemStream& file, std::uint32_t end) {
  file.SetPos(CQVStream::STR_SEEK_SET, 0);
  CPDFBufBase buf;
  buf.buf_init(&file);
  ReferenceList found;
  ReferenceList wanted;
  const CPDFTag tag = read_references(buf, found);
  expect((tag == kTagNoValue) == (value.tag == kTagNoValue));
  expect(value.tag == kTagStream || buf.position() == end);
  collect_references(value, wanted);
  for (const std::int32_t num : wanted)
    expect(std::find(found.begin(), found.end(), num) != found.end());
}

// Every header found lies behind the one before, and the raw data fit between them.
void check_searches(const std::string& text) {
  for (const int mode : {0, 1, 2, 3}) {
    MemStream file(text);
    CPDFBufBase buf;
    buf.buf_init(&file);
    for (std::uint32_t least = 0;; least = buf.position()) {
      const char* at = mode == 0 ? buf.buf_skip_to_obj() : buf.buf_skip_to_obj({1, 0}, mode);
      if (at == nullptr)
        break;
      expect(at == buf.buf_data + buf.buf_pos && buf.position() >= least && buf.position() < text.size());
      expect(text[buf.position()] == *at);
      buf.buf_skip(1);
    }
  }
  MemStream file(text);
  int len = 0;
  const HeapBlock<char> block(CPDFXRefTable::read_stream_raw_data(&file, len));
  const std::size_t end = text.find("endstream");
  expect(block && len >= 0);
  expect(static_cast<std::size_t>(len) <= (end != std::string::npos ? end : text.size()));
  expect(text.compare(0, static_cast<std::size_t>(len), block.get(), static_cast<std::size_t>(len)) == 0);
  expect(end == std::string::npos || static_cast<std::size_t>(len) + 2 >= end ||
         len + 8 >= static_cast<int>(text.size()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1 || size > 1 << 16)
    return 0;
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  const std::string blanks(CPDFBuf::kFill - 128U + data[0], ' ');
  MemStream file(text);
  MemStream shifted_file(blanks + text);
  Freed<CPDFObj> value;
  Freed<CPDFObj> shifted;
  Freed<CPDFObj> from_memory;
  const std::uint32_t end = read_file(value, file);
  read_file(shifted, shifted_file);
  read_value(from_memory, text);
  expect(same_value(value, shifted));
  expect(same_value(value, from_memory));
  check_printing(value);
  if (value.tag == kTagStream)
    check_stream(value);
  check_references(value, file, end);
  check_searches(text);
  return 0;
}

// Operands are separated by blanks, and an operator ends its line.
#include "sheaf/document/content/content_writer.h"

#include <charconv>
#include <cmath>

#include "sheaf/base/chars.h"
#include "sheaf/base/heap_watch.h"
#include "sheaf/base/stream.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";
constexpr int kFractionDigits = 4;
constexpr double kMostNumber = 1e9;  // beyond any page, and short enough for the buffer

// Takes what a value prints.
class Printed : public CQVStream {
public:
  explicit Printed(GrowArray<char>& bytes) : bytes_(bytes) {}
  long long GetLen() const override { return static_cast<long long>(bytes_.size()); }
  long long GetPos() const override { return GetLen(); }
  int SetPos(STR_SEEK, long long) override { return 1; }
  unsigned int Read(void*, unsigned int) override { return 0; }
  unsigned int Write(const void* src, unsigned int size) override {
    unsigned int done = 0;
    while (done < size && bytes_.push(static_cast<const char*>(src)[done]))
      ++done;
    return done;
  }

private:
  GrowArray<char>& bytes_;
};

}  // namespace

void ContentWriter::text(std::string_view bytes) {
  for (const char c : bytes)
    bytes_.push(c);
}

// A space where the piece before does not end in white space.
void ContentWriter::part() {
  if (!bytes_.empty() && !is_wide_space(bytes_.back()) && bytes_.back() != '[')
    bytes_.push(' ');
}

void ContentWriter::number(double value) {
  part();
  char digits[32];
  if (!(std::fabs(value) < kMostNumber))
    value = 0;
  const auto end = std::to_chars(digits, digits + sizeof(digits), value, std::chars_format::fixed, kFractionDigits).ptr;
  std::string_view shown(digits, static_cast<std::size_t>(end - digits));
  while (shown.back() == '0')
    shown.remove_suffix(1);
  if (shown.back() == '.')
    shown.remove_suffix(1);
  text(shown == "-0" ? std::string_view("0") : shown);
}

void ContentWriter::name(std::string_view value) {
  part();
  bytes_.push('/');
  for (const char c : value) {
    const auto byte = static_cast<unsigned char>(c);
    if (is_regular(c) && c != '#' && byte > ' ' && byte < 127) {
      bytes_.push(c);
      continue;
    }
    bytes_.push('#');
    bytes_.push(kHexDigits[byte >> 4]);
    bytes_.push(kHexDigits[byte & 15]);
  }
}

void ContentWriter::hex_string(const unsigned char* bytes, std::size_t len) {
  part();
  bytes_.push('<');
  for (std::size_t i = 0; i < len; ++i) {
    bytes_.push(kHexDigits[bytes[i] >> 4]);
    bytes_.push(kHexDigits[bytes[i] & 15]);
  }
  bytes_.push('>');
}

void ContentWriter::op(std::string_view name) {
  part();
  text(name);
  bytes_.push('\n');
}

void ContentWriter::value(const CPDFObj& value) {
  part();
  Printed out(bytes_);
  value.write(&out, nullptr);
}

void ContentWriter::image(const CPDFDictionary& entries, std::string_view data) {
  op("BI");
  for (std::int32_t i = 0; i < entries.count; ++i) {
    name(entries.items[i]->key());
    value(*entries.items[i]);
    bytes_.push('\n');
  }
  text("ID ");
  text(data);
  text("\nEI\n");
}

void ContentWriter::op(std::initializer_list<double> operands, std::string_view name) {
  for (const double operand : operands)
    number(operand);
  op(name);
}

PDF_REF ContentWriter::store(CPDFXRefTable& table, CPDFDictionary& dict) const {
  const HeapWatch watch;
  int len = 0;
  unsigned char* const packed = CPDFXRefTable::compress_data(bytes_.empty() ? "" : data(), size(), len);
  if (packed == nullptr)
    return {0, 0};
  const PDF_REF ref{table.alloc_obj_num(), 0};
  CPDFStreamRec rec;
  table.write_stream_autofree(ref, &rec, packed, static_cast<unsigned>(len));
  for (std::int32_t i = 0; i < dict.count; ++i)
    rec.dict.move_item(dict.items[i]->key(), *dict.items[i]);
  rec.dict.set_item_name(CPDFDictionary::sm_tag_filter, CPDFDictionary::sm_tag_fdec);
  rec.dict.set_item_int(CPDFDictionary::sm_tag_length, len);
  table.store_stream(ref, rec);
  return watch.all_granted() ? ref : PDF_REF{0, 0};
}

}  // namespace sheaf

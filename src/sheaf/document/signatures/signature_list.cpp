// Fields of the form are walked once; a value with a ByteRange is a signature.
#include "sheaf/document/signatures/signatures.h"

#include <algorithm>
#include <cstring>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/revisions/revisions.h"
#include "sheaf/neighbours/page/acro_form.h"
#include "sheaf/object/text_utf8.h"

using namespace sheaf;

namespace {

constexpr std::int32_t kFillingIn = 2;  // what a certification permits that does not say it
constexpr std::int32_t kMostPermitted = 3;

char* utf8_of(const CPDFObj& value) {
  std::size_t len = 0;
  if (value.tag == kTagString)
    return text_to_utf8(value.as_string(), len);
  if (value.as_name() == nullptr)
    return nullptr;
  PDF_String name{static_cast<std::int32_t>(std::strlen(value.as_name())), const_cast<char*>(value.as_name())};
  return text_to_utf8(name, len);
}

char* text_at(CPDFXRefTable& table, const CPDFDictionary& dict, const char* key) {
  const Freed<CPDFObj> value = table.value(&dict, key);
  return utf8_of(value);
}

char* full_name(const CPDFField& field) {
  PDF_String wide{0, nullptr};
  wide.init(field.name(), 1);
  std::size_t len = 0;
  char* const name = text_to_utf8(wide, len);
  QVFree(wide.data);
  return name;
}

void release(PDF_SIGNATURE& signature) {
  for (char* text : {signature.field_name, signature.filter, signature.sub_filter, signature.name, signature.reason,
                     signature.location, signature.time})
    QVFree(text);
  signature.contents.free();
  signature.certificates.free();
}

int hex_value(char c) {
  if (c >= '0' && c <= '9')
    return c - '0';
  const char small = static_cast<char>(c | 0x20);
  return small >= 'a' && small <= 'f' ? small - 'a' + 10 : -1;
}

// Whether the bytes between the two ranges are the signature in hexadecimal and nothing else.
bool is_gap_sound(CPDFDoc& doc, const PDF_SIGNATURE& signature) {
  const PDF_String bytes = signature.contents.as_string();
  const long long start = signature.range[1];
  const long long size = signature.range[2] - start;
  if (size != 2 + 2LL * bytes.len)
    return false;
  char block[4096];
  for (long long at = 0; at < size;) {
    const auto wanted = static_cast<unsigned>(std::min<long long>(size - at, sizeof(block)));
    if (read_file_bytes(doc, start + at, block, wanted) != wanted)
      return false;
    for (unsigned i = 0; i < wanted; ++i, ++at) {
      if (at == 0 || at == size - 1) {
        if (block[i] != (at == 0 ? '<' : '>'))
          return false;
        continue;
      }
      const auto byte = static_cast<unsigned char>(bytes.data[(at - 1) / 2]);
      if (hex_value(block[i]) != (at % 2 == 1 ? byte >> 4 : byte & 15))
        return false;
    }
  }
  return true;
}

bool read_range(CPDFXRefTable& table, const CPDFDictionary& dict, long long (&range)[4]) {
  const Freed<CPDFObj> list = table.value(&dict, "ByteRange");
  if (list.as_array() == nullptr || list.as_array()->count != 4)
    return false;
  for (std::int32_t i = 0; i < 4; ++i) {
    const Freed<CPDFObj> number = table.value(list.as_array(), i);
    // What does not fit into 31 bits was read as a real.
    range[i] = number.tag == kTagInt ? number.as_int() : fix_exact(number.to_real());
    if (!number.is_number() || range[i] < 0)
      return false;
  }
  return true;
}

std::int32_t certification(CPDFXRefTable& table, const CPDFDictionary& dict) {
  const Freed<CPDFObj> references = table.value(&dict, "Reference");
  for (std::int32_t i = 0; references.as_array() != nullptr && i < references.as_array()->count; ++i) {
    const Freed<CPDFObj> reference = table.value(references.as_array(), i);
    const Freed<CPDFObj> method = table.value(reference.as_dict(), "TransformMethod");
    if (!method.is_name("DocMDP"))
      continue;
    const Freed<CPDFObj> parameters = table.value(reference.as_dict(), "TransformParams");
    const Freed<CPDFObj> level = table.value(parameters.as_dict(), "P");
    return level.to_int() >= 1 && level.to_int() <= kMostPermitted ? level.to_int() : kFillingIn;
  }
  return 0;
}

}  // namespace

unsigned sheaf::read_file_bytes(CPDFDoc& doc, long long at, void* dst, unsigned size) {
  CQVStream& file = *doc.table().stream;
  const long long base = file.base_offset;
  file.base_offset = 0;
  file.SetPos(CQVStream::STR_SEEK_SET, at);
  const unsigned got = file.Read(dst, size);
  file.base_offset = base;
  return got;
}

void CPDFSignatures::clear() {
  for (PDF_SIGNATURE& signature : list_)
    release(signature);
  list_.clear();
  ends_.clear();
}

bool CPDFSignatures::load(CPDFDoc& doc) {
  clear();
  const HeapWatch watch;
  CPDFAcroForm form(doc.table());
  form.load();
  for (std::int32_t i = 0; i < form.field_count(); ++i) {
    if (form.field_at(i)->is_terminal() && !add(doc, *form.field_at(i)))
      return false;
  }
  return watch.all_granted();
}

bool CPDFSignatures::add(CPDFDoc& doc, const CPDFField& field) {
  CPDFXRefTable& table = doc.table();
  Freed<CPDFObj> kind;
  Freed<CPDFObj> value;
  field.get_value("FT", kind);
  field.get_value("V", value);
  if (!kind.is_name("Sig") || value.as_dict() == nullptr)
    return true;
  const CPDFDictionary& dict = *value.as_dict();
  PDF_SIGNATURE signature{};
  signature.field = field.ref();
  const Freed<CPDFObj> own = table.object(field.ref());
  const CPDFObj* const item = own.item("V");
  signature.value = ref_of(item);
  signature.field_name = full_name(field);
  signature.filter = text_at(table, dict, CPDFDictionary::sm_tag_filter);
  signature.sub_filter = text_at(table, dict, "SubFilter");
  signature.name = text_at(table, dict, "Name");
  signature.reason = text_at(table, dict, "Reason");
  signature.location = text_at(table, dict, "Location");
  signature.time = text_at(table, dict, "M");
  table.resolve(signature.contents, dict.get_item("Contents"));
  table.resolve(signature.certificates, dict.get_item("Cert"));
  signature.certifies = certification(table, dict);
  if (ends_.empty()) {
    PrefixStream whole(*table.stream, table.stream->GetLen());
    list_revisions(whole, ends_);
  }
  const long long base = table.stream->base_offset;
  const long long file_end = table.stream->GetLen() + base;
  if (read_range(table, dict, signature.range)) {
    const long long* const range = signature.range;
    const long long end = range[2] + range[3];
    signature.range_is_sound = range[0] == 0 && range[1] < range[2] && end <= file_end && range[3] > 0 &&
                               signature.contents.tag == kTagString && is_gap_sound(doc, signature);
    signature.covers_file = signature.range_is_sound && end == file_end;
    signature.covers_revision =
        signature.covers_file ||
        (signature.range_is_sound && std::find(ends_.begin(), ends_.end(), end - base) != ends_.end());
  }
  if (list_.push(signature))
    return true;
  release(signature);
  return false;
}

// Texts go through the properties that the document information has too; a packet is replaced as a whole.
#include "sheaf/document/metadata/xmp_texts.h"

#include <cstring>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/metadata/packet_stream_internal.h"
#include "sheaf/document/metadata/xmp_packet_internal.h"
#include "sheaf/neighbours/page/trailer_values.h"
#include "sheaf/object/text_utf8.h"

namespace sheaf {

namespace {

const XmpProperty* property_of(const char* key) {
  for (const XmpProperty& property : kXmpProperties) {
    if (std::strcmp(property.key, key) == 0)
      return &property;
  }
  return nullptr;
}

void put(GrowArray<char>& out, const char* text) {
  for (; *text != 0; ++text)
    out.push(*text);
}

}  // namespace

bool read_xmp(CPDFDoc& doc, GrowArray<char>& bytes) {
  Freed<CPDFObj> stream;
  return load_packet(doc.table(), stream, bytes);
}

bool read_xmp_text(const GrowArray<char>& packet, const char* key, GrowArray<char>& text) {
  const XmpProperty* const property = property_of(key);
  XmpPacket parsed;
  if (property == nullptr || !parsed.read(packet.begin(), packet.size()))
    return false;
  parsed.get(*property, text);
  return true;
}

void read_info_text(CPDFDoc& doc, const char* key, GrowArray<char>& text) {
  CPDFXRefTable& table = doc.table();
  const Freed<CPDFObj> info = table.value(&table.info);
  const Freed<CPDFObj> value = table.value(info.as_dict(), key);
  const XmpProperty* const property = property_of(key);
  std::size_t size = 0;
  const HeapBlock<char> utf8(value.tag == kTagString ? text_to_utf8(value.as_string(), size) : nullptr);
  if (!utf8)
    return;
  char date[40];
  if (property != nullptr && property->form == XmpForm::kDate)
    xmp_date(utf8.get(), date);
  put(text, property != nullptr && property->form == XmpForm::kDate ? date : utf8.get());
}

bool replace_xmp(CPDFDoc& doc, const void* packet, std::size_t size) {
  const HeapWatch watch;
  CPDFXRefTable& table = doc.table();
  XmpPacket parsed;
  GrowArray<char> bytes;
  if (!parsed.read(packet, size) || !bytes.resize(size) || !give_trailer_values_numbers(table))
    return false;
  std::memcpy(bytes.begin(), packet, size);
  PDF_REF ref = metadata_ref(table);
  Cleared<CPDFDictionary> entries;
  entries.set_item_name(CPDFDictionary::sm_tag_type, "Metadata");
  entries.set_item_name(CPDFDictionary::sm_tag_subtype, "XML");
  if (ref.num == 0) {
    Freed<CPDFObj> catalog = table.catalog();
    ref = {table.alloc_obj_num(), 0};
    if (catalog.as_dict() == nullptr)
      return false;
    catalog.as_dict()->set_item_ref("Metadata", ref);
    if (!table.store_object(table.root.as_ref(), catalog))
      return false;
  }
  if (!store_body(table, ref, entries, bytes))
    return false;
  for (const XmpProperty& property : kXmpProperties) {
    GrowArray<char> text;
    GrowArray<char> old;
    if (property.form == XmpForm::kDate)
      continue;
    parsed.get(property, text);
    read_info_text(doc, property.key, old);
    const bool same =
        text.size() == old.size() && (text.empty() || std::memcmp(text.begin(), old.begin(), text.size()) == 0);
    if (!same && (!text.push('\0') || !doc.set_info(property.key, text.begin())))
      return false;
  }
  return watch.all_granted();
}

}  // namespace sheaf

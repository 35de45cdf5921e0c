// Keeps the packet of metadata that a document has in step with its document information, and gives
// documents the frame of PDF/A-1 that they are asked to have.
#include <cstring>
#include <ctime>
#include <new>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/metadata/conformance_claims.h"
#include "sheaf/document/metadata/doc_metadata.h"
#include "sheaf/document/metadata/packet_stream_internal.h"
#include "sheaf/document/metadata/xmp_packet_internal.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/neighbours/page/trailer_values.h"
#include "sheaf/object/array.h"
#include "sheaf/object/text_utf8.h"
#include "sheaf/save/pdfa_frame.h"

using namespace sheaf;

namespace {

// The present moment as a date of PDF (ISO 32000-1, 7.9.4).
void date_now(char (&out)[32]) {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  const long minutes = local.tm_gmtoff / 60;
  const long distance = minutes < 0 ? -minutes : minutes;
  char digits[20];
  std::strftime(digits, sizeof(digits), "D:%Y%m%d%H%M%S", &local);
  std::snprintf(out, sizeof(out), "%s%c%02ld'%02ld'", digits, minutes < 0 ? '-' : '+', distance / 60 % 24,
                distance % 60);
}

// The value of a property as the document information has it, in the form that XMP wants.
void set_property(CPDFXRefTable& table, XmpPacket& packet, const CPDFDictionary* info, const XmpProperty& property) {
  const Freed<CPDFObj> value = table.value(info, property.key);
  std::size_t size = 0;
  const HeapBlock<char> text(value.tag == kTagString ? text_to_utf8(value.as_string(), size) : nullptr);
  const char* const utf8 = text ? text.get() : "";
  if (property.form != XmpForm::kDate)
    return packet.set(property, utf8);
  char date[40];
  xmp_date(utf8, date);
  packet.set(property, date);
}

}  // namespace

void DocMetadata::forget() {
  changed_info_ = 0;
  packet_left_ = false;
}

bool DocMetadata::set_info(const char* key, const char* utf8) {
  const HeapWatch watch;
  Freed<CPDFObj> info = table_.value(&table_.info);
  if (info.as_dict() == nullptr)
    info.take_dict(new (std::nothrow) CPDFDictionary);
  CPDFDictionary* const dict = info.as_dict();
  if (dict == nullptr)
    return false;
  constexpr char kModDate[] = "ModDate";
  PDF_String text;
  text_from_utf8(utf8, text);
  dict->set_item_str(key, text.data, text.len);
  QVFree(text.data);
  if (std::strcmp(key, kModDate) != 0) {
    char date[32];
    date_now(date);
    dict->set_item_str(kModDate, date, static_cast<int>(std::strlen(date)));
  }
  if (!watch.all_granted())
    return false;  // what is left of the old values must not take their place
  if (table_.info.as_ref().num < 1)
    table_.info.set_ref({table_.alloc_obj_num(), 0});
  for (std::size_t i = 0; i < std::size(kXmpProperties); ++i) {
    if (std::strcmp(kXmpProperties[i].key, key) == 0 || std::strcmp(kXmpProperties[i].key, kModDate) == 0)
      changed_info_ |= 1u << i;
  }
  return table_.store_object(table_.info.as_ref(), info);
}

// What `set_info` changed since the last save goes into the packet too.
bool DocMetadata::store_packet() {
  if (changed_info_ == 0)
    return true;
  const HeapWatch watch;
  Freed<CPDFObj> obj;
  GrowArray<char> bytes;
  if (!load_packet(table_, obj, bytes)) {
    changed_info_ = 0;
    return true;
  }
  XmpPacket packet;
  if (!packet.read(bytes.begin(), bytes.size())) {
    packet_left_ = true;
    changed_info_ = 0;
    return watch.all_granted();
  }
  const Freed<CPDFObj> info = table_.value(&table_.info);
  for (std::size_t i = 0; i < std::size(kXmpProperties); ++i) {
    if ((changed_info_ & 1u << i) != 0)
      set_property(table_, packet, info.as_dict(), kXmpProperties[i]);
  }
  char now[32];
  char date[40];
  date_now(now);
  xmp_date(now, date);
  packet.set_metadata_date(date);
  bytes.clear();
  if (!packet.print(bytes) || !store_body(table_, metadata_ref(table_), obj.as_stream()->dict, bytes))
    return false;
  changed_info_ = 0;
  return true;
}

namespace {

// Whether it is one for PDF/A with a profile.
bool is_pdfa_intent(CPDFXRefTable& table, const CPDFObj* item) {
  const Freed<CPDFObj> intent = table.value(item);
  const CPDFDictionary* const dict = intent.as_dict();
  const CPDFObj* const kind = dict != nullptr ? dict->get_item("S") : nullptr;
  return kind != nullptr && kind->is_name("GTS_PDFA1") && dict->get_item("DestOutputProfile") != nullptr;
}

}  // namespace

void DocMetadata::read_frame(PDF_FRAME_FOUND& found) {
  found = {};
  const Freed<CPDFObj> catalog = table_.catalog();
  const Freed<CPDFObj> intents = table_.value(catalog.as_dict(), "OutputIntents");
  const CPDFArray* const list = intents.as_array();
  found.output_intents = list != nullptr ? list->count : 0;
  for (int i = 0; i < found.output_intents; ++i)
    found.pdfa_intents += is_pdfa_intent(table_, list->get(i)) ? 1 : 0;
  Freed<CPDFObj> obj;
  GrowArray<char> bytes;
  found.has_metadata = load_packet(table_, obj, bytes);
  XmpPacket packet;
  found.metadata_is_read = found.has_metadata && packet.read(bytes.begin(), bytes.size());
  if (found.metadata_is_read)
    packet.read_claim(found.claim);
}

std::uint64_t sheaf::conformance_claims(CPDFXRefTable& table) {
  Freed<CPDFObj> obj;
  GrowArray<char> bytes;
  XmpPacket packet;
  return load_packet(table, obj, bytes) && packet.read(bytes.begin(), bytes.size()) ? packet.claims() : 0;
}

int sheaf::drop_conformance_claims(CPDFXRefTable& table, bool also_ua) {
  Freed<CPDFObj> obj;
  GrowArray<char> bytes;
  XmpPacket packet;
  if (!load_packet(table, obj, bytes) || !packet.read(bytes.begin(), bytes.size()))
    return 0;
  const int dropped = packet.drop_claims(also_ua);
  if (dropped == 0)
    return 0;
  bytes.clear();
  return packet.print(bytes) && store_body(table, metadata_ref(table), obj.as_stream()->dict, bytes) ? dropped : -1;
}

bool DocMetadata::store_frame() {
  if (frame_ == PDF_FRAME::kNone)
    return true;
  const HeapWatch watch;
  if (!give_trailer_values_numbers(table_))
    return false;
  table_.claims_pdfa = frame_ == PDF_FRAME::kClaim ? 1 : 0;
  PDF_FRAME_FOUND found;
  read_frame(found);
  Freed<CPDFObj> catalog = table_.catalog();
  CPDFDictionary* const dict = catalog.as_dict();
  if (dict == nullptr)
    return false;
  if (found.pdfa_intents == 0 || !found.has_metadata) {
    if (found.pdfa_intents == 0) {
      Freed<CPDFObj> intents = table_.value(dict, "OutputIntents");
      if (intents.as_array() == nullptr)
        intents.take_array(new (std::nothrow) CPDFArray);
      if (intents.as_array() == nullptr)
        return false;
      intents.as_array()->append_ref(make_output_intent(table_));
      dict->move_item("OutputIntents", intents);
    }
    if (!found.has_metadata)
      dict->set_item_ref("Metadata", make_metadata(table_));
    if (!watch.all_granted() || !table_.store_object(table_.root.as_ref(), catalog))
      return false;
  }
  if (frame_ != PDF_FRAME::kClaim || !found.has_metadata)
    return watch.all_granted();
  packet_left_ = packet_left_ || !found.metadata_is_read;
  if (!found.metadata_is_read || found.claim[0] == '1')
    return true;
  Freed<CPDFObj> obj;
  GrowArray<char> bytes;
  XmpPacket packet;
  if (!load_packet(table_, obj, bytes) || !packet.read(bytes.begin(), bytes.size()) || !packet.claim_pdfa())
    return watch.all_granted();
  bytes.clear();
  return packet.print(bytes) && store_body(table_, metadata_ref(table_), obj.as_stream()->dict, bytes);
}

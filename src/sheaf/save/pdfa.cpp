// The frame that PDF/A-1 (ISO 19005-1) asks of a document, whatever its pages hold: an output
// intent with its profile, metadata, and a file identifier.
#include <cstring>
#include <ctime>
#include <new>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/page/xmp.h"
#include "sheaf/neighbours/security/digests.h"
#include "sheaf/save/pdfa_frame.h"
#include "sheaf/save/pdfa_profile_internal.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr unsigned kHashBlock = 4096;
constexpr char kCondition[] = "Adobe RGB (1998)";
constexpr int kConditionLen = sizeof(kCondition) - 1;

// The results of pdfa_verify: the clause that fails, one byte a level.
constexpr int kClauseHeader = 0x060102;
constexpr int kClauseTrailer = 0x060103;

// Stores a stream whose data are held in memory; `rec.dict` has its items.
void store_held_stream(CPDFXRefTable& table, const PDF_REF& ref, CPDFStreamRec& rec, unsigned char* block,
                       unsigned len) {
  rec.source = table.set_mem_stream(ref, block, static_cast<int>(len));
  rec.offset = 0;
  rec.length = static_cast<std::int32_t>(len);
  rec.ref = ref;
  rec.decoded_hint = 0;
  rec.plain = 1;
  table.store_stream(ref, rec);
}

PDF_REF make_profile(CPDFXRefTable& table) {
  const PDF_REF ref{table.alloc_obj_num(), 0};
  auto* block = static_cast<unsigned char*>(QVAlloc(kPdfaProfileSize));
  if (block == nullptr)
    return ref;
  std::memcpy(block, PDFA_RGB.data(), kPdfaProfileSize);
  CPDFStreamRec rec;
  rec.dict.set_item_int("N", 3);
  rec.dict.set_item_int(CPDFDictionary::sm_tag_length, kPdfaProfileSize);
  rec.dict.set_item_name(CPDFDictionary::sm_tag_filter, CPDFDictionary::sm_tag_fdec);
  store_held_stream(table, ref, rec, block, kPdfaProfileSize);
  return ref;
}

}  // namespace

PDF_REF sheaf::make_output_intent(CPDFXRefTable& table) {
  const PDF_REF profile = make_profile(table);
  const PDF_REF ref{table.alloc_obj_num(), 0};
  Cleared<CPDFDictionary> dict;
  dict.set_item_name(CPDFDictionary::sm_tag_type, "OutputIntent");
  dict.set_item_name("S", "GTS_PDFA1");
  dict.set_item_str("OutputConditionIdentifier", kCondition, kConditionLen);
  dict.set_item_str("Info", kCondition, kConditionLen);
  dict.set_item_ref("DestOutputProfile", profile);
  table.store_dict(ref, &dict);
  return ref;
}

PDF_REF sheaf::make_metadata(CPDFXRefTable& table) {
  CPDFXMP xmp;
  const PDF_REF ref{table.alloc_obj_num(), 0};
  unsigned len = 0;
  unsigned char* block = xmp.gen_xmp(&table, &table.info, len);
  if (block == nullptr)
    return ref;
  CPDFStreamRec rec;
  // No filter: metadata stay readable in the file.
  rec.dict.set_item_int(CPDFDictionary::sm_tag_length, static_cast<int>(len));
  rec.dict.set_item_name(CPDFDictionary::sm_tag_type, "Metadata");
  rec.dict.set_item_name(CPDFDictionary::sm_tag_subtype, "XML");
  store_held_stream(table, ref, rec, block, len);
  return ref;
}

namespace {

bool header_passes(const unsigned char* bytes) {
  constexpr unsigned kHigh = 128;
  // The comment follows a first line of exactly nine bytes. Of its second and third byte one
  // being high is enough.
  return bytes[0] == '%' && bytes[9] == '%' && bytes[10] >= kHigh && (bytes[11] >= kHigh || bytes[12] >= kHigh) &&
         bytes[13] >= kHigh;
}

}  // namespace

void CPDFXRefTable::pdfa_gen() {
  Freed<CPDFObj> catalog = this->catalog();
  CPDFDictionary* dict = catalog.as_dict();
  // One of the two is enough to leave the document alone. A direct root has no number to be
  // stored under.
  if (dict == nullptr || root.tag != kTagRef || dict->get_item("OutputIntents") != nullptr ||
      dict->get_item("Metadata") != nullptr)
    return;
  const PDF_REF intent = make_output_intent(*this);
  Cleared<CPDFArray> intents;
  intents.append_ref(intent);
  const PDF_REF metadata = make_metadata(*this);
  dict->set_item_arr("OutputIntents", &intents);
  dict->set_item_ref("Metadata", metadata);
  store_object(root.as_ref(), catalog);
}

void CPDFXRefTable::gen_id() {
  if (!id.is_null())
    return;
  const HeapBlock<unsigned char> block(static_cast<unsigned char*>(QVAlloc(kHashBlock)));
  auto* pair = new (std::nothrow) CPDFArray;
  if (!block || pair == nullptr) {
    delete pair;
    return;
  }
  stream->SetPos(CQVStream::STR_SEEK_SET, 0);
  CQVSecMD5 digest;
  digest.init();
  digest.update(reinterpret_cast<const unsigned char*>(&new_obj_count), sizeof(new_obj_count));
  const std::int64_t now = std::time(nullptr);
  digest.update(reinterpret_cast<const unsigned char*>(&now), sizeof(now));
  for (unsigned got = stream->Read(block.get(), kHashBlock); got != 0; got = stream->Read(block.get(), kHashBlock))
    digest.update(block.get(), got);
  digest.end(block.get());
  const char* const bytes = reinterpret_cast<const char*>(block.get());
  pair->append_str(bytes, CQVSecMD5::kSize);
  pair->append_str(bytes, CQVSecMD5::kSize);
  id.take_array(pair);
}

int CPDFXRefTable::pdfa_verify() {
  if (stream == nullptr)
    return 1;
  unsigned char header[16] = {};
  stream->SetPos(CQVStream::STR_SEEK_SET, 0);
  stream->Read(header, sizeof(header));
  if (!header_passes(header))
    return kClauseHeader;
  return id.is_null() || !encrypt.is_null() ? kClauseTrailer : 0;
}

// The stream is found from the catalogue at each use.
#include "sheaf/document/metadata/packet_stream_internal.h"

#include <cstring>
#include <memory>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

namespace {

constexpr int kMostPacket = 64 << 20;  // bytes; a packet takes some kilobytes

}  // namespace

PDF_REF metadata_ref(CPDFXRefTable& table) {
  const Freed<CPDFObj> catalog = table.catalog();
  const CPDFObj* const item = catalog.item("Metadata");
  return ref_of(item);
}

bool load_packet(CPDFXRefTable& table, CPDFObj& obj, GrowArray<char>& bytes) {
  const PDF_REF ref = metadata_ref(table);
  if (ref.num < 1)
    return false;
  table.get_stored(obj, ref);
  if (obj.as_stream() == nullptr)
    return false;
  const std::unique_ptr<CPDFStream> decoder(table.make_stream(obj.as_stream()));
  char block[8192];
  const std::size_t most = decoder != nullptr ? static_cast<std::size_t>(decoder->most_text(kMostPacket)) : 0;
  for (int got = 1; got > 0 && bytes.size() < most;) {
    got = decoder->read_block(block, sizeof(block));
    const std::size_t at = bytes.size();
    if (got > 0 && bytes.resize(at + static_cast<std::size_t>(got)))
      std::memcpy(bytes.begin() + at, block, static_cast<std::size_t>(got));
  }
  return true;
}

bool store_body(CPDFXRefTable& table, const PDF_REF& ref, const CPDFDictionary& old, const GrowArray<char>& bytes) {
  const HeapWatch watch;
  CPDFStreamRec rec;
  rec.dict.copy_from(&old);
  for (const char* key : {"Filter", "DecodeParms", "F", "FFilter", "FDecodeParms", "DL"})
    rec.dict.set_item(key, nullptr);
  table.write_stream(ref, &rec, bytes.begin(), static_cast<unsigned>(bytes.size()));
  if (!watch.all_granted()) {
    rec.dict.clear();
    return false;
  }
  table.store_stream(ref, rec);
  return watch.all_granted();
}

}  // namespace sheaf

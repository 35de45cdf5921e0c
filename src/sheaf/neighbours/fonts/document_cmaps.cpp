// Character maps of a document's fonts: predefined ones by name, through the table's caches, and
// streams, each with the map that it builds on (ISO 32000-1, 9.7.5.3).
#include <memory>

#include "sheaf/base/scope_guard.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/neighbours/fonts/cmap.h"
#include "sheaf/neighbours/fonts/cmap_parser.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr int kMostStream = 16 << 20;  // decoded bytes of a map; real ones stay below one MiB

CPDFCMap* cached(CPDFXRefTable& table, const char* name, const CPDFCMap*) {
  return table.get_cmap(name);
}
CPDFCMapToUnicode* cached(CPDFXRefTable& table, const char* name, const CPDFCMapToUnicode*) {
  return table.get_cmap_tou(name);
}

// Without an environment there is still what needs no file.
template <class Map>
Map* named_map(CPDFXRefTable& table, const char* name) {
  Map* const map = cached(table, name, static_cast<const Map*>(nullptr));
  return map != nullptr ? map : Map::make_identity(name);
}

// What the stream's data define; the dictionary says the rest where they do not.
bool read_contents(CPDFXRefTable& table, const CPDFStreamRec& rec, CMapContents& contents) {
  const std::unique_ptr<CPDFStream> decoder(table.make_stream(&rec));
  if (decoder == nullptr)
    return false;
  int size = 0;
  const HeapBlock<std::uint8_t> bytes(decoder->buffer_load(decoder->most_text(kMostStream), size));
  if (!bytes)
    return false;
  parse_cmap(bytes.get(), static_cast<std::size_t>(size), contents);
  if (!contents.has_wmode) {
    contents.info.wmode = table.value(&rec.dict, "WMode").to_int() != 0 ? 1 : 0;
  }
  return true;
}

// `depth` counts the streams that build on one another; a loop of them ends there too.
template <class Map>
Map* load_map(CPDFXRefTable& table, const CPDFObj* value, int depth) {
  const Freed<CPDFObj> obj = table.value(value);
  if (obj.as_name() != nullptr)
    return named_map<Map>(table, obj.as_name());
  const CPDFStreamRec* rec = obj.as_stream();
  const HeapWatch watch;
  CMapContents contents;
  if (rec == nullptr || !read_contents(table, *rec, contents))
    return nullptr;
  const CPDFObj* used = rec->dict.get_item("UseCMap");
  Map* base = used != nullptr && depth < CPDFSharedCMap::kMostChain ? load_map<Map>(table, used, depth + 1) : nullptr;
  if (base == nullptr && contents.base_name[0] != 0)
    base = named_map<Map>(table, contents.base_name);
  return whole_map(Map::make(contents, base), watch);
}

}  // namespace

CPDFCMap* CPDFCMap::load(CPDFXRefTable& table, const CPDFObj* value) {
  return load_map<CPDFCMap>(table, value, 1);
}

CPDFCMapToUnicode* CPDFCMapToUnicode::load(CPDFXRefTable& table, const CPDFObj* value) {
  return load_map<CPDFCMapToUnicode>(table, value, 1);
}

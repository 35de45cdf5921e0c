// Filters come off from the front of the chain, one stage at a time.
#include "sheaf/document/writer/stream_coder.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

#include "sheaf/document/writer/deflater.h"
#include "sheaf/filters/decode_parms.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/filters/stream_flaw.h"
#include "sheaf/neighbours/security/crypt_filter.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

namespace {

constexpr std::int32_t kMostStages = 16;
constexpr std::size_t kMostDecoded = std::size_t{256} * 1024 * 1024;
constexpr std::size_t kMostWhole = std::size_t{16} * 1024 * 1024;  // larger data are decoded in pieces
constexpr std::size_t kFirstRoom = 16 * 1024;
constexpr int kNormalLevel = 6;
// All streams together may decode to this, and so many times the size of the file.
constexpr std::int64_t kLeastWork = std::int64_t{256} * 1024 * 1024;
constexpr std::int64_t kMostGrowth = 100;

bool is_any_of(const char* name, std::initializer_list<const char*> names) {
  return std::any_of(names.begin(), names.end(), [name](const char* other) { return std::strcmp(name, other) == 0; });
}

bool is_flate(const char* name) {
  return std::strcmp(name, CPDFDictionary::sm_tag_fdec) == 0;
}

// What Flate takes the place of.
bool is_replaceable(const char* name) {
  return is_any_of(name, {"LZWDecode", "ASCII85Decode", "ASCIIHexDecode", "RunLengthDecode"});
}

bool is_metadata(const CPDFDictionary& dict) {
  const CPDFObj* const type = dict.get_item(CPDFDictionary::sm_tag_type);
  return type != nullptr && type->is_name("Metadata");
}

// Whether data of this size are whole rows, where a predictor made rows of them. What readers make of a row that is cut
// differs.
bool has_whole_rows(CPDFXRefTable& table, const CPDFDictionary* parms, std::size_t size) {
  if (parm_number(&table, parms, "Predictor", 1) <= 1)
    return true;
  constexpr std::int64_t kMostColumns = std::int64_t{1} << 40;
  std::int64_t bits = 1;
  for (const auto& [key, fallback] :
       {std::pair{"Colors", 1}, std::pair{CPDFDictionary::sm_tag_bpc, 8}, std::pair{"Columns", 1}}) {
    bits *= parm_number(&table, parms, key, fallback);
    if (bits < 1 || bits > kMostColumns)
      return false;
  }
  return size % static_cast<std::size_t>((bits + 7) / 8) == 0;
}

// Reads a decoder to its end. False when that is more than there may be, or damaged as far as one can see.
bool drain(CPDFStream& decoder, HeapBlock<unsigned char>& out, std::size_t& size) {
  std::size_t room = 0;
  size = 0;
  decoder.decode_whole(kMostWhole);
  for (;;) {
    if (size == room) {
      room = std::max(room * 2, kFirstRoom);
      auto* const grown = room <= 2 * kMostDecoded ? static_cast<unsigned char*>(QVRealloc(out.get(), room)) : nullptr;
      if (grown == nullptr)
        return false;
      out.release();
      out.reset(grown);
    }
    const int got = decoder.read_block(out.get() + size, static_cast<int>(room - size));
    if (got <= 0)
      break;
    size += static_cast<std::size_t>(got);
    if (size > kMostDecoded)
      return false;
  }
  return find_flaw(decoder) == kFlawNone;
}

}  // namespace

StreamCoder::StreamCoder(CPDFXRefTable& table, const PDF_WRITE_OPTIONS& options)
    : table_(table), options_(options), work_left_(kLeastWork + kMostGrowth * table.stream->GetLen()) {}

// The stages of a stream that are still on, from `next` on, and its data under them.
struct StreamCoder::Chain {
  Freed<CPDFObj> filters;
  Freed<CPDFObj> parms;
  const char* names[kMostStages] = {};
  Freed<CPDFObj> stage_parms[kMostStages];
  std::int32_t count = 0;
  std::int32_t next = 0;
  HeapBlock<unsigned char> data;
  std::size_t size = 0;
  std::size_t stored_size = 0;
  Cleared<CPDFDictionary> predictor;  // what a stage that was taken off left on its data

  bool at_end() const { return next == count; }
  const char* name() const { return names[next]; }
};

bool StreamCoder::read_chain(const CPDFStreamRec& rec, Chain& chain) {
  const CPDFDictionary& dict = rec.dict;
  if (dict.get_item("F") != nullptr || named_crypt_filter(dict) != nullptr)
    return false;
  chain.filters = table_.value(&dict, CPDFDictionary::sm_tag_filter);
  chain.parms = table_.value(&dict, "DecodeParms");
  const CPDFArray* const names = chain.filters.as_array();
  const CPDFArray* const parms = chain.parms.as_array();
  chain.count = names != nullptr ? names->count : chain.filters.as_name() != nullptr ? 1 : 0;
  if (chain.count > kMostStages || (names == nullptr && chain.count == 0 && !chain.filters.is_null()))
    return false;
  for (std::int32_t i = 0; i < chain.count; ++i) {
    if (names != nullptr && names->items[i].tag == kTagRef)
      return false;
    const CPDFObj& name = names != nullptr ? names->items[i] : chain.filters;
    if (name.as_name() == nullptr)
      return false;
    chain.names[i] = long_filter_name(name.as_name());
    if (names != nullptr)
      chain.stage_parms[i] = table_.value(parms, i);
    else
      chain.stage_parms[i].copy_from(&chain.parms);
    if (find_decoder(chain.names[i]) == nullptr)
      return false;
  }
  int len = 0;
  chain.data.reset(table_.load_raw_data(&rec, len));
  chain.size = chain.stored_size = static_cast<std::size_t>(len);
  return static_cast<bool>(chain.data);
}

// Decodes the first stage that is left. Without `with_predictor` the rows keep their predictor, which `chain.predictor`
// then describes.
bool StreamCoder::take_stage_off(Chain& chain, bool with_predictor) {
  CPDFObj& parms = chain.stage_parms[chain.next];
  CPDFDictionary* const dict = parms.as_dict();
  if (dict != nullptr && !with_predictor && dict->get_item("Predictor") != nullptr) {
    for (const char* key : {"Predictor", "Colors", CPDFDictionary::sm_tag_bpc, "Columns"}) {
      if (const CPDFObj* const value = dict->get_item(key)) {
        chain.predictor.set_item(key, value);
        dict->set_item(key, nullptr);
      }
    }
  }
  const std::unique_ptr<CPDFStream> decoder(CPDFXRefTable::make_stream2(
      &table_, chain.data.release(), static_cast<int>(chain.size), chain.name(), parms.as_dict()));
  HeapBlock<unsigned char> out;
  std::size_t size = 0;
  const bool drained = decoder != nullptr && drain(*decoder, out, size);
  work_left_ -= static_cast<std::int64_t>(size);
  if (!drained || !has_whole_rows(table_, parms.as_dict(), size))
    return false;
  chain.data.reset(out.release());
  chain.size = size;
  ++chain.next;
  return true;
}

// Makes the chain's state that of the stream: its data, the stages that are left, and Flate before them.
void StreamCoder::store(CPDFStreamRec& rec, Chain& chain, const CPDFDictionary* flate_parms, bool flate) {
  Cleared<CPDFArray> names;
  Cleared<CPDFArray> parms;
  bool has_parms = false;
  const CPDFObj nothing{};
  if (flate) {
    names.append_name(CPDFDictionary::sm_tag_fdec);
    has_parms = flate_parms != nullptr && flate_parms->count != 0;
    if (has_parms)
      parms.append_dict(flate_parms);
    else
      parms.append(&nothing);
  }
  for (std::int32_t i = chain.next; i < chain.count; ++i) {
    names.append_name(chain.names[i]);
    parms.append(&chain.stage_parms[i]);
    has_parms = has_parms || !chain.stage_parms[i].is_null();
  }
  const auto put = [&rec](const char* key, const CPDFArray& list, bool wanted) {
    if (!wanted || list.count == 0)
      rec.dict.set_item(key, nullptr);
    else if (list.count == 1)
      rec.dict.set_item(key, list.get(0));
    else
      rec.dict.set_item_arr(key, &list);
  };
  put(CPDFDictionary::sm_tag_filter, names, true);
  put("DecodeParms", parms, has_parms);
  set_data(rec, chain.data.release(), chain.size);
}

void StreamCoder::set_data(CPDFStreamRec& rec, unsigned char* data, std::size_t size) {
  block_.reset(data);
  view_.Open(data, static_cast<int>(size));
  rec.source = size != 0 ? &view_ : nullptr;
  rec.offset = 0;
  rec.length = static_cast<std::int32_t>(size);
  rec.plain = 1;
  rec.dict.set_item_int(CPDFDictionary::sm_tag_length, static_cast<int>(size));
}

unsigned char* StreamCoder::pack(const Chain& chain, int level, std::size_t& size) {
  return options_.packer != nullptr ? options_.packer->pack(chain.data.get(), chain.size, level, size)
                                    : deflate_block(chain.data.get(), chain.size, level, size);
}

bool StreamCoder::compress(CPDFStreamRec& rec, Chain& chain) {
  if (is_metadata(rec.dict))
    return false;  // programs that know nothing of PDF look for it
  bool left_out = false;
  for (; !chain.at_end() && is_replaceable(chain.name()); left_out = true) {
    const bool last = chain.next + 1 == chain.count;
    if (!take_stage_off(chain, !last))
      return false;
  }
  if (!chain.at_end()) {
    if (left_out && chain.size < chain.stored_size)
      store(rec, chain, nullptr, false);
    return left_out && chain.size < chain.stored_size;
  }
  std::size_t size = 0;
  const int level = options_.recompress != 0 ? options_.recompress : kNormalLevel;
  HeapBlock<unsigned char> packed(pack(chain, level, size));
  if (!packed || size >= chain.stored_size)
    return false;
  chain.data.reset(packed.release());
  chain.size = size;
  store(rec, chain, &chain.predictor, true);
  return true;
}

bool StreamCoder::recompress(CPDFStreamRec& rec, Chain& chain) {
  Freed<CPDFObj> parms;
  parms.copy_from(&chain.stage_parms[chain.next]);
  if (!take_stage_off(chain, false))
    return false;
  std::size_t size = 0;
  HeapBlock<unsigned char> packed(pack(chain, options_.recompress, size));
  if (!packed || size >= chain.stored_size)
    return false;
  chain.data.reset(packed.release());
  chain.size = size;
  store(rec, chain, parms.as_dict(), true);
  return true;
}

bool StreamCoder::uncompress(CPDFStreamRec& rec, Chain& chain) {
  const auto comes_off = [](const char* name) { return is_replaceable(name) || is_flate(name); };
  if (chain.at_end() || !comes_off(chain.name()))
    return false;
  while (!chain.at_end() && comes_off(chain.name())) {
    if (!take_stage_off(chain, true))
      return false;
  }
  store(rec, chain, nullptr, false);
  return true;
}

bool StreamCoder::recode(CPDFStreamRec& rec) {
  if (options_.stream_data == PDF_STREAM_DATA::kPreserve && options_.recompress == 0)
    return false;
  Chain chain;
  if (work_left_ < 0) {
    ++left_alone_;
    return false;
  }
  if (!read_chain(rec, chain))
    return false;
  if (options_.stream_data == PDF_STREAM_DATA::kUncompress)
    return uncompress(rec, chain);
  if (options_.recompress != 0 && !chain.at_end() && is_flate(chain.name()))
    return recompress(rec, chain);
  return options_.stream_data == PDF_STREAM_DATA::kCompress && compress(rec, chain);
}

}  // namespace sheaf

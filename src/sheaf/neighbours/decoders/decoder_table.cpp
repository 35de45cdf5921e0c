// The decoders by name: a new one is one maker and one row.
#include <cstring>
#include <memory>
#include <new>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/filters/ascii_hex.h"
#include "sheaf/filters/ccitt.h"
#include "sheaf/filters/decode_parms.h"
#include "sheaf/filters/flate.h"
#include "sheaf/filters/run_length.h"
#include "sheaf/neighbours/decoders/ascii85.h"
#include "sheaf/neighbours/decoders/dct.h"
#include "sheaf/neighbours/decoders/jbig2_filter.h"
#include "sheaf/neighbours/decoders/lzw.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/xref/xref_table.h"

#ifdef SHEAF_HAS_JPX
#include "sheaf/neighbours/decoders/jpx/jpx.h"
#endif

namespace sheaf {

namespace {

// A decoder over the block, which is released when there is no memory for the decoder.
template <class Decoder>
Decoder* make_over(unsigned char* data, int len) {
  auto* decoder = new (std::nothrow) Decoder(data, len);
  if (decoder == nullptr)
    QVFree(data);
  return decoder;
}

struct PredictorParms {
  std::int32_t predictor;
  std::int32_t columns;
  std::int32_t colors;
  std::int32_t bits;
};

PredictorParms predictor_parms(CPDFXRefTable* table, const CPDFDictionary* parms) {
  return {parm_number(table, parms, "Predictor", 1), parm_number(table, parms, "Columns", 1),
          parm_number(table, parms, "Colors", 1), parm_number(table, parms, CPDFDictionary::sm_tag_bpc, 8)};
}

// "Crypt": the data were decrypted ahead of the chain and pass unchanged.
CPDFStream* make_plain(CPDFXRefTable*, unsigned char* data, int len, const CPDFDictionary*) {
  return make_over<CPDFStream>(data, len);
}

CPDFStream* make_flate(CPDFXRefTable* table, unsigned char* data, int len, const CPDFDictionary* parms) {
  auto* flate = make_over<CPDFStreamFlate>(data, len);
  if (flate == nullptr)
    return nullptr;
  const PredictorParms p = predictor_parms(table, parms);
  flate->open(static_cast<unsigned>(p.predictor), static_cast<unsigned>(p.columns), static_cast<unsigned>(p.colors),
              static_cast<unsigned>(p.bits));
  return flate;
}

CPDFStream* make_ascii_hex(CPDFXRefTable*, unsigned char* data, int len, const CPDFDictionary*) {
  return make_over<CPDFStreamASCIIHex>(data, len);
}

CPDFStream* make_ascii85(CPDFXRefTable*, unsigned char* data, int len, const CPDFDictionary*) {
  auto* decoder = make_over<CPDFStreamASCII85>(data, len);
  if (decoder != nullptr)
    decoder->open();
  return decoder;
}

CPDFStream* make_lzw(CPDFXRefTable* table, unsigned char* data, int len, const CPDFDictionary* parms) {
  auto* lzw = make_over<CPDFStreamLZW>(data, len);
  if (lzw == nullptr)
    return nullptr;
  const PredictorParms p = predictor_parms(table, parms);
  lzw->open(p.predictor, p.columns, p.colors, p.bits, parm_number(table, parms, "EarlyChange", 1));
  return lzw;
}

CPDFStream* make_run_length(CPDFXRefTable*, unsigned char* data, int len, const CPDFDictionary*) {
  return make_over<CPDFStreamRunlen>(data, len);
}

// "EndOfBlock" plays no part, and "EndOfLine" hardly any: line ends and the end of the block are found from the data.
CPDFStream* make_ccitt(CPDFXRefTable* table, unsigned char* data, int len, const CPDFDictionary* parms) {
  auto* fax = make_over<CPDFStreamFAX>(data, len);
  if (fax == nullptr)
    return nullptr;
  fax->open(parm_number(table, parms, "K", 0), parm_number(table, parms, "Columns", 1728),
            parm_number(table, parms, "Rows", 0), parm_flag(table, parms, "EncodedByteAlign") ? 1 : 0,
            parm_flag(table, parms, "BlackIs1") ? 1 : 0);
  fax->end_of_line = parm_flag(table, parms, "EndOfLine") ? 1 : 0;
  return fax;
}

CPDFStream* make_dct(CPDFXRefTable* table, unsigned char* data, int len, const CPDFDictionary* parms) {
  auto* dct = make_over<CPDFStreamDCT>(data, len);
  if (dct == nullptr)
    return nullptr;
  dct->set_ceiling(table != nullptr ? table->picture_ceiling : 0);
  dct->open(parm_number(table, parms, "ColorTransform", -1));
  return dct;
}

#ifdef SHEAF_HAS_JPX
CPDFStream* make_jpx(CPDFXRefTable* table, unsigned char* data, int len, const CPDFDictionary*) {
  auto* jpx = make_over<CPDFStreamJPX>(data, len);
  if (jpx == nullptr)
    return nullptr;
  jpx->set_ceiling(table != nullptr ? table->picture_ceiling : 0);
  jpx->open();
  return jpx;
}
#endif

// What the decoders may do, by the places of their data in the file; by the data alone where these are in memory.
void share_work(CPDFXRefTable& table, CPDFStreamJBIG2& jbig2, const CPDFStreamRec* globals) {
  jbig2.decoder.limits.ceiling = jbig2.globals.limits.ceiling = table.picture_ceiling;
  const std::uint32_t place = table.stream_work.place();
  if (place == 0 || table.stream == nullptr)
    return;
  table.picture_work.begin(place, table.stream->GetLen() * jb2::Limits::kWorkPerFileByte);
  jbig2.decoder.limits.shared = jbig2.globals.limits.shared = &table.picture_work;
  if (globals != nullptr && globals->source == table.stream)
    jbig2.globals.limits.unjustified = !table.picture_work.owns(globals->offset);
}

// Opens with the global segments when their stream can be decoded, else without. Global segments
// that find no memory leave the filter unopened, and so empty.
CPDFStream* make_jbig2(CPDFXRefTable* table, unsigned char* data, int len, const CPDFDictionary* parms) {
  constexpr int kMostGlobals = 0x800000;
  std::unique_ptr<CPDFStreamJBIG2> jbig2(make_over<CPDFStreamJBIG2>(data, len));
  if (jbig2 == nullptr || !jbig2->init())
    return nullptr;
  Freed<CPDFObj> value;
  const CPDFObj* item = parms != nullptr ? parms->get_item("JBIG2Globals") : nullptr;
  if (item != nullptr)
    CPDFXRefTable::resolve(table, value, item);
  const CPDFStreamRec* rec = value.as_stream();
  const std::unique_ptr<CPDFStream> globals(rec != nullptr && table != nullptr ? table->make_stream(rec) : nullptr);
  if (table != nullptr)
    share_work(*table, *jbig2, rec);
  if (globals == nullptr) {
    jbig2->open(nullptr, 0);
    return jbig2.release();
  }
  int size = rec->decoded_hint;
  const HeapBlock<std::uint8_t> block(globals->buffer_load(globals->most_text(kMostGlobals), size));
  if (block) {
    table->stream_work.add(size);
    jbig2->open(block.get(), size);
  }
  return jbig2.release();
}

struct Row {
  const char* name;
  const char* short_name;
  DecoderMaker maker;
};

constexpr Row kDecoders[] = {
    {"Crypt", nullptr, make_plain},
    {"FlateDecode", "Fl", make_flate},
    {"ASCIIHexDecode", "AHx", make_ascii_hex},
    {"ASCII85Decode", "A85", make_ascii85},
    {"LZWDecode", "LZW", make_lzw},
    {"RunLengthDecode", "RL", make_run_length},
    {"CCITTFaxDecode", "CCF", make_ccitt},
    {"DCTDecode", "DCT", make_dct},
#ifdef SHEAF_HAS_JPX
    {"JPXDecode", nullptr, make_jpx},
#endif
    {"JBIG2Decode", nullptr, make_jbig2},
};

}  // namespace

namespace {

const Row* find_row(const char* name) {
  if (name == nullptr)
    return nullptr;
  for (const Row& row : kDecoders) {
    if (std::strcmp(name, row.name) == 0 || (row.short_name != nullptr && std::strcmp(name, row.short_name) == 0))
      return &row;
  }
  return nullptr;
}

}  // namespace

DecoderMaker find_decoder(const char* name) {
  const Row* const row = find_row(name);
  return row != nullptr ? row->maker : nullptr;
}

const char* long_filter_name(const char* name) {
  const Row* const row = find_row(name);
  return row != nullptr ? row->name : name;
}

}  // namespace sheaf

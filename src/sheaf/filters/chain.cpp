// From a stream's record to its decoded bytes: the raw data, decrypted, then one decoder for each
// filter. Only the last decoder stays live; those before it are run to their end one after
// the other.
#include <algorithm>
#include <memory>
#include <new>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/filters/decode_parms.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/filters/stream_flaw.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr int kMostStageBytes = 0x1000000;  // 16 MiB: a stage before the last is cut here
constexpr std::int32_t kMostStages = 64;    // no real file comes near

// A decoder's parameters may name a stream, whose decoder's parameters may name a stream again. One
// level is what files have; these bounds hold for an outermost stream with all below it, so that a
// stream among its own parameters costs neither the C stack nor time beyond measure. In bytes, the
// stages may give eight times what the largest one may: real chains have two or three filters.
constexpr std::int32_t kMostNestedStreams = 4;
constexpr std::int64_t kMostChainWork = 8 * kMostStageBytes;
constexpr std::int64_t kNestedStreamWork = 0x800000;  // what its reader may take from a nested stream
constexpr int kLeastStageWork = 64 * 1024;

CPDFStream* plain_stream(unsigned char* data, int len) {
  auto* stream = new (std::nothrow) CPDFStream(data, len);
  if (stream == nullptr)
    QVFree(data);
  return stream;
}

// The filters of one stream and their parameters.
class FilterChain {
public:
  FilterChain(CPDFXRefTable& table, const CPDFStreamRec& rec) : table_(table), rec_(rec) {}

  CPDFStream* build(unsigned char* data, int len) {
    const CPDFObj* item = rec_.dict.get_item(CPDFDictionary::sm_tag_filter);
    if (item == nullptr)
      return plain_stream(data, len);
    filters_ = table_.value(item);
    parms_ = table_.value(&rec_.dict, "DecodeParms");
    const CPDFArray* names = filters_.as_array();
    if (names == nullptr) {
      // A single filter takes a dictionary only; an array of one beside it means no parameters.
      return make(filters_, parms_.as_dict(), data, len);
    }
    return names->count == 0 ? plain_stream(data, len) : build_stages(*names, data, len);
  }

private:
  CPDFStream* make(const CPDFObj& name, const CPDFDictionary* parms, unsigned char* data, int len) {
    const char* text = name.as_text();
    if (text == nullptr) {
      QVFree(data);
      return nullptr;
    }
    return table_.make_stream2(data, len, text, parms);
  }

  CPDFStream* make_stage(const CPDFArray& names, std::int32_t index, unsigned char* data, int len) {
    Freed<CPDFObj> name;
    Freed<CPDFObj> parms;
    name = table_.value(&names, index);
    const CPDFArray* list = parms_.as_array();
    parms = table_.value(list, index);
    return make(name, parms.as_dict(), data, len);
  }

  // One name without a decoder makes the work of all the others useless.
  bool all_known(const CPDFArray& names) {
    for (std::int32_t i = 0; i < names.count; ++i) {
      Freed<CPDFObj> name = table_.value(&names, i);
      if (find_decoder(name.as_text()) == nullptr)
        return false;
    }
    return true;
  }

  // Runs a stage to its end and releases it. Null also when the chain has cost too much.
  unsigned char* run_stage(CPDFStream* stage, int& size) {
    const std::unique_ptr<CPDFStream> held(stage);
    const std::int64_t ceiling = table_.decoded_ceiling;
    const int most = ceiling > 0 ? static_cast<int>(std::min<std::int64_t>(ceiling, kMostStageBytes)) : kMostStageBytes;
    if (table_.stream_work.done() > kMostChainWork)
      return nullptr;
    size = rec_.decoded_hint;
    unsigned char* block = stage->buffer_load(stage->most_text(most), size);
    table_.stream_work.add(std::clamp(size, kLeastStageWork, kMostStageBytes));
    note_flaw(*stage);
    return block;
  }

  // What the last stage is made of may be cut already, by damage or because it is too large.
  void note_flaw(CPDFStream& stage) {
    char next = 0;
    if (stage.filter_type != kFilterFlate && stage.read_block(&next, 1) > 0)
      flaw_ = kFlawLimit;
    if (flaw_ == kFlawNone)
      flaw_ = find_flaw(stage);
  }

  CPDFStream* build_stages(const CPDFArray& names, unsigned char* data, int len) {
    if (names.count > kMostStages || !all_known(names)) {
      QVFree(data);
      return nullptr;
    }
    CPDFStream* stage = make_stage(names, 0, data, len);
    for (std::int32_t i = 1; i < names.count && stage != nullptr; ++i) {
      int size = 0;
      unsigned char* block = run_stage(stage, size);
      stage = block != nullptr ? make_stage(names, i, block, size) : nullptr;
    }
    if (stage != nullptr && stage->flaw == kFlawNone)
      stage->flaw = flaw_;
    return stage;
  }

  CPDFXRefTable& table_;
  const CPDFStreamRec& rec_;
  Freed<CPDFObj> filters_;
  Freed<CPDFObj> parms_;
  CPDFStreamFlaw flaw_ = kFlawNone;
};

}  // namespace

CPDFStream* CPDFXRefTable::make_stream(const CPDFStreamRec* rec) {
  if (stream_work.is_spent(kMostNestedStreams, kMostChainWork))
    return nullptr;
  const StreamWork::Stream making(stream_work, kNestedStreamWork,
                                  rec != nullptr && rec->source == stream ? rec->offset : 0);
  int len = 0;
  unsigned char* block = load_raw_data(rec, len);
  return block != nullptr ? FilterChain(*this, *rec).build(block, len) : nullptr;
}

CPDFStream* CPDFXRefTable::make_stream2(CPDFXRefTable* table, unsigned char* data, int len, const char* name,
                                        const CPDFDictionary* parms) {
  const DecoderMaker maker = find_decoder(name);
  if (maker == nullptr) {
    QVFree(data);
    return nullptr;
  }
  return maker(table, data, len, parms);
}

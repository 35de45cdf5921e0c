// The data of a stream under other filters than those that it has: smaller ones, or none. The decoded data stay the
// same to the byte; where that cannot be promised the stream stays as it is.
#pragma once

#include <cstdint>

#include "sheaf/base/scope_guard.h"
#include "sheaf/base/stream.h"
#include "sheaf/document/writer/doc_writer.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/object.h"

class CPDFXRefTable;

namespace sheaf {

class StreamCoder {
public:
  StreamCoder(CPDFXRefTable& table, const PDF_WRITE_OPTIONS& options);
  StreamCoder(const StreamCoder&) = delete;
  StreamCoder& operator=(const StreamCoder&) = delete;

  /// Gives the stream `rec` of the document new data and filters where the options ask for it. The data stay here
  /// until the next call. True when it did.
  bool recode(CPDFStreamRec& rec);
  /// How many streams stay as they are because all would decode to too much for a file of this size.
  std::int64_t left_alone() const { return left_alone_; }
  /// Puts `data` in place of the stream's data, as they are then stored; the filters are the caller's matter.
  void set_data(CPDFStreamRec& rec, unsigned char* data, std::size_t size);

private:
  struct Chain;

  bool read_chain(const CPDFStreamRec& rec, Chain& chain);
  bool decode(Chain& chain);
  bool take_stage_off(Chain& chain, bool with_predictor);
  unsigned char* pack(const Chain& chain, int level, std::size_t& size);
  bool compress(CPDFStreamRec& rec, Chain& chain);
  bool recompress(CPDFStreamRec& rec, Chain& chain);
  bool uncompress(CPDFStreamRec& rec, Chain& chain);
  void store(CPDFStreamRec& rec, Chain& chain, const CPDFDictionary* flate_parms, bool flate);

  CPDFXRefTable& table_;
  const PDF_WRITE_OPTIONS& options_;
  std::int64_t work_left_;  // bytes that streams may still decode to
  std::int64_t left_alone_ = 0;
  HeapBlock<unsigned char> block_;
  CQVStreamMemFix view_;
};

}  // namespace sheaf

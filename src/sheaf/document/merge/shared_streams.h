// Streams of equal bytes and equal dictionaries are written once: the fonts, images and profiles that
// documents of one origin have in common. Streams of equal length are compared, first by a digest, then
// byte for byte; what refers to the later one then refers to the first.
#pragma once

#include "sheaf/document/merge/merge_source.h"
#include "sheaf/object/dictionary.h"

namespace sheaf {

class SharedStreams {
public:
  explicit SharedStreams(MergeTarget& target) : target_(target), table_(target.table) {}
  SharedStreams(const SharedStreams&) = delete;
  SharedStreams& operator=(const SharedStreams&) = delete;

  /// Looks over what was stored for a source, when all else is done with it.
  void take(const MergeSource& source);

private:
  struct Known {
    std::int32_t num;
    std::int32_t length;
    std::uint64_t digest;  // 0 while no other stream had its length
    std::int32_t next;     // in the chain of streams that may be the same, -1 at its end
  };

  bool find_equals(const MergeSource& source);
  std::int32_t find(std::int32_t num, const CPDFStreamRec& stream);
  bool is_same(const Known& known, const CPDFStreamRec& stream);
  bool digest_of(const CPDFStreamRec& stream, std::uint64_t& digest);
  std::int32_t last_same(std::int32_t num) const;
  void redirect(const MergeSource& source);
  bool grow_index();
  const CPDFStreamRec* stored(std::int32_t num) const;

  MergeTarget& target_;
  CPDFXRefTable& table_;
  GrowArray<Known> known_;
  GrowArray<std::int32_t> buckets_;  // by length
  NumberMap looked_at_;              // of the present source, by number less its first: 1 once it is known
  NumberMap same_as_;                // of the present source, the same way: the stream that takes its place
  std::int32_t first_num_ = 0;
};

}  // namespace sheaf

// Streams are compared by length, then by digest, then byte by byte with their dictionaries.
#include "sheaf/document/merge/shared_streams.h"

#include <algorithm>
#include <cstring>

#include "sheaf/base/heap.h"
#include "sheaf/base/stream.h"
#include "sheaf/object/array.h"
#include "sheaf/object/reference_walk.h"

namespace sheaf {

namespace {

// Below this the dictionary is most of the stream.
constexpr std::int32_t kLeastLength = 64;
// So many are remembered, which bounds the memory; later ones are written as they are.
constexpr std::size_t kMostKnown = 1 << 20;
constexpr std::size_t kFirstBuckets = 256;
constexpr unsigned kBlock = 32 * 1024;
constexpr int kMostRounds = 4;

std::uint64_t mixed(std::uint64_t value) {
  value ^= value >> 32;
  value *= 0x9E3779B97F4A7C15u;
  return value ^ value >> 29;
}

bool same_dictionary(const CPDFDictionary& a, const CPDFDictionary& b) {
  if (a.count != b.count)
    return false;
  CPDFObj left{};
  CPDFObj right{};
  CQVStreamMem texts[2];
  for (std::int32_t i = 0; i < a.count; ++i) {
    left = *a.items[i];
    right = *b.items[i];  // borrowed, not released
    if (std::strcmp(a.items[i]->key(), b.items[i]->key()) != 0 || left.tag != right.tag)
      return false;
    const std::size_t from[2]{texts[0].len, texts[1].len};
    left.write(&texts[0], nullptr);
    right.write(&texts[1], nullptr);
    const std::size_t len = texts[0].len - from[0];
    if (len != texts[1].len - from[1] || std::memcmp(texts[0].data + from[0], texts[1].data + from[1], len) != 0)
      return false;
  }
  return true;
}

}  // namespace

const CPDFStreamRec* SharedStreams::stored(std::int32_t num) const {
  const PDF_NEWOBJ* const slot = table_.get_xref2(num, 0);
  return slot != nullptr ? slot->obj.as_stream() : nullptr;
}

bool SharedStreams::digest_of(const CPDFStreamRec& stream, std::uint64_t& digest) {
  const HeapBlock<unsigned char> block(static_cast<unsigned char*>(QVAlloc(kBlock + sizeof(std::uint64_t))));
  if (!block || stream.source == nullptr)
    return false;
  digest = 1;
  stream.source->SetPos(CQVStream::STR_SEEK_SET, stream.offset);
  for (auto left = static_cast<unsigned>(stream.length); left > 0;) {
    const unsigned want = std::min(left, kBlock);
    if (stream.source->Read(block.get(), want) != want)
      return false;
    std::memset(block.get() + want, 0, sizeof(std::uint64_t));
    for (unsigned at = 0; at < want; at += sizeof(std::uint64_t)) {
      std::uint64_t word;
      std::memcpy(&word, block.get() + at, sizeof(word));
      digest = mixed(digest ^ word) + 1;
    }
    left -= want;
  }
  digest |= 1;  // 0 means no digest
  return true;
}

bool SharedStreams::is_same(const Known& known, const CPDFStreamRec& stream) {
  const CPDFStreamRec* const other = stored(known.num);
  if (other == nullptr || other->length != stream.length || !same_dictionary(other->dict, stream.dict))
    return false;
  const HeapBlock<unsigned char> block(static_cast<unsigned char*>(QVAlloc(2 * kBlock)));
  if (!block || other->source == nullptr || stream.source == nullptr)
    return false;
  for (unsigned done = 0; done < static_cast<unsigned>(stream.length);) {
    const unsigned want = std::min(static_cast<unsigned>(stream.length) - done, kBlock);
    other->source->SetPos(CQVStream::STR_SEEK_SET, std::int64_t{other->offset} + done);
    const unsigned left = other->source->Read(block.get(), want);
    stream.source->SetPos(CQVStream::STR_SEEK_SET, std::int64_t{stream.offset} + done);
    const unsigned right = stream.source->Read(block.get() + kBlock, want);
    if (left != want || right != want || std::memcmp(block.get(), block.get() + kBlock, want) != 0)
      return false;
    done += want;
  }
  return true;
}

bool SharedStreams::grow_index() {
  if (known_.size() < buckets_.size())
    return true;
  if (!buckets_.resize(buckets_.empty() ? kFirstBuckets : buckets_.size() * 2))
    return false;
  std::fill(buckets_.begin(), buckets_.end(), -1);
  for (std::size_t i = 0; i < known_.size(); ++i) {
    std::int32_t& head = buckets_[mixed(static_cast<std::uint64_t>(known_[i].length)) % buckets_.size()];
    known_[i].next = head;
    head = static_cast<std::int32_t>(i);
  }
  return true;
}

// The number of a stream that is the same; 0 for none, and the stream is then known itself. Of streams
// whose digests agree only the newest few are compared, so that no file makes this long.
std::int32_t SharedStreams::find(std::int32_t num, const CPDFStreamRec& stream) {
  constexpr int kMostCompared = 4;
  constexpr int kMostSeen = 64;
  if (!grow_index())
    return 0;
  std::uint64_t digest = 0;
  int compared = 0;
  int seen = 0;
  std::int32_t& head = buckets_[mixed(static_cast<std::uint64_t>(stream.length)) % buckets_.size()];
  for (std::int32_t at = head; at >= 0 && compared < kMostCompared && seen < kMostSeen;) {
    Known& known = known_[at];
    at = known.next;
    ++seen;
    if (known.length != stream.length || known.num == num)
      continue;
    const CPDFStreamRec* const other = known.digest == 0 ? stored(known.num) : nullptr;
    if ((digest == 0 && !digest_of(stream, digest)) || (other != nullptr && !digest_of(*other, known.digest)))
      return 0;
    if (known.digest != digest)
      continue;
    ++compared;
    if (is_same(known, stream))
      return known.num;
  }
  if (looked_at_.get(num - first_num_ + 1) == 0 && known_.size() < kMostKnown &&
      known_.push({num, stream.length, digest, head})) {
    head = known_.count() - 1;
    looked_at_.set(num - first_num_ + 1, 1);
  }
  return 0;
}

bool SharedStreams::find_equals(const MergeSource& source) {
  bool found = false;
  std::int32_t count = 0;
  for (std::uint32_t i = source.first_slot; i < table_.new_obj_count; ++i) {
    PDF_NEWOBJ& slot = table_.new_objs[i];
    const std::int32_t num = slot.num;
    const CPDFStreamRec* const stream = num >= first_num_ ? slot.obj.as_stream() : nullptr;
    if (stream == nullptr || stream->length < kLeastLength)
      continue;
    const std::int32_t same = find(num, *stream);
    if (same == 0 || !same_as_.set(num - first_num_ + 1, same))
      continue;
    slot.obj.free();
    ++count;
    found = true;
  }
  target_.note(PDF_MERGE_FATE::kJoined, "equal streams", count);
  return found;
}

// What takes the place of a stream; 0 where it keeps it. That can have given way to an older one in the same round.
std::int32_t SharedStreams::last_same(std::int32_t num) const {
  std::int32_t last = 0;
  while (num >= first_num_ && (num = same_as_.get(num - first_num_ + 1)) != 0)
    last = num;
  return last;
}

void SharedStreams::redirect(const MergeSource& source) {
  GrowArray<CPDFObj*> waiting;
  for (std::uint32_t i = source.first_slot; i < table_.new_obj_count; ++i) {
    PDF_NEWOBJ& slot = table_.new_objs[i];
    each_reference(slot.obj, waiting, [this](CPDFObj& ref) {
      if (const std::int32_t same = last_same(ref.as_ref().num); same != 0)
        ref.set_ref({same, 0});
    });
  }
}

// A stream may refer to others, as an image to its mask: once those are one, it may have an equal.
void SharedStreams::take(const MergeSource& source) {
  if (!target_.options.share_streams)
    return;
  first_num_ = source.first_num;
  looked_at_.clear();
  same_as_.clear();
  for (int round = 0; round < kMostRounds && find_equals(source); ++round)
    redirect(source);
}

}  // namespace sheaf

// Writes the table directory with checksums, then the tables (ISO/IEC 14496-22, 4.5 and 5.7).
#include "sheaf/neighbours/fonts/programs/tt_assembly_internal.h"

#include <algorithm>
#include <bit>

#include "sheaf/base/scope_guard.h"

namespace sheaf {

namespace {

constexpr std::uint32_t kVersion = 0x00010000;
constexpr std::uint32_t kHeadSize = 12;
constexpr std::uint32_t kEntrySize = 16;
constexpr std::uint32_t kChunk = 1 << 16;
constexpr std::uint32_t kWholeSum = 0xB1B0AFBA;  // what all words of a font file add up to
constexpr std::uint32_t kHead = tt_tag("head");
constexpr std::uint32_t kAdjustmentAt = 8;

// The sum of the words; `count` is a multiple of four.
std::uint32_t sum_words(const std::uint8_t* at, std::uint32_t count) {
  std::uint32_t sum = 0;
  for (const std::uint8_t* const end = at + count; at != end; at += 4)
    sum += tt_u32(at);
  return sum;
}

bool put(CQVStream* out, const void* from, std::uint32_t count) {
  return out->Write(from, count) == count;
}

}  // namespace

void TTAssembly::copy(CQVTTParser& parser, const PDF_TT_TABLE& table) {
  failed_ |= !parts_.push({table.tag, table.length, &parser, nullptr, 0});
}

void TTAssembly::add(std::uint32_t tag, const TTBytes& bytes) {
  failed_ |= !bytes.ok() || !parts_.push({tag, bytes.size(), nullptr, bytes.data(), 0});
}

// Copies one table by chunks; the checksum of "head" is taken with an adjustment of 0.
bool TTAssembly::write_part(CQVStream* out, Part& part, long long& head_at) {
  HeapBlock<std::uint8_t> chunk(static_cast<std::uint8_t*>(QVAlloc(kChunk)));
  if (!chunk)
    return false;
  if (part.tag == kHead)
    head_at = out->GetPos();
  for (std::uint32_t done = 0; done < part.length;) {
    std::uint32_t count = std::min(part.length - done, kChunk);
    if (part.parser == nullptr)
      std::memcpy(chunk.get(), part.bytes + done, count);
    else if (!part.parser->read(part.tag, done, chunk.get(), count))
      return false;
    if (part.tag == kHead && done == 0 && count >= kAdjustmentAt + 4)
      tt_put32(chunk.get() + kAdjustmentAt, 0);
    done += count;
    const std::uint32_t padding = tt_padding(count);
    std::memset(chunk.get() + count, 0, padding);
    count += padding;
    part.checksum += sum_words(chunk.get(), count);
    if (!put(out, chunk.get(), count))
      return false;
  }
  return true;
}

bool TTAssembly::write(CQVStream* out) {
  if (failed_ || parts_.empty())
    return false;
  std::sort(parts_.begin(), parts_.end(), [](const Part& a, const Part& b) { return a.tag < b.tag; });
  const auto count = static_cast<std::uint32_t>(parts_.size());
  const std::uint32_t log = static_cast<std::uint32_t>(std::bit_width(count)) - 1;
  const std::uint32_t search_range = kEntrySize << log;
  const std::uint32_t directory_size = kHeadSize + count * kEntrySize;

  const long long start = out->GetPos();
  TTBytes directory;
  directory.zeros(directory_size);
  if (!directory.ok() || !put(out, directory.data(), directory_size))
    return false;
  long long head_at = -1;
  for (Part& part : parts_) {
    if (!write_part(out, part, head_at))
      return false;
  }
  const long long end = out->GetPos();

  TTBytes filled;
  filled.u32(kVersion);
  filled.u16(count);
  filled.u16(search_range);
  filled.u16(log);
  filled.u16(count * kEntrySize - search_range);
  std::uint32_t offset = directory_size;
  std::uint32_t sum = 0;
  for (const Part& part : parts_) {
    filled.u32(part.tag);
    filled.u32(part.checksum);
    filled.u32(offset);
    filled.u32(part.length);
    offset += part.length + tt_padding(part.length);
    sum += part.checksum;
  }
  if (!filled.ok())
    return false;
  out->SetPos(CQVStream::STR_SEEK_SET, start);
  bool written = put(out, filled.data(), filled.size());
  if (head_at >= 0) {
    std::uint8_t adjustment[4];
    tt_put32(adjustment, kWholeSum - (sum + sum_words(filled.data(), filled.size())));
    out->SetPos(CQVStream::STR_SEEK_SET, head_at + kAdjustmentAt);
    written = put(out, adjustment, sizeof(adjustment)) && written;
  }
  out->SetPos(CQVStream::STR_SEEK_SET, end);
  return written;
}

}  // namespace sheaf

// Segments of text regions (T.88, 7.4.3): flags, tables, and the codes of symbol IDs.
#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/decoders/jbig2/jb2_segment.h"
#include "sheaf/neighbours/decoders/jbig2/jb2_text_region.h"

namespace sheaf::jb2 {
namespace {

constexpr unsigned kRunCodes = 35;
constexpr unsigned kRunCodeBits = 4;

// Run codes beyond the lengths themselves (7.4.3.1.7).
struct RunCode {
  unsigned count_bits;
  unsigned least;
};
constexpr std::int64_t kFirstRepeat = 32;
constexpr RunCode kRepeats[] = {{2, 3}, {3, 3}, {7, 11}};  // the previous length; zeros; more zeros

class TextSegment {
public:
  explicit TextSegment(Segment& segment)
      : segment_(segment),
        limits_(segment.limits()),
        in_(segment.body.data, segment.body.size),
        tables_(segment),
        id_statistics_(limits_),
        refinement_statistics_(limits_) {}

  void run() {
    const RegionInfo info = read_region_info(in_);
    if (!read_flags() || !gather_symbols(segment_, symbols_))
      return;
    text_.symbols = symbols_.begin();
    text_.symbol_count = static_cast<std::uint32_t>(symbols_.size());
    text_.id_bits = id_bits_for(symbols_.size());
    ArithmeticDecoder arithmetic(in_.cursor(), text_.huffman ? 0 : in_.left());
    BitReader bits(in_.cursor(), in_.left());
    TextStatistics statistics;
    if (text_.huffman ? !read_id_codes(bits) : !id_statistics_.make(std::uint64_t{1} << text_.id_bits))
      return;
    const std::uint32_t contexts = text_.refines ? refinement_contexts(text_.refinement_template) : 0;
    if (!refinement_statistics_.make(contexts))
      return;
    const TextCoder coder = {&arithmetic, &bits, &statistics, id_statistics_.get(), refinement_statistics_.get()};
    QVJB2_Bitmap* page = is_black_ || text_.op != Combine::kOr ? nullptr : page_for_region(segment_, info);
    if (page != nullptr)
      decode_text(coder, text_, limits_, *page);
    else
      draw_region(coder, info);
  }

private:
  void draw_region(const TextCoder& coder, const RegionInfo& info) {
    BitmapHold region(limits_, bitmap_new(limits_, info.width, info.height));
    if (!region)
      return;
    if (is_black_)
      bitmap_blacken(*region, 0);
    decode_text(coder, text_, limits_, *region);
    finish_region(segment_, info, region);
  }

  bool read_flags() {
    constexpr unsigned kOffsetBits = 5;
    const unsigned flags = in_.u16();
    text_.huffman = (flags & 1) != 0;
    text_.refines = (flags & 2) != 0;
    text_.strip_bits = flags >> 2 & 3;
    text_.corner = static_cast<Corner>(flags >> 4 & 3);
    text_.transposed = (flags & 0x40) != 0;
    text_.op = static_cast<Combine>(flags >> 7 & 3);
    is_black_ = (flags & 0x200) != 0;
    const auto offset = static_cast<std::int32_t>(flags >> 10 & 31);
    text_.s_offset = offset < 16 ? offset : offset - (1 << kOffsetBits);
    text_.refinement_template = flags >> 15;
    if (text_.huffman && !choose_tables(in_.u16()))
      return false;
    if (text_.refines && text_.refinement_template == 0)
      read_adaptive(in_, text_.refinement_adaptive, 2);
    text_.instances = in_.u32();
    return !in_.failed();
  }

  bool choose_tables(unsigned flags) {
    const auto refinement_table = [&](unsigned choice) { return tables_.choose(choice, {14, 15, 0}); };
    text_.tables.first_s = tables_.choose(flags & 3, {6, 7, 0});
    text_.tables.delta_s = tables_.choose(flags >> 2 & 3, {8, 9, 10});
    text_.tables.delta_t = tables_.choose(flags >> 4 & 3, {11, 12, 13});
    text_.tables.width = refinement_table(flags >> 6 & 3);
    text_.tables.height = refinement_table(flags >> 8 & 3);
    text_.tables.x = refinement_table(flags >> 10 & 3);
    text_.tables.y = refinement_table(flags >> 12 & 3);
    text_.tables.size = tables_.choose(flags >> 14 & 1, {1});
    return !tables_.failed();
  }

  bool read_id_codes(BitReader& bits) {
    HuffmanLine run_lines[kRunCodes];
    HuffmanLine run_sorted[kRunCodes];
    for (unsigned i = 0; i < kRunCodes; ++i)
      run_lines[i] = {static_cast<std::int32_t>(i), static_cast<std::uint8_t>(bits.bits(kRunCodeBits)), 0,
                      LineKind::kRange};
    HuffmanTable runs = {run_sorted, {}};
    const std::size_t count = symbols_.size();
    if (!build_codes(run_lines, kRunCodes, run_sorted, runs.codes) ||
        !limits_.take(static_cast<std::int64_t>(2 * count * sizeof(HuffmanLine))))
      return false;
    id_lines_.reset(static_cast<HuffmanLine*>(QVCalloc(2 * count, sizeof(HuffmanLine))));
    if (!id_lines_ || !read_lengths(bits, runs, id_lines_.get(), count))
      return false;
    bits.align();
    HuffmanLine* sorted = id_lines_.get() + count;
    ids_.lines = sorted;
    text_.tables.id = &ids_;
    return build_codes(id_lines_.get(), static_cast<std::uint32_t>(count), sorted, ids_.codes);
  }

  static bool read_lengths(BitReader& bits, const HuffmanTable& runs, HuffmanLine* lines, std::size_t count) {
    for (std::size_t i = 0; i < count;) {
      const std::int64_t code = runs.decode(bits);
      if (code < 0)
        return false;
      std::size_t repeat = 1;
      auto length = static_cast<std::uint8_t>(code);
      if (code >= kFirstRepeat) {
        if (code == kFirstRepeat && i == 0)
          return false;
        const RunCode& run = kRepeats[code - kFirstRepeat];
        repeat = run.least + bits.bits(run.count_bits);
        length = code == kFirstRepeat ? lines[i - 1].code_bits : std::uint8_t{0};
      }
      if (repeat > count - i)
        return false;
      for (; repeat > 0; --repeat, ++i)
        lines[i] = {static_cast<std::int32_t>(i), length, 0, LineKind::kRange};
    }
    return !bits.failed();
  }

  Segment& segment_;
  Limits& limits_;
  ByteReader in_;
  TableChooser tables_;
  TextParams text_ = {};
  bool is_black_ = false;
  GrowArray<QVJB2_Bitmap*> symbols_;
  HuffmanTable ids_ = {};
  HeapBlock<HuffmanLine> id_lines_;  // by symbol, then sorted
  ContextBlock id_statistics_;
  ContextBlock refinement_statistics_;
};

}  // namespace

void decode_text_segment(Segment& segment) {
  TextSegment(segment).run();
}

}  // namespace sheaf::jb2

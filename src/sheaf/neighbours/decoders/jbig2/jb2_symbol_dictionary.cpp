// Symbol dictionaries (T.88, 6.5 and 7.4.2): symbols by classes of equal height, coded directly, as
// refinements and aggregates of others, or as one bitmap a class.
#include <cstring>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/decoders/jbig2/jb2_segment.h"
#include "sheaf/neighbours/decoders/jbig2/jb2_text_region.h"

namespace sheaf::jb2 {
namespace {

// Even the best coding takes bits for a symbol's size; this many a byte are far beyond all.
constexpr std::uint64_t kMostSymbolsPerByte = 64;
constexpr std::int64_t kSymbolWork = 64;
constexpr std::int64_t kClassWork = 16;
constexpr std::int64_t kMostExtent = INT32_MAX;

struct DictionaryFlags {
  bool huffman;
  bool aggregates;
  unsigned height_table;
  unsigned width_table;
  unsigned size_table;
  unsigned instances_table;
  bool reuses_statistics;
  bool retains_statistics;
  unsigned generic_template;
  unsigned refinement_template;
};

DictionaryFlags read_flags(ByteReader& in) {
  const unsigned bits = in.u16();
  return {(bits & 1) != 0, (bits & 2) != 0,     bits >> 2 & 3,       bits >> 4 & 3,  bits >> 6 & 1,
          bits >> 7 & 1,   (bits & 0x100) != 0, (bits & 0x200) != 0, bits >> 10 & 3, bits >> 12 & 1};
}

class SymbolDictionary {
public:
  explicit SymbolDictionary(Segment& segment)
      : segment_(segment),
        limits_(segment.limits()),
        in_(segment.body.data, segment.body.size),
        tables_(segment),
        generic_statistics_(limits_),
        refinement_statistics_(limits_),
        id_statistics_(limits_) {}
  ~SymbolDictionary() {
    for (std::size_t i = input_count_; i < symbols_.size(); ++i)
      bitmap_release(symbols_[i]);
  }

  void run() {
    if (!read_parameters() || !choose_tables() || !gather_symbols(segment_, symbols_))
      return;
    input_count_ = symbols_.size();
    if (!prepare_coder())
      return;
    ArithmeticDecoder arithmetic(in_.cursor(), flags_.huffman ? 0 : in_.left());
    BitReader bits(in_.cursor(), in_.left());
    coder_.arithmetic = &arithmetic;
    coder_.bits = &bits;
    if (decode_classes() && export_symbols() && flags_.retains_statistics)
      retain_statistics();
    coder_ = {};
  }

private:
  bool read_parameters() {
    flags_ = read_flags(in_);
    generic_.pixels_template = flags_.generic_template;
    if (!flags_.huffman)
      read_adaptive(in_, generic_.adaptive, adaptive_count(flags_.generic_template, false));
    if (flags_.aggregates && flags_.refinement_template == 0)
      read_adaptive(in_, text_.refinement_adaptive, 2);
    in_.u32();  // the count of exported symbols
    new_count_ = in_.u32();
    return !in_.failed() && new_count_ <= kMostSymbolsPerByte * segment_.body.size;
  }

  bool choose_tables() {
    if (!flags_.huffman)
      return true;
    height_table_ = tables_.choose(flags_.height_table, {4, 5, 0});
    width_table_ = tables_.choose(flags_.width_table, {2, 3, 0});
    size_table_ = tables_.choose(flags_.size_table, {1});
    instances_table_ = tables_.choose(flags_.instances_table, {1});
    return !tables_.failed();
  }

  // Statistics from nothing, or those that the last dictionary referred to has left.
  bool prepare_coder() {
    const std::uint32_t generic_size = flags_.huffman ? 0 : generic_contexts(flags_.generic_template);
    const std::uint32_t refinement_size = flags_.aggregates ? refinement_contexts(flags_.refinement_template) : 0;
    if (!generic_statistics_.make(generic_size) || !refinement_statistics_.make(refinement_size))
      return false;
    if (flags_.reuses_statistics) {
      const QVJB2_Statistics* left = statistics_left();
      if (left == nullptr || left->generic_size != generic_size)
        return false;
      std::memcpy(generic_statistics_.get(), left->generic, generic_size);
      if (left->refinement_size == refinement_size)
        std::memcpy(refinement_statistics_.get(), left->refinement, refinement_size);
    }
    return !flags_.aggregates || prepare_aggregates();
  }

  const QVJB2_Statistics* statistics_left() const {
    const QVJB2_Statistics* left = nullptr;
    for (std::uint32_t i = 0; i < segment_.record.referred_count; ++i) {
      const QVJB2_Seg* referred = segment_.decoder.find_segment(segment_.record.referred[i]);
      if (referred != nullptr && referred->type() == kSymbolDictionary)
        left = referred->statistics;
    }
    return left;
  }

  // An aggregate is a text region with these parameters (T.88, Table 17).
  bool prepare_aggregates() {
    text_.huffman = flags_.huffman;
    text_.refines = true;
    text_.corner = Corner::kTopLeft;
    text_.op = Combine::kOr;
    text_.refinement_template = flags_.refinement_template;
    const HuffmanTable* differences = &standard_table(15);
    text_.tables = {&standard_table(6), &standard_table(8), &standard_table(11), differences, differences,
                    differences,        differences,        &standard_table(1),  nullptr};
    text_.id_bits = id_bits_for(input_count_ + new_count_);
    if (flags_.huffman && text_.id_bits == 0)
      text_.id_bits = 1;
    if (!flags_.huffman && !id_statistics_.make(std::uint64_t{1} << text_.id_bits))
      return false;
    coder_.statistics = &text_statistics_;
    coder_.id_contexts = id_statistics_.get();
    coder_.refinement_contexts = refinement_statistics_.get();
    return text_.id_bits <= 32;
  }

  std::int64_t value(const HuffmanTable* table, IntegerDecoder& integer) {
    return flags_.huffman ? table->decode(*coder_.bits) : integer.decode(*coder_.arithmetic);
  }
  bool is_exhausted() const { return flags_.huffman && coder_.bits->failed(); }
  bool spend(std::int64_t units) {
    const bool is_made_up = !flags_.huffman && coder_.arithmetic->is_over();
    return limits_.spend(units) && (!is_made_up || limits_.make_up(units));
  }
  std::size_t decoded() const { return symbols_.size() - input_count_; }
  bool is_collective() const { return flags_.huffman && !flags_.aggregates; }

  bool decode_classes() {
    std::int64_t height = 0;
    while (decoded() < new_count_) {
      const std::int64_t delta = value(height_table_, heights_);
      if (delta < -kMostExtent || delta > kMostExtent || is_exhausted() || !spend(kClassWork))
        return false;
      height += delta;
      if (height < 0 || height > kMostExtent || !decode_class(height))
        return false;
    }
    return true;
  }

  bool decode_class(std::int64_t height) {
    std::int64_t width = 0;
    std::int64_t total_width = 0;
    class_widths_.clear();
    for (;;) {
      const std::int64_t delta = value(width_table_, widths_);
      if (delta == kOutOfBand)
        break;
      if (delta < -kMostExtent || delta > kMostExtent || is_exhausted() || !spend(kSymbolWork))
        return false;
      width += delta;
      total_width += width;
      if (width < 0 || total_width > kMostExtent || decoded() + class_widths_.size() >= new_count_)
        return false;
      if (is_collective() ? !class_widths_.push(width) : !add_symbol(decode_symbol(width, height)))
        return false;
    }
    return !is_collective() || decode_collective(total_width, height);
  }

  // Takes the symbol over. False for null and when there is no memory.
  bool add_symbol(QVJB2_Bitmap* symbol) {
    if (symbol != nullptr && symbols_.push(symbol))
      return true;
    bitmap_release(symbol);
    return false;
  }

  QVJB2_Bitmap* decode_symbol(std::int64_t width, std::int64_t height) {
    if (flags_.aggregates)
      return decode_aggregate(width, height);
    BitmapHold symbol(limits_, bitmap_new(limits_, width, height));
    if (!symbol || !decode_generic(*coder_.arithmetic, generic_statistics_.get(), generic_, limits_, *symbol))
      return nullptr;
    return symbol.release();
  }

  QVJB2_Bitmap* decode_aggregate(std::int64_t width, std::int64_t height) {
    const std::int64_t instances = value(instances_table_, instances_);
    text_.symbols = symbols_.begin();
    text_.symbol_count = static_cast<std::uint32_t>(symbols_.size());
    if (instances == 1)
      return decode_refined(width, height);
    if (instances < 0 || instances > kMostExtent)
      return nullptr;
    text_.instances = static_cast<std::uint32_t>(instances);
    BitmapHold symbol(limits_, bitmap_new(limits_, width, height));
    if (!symbol || !decode_text(coder_, text_, limits_, *symbol))
      return nullptr;
    return symbol.release();
  }

  // One refined symbol alone is coded without the frame of a text region (6.5.8.2.2).
  QVJB2_Bitmap* decode_refined(std::int64_t width, std::int64_t height) {
    const std::uint32_t id = flags_.huffman ? coder_.bits->bits(text_.id_bits)
                                            : decode_id(*coder_.arithmetic, coder_.id_contexts, text_.id_bits);
    const std::int64_t dx = value(text_.tables.x, text_statistics_.x);
    const std::int64_t dy = value(text_.tables.y, text_statistics_.y);
    const std::int64_t size = flags_.huffman ? text_.tables.size->decode(*coder_.bits) : 0;
    if (id >= text_.symbol_count || text_.symbols[id] == nullptr)
      return nullptr;
    return refine_symbol(coder_, text_, *text_.symbols[id], width, height, dx, dy, size, limits_);
  }

  // The symbols of a class side by side in one bitmap (6.5.9).
  bool decode_collective(std::int64_t total_width, std::int64_t height) {
    BitReader& bits = *coder_.bits;
    const std::int64_t size = size_table_->decode(bits);
    bits.align();
    const BitmapHold collective(limits_, bitmap_new(limits_, total_width, height));
    if (size < 0 || static_cast<std::uint64_t>(size) > bits.left() || !collective)
      return false;
    if (size == 0) {
      if (!copy_uncompressed(*collective))
        return false;
    } else {
      std::size_t taken;
      if (!decode_mmr(bits.cursor(), static_cast<std::size_t>(size), limits_, *collective, taken))
        return false;
      bits.skip_bytes(static_cast<std::size_t>(size));
    }
    std::int64_t x = 0;
    for (const std::int64_t width : class_widths_) {
      if (!add_symbol(bitmap_cut(limits_, *collective, x, 0, width, height)))
        return false;
      x += width;
    }
    return true;
  }

  bool copy_uncompressed(const QVJB2_Bitmap& bitmap) {
    BitReader& bits = *coder_.bits;
    const std::size_t size = static_cast<std::size_t>(bitmap.stride) * static_cast<std::size_t>(bitmap.height);
    if (size > bits.left())
      return false;
    std::memcpy(bitmap.data, bits.cursor(), size);
    bits.skip_bytes(size);
    bitmap_clear_padding(bitmap);
    return true;
  }

  // Runs of symbols that are exported and that are not, in turn (6.5.10). Lenient: the runs decide,
  // whatever count the header gave.
  bool export_symbols() {
    GrowArray<QVJB2_Bitmap*> exported;
    const std::size_t total = symbols_.size();
    bool is_exported = false;
    for (std::size_t i = 0; i < total; is_exported = !is_exported) {
      const std::int64_t run = value(&standard_table(1), exports_);
      if (run < 0 || static_cast<std::uint64_t>(run) > total - i || is_exhausted() || !spend(kClassWork))
        return false;
      for (const std::size_t end = i + static_cast<std::size_t>(run); i < end; ++i) {
        if (is_exported && !exported.push(symbols_[i]))
          return false;
      }
    }
    return store(exported);
  }

  bool store(const GrowArray<QVJB2_Bitmap*>& exported) {
    const std::size_t size = sizeof(QVJB2_Symbols) + exported.size() * sizeof(QVJB2_Bitmap*);
    if (!limits_.take(static_cast<std::int64_t>(size)))
      return false;
    auto* symbols = static_cast<QVJB2_Symbols*>(QVAlloc(size));
    if (symbols == nullptr)
      return false;
    symbols->count = exported.count();
    symbols->bitmaps = reinterpret_cast<QVJB2_Bitmap**>(symbols + 1);
    for (std::size_t i = 0; i < exported.size(); ++i) {
      symbols->bitmaps[i] = exported[i];
      ++exported[i]->refs;
    }
    segment_.record.result = symbols;
    return true;
  }

  void retain_statistics() {
    const std::uint32_t generic_size = flags_.huffman ? 0 : generic_contexts(flags_.generic_template);
    const std::uint32_t refinement_size = flags_.aggregates ? refinement_contexts(flags_.refinement_template) : 0;
    const std::size_t size = sizeof(QVJB2_Statistics) + generic_size + refinement_size;
    if (!limits_.take(static_cast<std::int64_t>(size)))
      return;
    auto* left = static_cast<QVJB2_Statistics*>(segment_.decoder.keep(QVAlloc(size)));
    if (left == nullptr)
      return;
    auto* bytes = reinterpret_cast<std::uint8_t*>(left + 1);
    *left = {generic_size, refinement_size, bytes, bytes + generic_size};
    std::memcpy(left->generic, generic_statistics_.get(), generic_size);
    std::memcpy(left->refinement, refinement_statistics_.get(), refinement_size);
    segment_.record.statistics = left;
  }

  Segment& segment_;
  Limits& limits_;
  ByteReader in_;
  TableChooser tables_;
  DictionaryFlags flags_ = {};
  GenericParams generic_ = {};
  TextParams text_ = {};
  TextCoder coder_ = {};
  std::uint32_t new_count_ = 0;
  const HuffmanTable* height_table_ = nullptr;
  const HuffmanTable* width_table_ = nullptr;
  const HuffmanTable* size_table_ = nullptr;
  const HuffmanTable* instances_table_ = nullptr;
  IntegerDecoder heights_;
  IntegerDecoder widths_;
  IntegerDecoder exports_;
  IntegerDecoder instances_;
  TextStatistics text_statistics_;
  ContextBlock generic_statistics_;
  ContextBlock refinement_statistics_;
  ContextBlock id_statistics_;
  GrowArray<QVJB2_Bitmap*> symbols_;  // those referred to, borrowed, and behind them the new ones, owned
  std::size_t input_count_ = 0;
  GrowArray<std::int64_t> class_widths_;
};

}  // namespace

void decode_symbol_dictionary(Segment& segment) {
  SymbolDictionary(segment).run();
}

}  // namespace sheaf::jb2

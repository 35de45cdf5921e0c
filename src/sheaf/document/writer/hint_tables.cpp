// Each item of a table comes for all pages or all groups together, in as many bits as its largest value takes, and
// begins with a byte of its own.
#include "sheaf/document/writer/hint_tables.h"

#include <algorithm>
#include <bit>

namespace sheaf {

namespace {

// Fractions of a page's content at which a shared object is needed are not given: all numerators are 0.
constexpr std::uint32_t kDenominator = 4;

class BitWriter {
public:
  explicit BitWriter(CQVStreamMem& out) : out_(out) {}

  void field(std::uint32_t value, unsigned bits) {
    for (unsigned i = bits; i > 0; --i) {
      byte_ = static_cast<std::uint8_t>(unsigned{byte_} << 1 | (value >> (i - 1) & 1u));
      if (++used_ == 8)
        put();
    }
  }
  void word(std::uint32_t value) { field(value, 32); }
  void half(std::uint32_t value) { field(value, 16); }
  void to_next_byte() {
    if (used_ != 0)
      field(0, 8 - used_);
  }

private:
  void put() {
    out_.Write(&byte_, 1);
    byte_ = 0;
    used_ = 0;
  }

  CQVStreamMem& out_;
  std::uint8_t byte_ = 0;
  unsigned used_ = 0;
};

unsigned bits_for(std::uint32_t value) {
  return static_cast<unsigned>(std::bit_width(value));
}

struct Range {
  std::uint32_t least = UINT32_MAX;
  std::uint32_t most = 0;

  void add(std::uint32_t value) {
    least = std::min(least, value);
    most = std::max(most, value);
  }
  unsigned bits() const { return most >= least ? bits_for(most - least) : 0; }
};

// What the pages have at most and at least, which decides how many bits the fields take.
struct PageRanges {
  PageRanges(const LinearPlan& plan, const UnitPlaces& places) {
    for (std::int32_t i = 0; i < plan.page_count(); ++i) {
      std::int32_t count = 0;
      const std::int32_t* const list = plan.shared_of(i, count);
      objects.add(static_cast<std::uint32_t>(plan.page_part(i).count));
      lengths.add(places.length(plan.page_part(i)));
      shared.add(static_cast<std::uint32_t>(count));
      for (std::int32_t k = 0; k < count; ++k)
        last_shared = std::max(last_shared, static_cast<std::uint32_t>(list[k]));
    }
  }
  unsigned shared_bits() const { return bits_for(shared.most); }
  unsigned id_bits() const { return bits_for(last_shared); }

  Range objects;
  Range lengths;
  Range shared;
  std::uint32_t last_shared = 0;
};

// The header of the page offset hint table (ISO 32000-1, table F.3).
void put_page_header(BitWriter& bits, const PageRanges& ranges, std::uint32_t first_page) {
  bits.word(ranges.objects.least);
  bits.word(first_page);
  bits.half(ranges.objects.bits());
  bits.word(ranges.lengths.least);
  bits.half(ranges.lengths.bits());
  bits.word(0);  // content streams are said to begin with the page, and to be as long: readers take no more from it
  bits.half(0);
  bits.word(ranges.lengths.least);
  bits.half(ranges.lengths.bits());
  bits.half(ranges.shared_bits());
  bits.half(ranges.id_bits());
  bits.half(0);
  bits.half(kDenominator);
}

void put_pages(BitWriter& bits, const LinearPlan& plan, const UnitPlaces& places) {
  const PageRanges ranges(plan, places);
  put_page_header(bits, ranges, places.start(plan.page_part(0).first));
  const auto each_page = [&](const auto& put) {
    for (std::int32_t i = 0; i < plan.page_count(); ++i)
      put(i);
    bits.to_next_byte();
  };
  const auto put_length = [&](std::int32_t i) {
    bits.field(places.length(plan.page_part(i)) - ranges.lengths.least, ranges.lengths.bits());
  };
  each_page([&](std::int32_t i) {
    bits.field(static_cast<std::uint32_t>(plan.page_part(i).count) - ranges.objects.least, ranges.objects.bits());
  });
  each_page(put_length);
  each_page([&](std::int32_t i) {
    std::int32_t count = 0;
    plan.shared_of(i, count);
    bits.field(static_cast<std::uint32_t>(count), ranges.shared_bits());
  });
  each_page([&](std::int32_t i) {
    std::int32_t count = 0;
    const std::int32_t* const list = plan.shared_of(i, count);
    for (std::int32_t k = 0; k < count; ++k)
      bits.field(static_cast<std::uint32_t>(list[k]), ranges.id_bits());
  });
  each_page(put_length);
}

void put_shared(BitWriter& bits, const LinearPlan& plan, const UnitPlaces& places) {
  const LinearPlan::Part first = plan.first_page_part();
  const LinearPlan::Part rest = plan.shared_part();
  Range lengths;
  const auto each_unit = [&](const auto& put) {
    for (const LinearPlan::Part part : {first, rest}) {
      for (std::size_t i = part.first; i < part.first + part.count; ++i)
        put(i);
    }
  };
  each_unit([&](std::size_t i) { lengths.add(places.length(i)); });
  bits.word(rest.count != 0 ? object_index(plan.unit_number(rest.first)) : 0);
  bits.word(rest.count != 0 ? places.start(rest.first) : 0);
  bits.word(static_cast<std::uint32_t>(first.count));
  bits.word(static_cast<std::uint32_t>(first.count + rest.count));
  bits.half(0);  // each group is one object
  bits.word(lengths.least);
  bits.half(lengths.bits());
  each_unit([&](std::size_t i) { bits.field(places.length(i) - lengths.least, lengths.bits()); });
  bits.to_next_byte();
  each_unit([&](std::size_t) { bits.field(0, 1); });  // no signatures
  bits.to_next_byte();
}

void put_outlines(BitWriter& bits, const LinearPlan& plan, const UnitPlaces& places) {
  const LinearPlan::Part part = plan.outlines();
  bits.word(object_index(plan.unit_number(part.first)));
  bits.word(places.start(part.first));
  bits.word(static_cast<std::uint32_t>(part.count));
  bits.word(places.length(part));
}

}  // namespace

void HintTables::make(const LinearPlan& plan, const UnitPlaces& places) {
  BitWriter bits(data);
  put_pages(bits, plan, places);
  shared_at = data.len;
  put_shared(bits, plan, places);
  if (plan.outlines().count == 0)
    return;
  outlines_at = data.len;
  put_outlines(bits, plan, places);
}

}  // namespace sheaf

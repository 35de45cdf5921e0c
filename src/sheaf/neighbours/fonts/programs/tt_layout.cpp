// Reads single substitutions of "GSUB" (ISO/IEC 14496-22, 6.3.3). Every position in the table is
// tested where it is read: what lies beyond the end reads as 0.
#include "sheaf/neighbours/fonts/programs/tt_layout.h"

#include <algorithm>

#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/fonts/programs/ft_font.h"
#include "sheaf/neighbours/fonts/programs/tt_bytes_internal.h"

using namespace sheaf;

namespace {

enum LookupType : std::uint32_t { kSingle = 1, kAlternate = 3, kExtension = 7 };

// More than any font has; they bound the work on a table that repeats itself.
constexpr std::uint32_t kMostLookups = 64;
constexpr std::uint32_t kMostSubtables = 256;
constexpr std::size_t kMostForms = 1 << 16;

class Substitutions {
public:
  using Form = CQVTTLayout::Form;

  Substitutions(const std::uint8_t* table, std::uint32_t length, GrowArray<Form>& forms)
      : table_(table), length_(length), forms_(forms) {}

  void read_feature(std::uint32_t tag) {
    const std::uint32_t features = u16(6);
    const std::uint32_t lookups = u16(8);
    const std::uint32_t count = u16(features);
    for (std::uint32_t i = 0; i < count; ++i) {
      const std::uint32_t record = features + 2 + i * 6;
      if (u32(record) == tag)
        read_lookups(features + u16(record + 4), lookups);
    }
  }

private:
  std::uint32_t u16(std::uint32_t at) const { return at < length_ && length_ - at >= 2 ? tt_u16(table_ + at) : 0; }
  std::uint32_t u32(std::uint32_t at) const { return at < length_ && length_ - at >= 4 ? tt_u32(table_ + at) : 0; }

  // Scripts share their lookups, so each is read once.
  void read_lookups(std::uint32_t feature, std::uint32_t lookups) {
    const std::uint32_t count = std::min(u16(feature + 2), kMostLookups);
    for (std::uint32_t i = 0; i < count; ++i) {
      const std::uint32_t index = u16(feature + 4 + i * 2);
      if (std::find(seen_, seen_ + seen_count_, index) != seen_ + seen_count_ || seen_count_ == kMostLookups)
        continue;
      seen_[seen_count_++] = index;
      if (index < u16(lookups))
        read_lookup(lookups + u16(lookups + 2 + index * 2));
    }
  }

  void read_lookup(std::uint32_t lookup) {
    const std::uint32_t count = std::min(u16(lookup + 4), kMostSubtables);
    for (std::uint32_t i = 0; i < count; ++i) {
      std::uint32_t type = u16(lookup);
      std::uint32_t subtable = lookup + u16(lookup + 6 + i * 2);
      if (type == kExtension) {
        type = u16(subtable + 2);
        const std::uint32_t distance = u32(subtable + 4);
        if (distance >= length_)
          continue;
        subtable += distance;
      }
      if (type == kSingle || type == kAlternate)
        read_coverage(subtable, type);
    }
  }

  void read_coverage(std::uint32_t subtable, std::uint32_t type) {
    const std::uint32_t coverage = subtable + u16(subtable + 2);
    const std::uint32_t count = u16(coverage + 2);
    if (u16(coverage) == 1) {
      for (std::uint32_t i = 0; i < count; ++i)
        add(subtable, type, u16(coverage + 4 + i * 2), i);
      return;
    }
    for (std::uint32_t i = 0; i < count && forms_.size() < kMostForms; ++i) {
      const std::uint32_t range = coverage + 4 + i * 6;
      const std::uint32_t first = u16(range);
      for (std::uint32_t glyph = first; glyph <= u16(range + 2) && forms_.size() < kMostForms; ++glyph)
        add(subtable, type, glyph, u16(range + 4) + glyph - first);
    }
  }

  // The form of `glyph`, the one of number `index` in the coverage.
  void add(std::uint32_t subtable, std::uint32_t type, std::uint32_t glyph, std::uint32_t index) {
    std::uint32_t form = 0;
    if (type == kAlternate) {
      const std::uint32_t set = subtable + u16(subtable + 6 + index * 2);
      form = index < u16(subtable + 4) && u16(set) != 0 ? u16(set + 2) : 0;
    } else if (u16(subtable) == 1) {
      form = (glyph + u16(subtable + 4)) & 0xFFFF;
    } else {
      form = index < u16(subtable + 4) ? u16(subtable + 6 + index * 2) : 0;
    }
    if (forms_.size() < kMostForms)
      forms_.push({static_cast<std::uint16_t>(glyph), static_cast<std::uint16_t>(form)});
  }

  const std::uint8_t* table_;
  std::uint32_t length_;
  GrowArray<Form>& forms_;
  std::uint32_t seen_[kMostLookups]{};
  std::uint32_t seen_count_ = 0;
};

}  // namespace

void CQVTTLayout::load(CQVFTFont& face) {
  forms_.clear();
  std::uint32_t length = 0;
  const HeapBlock<std::uint8_t> table(face.load_table(tt_tag("GSUB"), length));
  if (!table)
    return;
  // "vrt2" turns Latin letters on their side too, which asks for other metrics; it serves only where
  // "vert" is missing.
  Substitutions substitutions(table.get(), length, forms_);
  substitutions.read_feature(tt_tag("vert"));
  if (forms_.empty())
    substitutions.read_feature(tt_tag("vrt2"));
  const std::uint32_t glyph_count = face.glyph_count();
  std::size_t kept = 0;
  for (std::size_t i = 0; i < forms_.size(); ++i) {
    if (forms_[i].vertical != 0 && forms_[i].vertical < glyph_count)
      forms_[kept++] = forms_[i];
  }
  while (forms_.size() > kept)
    forms_.pop();
  std::stable_sort(forms_.begin(), forms_.end(), [](const Form& a, const Form& b) { return a.glyph < b.glyph; });
}

std::uint32_t CQVTTLayout::vertical_form(std::uint32_t glyph) const {
  const Form* const at = std::lower_bound(forms_.begin(), forms_.end(), glyph,
                                          [](const Form& form, std::uint32_t key) { return form.glyph < key; });
  return at != forms_.end() && at->glyph == glyph ? at->vertical : glyph;
}

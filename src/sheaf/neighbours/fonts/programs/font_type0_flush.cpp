// What a save puts into the objects of a composite font: metrics, the way back to text, and the
// subset of the font program (ISO 32000-1, 9.7.4.3, 9.10.3, 9.9).
#include <algorithm>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/fonts/programs/font_type0.h"
#include "sheaf/neighbours/fonts/programs/ft_font.h"
#include "sheaf/neighbours/fonts/programs/glyph_metrics_internal.h"
#include "sheaf/neighbours/fonts/programs/to_unicode_internal.h"
#include "sheaf/neighbours/fonts/programs/tt_writer.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr int kEmbed = 8;
constexpr int kStandardWidth = 1000;   // "DW" where a font does not say it
constexpr int kStandardOriginY = 880;  // "DW2" likewise
constexpr int kStandardAdvance = -1000;

bool store_packed(CPDFXRefTable& table, const PDF_REF& ref, const std::uint8_t* bytes, std::size_t count) {
  int size = 0;
  unsigned char* const packed = CPDFXRefTable::compress_data(bytes, static_cast<int>(count), size);
  if (packed == nullptr)
    return false;
  CPDFStreamRec rec;
  table.write_stream_autofree(ref, &rec, packed, static_cast<unsigned>(size));
  rec.dict.set_item_name(CPDFDictionary::sm_tag_filter, CPDFDictionary::sm_tag_fdec);
  rec.dict.set_item_int(CPDFDictionary::sm_tag_length, size);
  table.store_stream(ref, rec);
  return true;
}

}  // namespace

void CPDFFontType0::embed_flush() {
  if (!changed_ || table == nullptr || face_ == nullptr)
    return;
  GrowArray<PDF_USED_GLYPH> used;
  if (collect_used(used) && flush_metrics(used) && flush_to_unicode(used) && flush_program(used))
    changed_ = false;
}

// Glyph 0 is always there: it shows where a character had no glyph.
bool CPDFFontType0::collect_used(GrowArray<PDF_USED_GLYPH>& used) const {
  if (!used.push({0, 0, 0}))
    return false;
  for (std::uint32_t glyph = 1; glyph < glyph_count_; ++glyph) {
    if (text_of_[glyph] != 0 && !used.push({glyph, glyph, text_of_[glyph] & ~kFixed}))
      return false;
  }
  for (std::size_t i = 0; i < further_.size(); ++i) {
    if (!used.push({glyph_count_ + static_cast<std::uint32_t>(i), further_[i].glyph, further_[i].text}))
      return false;
  }
  return true;
}

bool CPDFFontType0::flush_metrics(const GrowArray<PDF_USED_GLYPH>& used) {
  Freed<CPDFObj> font = table->object(cid_font_);
  CPDFDictionary* const dict = font.as_dict();
  if (dict == nullptr)
    return false;
  GrowArray<GlyphMetrics> metrics;
  for (const PDF_USED_GLYPH& glyph : used) {
    const int width = glyph_width(glyph.code);
    if (width != kStandardWidth && !metrics.push({static_cast<int>(glyph.code), {width, 0, 0}}))
      return false;
  }
  Cleared<CPDFArray> widths;
  put_compact(widths, metrics, 1);
  dict->set_item("W", nullptr);
  if (widths.count != 0)
    dict->set_item_arr("W", &widths);
  if (vertical_)
    put_vertical_metrics(*dict, used);
  return flush_code_map(*dict, used) && table->store_object(cid_font_, font);
}

void CPDFFontType0::put_vertical_metrics(CPDFDictionary& dict, const GrowArray<PDF_USED_GLYPH>& used) {
  GrowArray<GlyphMetrics> metrics;
  for (const PDF_USED_GLYPH& glyph : used) {
    const PDF_VERTICAL_METRICS v = vertical_metrics(glyph.code);
    if (!metrics.push({static_cast<int>(glyph.code), {v.advance, v.origin_x, v.origin_y}}))
      return;
  }
  const VerticalDefault most = most_frequent(metrics);
  Cleared<CPDFArray> default_pair;
  default_pair.append_int(most.origin_y);
  default_pair.append_int(most.advance);
  dict.set_item("DW2", nullptr);
  if (most.origin_y != kStandardOriginY || most.advance != kStandardAdvance)
    dict.set_item_arr("DW2", &default_pair);
  drop_default(metrics, most);
  Cleared<CPDFArray> vertical;
  put_compact(vertical, metrics, 3);
  dict.set_item("W2", nullptr);
  if (vertical.count != 0)
    dict.set_item_arr("W2", &vertical);
}

// Codes that are not their glyph's number need a map of codes to glyphs (ISO 32000-1, 9.7.4.2). Codes that are not in
// use lead to glyph 0 in it, which packs better than the glyphs themselves would.
bool CPDFFontType0::flush_code_map(CPDFDictionary& dict, const GrowArray<PDF_USED_GLYPH>& used) {
  if (further_.empty())
    return true;
  GrowArray<std::uint8_t> map;
  if (!map.resize((glyph_count_ + further_.size()) * 2))
    return false;
  for (const PDF_USED_GLYPH& glyph : used) {
    map[glyph.code * 2] = static_cast<std::uint8_t>(glyph.glyph >> 8);
    map[glyph.code * 2 + 1] = static_cast<std::uint8_t>(glyph.glyph);
  }
  if (code_map_.num == 0)
    code_map_ = {table->alloc_obj_num(), 0};
  dict.set_item_ref("CIDToGIDMap", code_map_);
  return store_packed(*table, code_map_, map.begin(), map.size());
}

bool CPDFFontType0::flush_to_unicode(const GrowArray<PDF_USED_GLYPH>& used) {
  TTBytes text;
  write_to_unicode(text, used, longer_);
  if (!text.ok())
    return false;
  const bool is_new = to_unicode_.num == 0;
  if (is_new)
    to_unicode_ = {table->alloc_obj_num(), 0};
  if (!store_packed(*table, to_unicode_, text.data(), text.size()))
    return false;
  if (!is_new)
    return true;
  Freed<CPDFObj> top = table->object(source.as_ref());
  if (top.as_dict() == nullptr)
    return false;
  top.as_dict()->set_item_ref("ToUnicode", to_unicode_);
  return table->store_object(source.as_ref(), top);
}

int CPDFFontType0::write_program(CQVStream* out, const CQVTTCodesRec& codes) {
  CQVStreamFile file;
  file.Open(path_);
  CQVTTWriter writer;
  if (file.file == nullptr || writer.Load2(&file, static_cast<unsigned>(index_)) != 0)
    return 1;
  const CQVTTCodesRec* const kept = face_->allows_subsets() ? &codes : nullptr;
  if (is_cff_)
    return writer.SaveCffData(out, kept);
  return face_->is_styled() || writer.has_cubic_outlines() ? writer.SaveFontData2(out, face_, kept)
                                                           : writer.SaveFontData(out, kept);
}

// The font program of a font that is not to be embedded stays the empty one that it is.
bool CPDFFontType0::flush_program(const GrowArray<PDF_USED_GLYPH>& used) {
  if ((style_ & kEmbed) == 0 || font_file_.num == 0)
    return true;
  GrowArray<std::uint16_t> glyphs;
  for (const PDF_USED_GLYPH& glyph : used) {
    if (!glyphs.push(static_cast<std::uint16_t>(glyph.glyph)))
      return false;
  }
  GrowArray<PDF_TT_COMPOSITE> composites;
  for (const Composite& composite : composites_) {
    if (!composites.push(composite.glyph))
      return false;
  }
  for (const PDF_TT_PART& part : parts_) {
    if (!glyphs.push(part.glyph))
      return false;
  }
  std::sort(glyphs.begin(), glyphs.end());
  const auto count = static_cast<std::uint32_t>(std::unique(glyphs.begin(), glyphs.end()) - glyphs.begin());
  const CQVTTCodesRec codes{glyphs.begin(),
                            count,
                            face_->needs_instructions(),
                            composites.begin(),
                            static_cast<std::uint32_t>(composites.size()),
                            parts_.begin(),
                            glyph_count_,
                            is_cff_ && face_->is_cid_keyed() ? 1 : 0};
  CQVStreamMem program;
  if (write_program(&program, codes) != 0)
    return false;
  int size = 0;
  unsigned char* const packed = CPDFXRefTable::compress_data(program.data, static_cast<int>(program.len), size);
  if (packed == nullptr)
    return false;
  CPDFStreamRec rec;
  rec.source = table->set_mem_stream(font_file_, packed, size);
  rec.length = size;
  rec.ref = font_file_;
  rec.plain = 1;
  rec.dict.set_item_name(CPDFDictionary::sm_tag_filter, CPDFDictionary::sm_tag_fdec);
  rec.dict.set_item_int(CPDFDictionary::sm_tag_length, size);
  if (is_cff_)
    rec.dict.set_item_name(CPDFDictionary::sm_tag_subtype, "CIDFontType0C");
  else
    rec.dict.set_item_int("Length1", static_cast<int>(program.len));
  table->store_stream(font_file_, rec);
  return true;
}

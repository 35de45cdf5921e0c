// Type 0 fonts over fonts of the system (ISO 32000-1, 9.7): a font file, its descriptor, one CID font
// and the font itself. The horizontal and the vertical form are one algorithm with fixed
// differences, which FontForm names.
#include "sheaf/create/type0_font.h"

#include <array>
#include <cstring>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/fonts/environment.h"
#include "sheaf/neighbours/fonts/programs/font_type0.h"
#include "sheaf/neighbours/fonts/programs/ft_font.h"
#include "sheaf/neighbours/fonts/programs/tt_parser.h"
#include "sheaf/neighbours/fonts/programs/tt_writer.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr int kBold = 1;
constexpr int kItalic = 2;
constexpr int kEmbed = 8;
constexpr int kVerticalKey = 0x10;  // sets vertical fonts apart in the cache; the font never sees it
constexpr int kFlags = 4;           // "Flags" and "CapHeight" take no account of the font, on purpose
constexpr int kCapHeight = 1000;
constexpr int kLastFace = 0xFFFF;  // higher indices name instances of variable fonts

constexpr std::size_t kNameSize = 128;
constexpr std::array<char, kNameSize> font_name{"QVFONT+"};

struct FontForm {
  bool vertical;
  int style;
  bool is_deferred;     // the program comes with the first save only
  bool is_cff = false;  // a "FontFile3"

  bool embeds() const { return (style & kEmbed) != 0; }
  bool is_styled() const { return (style & (kBold | kItalic)) != 0; }
  int cache_style() const { return vertical ? style | kVerticalKey : style; }
  // The vertical form always has a font file; without the embed bit it is an empty one.
  bool has_font_file() const { return vertical || embeds(); }
  const char* suffix() const {
    constexpr const char* kSuffixes[] = {"", ",Bold", ",Italic", ",BoldItalic"};
    return kSuffixes[style & (kBold | kItalic)];
  }
};

CPDFFont* find_cached(const CPDFCacheFont& cache, const char* name, int style) {
  for (std::int32_t i = 0; i < cache.count; ++i) {
    const CPDFCacheFont::Item& item = cache.items[i];
    if (item.style == style && item.name != nullptr && std::strcmp(item.name, name) == 0)
      return item.font;
  }
  return nullptr;
}

// "QVFONT+" before an embedded font, the style after one that is not. False when that does
// not fit: a cut name would be another font's.
bool build_name(const FontForm& form, const char* name, std::array<char, kNameSize>& built) {
  built = font_name;
  const char* const suffix = form.embeds() ? "" : form.suffix();
  const std::size_t at = form.embeds() ? std::strlen(built.data()) : 0;
  const std::size_t length = strnlen(name, kNameSize);
  const std::size_t suffix_length = std::strlen(suffix);
  if (at + length + suffix_length >= kNameSize)
    return false;
  std::memcpy(built.data() + at, name, length);
  std::memcpy(built.data() + at + length, suffix, suffix_length + 1);
  return true;
}

// The horizontal form goes by the file's name (".ttc", ".otc"), the vertical one by what is in it.
bool is_collection(const FontForm& form, const char* path, CQVStream* file) {
  if (!form.vertical)
    return (path[std::strlen(path) - 1] | 0x20) == 'c';
  CQVTTParser parser;
  parser.TT_Open(file);
  parser.TT_Close();
  return parser.is_collection != 0;
}

// The font program, into `out`. 0 on success.
int write_program(CPDFEnviroment* env, const FontForm& form, const char* path, int index, CQVTTWriter& writer,
                  CQVStream* out) {
  if (!form.is_styled() && index <= kLastFace)
    return writer.SaveFontData(out, nullptr);
  CQVFTFont* const face = env->new_face(path, index);
  if (face == nullptr)
    return 1;
  face->set_style(form.style & kBold, form.style & kItalic, form.vertical ? 1 : 0);
  const int result = writer.SaveFontData2(out, face, nullptr);
  env->release_face(face);
  return result;
}

void fill_descriptor(CPDFDictionary& dict, const CQVTTWriter& writer, const char* built_name) {
  dict.set_item_name(CPDFDictionary::sm_tag_type, CPDFDictionary::sm_tag_fdes);
  dict.set_item_name("FontName", built_name);
  dict.set_item_int("Flags", kFlags);
  dict.set_item_int("CapHeight", kCapHeight);
  dict.set_item_int("StemV", writer.stem_v);
  Cleared<CPDFArray> box;
  for (const float side : writer.font_bbox)
    box.append_int(static_cast<int>(side));
  dict.set_item_arr("FontBBox", &box);
  dict.set_item_int("ItalicAngle", writer.italic_angle);
  dict.set_item_int("Ascent", writer.ascent);
  dict.set_item_int("Descent", writer.descent);
}

void fill_cid_font(CPDFDictionary& dict, const FontForm& form, const char* built_name) {
  Cleared<CPDFDictionary> system_info;
  system_info.set_item_str("Registry", "Adobe", 5);
  system_info.set_item_str("Ordering", "Identity", 8);
  system_info.set_item_int("Supplement", 0);
  dict.set_item_dict("CIDSystemInfo", &system_info);
  dict.set_item_name(CPDFDictionary::sm_tag_type, CPDFDictionary::sm_tag_font);
  dict.set_item_name(CPDFDictionary::sm_tag_subtype, form.is_cff ? "CIDFontType0" : "CIDFontType2");
  dict.set_item_name(CPDFDictionary::sm_tag_base_font, built_name);
}

void fill_type0(CPDFDictionary& dict, const FontForm& form, const char* built_name, const PDF_REF& cid_font) {
  dict.set_item_name(CPDFDictionary::sm_tag_type, CPDFDictionary::sm_tag_font);
  dict.set_item_name(CPDFDictionary::sm_tag_subtype, "Type0");
  dict.set_item_name(CPDFDictionary::sm_tag_base_font, built_name);
  dict.set_item_name("Encoding", form.vertical ? "Identity-V" : "Identity-H");
  Cleared<CPDFArray> descendants;
  descendants.append_ref(cid_font);
  dict.set_item_arr("DescendantFonts", &descendants);
}

// The font program stays in memory even when the table has a temporary file: the first save puts
// the subset in its place.
PDF_REF store_font_file(CPDFXRefTable& table, const CQVStreamMem& program) {
  int size = 0;
  unsigned char* const packed = CPDFXRefTable::compress_data(program.data, static_cast<int>(program.len), size);
  const PDF_REF ref{table.alloc_obj_num(), 0};
  CPDFStreamRec rec;
  rec.dict.set_item_name(CPDFDictionary::sm_tag_filter, CPDFDictionary::sm_tag_fdec);
  rec.dict.set_item_int(CPDFDictionary::sm_tag_length, size);
  rec.dict.set_item_int("Length1", static_cast<int>(program.len));
  rec.source = table.set_mem_stream(ref, packed, size);
  rec.length = size;
  rec.ref = ref;
  rec.plain = 1;
  table.store_stream(ref, rec);
  return ref;
}

// Stores the graph in the order of its numbers and gives the font itself.
PDF_REF store_graph(CPDFXRefTable& table, const FontForm& form, const CQVTTWriter& writer, const char* built_name,
                    const CQVStreamMem& program) {
  Cleared<CPDFDictionary> descriptor;
  fill_descriptor(descriptor, writer, built_name);
  Cleared<CPDFDictionary> dict;
  fill_cid_font(dict, form, built_name);
  if (form.has_font_file())
    descriptor.set_item_ref(form.is_cff ? "FontFile3" : "FontFile2", store_font_file(table, program));
  const PDF_REF desc{table.alloc_obj_num(), 0};
  table.store_dict(desc, &descriptor);
  dict.set_item_ref(CPDFDictionary::sm_tag_fdes, desc);
  if (form.embeds() && !form.is_cff)
    dict.set_item_name("CIDToGIDMap", "Identity");
  const PDF_REF cid{table.alloc_obj_num(), 0};
  table.store_dict(cid, &dict);
  dict.clear();
  fill_type0(dict, form, built_name, cid);
  const PDF_REF top{table.alloc_obj_num(), 0};
  table.store_dict(top, &dict);
  return top;
}

// A font some of whose objects were refused must not be found in the cache later.
CPDFFont* load_and_cache(CPDFXRefTable& table, const FontForm& form, const char* name, const PDF_REF& top,
                         const HeapWatch& watch) {
  Freed<CPDFObj> obj;
  obj.set_ref(top);
  auto* const font = new CPDFFontType0;
  if (font == nullptr)
    return nullptr;
  font->pre_load(&table, &obj);
  font->set_font_style(form.style);
  font->load_font();
  font->mark_new();
  if (!watch.all_granted()) {
    delete font;
    return nullptr;
  }
  return table.font_cache.Append(name, form.cache_style(), font) >= 0 ? font : nullptr;
}

// Synthetic styles and instances are TrueType outlines, and codes are glyph numbers. In columns some viewers take all
// glyphs of a CFF program for ones that move nothing on.
bool can_embed_cff(CPDFEnviroment* env, const FontForm& form, const char* path, int index) {
  const bool is_other = form.is_styled() || form.vertical || index > kLastFace;
  CQVFTFont* const face = is_other ? nullptr : env->new_face(path, index);
  if (face == nullptr)
    return false;
  const bool fits = face->has_numbers_for_cids();
  env->release_face(face);
  return fits;
}

bool writer_fits(const FontForm& form, const CQVTTWriter& writer) {
  return !form.embeds() || writer.has_outlines() || writer.has_cubic_outlines();
}

CPDFFont* make_font(CPDFXRefTable& table, const char* name, const FontForm& form) {
  if (name == nullptr)
    return nullptr;
  if (CPDFFont* cached = find_cached(table.font_cache, name, form.cache_style()))
    return cached;
  std::array<char, kNameSize> built_name;
  char path[CPDFEnviroment::kPathSize]{};
  int index = -1;
  if (table.env == nullptr || !build_name(form, name, built_name))
    return nullptr;
  table.env->get_face_para(name, path, index);
  if (path[0] == 0 || index < 0)
    return nullptr;

  const HeapWatch watch;
  CQVStreamMem program;
  CQVTTWriter writer;
  CQVStreamFile file;
  file.Open(path);
  // A collection by another name is loaded by what is in it.
  if (is_collection(form, path, &file) || index > kLastFace || writer.Load(&file) != 0)
    writer.Load2(&file, static_cast<unsigned>(index));
  FontForm made = form;
  // A whole program of cubic outlines would be turned into TrueType's, for seconds, only to be thrown away.
  made.is_deferred = form.is_deferred || writer.has_cubic_outlines();
  made.is_cff = form.embeds() && writer.has_cff_outlines() && can_embed_cff(table.env, form, path, index);
  if (made.is_deferred && !writer_fits(form, writer))
    return nullptr;
  if (form.embeds() && !made.is_deferred && write_program(table.env, form, path, index, writer, &program) != 0)
    return nullptr;
  const PDF_REF top = store_graph(table, made, writer, built_name.data(), program);
  writer.free();
  return load_and_cache(table, form, name, top, watch);
}

}  // namespace

CPDFFont* CPDFXRefTable::new_font_type0_h(const char* name, int style) {
  return make_font(*this, name, {false, style, false});
}

CPDFFont* CPDFXRefTable::new_font_type0_v(const char* name, int style) {
  return make_font(*this, name, {true, style, false});
}

CPDFFontType0* sheaf::make_subset_font(CPDFXRefTable& table, const char* name, int style, bool vertical) {
  return static_cast<CPDFFontType0*>(make_font(table, name, {vertical, style, true}));
}

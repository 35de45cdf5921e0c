// Finds the first font that has a glyph; a face is loaded for the question, a font made for the answer.
#include "text/text_fonts.h"

#include "sheaf/neighbours/fonts/environment.h"
#include "sheaf/neighbours/fonts/programs/ft_font.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

constexpr int kBold = 1;
constexpr int kItalic = 2;
constexpr int kEmbed = 8;

// Asked for one after the other when no font is named; those that are not there are passed over.
const char* const kCommonFonts[] = {"DejaVu Sans",       "Liberation Sans", "Noto Sans", "Arial",
                                    "WenQuanYi Zen Hei", "IPAGothic",       "UnDotum",   "Symbola"};
const char* const kVerticalFonts[] = {"IPAGothic", "WenQuanYi Zen Hei", "UnDotum", "DejaVu Sans", "Arial", "Symbola"};

}  // namespace

TextFonts::TextFonts(CPDFXRefTable& table, const TextOptions& options) : table_(table), options_(options) {
  CPDFEnviroment* const fonts = new CPDFEnviroment;
  for (const std::string& folder : options.folders)
    fonts->add_font_folder(folder.c_str());
  table.set_envirment(fonts, "text");
  fonts->unload();
  CPDFEnviroment::destroy(fonts);
}

bool TextFonts::open() {
  const auto add = [this](const std::string& name) {
    auto* const face = static_cast<CQVFTFont*>(table_.get_font_ext(name.c_str()));
    if (face != nullptr)
      entries_.push_back({name, face, nullptr, false});
    return face != nullptr;
  };
  for (const std::string& name : options_.fonts) {
    if (add(name))
      continue;
    complain(name,
             "no such font is known here; give a family, full or PostScript name, or its folder by --font-folder");
    return false;
  }
  if (!options_.fonts.empty())
    return true;
  if (options_.vertical) {
    for (const char* name : kVerticalFonts)
      add(name);
  } else {
    for (const char* name : kCommonFonts)
      add(name);
  }
  if (entries_.empty())
    complain("--text", "no font was found; name one by --font, or a folder of fonts by --font-folder");
  return !entries_.empty();
}

bool TextFonts::need(Entry& entry) {
  if (entry.font != nullptr || entry.refused)
    return entry.font != nullptr;
  const int style = (options_.bold ? kBold : 0) | (options_.italic ? kItalic : 0) | (options_.no_embed ? 0 : kEmbed);
  CPDFFont* const font = options_.vertical ? table_.new_font_type0_v(entry.name.c_str(), style)
                                           : table_.new_font_type0_h(entry.name.c_str(), style);
  entry.font = static_cast<CPDFFontType0*>(font);
  entry.refused = font == nullptr;
  if (entry.refused)
    complain(entry.name, "cannot be embedded, its outlines are not TrueType; take another font, or --no-embed");
  return !entry.refused;
}

int TextFonts::find(wchar_t character) {
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    if (entries_[i].face->glyph_index(static_cast<std::uint32_t>(character)) != 0 && need(entries_[i]))
      return static_cast<int>(i);
  }
  return -1;
}

int TextFonts::first() {
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    if (need(entries_[i]))
      return static_cast<int>(i);
  }
  return -1;
}

void TextFonts::put_resources(CPDFDictionary& fonts) const {
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    if (entries_[i].font != nullptr)
      fonts.set_item_ref(resource_name(static_cast<int>(i)).c_str(), entries_[i].font->ref());
  }
}

}  // namespace sheaf::tool

// sheaf fonts: the fonts that the pages of a document can use, wherever they are: in the resources
// of pages, forms, patterns and Type 3 fonts, in appearances of annotations and of the form's fields.
#include <cstdio>
#include <map>
#include <vector>

#include "batch/batch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/neighbours/fonts/cmap.h"
#include "sheaf/neighbours/fonts/environment.h"
#include "sheaf/object/array.h"
#include "support/command_line.h"
#include "support/json_values.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct FontsOptions {
  BatchOptions batch;
  std::string file;  ///< The one of these that is looked at.
  PasswordOptions password;
  bool json = false;
};

struct FontFacts {
  std::int32_t object = 0;  ///< 0: the font is a direct value of its resources.
  std::string name;
  std::string type;      ///< "Subtype"; of a composite font that of its descendant too.
  std::string encoding;  ///< As named; "built-in" when the font program has it.
  std::string program;   ///< Key of the embedded program, with its subtype; empty: not embedded.
  bool embedded = false;
  bool subset = false;
  bool vertical = false;
  bool to_unicode = false;
  bool broken_to_unicode = false;  ///< There is one, but no text comes out of it.
};

std::string text_of(CPDFXRefTable& table, const CPDFObj* item) {
  Freed<CPDFObj> value = table.value(item);
  return value.as_text() != nullptr ? value.as_text() : "";
}

// Six capital letters and a plus before the name (ISO 32000-1, 9.6.4).
bool has_subset_tag(const std::string& name) {
  constexpr std::size_t kTag = 6;
  return name.size() > kTag && name[kTag] == '+' && name.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ") == kTag;
}

void look_at_program(CPDFXRefTable& table, const CPDFDictionary& font, FontFacts& facts) {
  Freed<CPDFObj> descriptor = table.value(&font, CPDFDictionary::sm_tag_fdes);
  for (const char* key : {"FontFile", "FontFile2", "FontFile3"}) {
    const Freed<CPDFObj> file = table.value(descriptor.as_dict(), key);
    if (file.as_stream() == nullptr)
      continue;
    facts.embedded = true;
    const std::string subtype = text_of(table, file.as_stream()->dict.get_item(CPDFDictionary::sm_tag_subtype));
    facts.program = subtype.empty() ? key : std::string(key) + " " + subtype;
  }
}

// A name, a dictionary of differences, or the font's own.
std::string simple_encoding(CPDFXRefTable& table, const CPDFObj* item) {
  Freed<CPDFObj> value = table.value(item);
  if (value.as_text() != nullptr)
    return value.as_text();
  const CPDFDictionary* dict = value.as_dict();
  if (dict == nullptr)
    return "built-in";
  const std::string base = text_of(table, dict->get_item("BaseEncoding"));
  const bool differs = dict->get_item("Differences") != nullptr;
  return (base.empty() ? "built-in" : base) + (differs ? " with differences" : "");
}

struct CMapFacts {
  std::string name;
  bool vertical = false;
};

// What fonts' maps are. A stream is read once, however many fonts name it.
class MapReader {
public:
  explicit MapReader(CPDFXRefTable& table) : table_(table) {}

  CMapFacts encoding(const CPDFObj* item) {
    const std::int32_t num = ref_of(item).num;
    if (const auto known = encodings_.find(num); num != 0 && known != encodings_.end())
      return known->second;
    return encodings_[num] = read_encoding(item);
  }
  /// Whether any text comes out of a ToUnicode map.
  bool has_text(const CPDFObj* item) {
    const std::int32_t num = item->as_ref().num;
    if (const auto known = texts_.find(num); num != 0 && known != texts_.end())
      return known->second;
    CPDFCMapToUnicode* const map = CPDFCMapToUnicode::load(table_, item);
    CPDFSharedCMap::release(map);
    return texts_[num] = map != nullptr;
  }

private:
  CMapFacts read_encoding(const CPDFObj* item);

  CPDFXRefTable& table_;
  std::map<std::int32_t, CMapFacts> encodings_;
  std::map<std::int32_t, bool> texts_;
};

// The map itself knows its writing mode and, in a stream, its name best.
CMapFacts MapReader::read_encoding(const CPDFObj* item) {
  Freed<CPDFObj> value = table_.value(item);
  CPDFCMap* const map = CPDFCMap::load(table_, &value);
  const ScopeGuard release([map] { CPDFSharedCMap::release(map); });
  CMapFacts facts;
  facts.vertical = map != nullptr && map->is_vertical();
  if (value.as_name() != nullptr) {
    facts.name = value.as_name();
    facts.vertical = facts.vertical || (map == nullptr && !facts.name.empty() && facts.name.back() == 'V');
    return facts;
  }
  facts.name = map != nullptr && map->info().name[0] != 0 ? map->info().name : "unnamed";
  facts.name += map != nullptr ? " (embedded)" : " (unreadable)";
  return facts;
}

void look_at_descendant(CPDFXRefTable& table, const CPDFDictionary& font, FontFacts& facts) {
  Freed<CPDFObj> descendants = table.value(&font, "DescendantFonts");
  Freed<CPDFObj> descendant = table.value(descendants.as_array() != nullptr ? descendants.as_array()->get(0) : nullptr);
  if (descendant.as_dict() == nullptr)
    return;
  facts.type += "/" + text_of(table, descendant.as_dict()->get_item(CPDFDictionary::sm_tag_subtype));
  look_at_program(table, *descendant.as_dict(), facts);
}

FontFacts look_at_font(CPDFXRefTable& table, MapReader& maps, const CPDFDictionary& font, std::int32_t num) {
  FontFacts facts;
  facts.object = num;
  facts.type = text_of(table, font.get_item(CPDFDictionary::sm_tag_subtype));
  facts.name = text_of(table, font.get_item(CPDFDictionary::sm_tag_base_font));
  if (facts.name.empty())
    facts.name = text_of(table, font.get_item("Name"));
  facts.subset = has_subset_tag(facts.name);
  const CPDFObj* encoding = font.get_item("Encoding");
  if (facts.type == "Type0") {
    look_at_descendant(table, font, facts);
    const CMapFacts map = maps.encoding(encoding);
    facts.encoding = map.name;
    facts.vertical = map.vertical;
  } else {
    look_at_program(table, font, facts);
    facts.encoding = simple_encoding(table, encoding);
    facts.embedded = facts.embedded || facts.type == "Type3";
  }
  if (const CPDFObj* item = font.get_item("ToUnicode"); item != nullptr) {
    facts.to_unicode = maps.has_text(item);
    facts.broken_to_unicode = !facts.to_unicode;
  }
  return facts;
}

// Walks everything that has resources. Objects that wait are kept by number, each is visited once.
class FontFinder {
public:
  explicit FontFinder(CPDFDoc& doc) : doc_(doc), table_(doc.table()), maps_(table_) {}

  std::vector<FontFacts> run();

private:
  void visit_page(const CPDFPage& page);
  void visit_appearances(const CPDFObj* annots);
  void visit_form();
  void visit_holder(const CPDFDictionary& holder) { visit_resources(holder.get_item(CPDFDictionary::sm_tag_res)); }
  void visit_resources(const CPDFObj* item);
  void visit_fonts(const CPDFObj* item);
  void visit_states(const CPDFObj* item);
  void visit_font(const CPDFObj* item);
  void push_all(const CPDFObj* item);
  void push(const CPDFObj& item) {
    if (item.tag == kTagRef && seen_.visit(item.as_ref().num))
      waiting_.push_back(item.as_ref());
  }
  void drain();

  CPDFDoc& doc_;
  CPDFXRefTable& table_;
  MapReader maps_;
  VisitedSet seen_;     // resources and what has them
  VisitedSet holders_;  // nodes that hold resources directly, by their number and 2
  VisitedSet seen_fonts_;
  std::vector<PDF_REF> waiting_;
  std::vector<FontFacts> fonts_;
};

std::vector<FontFacts> FontFinder::run() {
  for (int i = 0; i < doc_.page_count(); ++i) {
    CPDFPage page;
    if (!doc_.load_page_alone(i, page))
      continue;
    // Resources that stand in a node are looked at with the first of its pages.
    CPDFPage whole;
    const PDF_INHERITED& above = page.from_above;
    const bool is_first = above.has_direct_resources && holders_.visit(above.holder + 2);
    visit_page(is_first && doc_.load_page(i, whole) ? whole : page);
    drain();
  }
  visit_form();
  drain();
  return std::move(fonts_);
}

void FontFinder::visit_page(const CPDFPage& page) {
  visit_holder(page.dict);
  if (page.dict.get_item(CPDFDictionary::sm_tag_res) == nullptr && page.inherited != nullptr) {
    Freed<CPDFObj> above;
    above.set_ref(page.inherited->resources);
    visit_resources(&above);
  }
  visit_appearances(page.dict.get_item("Annots"));
}

// Every appearance: a stream, or a dictionary of them by state.
void FontFinder::visit_appearances(const CPDFObj* item) {
  Freed<CPDFObj> annots = table_.value(item);
  for (std::int32_t i = 0; annots.as_array() != nullptr && i < annots.as_array()->count; ++i) {
    const Freed<CPDFObj> annot = table_.value(annots.as_array(), i);
    const Freed<CPDFObj> looks = table_.value(annot.as_dict(), "AP");
    for (std::int32_t k = 0; looks.as_dict() != nullptr && k < looks.as_dict()->count; ++k) {
      const CPDFObj& look = *looks.as_dict()->items[k];
      push(look);
      if (look.tag == kTagDict)
        push_all(&look);
    }
  }
}

void FontFinder::visit_form() {
  const Freed<CPDFObj> root = table_.catalog();
  const Freed<CPDFObj> form = table_.value(root.as_dict(), CPDFDictionary::sm_tag_acro_form);
  if (form.as_dict() != nullptr)
    visit_resources(form.as_dict()->get_item("DR"));
}

// An object that has resources, or a dictionary of such objects, as the states of an appearance are.
void FontFinder::drain() {
  while (!waiting_.empty()) {
    Freed<CPDFObj> obj = table_.object(waiting_.back());
    waiting_.pop_back();
    if (obj.as_dict_or_stream() == nullptr)
      continue;
    visit_holder(*obj.as_dict_or_stream());
    if (obj.tag == kTagDict)
      push_all(&obj);
  }
}

void FontFinder::visit_resources(const CPDFObj* item) {
  if (item == nullptr || (item->tag == kTagRef && !seen_.visit(item->as_ref().num)))
    return;
  Freed<CPDFObj> resources = table_.value(item);
  const CPDFDictionary* dict = resources.as_dict();
  if (dict == nullptr)
    return;
  visit_fonts(dict->get_item(CPDFDictionary::sm_tag_font));
  visit_states(dict->get_item(CPDFDictionary::sm_tag_extgs));
  push_all(dict->get_item(CPDFDictionary::sm_tag_xobj));
  push_all(dict->get_item("Pattern"));
}

void FontFinder::visit_fonts(const CPDFObj* item) {
  Freed<CPDFObj> fonts = table_.value(item);
  for (std::int32_t i = 0; fonts.as_dict() != nullptr && i < fonts.as_dict()->count; ++i)
    visit_font(fonts.as_dict()->items[i]);
}

void FontFinder::visit_states(const CPDFObj* item) {
  Freed<CPDFObj> states = table_.value(item);
  for (std::int32_t i = 0; states.as_dict() != nullptr && i < states.as_dict()->count; ++i) {
    const Freed<CPDFObj> state = table_.value(states.as_dict()->items[i]);
    const Freed<CPDFObj> font = table_.value(state.as_dict(), CPDFDictionary::sm_tag_font);
    if (font.as_array() != nullptr && font.as_array()->count > 0)
      visit_font(font.as_array()->get(0));
  }
}

void FontFinder::visit_font(const CPDFObj* item) {
  const std::int32_t num = item->as_ref().num;
  if (item->tag == kTagRef && !seen_fonts_.visit(num))
    return;
  Freed<CPDFObj> font = table_.value(item);
  if (font.as_dict() == nullptr)
    return;
  fonts_.push_back(look_at_font(table_, maps_, *font.as_dict(), num));
  visit_holder(*font.as_dict());
}

void FontFinder::push_all(const CPDFObj* item) {
  Freed<CPDFObj> holders = table_.value(item);
  for (std::int32_t i = 0; holders.as_dict() != nullptr && i < holders.as_dict()->count; ++i)
    push(*holders.as_dict()->items[i]);
}

const char* yes_or_no(bool flag) {
  return flag ? "yes" : "no";
}

std::string printable(const std::string& text) {
  return text.empty() ? "-" : shown(text);
}

void print_text(const std::vector<FontFacts>& fonts) {
  std::printf("%8s %-18s %-8s %-6s %-7s %-28s %s\n", "object", "type", "embedded", "subset", "unicode", "encoding",
              "name");
  for (const FontFacts& font : fonts) {
    std::printf("%8d %-18s %-8s %-6s %-7s %-28s %s\n", font.object, printable(font.type).c_str(),
                yes_or_no(font.embedded), yes_or_no(font.subset), yes_or_no(font.to_unicode),
                printable(font.encoding).c_str(), printable(font.name).c_str());
  }
}

void print_json(const std::string& file, const std::vector<FontFacts>& fonts) {
  JsonWriter json;
  begin_report(json, file).key("fonts").begin_array();
  for (const FontFacts& font : fonts) {
    json.begin_object().key("object").number(font.object).key("name").text(font.name).key("type").text(font.type);
    json.key("embedded").flag(font.embedded).key("program").text(font.program).key("subset").flag(font.subset);
    json.key("encoding").text(font.encoding).key("vertical").flag(font.vertical);
    json.key("to_unicode").flag(font.to_unicode).end_object();
  }
  json.end_array().end_object();
  std::printf("%s\n", json.str().c_str());
}

int look_at_fonts(const FontsOptions& options) {
  CPDFDoc doc;
  if (!open_document(doc, options.file, options.password))
    return kExitFailed;
  auto* const env = new CPDFEnviroment;
  doc.table().set_envirment(env, "tool");
  CPDFEnviroment::destroy(env);
  const std::vector<FontFacts> fonts = FontFinder(doc).run();
  if (options.json)
    print_json(options.file, fonts);
  else
    print_text(fonts);
  bool has_problems = !was_sound(doc, options.file);
  for (const FontFacts& font : fonts) {
    if (!font.broken_to_unicode)
      continue;
    complain(options.file, "font object " + std::to_string(font.object) + ": no text comes out of its ToUnicode map");
    has_problems = true;
  }
  return has_problems ? kExitProblems : kExitClean;
}

int run_fonts(const FontsOptions& options) {
  return run_batch(options.batch, options.json, [&options](const std::string& file) {
    FontsOptions one = options;
    one.file = file;
    if (!one.json && is_many(one.batch))
      std::printf("%s:\n", shown(input_name(file)).c_str());
    return look_at_fonts(one);
  });
}

const Registration kFonts("fonts", "Look", "The fonts, embedded or not, with their encodings",
                          [](Command& command) -> Run {
                            auto options = std::make_shared<FontsOptions>();
                            add_batch(command, options->batch);
                            add_password(command, options->password);
                            command.add_flag("--json", options->json, "One JSON object");
                            return [options] { return run_fonts(*options); };
                          });

}  // namespace

}  // namespace sheaf::tool

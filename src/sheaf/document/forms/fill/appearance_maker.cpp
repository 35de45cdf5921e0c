// Collects what a field inherits, chooses its fonts, and stores one appearance stream for each widget.
#include "sheaf/document/forms/fill/appearance_maker_internal.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/wide_text.h"
#include "sheaf/document/content/content_writer.h"
#include "sheaf/document/text/text_setter.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/neighbours/page/acro_form.h"
#include "sheaf/object/text_utf8.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

namespace {

constexpr int kMostValue = 1 << 24;  // bytes of a value that is a stream
constexpr std::size_t kMostKnownFonts = 64;
constexpr char kDefault[] = "/Helv 0 Tf 0 g";

// The names by which forms call the standard fonts, and a regular Helvetica for all others.
struct StandardName {
  const char* name;
  const char* font;
};
constexpr StandardName kStandardNames[] = {
    {"Helv", "Helvetica"},         {"HeBo", "Helvetica-Bold"},
    {"HeOb", "Helvetica-Oblique"}, {"HeBO", "Helvetica-BoldOblique"},
    {"TiRo", "Times-Roman"},       {"TiBo", "Times-Bold"},
    {"TiIt", "Times-Italic"},      {"TiBI", "Times-BoldItalic"},
    {"Cour", "Courier"},           {"CoBo", "Courier-Bold"},
    {"CoOb", "Courier-Oblique"},   {"CoBO", "Courier-BoldOblique"},
};

void flatten_lines(GrowArray<std::uint32_t>& characters) {
  std::replace(characters.begin(), characters.end(), std::uint32_t{'\n'}, std::uint32_t{' '});
}

// The items of a dictionary under one key, or null. Borrowed from `holder`.
const CPDFDictionary* dict_at(CPDFXRefTable& table, const CPDFDictionary* dict, const char* key,
                              Freed<CPDFObj>& holder) {
  holder = table.value(dict, key);
  return holder.as_dict_or_stream();
}

}  // namespace

void append_characters(const PDF_String& text, GrowArray<std::uint32_t>& characters) {
  std::size_t len = 0;
  const HeapBlock<char> utf8(text_to_utf8(text, len));
  if (!utf8)
    return;
  const auto* at = reinterpret_cast<const unsigned char*>(utf8.get());
  const unsigned char* const end = at + len;
  while (at < end) {
    wchar_t wide = 0;
    at += std::max(1, cvt_char_UTF8_To_UCS4(at, wide));
    // NOLINTNEXTLINE(bugprone-signed-char-misuse,cert-str34-c): a wide one
    auto character = static_cast<std::uint32_t>(wide);
    if (character == '\r') {
      if (at < end && *at == '\n')
        ++at;
      character = '\n';
    }
    characters.push(character == '\t' ? ' ' : character);
  }
}

void AppearanceMaker::load() {
  const Freed<CPDFObj> catalog = table_.catalog();
  const Freed<CPDFObj> form = table_.value(catalog.as_dict(), CPDFDictionary::sm_tag_acro_form);
  const CPDFDictionary* const dict = form.as_dict();
  form_.clear();
  fonts_.clear();
  for (const char* key : {"DA", "Q", "NeedAppearances"}) {
    Freed<CPDFObj> item = table_.value(dict, key);
    form_.move_item(key, item);
  }
  asked_for_ = form_.get_item("NeedAppearances") != nullptr && form_.get_item("NeedAppearances")->as_bool();
  has_xfa_ = dict != nullptr && dict->get_item("XFA") != nullptr;
  Freed<CPDFObj> resources;
  Freed<CPDFObj> fonts;
  fonts_.copy_from(dict_at(table_, dict_at(table_, dict, "DR", resources), CPDFDictionary::sm_tag_font, fonts));
}

// The value of an entry of the widget, the field or the form, whichever has it first.
void AppearanceMaker::inherited(const CPDFField& field, const CPDFDictionary& widget, const char* key, CPDFObj& out) {
  if (widget.get_item(key) != nullptr) {
    table_.resolve(out, widget.get_item(key));
    return;
  }
  field.get_value(key, out);
  if (out.is_null())
    out.copy_from(form_.get_item(key));
}

void AppearanceMaker::read_value(const CPDFField& field, const FieldFacts& facts, Value& value) {
  if (facts.kind == FieldKind::kList) {
    read_list(field, value);
    return;
  }
  if (facts.kind == FieldKind::kCombo) {
    read_combo(field, value);
  } else {
    Freed<CPDFObj> item;
    field.get_value("V", item);
    if (item.as_stream() != nullptr) {
      const std::unique_ptr<CPDFStream> decoder(table_.make_stream(item.as_stream()));
      int len = 0;
      const HeapBlock<unsigned char> bytes(
          decoder != nullptr ? decoder->buffer_load(decoder->most_text(kMostValue), len) : nullptr);
      append_characters({len, reinterpret_cast<char*>(bytes.get())}, value.characters);
    } else {
      append_characters(item.as_string(), value.characters);
    }
  }
  if (!facts.has(kTextMultiLine) || facts.kind != FieldKind::kText)
    flatten_lines(value.characters);
  if (facts.kind == FieldKind::kText && facts.has(kTextPassword))
    std::fill(value.characters.begin(), value.characters.end(), std::uint32_t{'*'});
}

void AppearanceMaker::read_combo(const CPDFField& field, Value& value) {
  Freed<CPDFObj> item;
  FieldOptions options;
  field.get_value("V", item);
  options.read(table_, field);
  std::size_t len = 0;
  const HeapBlock<char> utf8(text_to_utf8(item.as_string(), len));
  const std::int32_t index = utf8 ? options.find(utf8.get()) : -1;
  append_characters(index >= 0 ? options.text(index) : item.as_string(), value.characters);
}

// All options, those chosen marked: by their indices where they are given, else by their values.
void AppearanceMaker::read_list(const CPDFField& field, Value& value) {
  Freed<CPDFObj> chosen;
  Freed<CPDFObj> indices;
  FieldOptions options;
  field.get_value("V", chosen);
  field.get_value("I", indices);
  options.read(table_, field);
  for (std::int32_t i = 0; i < options.count(); ++i) {
    const std::size_t first = value.characters.size();
    append_characters(options.text(i), value.characters);
    value.lines.push({first, value.characters.size() - first, false});
  }
  flatten_lines(value.characters);
  const auto choose = [&value](std::int32_t index) {
    if (index >= 0 && static_cast<std::size_t>(index) < value.lines.size())
      value.lines[index].selected = true;
  };
  const auto choose_text = [&](const CPDFObj& item) {
    std::size_t len = 0;
    const HeapBlock<char> utf8(text_to_utf8(item.as_string(), len));
    if (utf8 && item.tag == kTagString)
      choose(options.find(utf8.get()));
  };
  if (const CPDFArray* const list = indices.as_array()) {
    for (std::int32_t i = 0; i < list->count; ++i)
      choose(list->get(i)->to_int());
  } else if (const CPDFArray* const texts = chosen.as_array()) {
    for (std::int32_t i = 0; i < texts->count; ++i)
      choose_text(*texts->get(i));
  } else {
    choose_text(chosen);
  }
}

bool AppearanceMaker::draw_value(const CPDFField& field, const FieldFacts& facts) {
  const HeapWatch watch;
  Value value;
  read_value(field, facts, value);
  GrowArray<PDF_REF> widgets;
  collect_widgets(table_, field.ref(), widgets);
  bool good = true;
  for (const PDF_REF& widget : widgets)
    good = draw_widget(field, facts, value, widget) && good;
  return good && watch.all_granted();
}

bool AppearanceMaker::draw_widget(const CPDFField& field, const FieldFacts& facts, const Value& value,
                                  const PDF_REF& widget) {
  Freed<CPDFObj> obj = table_.object(widget);
  CPDFDictionary* const dict = obj.as_dict();
  WidgetLook look;
  if (dict == nullptr || !look.read(table_, *dict))
    return true;  // there is nothing to draw on
  Freed<CPDFObj> item;
  inherited(field, *dict, "DA", item);
  DefaultAppearance style;
  if (!style.read(item.as_string()))
    style.read({sizeof(kDefault) - 1, const_cast<char*>(kDefault)});
  inherited(field, *dict, "Q", item);
  ValueTraits traits;
  traits.size = style.size;
  traits.colour = style.colour;
  traits.quadding = item.to_int();
  traits.comb_cells = facts.comb_cells();
  traits.multi_line = facts.kind == FieldKind::kText && facts.has(kTextMultiLine);

  FieldType type(system_);
  choose_font(*dict, style.font, type);
  ContentWriter out;
  look.draw(out, false);
  if (facts.kind == FieldKind::kList) {
    draw_list_box(out, look, type, field, value, traits);
  } else {
    draw_characters(out, look, type, value.characters, traits);
  }
  Cleared<CPDFDictionary> form;
  form.set_item_name(CPDFDictionary::sm_tag_type, CPDFDictionary::sm_tag_xobj);
  form.set_item_name(CPDFDictionary::sm_tag_subtype, "Form");
  look.put_geometry(form);
  type.put_resources(form);
  const PDF_REF appearance = out.store(table_, form);
  if (appearance.num == 0)
    return false;
  Cleared<CPDFDictionary> states;
  states.set_item_ref("N", appearance);
  dict->set_item_dict("AP", &states);
  return table_.store_object(widget, obj);
}

void AppearanceMaker::draw_characters(ContentWriter& out, const WidgetLook& look, FieldType& type,
                                      const GrowArray<std::uint32_t>& characters, const ValueTraits& traits) {
  if (needs_shaping(characters)) {
    TextSetter setter(table_, system_, {});
    const bool is_drawn = draw_shaped_text(out, look, setter, characters, traits);
    missing_ += static_cast<int>(setter.missing());
    if (is_drawn) {
      setter.put_resources(type.resources());
      return;
    }
  }
  GrowArray<FieldGlyph> glyphs;
  missing_ += type.set(characters, glyphs);
  draw_text(out, look, type, glyphs, traits);
}

// Only the lines that are seen are set: from the top index on, moved so that the first chosen one is among them.
void AppearanceMaker::draw_list_box(ContentWriter& out, const WidgetLook& look, FieldType& type, const CPDFField& field,
                                    const Value& value, const ValueTraits& traits) {
  Freed<CPDFObj> top;
  field.get_value("TI", top);
  const auto count = value.lines.count();
  const std::int32_t shown = list_lines_shown(look, traits);
  std::int32_t first = std::clamp(top.to_int(), 0, std::max(0, count - 1));
  const auto* const chosen =
      std::find_if(value.lines.begin(), value.lines.end(), [](const ListLine& line) { return line.selected; });
  const auto wanted = static_cast<std::int32_t>(chosen - value.lines.begin());
  if (wanted < count && (wanted < first || wanted >= first + shown))
    first = wanted;
  ListLines list;
  TextSetter setter(table_, system_, {});
  const std::int32_t last = count - first > shown ? first + shown + 1 : count;
  for (std::int32_t i = first; i < last; ++i) {
    const ListLine& line = value.lines[i];
    GrowArray<std::uint32_t> characters;
    for (std::size_t k = 0; k < line.count; ++k)
      characters.push(value.characters[line.first + k]);
    ListLine seen{list.glyphs.size(), 0, line.selected, list.texts.size(), 0};
    if (needs_shaping(characters)) {
      append_utf8(characters, list.texts);
      seen.text_length = list.texts.size() - seen.text;
    }
    if (seen.text_length == 0 || !setter.set({list.texts.begin() + seen.text, seen.text_length}, {})) {
      missing_ += type.set(characters, list.glyphs);
      seen.text_length = 0;
    }
    seen.count = list.glyphs.size() - seen.first;
    list.lines.push(seen);
  }
  missing_ += static_cast<int>(setter.missing());
  draw_list(out, look, type, setter, list, traits);
  if (!list.texts.empty())
    setter.put_resources(type.resources());
}

// The font of that name in the form's resources, or in those of the appearance that the widget has.
void AppearanceMaker::find_font(const CPDFDictionary& widget, const char* name, CPDFObj& font) {
  CPDFObj* const shared = fonts_.get_item(name);
  if (shared != nullptr && shared->as_dict() != nullptr) {
    // It becomes an object, so that appearances share it.
    const PDF_REF ref{table_.alloc_obj_num(), 0};
    if (table_.store_object(ref, *shared))
      shared->set_ref(ref);
  }
  const CPDFObj* item = shared;
  Freed<CPDFObj> looks;
  Freed<CPDFObj> normal;
  Freed<CPDFObj> resources;
  Freed<CPDFObj> fonts;
  if (item == nullptr) {
    const CPDFDictionary* const form = dict_at(table_, dict_at(table_, &widget, "AP", looks), "N", normal);
    const CPDFDictionary* const named = dict_at(table_, dict_at(table_, form, CPDFDictionary::sm_tag_res, resources),
                                                CPDFDictionary::sm_tag_font, fonts);
    item = named != nullptr ? named->get_item(name) : nullptr;
  }
  font.copy_from(item);
  if (item == nullptr)
    font.set_ref(standard_font(name));
}

const PDF_REF& AppearanceMaker::standard_font(const char* name) {
  std::size_t index = 0;
  for (std::size_t i = 0; i < std::size(kStandardNames); ++i) {
    if (std::strcmp(kStandardNames[i].name, name) == 0)
      index = i;
  }
  static_assert(std::size(kStandardNames) == sizeof(standard_) / sizeof(*standard_));
  PDF_REF& ref = standard_[index];
  if (ref.num != 0)
    return ref;
  ref = {table_.alloc_obj_num(), 0};
  Cleared<CPDFDictionary> font;
  font.set_item_name(CPDFDictionary::sm_tag_type, CPDFDictionary::sm_tag_font);
  font.set_item_name(CPDFDictionary::sm_tag_subtype, "Type1");
  font.set_item_name(CPDFDictionary::sm_tag_base_font, kStandardNames[index].font);
  font.set_item_name("Encoding", "WinAnsiEncoding");
  table_.store_dict(ref, &font);
  return ref;
}

void AppearanceMaker::choose_font(const CPDFDictionary& widget, const char* name, FieldType& type) {
  Freed<CPDFObj> font;
  find_font(widget, name, font);
  const PDF_REF ref = font.as_ref();
  for (const KnownFont& known : known_) {
    if (ref.num != 0 && known.ref == ref) {
      type.set_own(name, font, known.font, known.usable);
      return;
    }
  }
  KnownFont known{ref, false, {}};
  Freed<CPDFObj> value = table_.value(&font);
  known.usable = value.as_dict() != nullptr &&
                 (known.font.load(table_, *value.as_dict()) ||
                  (ref.num != 0 && known_.size() < kMostKnownFonts && load_composite(*value.as_dict(), known.font)));
  type.set_own(name, font, known.font, known.usable);
  if (known_.size() < kMostKnownFonts)
    known_.push(known);
}

bool AppearanceMaker::load_composite(const CPDFDictionary& dict, FieldFont& font) {
  constexpr int kMostComposite = 16;
  if (!table_.value(&dict, CPDFDictionary::sm_tag_subtype).is_name("Type0") || composite_count_ >= kMostComposite)
    return false;
  auto* const composite = new (std::nothrow) CompositeFont;
  if (composite == nullptr || !composite->load(table_, dict)) {
    delete composite;
    return false;
  }
  composite->next = composite_;
  composite_ = composite;
  ++composite_count_;
  font.load_composite(table_, dict, *composite);
  return true;
}

AppearanceMaker::~AppearanceMaker() {
  while (composite_ != nullptr) {
    CompositeFont* const next = composite_->next;
    delete composite_;
    composite_ = next;
  }
}

bool AppearanceMaker::draw_states(const PDF_REF& widget, const char* on, bool radio) {
  const HeapWatch watch;
  Freed<CPDFObj> obj = table_.object(widget);
  CPDFDictionary* const dict = obj.as_dict();
  WidgetLook look;
  if (dict == nullptr || !look.read(table_, *dict))
    return true;
  const Freed<CPDFObj> item = table_.value(dict, "DA");
  DefaultAppearance style;
  style.read(item.as_string());
  const char mark = look.mark != 0 ? look.mark : radio ? 'l' : '4';
  const bool round = radio && mark == 'l';
  const PDF_REF set = store_state(look, mark, style.colour, round);
  const PDF_REF clear = store_state(look, 0, style.colour, round);
  if (set.num == 0 || clear.num == 0)
    return false;
  Cleared<CPDFDictionary> states;
  states.set_item_ref("Off", clear);
  states.set_item_ref(on, set);
  Cleared<CPDFDictionary> looks;
  looks.set_item_dict("N", &states);
  dict->set_item_dict("AP", &looks);
  return table_.store_object(widget, obj) && watch.all_granted();
}

// One state of a button; mark 0 draws none.
PDF_REF AppearanceMaker::store_state(const WidgetLook& look, char mark, const DeviceColour& colour, bool round) {
  ContentWriter out;
  look.draw(out, round);
  if (mark != 0)
    draw_mark(out, look, mark, colour);
  Cleared<CPDFDictionary> form;
  form.set_item_name(CPDFDictionary::sm_tag_type, CPDFDictionary::sm_tag_xobj);
  form.set_item_name(CPDFDictionary::sm_tag_subtype, "Form");
  look.put_geometry(form);
  const Cleared<CPDFDictionary> none;
  form.set_item_dict(CPDFDictionary::sm_tag_res, &none);
  return out.store(table_, form);
}

}  // namespace sheaf

// The states are the keys of each widget's "AP" dictionary other than "Off".
#include "sheaf/document/forms/fill/button_states_internal.h"

#include <charconv>
#include <cstring>
#include <string_view>

#include "sheaf/document/forms/fill/appearance_maker_internal.h"
#include "sheaf/neighbours/page/acro_form.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

namespace {

constexpr char kOffName[] = "Off";

bool is_word(std::string_view value, std::string_view word) {
  if (value.size() != word.size())
    return false;
  for (std::size_t i = 0; i < word.size(); ++i) {
    if ((value[i] | 0x20) != word[i])
      return false;
  }
  return true;
}

bool means_yes(std::string_view value) {
  return is_word(value, "true") || is_word(value, "yes") || is_word(value, "on");
}

bool means_no(std::string_view value) {
  return is_word(value, "false") || is_word(value, "no");
}

// The bytes of a name, or the UTF-8 text that they stand for.
bool is_state(const char* state, const char* utf8) {
  if (std::strcmp(state, utf8) == 0)
    return true;
  return says({static_cast<std::int32_t>(std::strlen(state)), const_cast<char*>(state)}, utf8);
}

}  // namespace

void ButtonStates::read(CPDFXRefTable& table, const CPDFField& field, const FieldFacts& facts) {
  facts_ = facts;
  options_.read(table, field);
  GrowArray<PDF_REF> refs;
  collect_widgets(table, field.ref(), refs);
  for (const PDF_REF& ref : refs)
    add(table, field, ref);
}

void ButtonStates::add(CPDFXRefTable& table, const CPDFField& field, const PDF_REF& ref) {
  const Freed<CPDFObj> widget = table.object(ref);
  const Freed<CPDFObj> looks = table.value(widget.as_dict(), "AP");
  const Freed<CPDFObj> normal = table.value(looks.as_dict(), "N");
  const CPDFDictionary* const states = normal.as_dict();
  for (std::int32_t i = 0; states != nullptr && i < states->count; ++i) {
    if (std::strcmp(states->items[i]->key(), kOffName) != 0) {
      widgets_.push({ref, keep_name(states->items[i]->key()), false});
      return;
    }
  }
  if (!widgets_.push({ref, 0, true}))
    return;
  make_name(field);
}

// A name for the state of the last widget, which has no appearance that would name one.
void ButtonStates::make_name(const CPDFField& field) {
  Widget& widget = widgets_.back();
  Freed<CPDFObj> value;
  field.get_value("V", value);
  const char* const present = value.as_name();
  if (facts_.kind == FieldKind::kRadio || options_.count() > 0) {
    char digits[16];
    *std::to_chars(digits, digits + sizeof(digits) - 1, count() - 1).ptr = 0;
    widget.name = keep_name(digits);
  } else {
    widget.name = keep_name(present != nullptr && std::strcmp(present, kOffName) != 0 ? present : "Yes");
  }
}

std::size_t ButtonStates::keep_name(const char* name) {
  const std::size_t at = names_.size();
  for (const char* c = name; *c != 0; ++c)
    names_.push(*c);
  names_.push(0);
  return at;
}

bool ButtonStates::has_one_state() const {
  for (std::int32_t i = 1; i < count(); ++i) {
    if (std::strcmp(state(i), state(0)) != 0)
      return false;
  }
  return count() > 0;
}

std::int32_t ButtonStates::find(const char* utf8) const {
  const char* const bare = *utf8 == '/' ? utf8 + 1 : utf8;
  for (const char* const wanted : {utf8, bare}) {
    for (std::int32_t i = 0; i < count(); ++i) {
      if (is_state(state(i), wanted))
        return i;
    }
  }
  for (std::int32_t i = 0; i < count() && i < options_.count(); ++i) {
    if (says(options_.value(i), utf8))
      return i;
  }
  if (*bare == 0 || std::strcmp(bare, kOffName) == 0)
    return kOff;
  if (facts_.kind != FieldKind::kCheckBox)
    return kNotOffered;
  if (means_no(utf8))
    return kOff;
  return means_yes(utf8) && has_one_state() ? 0 : kNotOffered;
}

// Widgets of one state go together, but in a radio group only when it says so.
bool ButtonStates::is_on(std::int32_t index, std::int32_t chosen) const {
  if (index == chosen || chosen < 0)
    return index == chosen;
  const bool together = facts_.kind == FieldKind::kCheckBox || facts_.has(kRadiosInUnison);
  return together && std::strcmp(state(index), state(chosen)) == 0;
}

bool ButtonStates::apply(CPDFXRefTable& table, AppearanceMaker& maker, std::int32_t chosen) {
  if (!draw_missing(maker))
    return false;
  for (std::int32_t i = 0; i < count(); ++i) {
    const PDF_REF& ref = widgets_[i].ref;
    Freed<CPDFObj> obj = table.object(ref);
    if (obj.as_dict() == nullptr)
      continue;
    obj.as_dict()->set_item_name("AS", is_on(i, chosen) ? state(i) : kOffName);
    if (!table.store_object(ref, obj))
      return false;
  }
  return true;
}

bool ButtonStates::draw_missing(AppearanceMaker& maker) {
  for (Widget& widget : widgets_) {
    if (widget.needs_appearance &&
        !maker.draw_states(widget.ref, names_.begin() + widget.name, facts_.kind == FieldKind::kRadio))
      return false;
    widget.needs_appearance = false;
  }
  return true;
}

}  // namespace sheaf

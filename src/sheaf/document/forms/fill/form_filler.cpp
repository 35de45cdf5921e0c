// Setting values (ISO 32000-1, 12.7.4): checks the value against the field, stores it, and notes which appearances
// have to be made.
#include "sheaf/document/forms/form_filler.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "sheaf/base/heap_watch.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/forms/fill/filler_parts_internal.h"
#include "sheaf/document/forms/fill/loose_fields_internal.h"
#include "sheaf/neighbours/page/trailer_values.h"
#include "sheaf/object/text_utf8.h"

using namespace sheaf;

namespace {

void set_text_string(CPDFObj& out, const char* utf8) {
  PDF_String text{0, nullptr};
  text_from_utf8(utf8, text);
  const HeapBlock<char> owned(text.data);
  out.set_string(text.data != nullptr ? text.data : "", text.len);
}

bool is_blank(const CPDFObj& value) {
  return value.is_null() || value.is_name("Off") || (value.tag == kTagString && value.as_string().len == 0) ||
         (value.as_array() != nullptr && value.as_array()->count == 0);
}

bool is_same_value(const CPDFObj& a, const CPDFObj& b) {
  if (is_blank(a) || is_blank(b))
    return is_blank(a) && is_blank(b);
  if (a.tag == kTagArray && b.tag == kTagArray) {
    bool same = a.as_array()->count == b.as_array()->count;
    for (std::int32_t i = 0; same && i < a.as_array()->count; ++i)
      same = is_same_value(*a.as_array()->get(i), *b.as_array()->get(i));
    return same;
  }
  if (a.tag == kTagString && b.tag == kTagString) {
    std::size_t len = 0;
    const HeapBlock<char> utf8(text_to_utf8(a.as_string(), len));
    return utf8 && std::strlen(utf8.get()) == len && says(b.as_string(), utf8.get());
  }
  return a.as_name() != nullptr && b.is_name(a.as_name());
}

// How many characters a field would hold; one beyond the basic plane counts once.
std::int32_t length_of(const CPDFObj& text) {
  GrowArray<std::uint32_t> characters;
  append_characters(text.as_string(), characters);
  return static_cast<std::int32_t>(std::min<std::size_t>(characters.size(), INT32_MAX));
}

}  // namespace

CPDFFormFiller::~CPDFFormFiller() {
  delete parts_;
}

bool CPDFFormFiller::load() {
  const HeapWatch watch;
  delete parts_;
  parts_ = new (std::nothrow) Parts(doc_.table());
  if (parts_ == nullptr)
    return false;
  const bool has_form = parts_->form.load();
  if (!has_form && !add_loose_fields())
    return false;
  if (!parts_->names.load(parts_->form))
    return false;
  parts_->locks.load(doc_.table(), parts_->form, parts_->names);
  parts_->maker.load();
  return watch.all_granted();
}

bool CPDFFormFiller::add_font(const char* name) {
  return parts_->maker.system().add(name);
}

std::int32_t CPDFFormFiller::missing_characters() const {
  return parts_->maker.missing();
}

PDF_FILL CPDFFormFiller::set(const char* name, const char* value) {
  return set(name, &value, 1);
}

PDF_FILL CPDFFormFiller::set(const char* name, const char* const* values, std::int32_t count) {
  const HeapBlock<wchar_t> wide(wide_name(doc_.table(), name));
  if (!wide)
    return PDF_FILL::kNoMemory;
  FieldNames::Range range = parts_->names.find(wide.get());
  if (range.first == range.end && add_loose_fields())
    range = parts_->names.find(wide.get());
  PDF_FILL result = PDF_FILL::kNoField;
  for (std::size_t place = range.first; place < range.end; ++place) {
    parts_->index = parts_->names.at(place);
    CPDFField& field = *parts_->form.field_at(parts_->index);
    if (!field.is_terminal())
      continue;
    const HeapWatch watch;
    PDF_FILL one = set_field(field, values, count);
    if (!watch.all_granted())
      one = PDF_FILL::kNoMemory;
    if (result == PDF_FILL::kNoField || result == PDF_FILL::kDone)
      result = one;
  }
  return result;
}

// Looks once for fields that the form does not list, since that reads all pages. Whether there were any.
bool CPDFFormFiller::add_loose_fields() {
  if (parts_->looked_for_loose)
    return false;
  parts_->looked_for_loose = true;
  if (adopt_loose_fields(doc_, parts_->form) == 0 || !parts_->names.load(parts_->form))
    return false;
  parts_->locks.load(doc_.table(), parts_->form, parts_->names);
  return true;
}

PDF_FILL CPDFFormFiller::set_field(CPDFField& field, const char* const* values, std::int32_t count) {
  FieldFacts facts;
  facts.read(field);
  if (facts.is_choice())
    return set_choice(field, facts, values, count);
  if (count > 1)
    return PDF_FILL::kOneValue;
  const char* const value = count == 0 ? "" : values[0];
  switch (facts.kind) {
    case FieldKind::kText:
      return set_text(field, facts, value);
    case FieldKind::kCheckBox:
    case FieldKind::kRadio:
      return set_button(field, facts, value);
    case FieldKind::kPushButton:
      return PDF_FILL::kPushButton;
    case FieldKind::kSignature:
      return PDF_FILL::kSignature;
    default:
      return PDF_FILL::kNoKind;
  }
}

// Why the field must not be changed; kDone when it may.
PDF_FILL CPDFFormFiller::refusal(const FieldFacts& facts) const {
  if (parts_->locks.forbids_changes())
    return PDF_FILL::kCertified;
  if (parts_->locks.locks(parts_->index))
    return PDF_FILL::kLocked;
  return facts.has(kFieldReadOnly) && !fills_read_only_ ? PDF_FILL::kReadOnly : PDF_FILL::kDone;
}

// Stores `value` (null takes the entry away) with the indices of chosen options, and has it drawn.
PDF_FILL CPDFFormFiller::store_value(CPDFField& field, const FieldFacts& facts, CPDFObj& value, CPDFObj* indices) {
  CPDFXRefTable& table = doc_.table();
  Freed<CPDFObj> obj = table.object(field.ref());
  CPDFDictionary* const dict = obj.as_dict();
  if (dict == nullptr)
    return PDF_FILL::kNoField;
  dict->move_item("V", value);
  dict->set_item("RV", nullptr);  // the value as rich text says the old one
  if (indices != nullptr)
    dict->set_item("I", indices->is_null() ? nullptr : indices);
  if (!table.store_object(field.ref(), obj))
    return PDF_FILL::kNoMemory;
  changed_ = true;
  if (facts.is_button())
    return PDF_FILL::kDone;
  parts_->drawn.visit(field.ref().num);
  return parts_->maker.draw_value(field, facts) ? PDF_FILL::kDone : PDF_FILL::kNoMemory;
}

PDF_FILL CPDFFormFiller::set_text(CPDFField& field, const FieldFacts& facts, const char* utf8) {
  Freed<CPDFObj> value;
  Freed<CPDFObj> present;
  if (facts.has(kTextPassword))
    return PDF_FILL::kPassword;
  set_text_string(value, utf8);
  field.get_value("V", present);
  if (const PDF_FILL why = refusal(facts); why != PDF_FILL::kDone)
    return is_same_value(value, present) ? PDF_FILL::kUnchanged : why;
  if (facts.max_len > 0 && length_of(value) > facts.max_len)
    return PDF_FILL::kTooLong;
  return store_value(field, facts, value, nullptr);
}

PDF_FILL CPDFFormFiller::set_choice(CPDFField& field, const FieldFacts& facts, const char* const* values,
                                    std::int32_t count) {
  FieldOptions options;
  options.read(doc_.table(), field);
  const bool combo = facts.kind == FieldKind::kCombo;
  if (count > 1 && (combo || !facts.has(kChoiceMultiSelect)))
    return PDF_FILL::kOneValue;
  const bool any_text = options.count() == 0 || (combo && facts.has(kChoiceEdit));
  GrowArray<std::int32_t> chosen;
  Freed<CPDFObj> value;
  Cleared<CPDFArray> texts;
  for (std::int32_t i = 0; i < count; ++i) {
    const std::int32_t index = options.find(values[i]);
    if (index < 0 && !any_text && *values[i] != 0)
      return PDF_FILL::kNotOffered;
    if (index < 0 && !any_text)
      continue;  // "" takes the choice away
    Freed<CPDFObj> text;
    if (index >= 0)
      text.set_string(options.value(index).data, options.value(index).len);
    else
      set_text_string(text, values[i]);
    if (index >= 0)
      chosen.push(index);
    texts.append_moved(text);
  }
  if (texts.count == 1)
    value.move_from(*texts.get(0));
  else if (texts.count > 1)
    value.take_array(new (std::nothrow) CPDFArray);
  if (value.as_array() != nullptr)
    value.as_array()->copy_from(&texts);
  Freed<CPDFObj> present;
  field.get_value("V", present);
  if (const PDF_FILL why = refusal(facts); why != PDF_FILL::kDone)
    return is_same_value(value, present) ? PDF_FILL::kUnchanged : why;

  std::sort(chosen.begin(), chosen.end());
  Freed<CPDFObj> indices;
  if (!combo && !chosen.empty())
    indices.take_array(new (std::nothrow) CPDFArray);
  for (const std::int32_t index : chosen) {
    if (indices.as_array() != nullptr)
      indices.as_array()->append_int(index);
  }
  return store_value(field, facts, value, &indices);
}

PDF_FILL CPDFFormFiller::set_button(CPDFField& field, const FieldFacts& facts, const char* utf8) {
  ButtonStates states;
  states.read(doc_.table(), field, facts);
  const std::int32_t chosen = states.find(utf8);
  if (chosen == ButtonStates::kNotOffered)
    return PDF_FILL::kNotOffered;
  Freed<CPDFObj> value;
  Freed<CPDFObj> present;
  value.set_name(chosen >= 0 ? states.state(chosen) : "Off");
  field.get_value("V", present);
  if (const PDF_FILL why = refusal(facts); why != PDF_FILL::kDone)
    return is_same_value(value, present) ? PDF_FILL::kUnchanged : why;
  const PDF_FILL stored = store_value(field, facts, value, nullptr);
  if (stored != PDF_FILL::kDone)
    return stored;
  parts_->drawn.visit(field.ref().num);
  return states.apply(doc_.table(), parts_->maker, chosen) ? PDF_FILL::kDone : PDF_FILL::kNoMemory;
}

// Appearances that a viewer was asked to make. A field whose script formats its value keeps the one that it has: it
// shows what no library without scripts can.
bool CPDFFormFiller::draw_if_needed(CPDFField& field, bool anew) {
  FieldFacts facts;
  facts.read(field);
  if (facts.is_button()) {
    ButtonStates states;
    states.read(doc_.table(), field, facts);
    return states.draw_missing(parts_->maker);
  }
  if (facts.kind != FieldKind::kText && !facts.is_choice())
    return true;
  GrowArray<PDF_REF> widgets;
  collect_widgets(doc_.table(), field.ref(), widgets);
  bool has_all = true;
  for (const PDF_REF& ref : widgets) {
    Freed<CPDFObj> widget = doc_.table().object(ref);
    has_all = has_all && widget.as_dict() != nullptr && widget.as_dict()->get_item("AP") != nullptr;
  }
  Freed<CPDFObj> actions;
  field.get_value("AA", actions);
  const bool formats = actions.as_dict() != nullptr && actions.as_dict()->get_item("F") != nullptr;
  if (has_all && (formats || !anew))
    return true;
  return parts_->maker.draw_value(field, facts);
}

bool CPDFFormFiller::draw_missing() {
  const HeapWatch watch;
  const bool anew = parts_->maker.is_asked_for();
  for (std::int32_t i = 0; i < parts_->form.field_count(); ++i) {
    CPDFField& field = *parts_->form.field_at(i);
    if (field.is_terminal() && parts_->drawn.visit(field.ref().num) && !draw_if_needed(field, anew))
      return false;
  }
  return watch.all_granted();
}

bool CPDFFormFiller::finish() {
  const HeapWatch watch;
  if (!changed_)
    return true;
  const bool asked_for = parts_->maker.is_asked_for();
  if (asked_for && !draw_missing())
    return false;
  if (asked_for || parts_->maker.has_xfa()) {
    CPDFDictionary* const form = parts_->form.edit_dict();
    if (form == nullptr)
      return false;
    form->set_item("XFA", nullptr);
    dropped_xfa_ = parts_->maker.has_xfa();
    if (missing_characters() == 0)  // a viewer may have the fonts that are missing here
      form->set_item("NeedAppearances", nullptr);
  }
  return (!dropped_xfa_ || drop_rendering_request()) && watch.all_granted();
}

// A form of which nothing is left but its fields is shown by its pages.
bool CPDFFormFiller::drop_rendering_request() {
  CPDFXRefTable& table = doc_.table();
  Freed<CPDFObj> catalog = table.catalog();
  if (catalog.as_dict() == nullptr || catalog.as_dict()->get_item("NeedsRendering") == nullptr)
    return true;
  catalog.as_dict()->set_item("NeedsRendering", nullptr);
  return give_trailer_values_numbers(table) && table.store_object(table.root.as_ref(), catalog);
}

const char* CPDFFormFiller::reason(PDF_FILL result) {
  switch (result) {
    case PDF_FILL::kDone:
      return "";
    case PDF_FILL::kUnchanged:
      return "it cannot be changed, and has this value already";
    case PDF_FILL::kNoField:
      return "there is no field of this name";
    case PDF_FILL::kNoKind:
      return "the field does not say of what kind it is";
    case PDF_FILL::kNotOffered:
      return "the field does not offer this value";
    case PDF_FILL::kOneValue:
      return "the field takes one value only";
    case PDF_FILL::kTooLong:
      return "the text is longer than the field takes";
    case PDF_FILL::kPassword:
      return "it is a password field, and passwords are not stored in documents";
    case PDF_FILL::kPushButton:
      return "it is a push button, which has no value";
    case PDF_FILL::kSignature:
      return "it is a signature field, which is signed and not filled";
    case PDF_FILL::kReadOnly:
      return "the field is read-only";
    case PDF_FILL::kLocked:
      return "a signature of the document locks the field";
    case PDF_FILL::kCertified:
      return "the document's certification forbids every change";
    case PDF_FILL::kNoMemory:
      return "there is no memory";
  }
  return "";
}

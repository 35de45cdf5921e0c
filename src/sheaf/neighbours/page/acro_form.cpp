// Fields are listed with parents first and found by full name through a hash index (ISO 32000-1, 12.7.3).
#include "sheaf/neighbours/page/acro_form.h"

#include <algorithm>
#include <new>

#include "sheaf/base/heap.h"
#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/base/wide_text.h"
#include "sheaf/neighbours/page/trailer_values.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr std::size_t kFirstBuckets = 64;
constexpr int kMostLevels = 256;
constexpr std::size_t kNameCharsAtLeast = std::size_t{1} << 20;
constexpr std::size_t kNameCharsPerField = 128;

std::uint32_t hash_of(const wchar_t* name) {
  std::uint32_t hash = 2166136261u;
  for (; *name != 0; ++name)
    hash = (hash ^ static_cast<std::uint32_t>(*name)) * 16777619u;
  return hash;
}

bool is_same(const wchar_t* a, const wchar_t* b) {
  while (*a != 0 && *a == *b) {
    ++a;
    ++b;
  }
  return *a == *b;
}

wchar_t* new_wide(std::size_t count) {
  return static_cast<wchar_t*>(QVCalloc(count + 1, sizeof(wchar_t)));
}

// A text string as wide characters; null when there is no memory.
wchar_t* wide_of(const CPDFXRefTable& table, const PDF_String& text) {
  const std::size_t most = text.data != nullptr && text.len > 0 ? static_cast<std::size_t>(text.len) : 0;
  wchar_t* wide = new_wide(most + 1);
  if (wide != nullptr)
    table.cvt_text_to_ucs(&text, wide, static_cast<int>(std::min<std::size_t>(most + 1, INT32_MAX)));
  return wide;
}

// `front` and `back` with a period between them where both have characters.
wchar_t* joined(const wchar_t* front, const wchar_t* back) {
  const std::size_t front_len = ucs_len(front);
  const std::size_t back_len = ucs_len(back);
  const std::size_t period = front_len != 0 && back_len != 0 ? 1 : 0;
  wchar_t* out = new_wide(front_len + period + back_len);
  if (out == nullptr)
    return nullptr;
  std::copy(front, front + front_len, out);
  if (period != 0)
    out[front_len] = L'.';
  std::copy(back, back + back_len, out + front_len + period);
  return out;
}

// The dictionary of object `ref`, kept in memory so that it can be changed where it is.
CPDFDictionary* editable(CPDFXRefTable& table, const PDF_REF& ref) {
  Freed<CPDFObj> obj = table.object(ref);
  if (obj.as_dict() == nullptr || !table.store_object(ref, obj))
    return nullptr;
  const PDF_NEWOBJ* slot = table.get_xref2(ref.num, ref.gen);
  return slot != nullptr ? slot->obj.as_dict() : nullptr;
}

// A kid is a field when it has a partial name; without one it is a widget of its parent.
bool is_field(const CPDFDictionary& dict) {
  return dict.get_item("T") != nullptr;
}

}  // namespace

CPDFField::~CPDFField() {
  QVFree(name_);
}

void CPDFField::get_value(const char* key, CPDFObj& out) const {
  out.free();
  const CPDFField* field = this;
  for (int level = 0; level < kMostLevels; ++level) {
    const CPDFDictionary* const dict = form_->look_at(*field);
    const CPDFObj* const item = dict != nullptr ? dict->get_item(key) : nullptr;
    if (item != nullptr) {
      form_->table_.resolve(out, item);
      return;
    }
    if (field->parent_ < 0)
      return;
    field = form_->field_at(field->parent_);
  }
}

void CPDFField::set_name(const wchar_t* name) {
  CPDFDictionary* const dict = editable(form_->table_, ref_);
  const wchar_t* const above = parent_ >= 0 ? form_->field_at(parent_)->name_ : L"";
  HeapBlock<wchar_t> full(joined(above, name));
  if (dict == nullptr || !full)
    return;
  bool plain = true;
  for (const wchar_t* at = name; *at != 0; ++at)
    plain = plain && *at >= L' ' && *at < 127;
  PDF_String text{0, nullptr};
  text.init(name, 1);
  if (plain) {  // such characters are the same in every encoding of text strings
    text.len = static_cast<std::int32_t>(ucs_len(name));
    for (std::int32_t i = 0; i < text.len && text.data != nullptr; ++i)
      text.data[i] = static_cast<char>(name[i]);
  }
  dict->set_item_str("T", text.data, text.data != nullptr ? text.len : 0);
  QVFree(text.data);

  const std::size_t old_len = ucs_len(name_);
  for (std::int32_t i = order_ + 1; i < end_; ++i) {
    CPDFField& below = *form_->field_at(i);
    const std::size_t skipped = std::min(old_len + (old_len != 0 ? 1 : 0), ucs_len(below.name_));
    wchar_t* renamed = joined(full.get(), below.name_ + skipped);
    if (renamed == nullptr)
      continue;
    form_->drop_from_index(i);
    QVFree(below.name_);
    below.name_ = renamed;
    form_->index_field(i);
  }
  form_->drop_from_index(order_);
  QVFree(name_);
  name_ = full.release();
  form_->index_field(order_);
}

CPDFAcroForm::~CPDFAcroForm() {
  for (CPDFField* field : fields_)
    delete field;
}

// Many fields ask those above them for what they inherit, so that these must not be read again and copied with all
// their kids each time. An object in memory is looked at where it is; of those that are where the file has them, the
// last ones are kept without their kids, and terminal fields do not drive out those above them. Borrowed; valid until
// the next call, or until an object is stored.
const CPDFDictionary* CPDFAcroForm::look_at(const CPDFField& field) {
  const PDF_REF& ref = field.ref_;
  const auto place_of = [this, &ref]() {
    const PDF_XREF* const entry = table_.entry(ref.num);
    return entry != nullptr ? *entry : PDF_XREF::none();
  };
  const PDF_NEWOBJ* const slot = table_.entry(ref.num) != nullptr ? table_.slot_of(ref.index()) : nullptr;
  if (slot != nullptr && slot->obj.as_dict() != nullptr)
    return slot->obj.as_dict();
  for (const Known& known : known_) {
    const PDF_XREF place = place_of();
    if (known.ref == ref && known.place.is_known() && known.place.type == place.type &&
        known.place.offset == place.offset && known.place.gen == place.gen)
      return &known.dict;
  }
  const Freed<CPDFObj> obj = table_.object(ref);
  if (obj.as_dict() == nullptr)
    return nullptr;
  obj.as_dict()->set_item("Kids", nullptr);
  Known& known = known_[field.terminal_ ? kParents : next_known_++ % kParents];
  known.dict.clear();
  known.ref = ref;
  known.place = slot == nullptr ? place_of() : PDF_XREF::none();  // reading may have corrected it
  std::swap(static_cast<CPDFDictionary&>(known.dict), *obj.as_dict());
  return &known.dict;
}

bool CPDFAcroForm::load() {
  const Freed<CPDFObj> catalog = table_.catalog();
  const Freed<CPDFObj> form = table_.value(catalog.as_dict(), CPDFDictionary::sm_tag_acro_form);
  if (form.as_dict() == nullptr)
    return false;
  const Freed<CPDFObj> list = table_.value(form.as_dict(), "Fields");
  const CPDFArray* array = list.as_array();
  for (std::int32_t i = 0; array != nullptr && i < array->count; ++i)
    add_tree(array->items[i].as_ref());
  return true;
}

CPDFField* CPDFAcroForm::get_field(const PDF_String& name) const {
  const HeapBlock<wchar_t> wide(wide_of(table_, name));
  return wide ? get_field(wide.get()) : nullptr;
}

// Among fields of the same name the first comes first in its chain, so that many of them take no longer to find.
CPDFField* CPDFAcroForm::get_field(const wchar_t* name) const {
  if (name == nullptr || buckets_.empty())
    return nullptr;
  std::int32_t index = buckets_[hash_of(name) % buckets_.size()];
  while (index >= 0 && !is_same(field_at(index)->name_, name))
    index = field_at(index)->next_same_;
  return index >= 0 ? field_at(index) : nullptr;
}

CPDFField* CPDFAcroForm::append_field(const PDF_REF& ref) {
  CPDFField* const field = add_tree(ref);
  if (field == nullptr)
    return nullptr;
  CPDFDictionary* const form = edit_dict();
  CPDFObj* const list = form != nullptr ? form->get_item("Fields") : nullptr;
  if (list != nullptr && list->as_array() != nullptr)
    list->as_array()->append_ref(ref);
  return field;
}

CPDFDictionary* CPDFAcroForm::edit_dict() {
  if (form_ref_.num != 0) {
    // A sealed save has taken the dictionary out of memory.
    if (!table_.entry(form_ref_.num)->is_in_memory())
      return editable(table_, form_ref_);
    const PDF_NEWOBJ* slot = table_.get_xref2(form_ref_.num, form_ref_.gen);
    return slot != nullptr ? slot->obj.as_dict() : nullptr;
  }
  CPDFDictionary* const catalog =
      give_trailer_values_numbers(table_) ? editable(table_, table_.root.as_ref()) : nullptr;
  if (catalog == nullptr)
    return nullptr;
  const HeapWatch watch;
  const CPDFObj* item = catalog->get_item(CPDFDictionary::sm_tag_acro_form);
  PDF_REF ref = ref_of(item);
  Freed<CPDFObj> form = table_.value(item);
  if (form.as_dict() == nullptr) {
    form.take_dict(new (std::nothrow) CPDFDictionary);
    ref = {0, 0};
  }
  if (form.as_dict() == nullptr)
    return nullptr;
  if (ref.num == 0) {
    ref = {table_.alloc_obj_num(), 0};
    catalog->set_item_ref(CPDFDictionary::sm_tag_acro_form, ref);
  }
  // The list is a direct value of the form, so that appending a field costs nothing.
  Freed<CPDFObj> list = table_.value(form.as_dict(), "Fields");
  if (list.as_array() == nullptr)
    list.take_array(new (std::nothrow) CPDFArray);
  form.as_dict()->move_item("Fields", list);
  if (!watch.all_granted() || !table_.store_object(ref, form))
    return nullptr;
  form_ref_ = ref;
  return table_.get_xref2(ref.num, ref.gen)->obj.as_dict();
}

// Adds a field and the fields below it, parents first. The nodes wait on a list; each is read once.
CPDFField* CPDFAcroForm::add_tree(const PDF_REF& top) {
  struct Waiting {
    PDF_REF ref;
    std::int32_t parent;
  };
  GrowArray<Waiting> waiting;
  VisitedSet visited;
  CPDFField* first = nullptr;
  waiting.push({top, -1});
  while (!waiting.empty()) {
    const Waiting node = waiting.back();
    waiting.pop();
    Freed<CPDFObj> obj;
    if (visited.visit(node.ref.num))
      obj = table_.object(node.ref);
    const CPDFDictionary* dict = obj.as_dict();
    if (dict == nullptr || (node.parent >= 0 && !is_field(*dict)))
      continue;
    const Freed<CPDFObj> text = table_.value(dict, "T");
    if (!has_room_for(text.as_string(), node.parent))
      continue;
    CPDFField* const field = add_field(node.ref, text.as_string(), node.parent);
    if (field == nullptr)
      break;
    first = first == nullptr ? field : first;
    const Freed<CPDFObj> kids = table_.value(dict, "Kids");
    for (std::int32_t i = kids.as_array() != nullptr ? kids.as_array()->count : 0; i-- > 0;)
      waiting.push({kids.as_array()->items[i].as_ref(), field->order_});
  }
  // A parent precedes its kids, so ends are passed up from the last field to the first.
  for (std::int32_t i = field_count(); first != nullptr && i-- > first->order_;) {
    CPDFField& field = *field_at(i);
    field.end_ = std::max(field.end_, i + 1);
    if (field.parent_ >= 0)
      field_at(field.parent_)->end_ = std::max(field_at(field.parent_)->end_, field.end_);
  }
  return first;
}

// Every full name repeats those above it: a chain of a million fields would take terabytes. What lies
// beyond all reason has no name to be found by.
bool CPDFAcroForm::has_room_for(const PDF_String& partial, std::int32_t parent) const {
  const std::size_t above = parent >= 0 ? ucs_len(field_at(parent)->name_) : 0;
  const std::size_t own = partial.len > 0 ? static_cast<std::size_t>(partial.len) : 0;
  return name_chars_ + above + own <= kNameCharsAtLeast + kNameCharsPerField * fields_.size();
}

CPDFField* CPDFAcroForm::add_field(const PDF_REF& ref, const PDF_String& text, std::int32_t parent) {
  const HeapBlock<wchar_t> partial(wide_of(table_, text));
  auto* field = new (std::nothrow) CPDFField;
  if (field == nullptr)
    return nullptr;
  field->form_ = this;
  field->ref_ = ref;
  field->parent_ = parent;
  field->order_ = field_count();
  field->name_ = partial ? joined(parent >= 0 ? field_at(parent)->name_ : L"", partial.get()) : nullptr;
  if (field->name_ == nullptr || !grow_index() || !fields_.push(field)) {
    delete field;
    return nullptr;
  }
  if (parent >= 0)
    field_at(parent)->terminal_ = false;
  name_chars_ += ucs_len(field->name_);
  index_field(field->order_);
  return field;
}

// After the first field of the same name, or before it when it comes later.
void CPDFAcroForm::index_field(std::int32_t index) {
  CPDFField& field = *field_at(index);
  std::int32_t* at = &buckets_[hash_of(field.name_) % buckets_.size()];
  while (*at >= 0 && !is_same(field_at(*at)->name_, field.name_))
    at = &field_at(*at)->next_same_;
  if (*at >= 0 && *at < index)
    at = &field_at(*at)->next_same_;
  field.next_same_ = *at;
  *at = index;
}

// When the first field of a name goes, the lowest of the others takes its place.
void CPDFAcroForm::drop_from_index(std::int32_t index) {
  std::int32_t* at = &buckets_[hash_of(field_at(index)->name_) % buckets_.size()];
  while (*at >= 0 && *at != index)
    at = &field_at(*at)->next_same_;
  if (*at != index)
    return;
  *at = field_at(index)->next_same_;
  const auto has_name = [&](std::int32_t other) { return is_same(field_at(other)->name_, field_at(index)->name_); };
  std::int32_t* lowest = at;
  for (std::int32_t* next = at; *next >= 0 && has_name(*next); next = &field_at(*next)->next_same_)
    lowest = *next < *lowest ? next : lowest;
  if (lowest == at)
    return;
  const std::int32_t first = *lowest;
  *lowest = field_at(first)->next_same_;
  field_at(first)->next_same_ = *at;
  *at = first;
}

bool CPDFAcroForm::grow_index() {
  if (fields_.size() < buckets_.size())
    return true;
  if (!buckets_.resize(buckets_.empty() ? kFirstBuckets : buckets_.size() * 2))
    return false;
  std::fill(buckets_.begin(), buckets_.end(), -1);
  for (std::int32_t i = 0; i < field_count(); ++i)
    index_field(i);
  return true;
}

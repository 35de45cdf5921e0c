// FDF. What is read is found by scanning, as these files have no table that must be right.
#include <string_view>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/document/forms/data/name_path_internal.h"
#include "sheaf/document/forms/data/text_values_internal.h"
#include "sheaf/document/forms/form_data.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/text_utf8.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

// Walks the tree of fields with a stack of its own.
class FieldReader {
public:
  FieldReader(CPDFXRefTable& table, CPDFFormData& data) : table_(table), data_(data) {}
  ~FieldReader() {
    for (CPDFObj& object : held_)
      object.free();
  }
  FieldReader(const FieldReader&) = delete;
  FieldReader& operator=(const FieldReader&) = delete;

  void read(const CPDFObj* fields) {
    open(fields, 0);
    while (!open_.empty()) {
      Level& level = open_.back();
      if (level.next == level.list->count) {
        open_.pop();
        continue;
      }
      path_.cut(level.path_levels);
      field(level.list->get(level.next++));
    }
  }

private:
  struct Level {
    const CPDFArray* list;
    std::int32_t next;
    std::size_t path_levels;
  };

  // The value of an item; one behind a reference is held until the end, and read once.
  const CPDFObj* follow(const CPDFObj* item) {
    if (item == nullptr || item->tag != kTagRef)
      return item;
    CPDFObj object{};
    if (visited_.visit(item->as_ref().num))
      table_.resolve(object, item);
    if (held_.push(object))
      return &held_.back();
    object.free();
    return nullptr;
  }

  void open(const CPDFObj* item, std::size_t path_levels) {
    const CPDFObj* const list = follow(item);
    if (list != nullptr && list->as_array() != nullptr)
      open_.push({list->as_array(), 0, path_levels});
  }

  void field(const CPDFObj* item) {
    const CPDFObj* const object = follow(item);
    const CPDFDictionary* const dict = object != nullptr ? object->as_dict() : nullptr;
    if (dict == nullptr)
      return;
    const Freed<CPDFObj> name = table_.value(dict, "T");
    std::size_t len = 0;
    const HeapBlock<char> partial(text_to_utf8(name.as_string(), len));
    if (!partial || !path_.push({partial.get(), len}))
      return;
    const Freed<CPDFObj> value = table_.value(dict, "V");
    if (has_text(value) && data_.add_field(path_.full()))
      add_texts(table_, value, data_);
    open(dict->get_item("Kids"), path_.levels());
  }

  CPDFXRefTable& table_;
  CPDFFormData& data_;
  NamePath path_;
  VisitedSet visited_;
  GrowArray<CPDFObj> held_;
  GrowArray<Level> open_;
};

// Writes fields so that those with names below one another's are kids.
class FieldWriter {
public:
  explicit FieldWriter(CQVStream& out) : out_(out) {}

  /// Opens the field; those that are open already are not repeated.
  void open(const char* full) {
    std::string_view rest = full;
    bool more = true;
    std::size_t level = 0;
    while (more) {
      const std::string_view partial = NamePath::split(rest, more);
      if (level < path_.levels() && (path_.level(level) != partial || !more))
        close(level);
      if (level == path_.levels())
        open_level(partial);
      ++level;
    }
  }
  void value(const CPDFFormData& data, std::int32_t field) {
    const std::int32_t count = data.value_count(field);
    if (count == 0)
      return;
    text(count == 1 ? "/V " : "/V[");
    for (std::int32_t i = 0; i < count; ++i) {
      Freed<CPDFObj> value;
      if (data.is_state(field, i))
        value.set_name(data.value(field, i));
      else
        put_text(value, data.value(field, i));
      value.write(&out_, nullptr);
    }
    text(count == 1 ? "" : "]");
  }
  void close(std::size_t levels) {
    while (path_.levels() > levels) {
      if (has_kids_[path_.levels() - 1])
        text("]");
      text(">>\n");
      path_.cut(path_.levels() - 1);
    }
  }
  void text(std::string_view bytes) { good_ = out_.Write(bytes.data(), size(bytes)) == size(bytes) && good_; }
  void string(const char* utf8) {
    Freed<CPDFObj> value;
    put_text(value, utf8);
    value.write(&out_, nullptr);
  }
  bool good() const { return good_; }

private:
  static unsigned size(std::string_view bytes) { return static_cast<unsigned>(bytes.size()); }

  static void put_text(CPDFObj& value, const char* utf8) {
    PDF_String text{0, nullptr};
    text_from_utf8(utf8, text);
    const HeapBlock<char> owned(text.data);
    value.set_string(text.data != nullptr ? text.data : "", text.len);
  }

  void open_level(std::string_view partial) {
    const std::size_t level = path_.levels();
    if (level > 0 && !has_kids_[level - 1]) {
      text("/Kids[");
      has_kids_[level - 1] = true;
    }
    GrowArray<char> name;
    for (const char c : partial)
      name.push(c);
    if (!name.push(0) || !path_.push(partial) || !has_kids_.resize(level + 1)) {
      good_ = false;
      return;
    }
    has_kids_[level] = false;
    text("<</T");
    string(name.begin());
  }

  CQVStream& out_;
  NamePath path_;
  GrowArray<bool> has_kids_;  // by level: whether its list of kids is open
  bool good_ = true;
};

}  // namespace

bool CPDFFormData::read_fdf(CQVStream& in) {
  const HeapWatch watch;
  CPDFXRefTable table;
  table.stream = &in;
  const ScopeGuard release([&table] { table.XRefFree(); });
  in.SetPos(CQVStream::STR_SEEK_SET, 0);
  if (table.XRefCreate() == 0)
    return false;
  const Freed<CPDFObj> root = table.catalog();
  const Freed<CPDFObj> fdf = table.value(root.as_dict(), "FDF");
  if (fdf.as_dict() == nullptr)
    return false;
  has_annotations_ = has_annotations_ || fdf.as_dict()->get_item("Annots") != nullptr;
  FieldReader(table, *this).read(fdf.as_dict()->get_item("Fields"));
  return watch.all_granted();
}

bool CPDFFormData::write_fdf(CQVStream& out, const char* file) const {
  const HeapWatch watch;
  FieldWriter writer(out);
  writer.text("%FDF-1.2\n%\xE2\xE3\xCF\xD3\n1 0 obj\n<</FDF<<");
  if (file != nullptr) {
    writer.text("/F");
    writer.string(file);
  }
  writer.text("/Fields[\n");
  for (std::int32_t i = 0; i < count(); ++i) {
    writer.open(name(i));
    writer.value(*this, i);
  }
  writer.close(0);
  writer.text("]>>>>\nendobj\ntrailer\n<</Root 1 0 R>>\n%%EOF\n");
  return writer.good() && watch.all_granted();
}

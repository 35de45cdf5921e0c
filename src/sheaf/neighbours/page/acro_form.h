// The interactive form of a document and its fields (ISO 32000-1, 12.7). A form knows its fields by
// their fully qualified names: the partial names on the way from the top, with periods between them.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/object.h"
#include "sheaf/xref/xref_table.h"

class CPDFAcroForm;

/// A field, terminal or not. Owned by its form.
class CPDFField : public QVHeapObject<CPDFField> {
public:
  CPDFField(const CPDFField&) = delete;
  CPDFField& operator=(const CPDFField&) = delete;

  /// The fully qualified name, 0-terminated. Borrowed; valid until a field is renamed.
  const wchar_t* name() const { return name_; }
  const PDF_REF& ref() const { return ref_; }
  /// Whether the field has no fields below it. Widgets are no fields.
  bool is_terminal() const { return terminal_; }
  /// Whether the field is in the form's own list.
  bool is_top() const { return parent_ < 0; }
  /// Gives the field another partial name, and with it every field below another full name. The
  /// field's object is stored as changed.
  void set_name(const wchar_t* name);
  /// The value of an inheritable entry ("FT", "Ff", "V", "DV", "DA", "Q"), sought upwards; null when
  /// there is none. `out` is released first and is the caller's to free.
  void get_value(const char* key, CPDFObj& out) const;

private:
  friend class CPDFAcroForm;
  CPDFField() = default;
  ~CPDFField();

  CPDFAcroForm* form_ = nullptr;
  PDF_REF ref_{0, 0};
  wchar_t* name_ = nullptr;      // QVAlloc family
  std::int32_t parent_ = -1;     // index in the form's list
  std::int32_t end_ = 0;         // the fields below follow this one, up to here
  std::int32_t next_same_ = -1;  // next in the chain of the name index
  std::int32_t order_ = 0;       // own index
  bool terminal_ = true;
};

/// The form of one table's document. The table must outlive it.
class CPDFAcroForm {
public:
  explicit CPDFAcroForm(CPDFXRefTable& table) : table_(table) {}
  CPDFAcroForm(const CPDFAcroForm&) = delete;
  CPDFAcroForm& operator=(const CPDFAcroForm&) = delete;
  ~CPDFAcroForm();

  /// Reads the fields that the document has. Loops and nulls among them do no harm. False when the
  /// document has no form; fields can be appended nevertheless.
  bool load();
  /// The first field of this fully qualified name, or null. Borrowed.
  CPDFField* get_field(const PDF_String& name) const;
  CPDFField* get_field(const wchar_t* name) const;
  /// Adds the field object with all that is below it to the end of the form, which is made when the
  /// document has none. Null when there is no memory or `ref` is no field. Borrowed.
  CPDFField* append_field(const PDF_REF& ref);

  std::int32_t field_count() const { return fields_.count(); }
  /// Field `index` in the order of the tree, a parent before its kids. Borrowed.
  CPDFField* field_at(std::int32_t index) const { return fields_[index]; }
  /// The form dictionary, kept in memory for changes and made for a document without; null when there
  /// is no memory. Borrowed; valid until the next object is stored.
  CPDFDictionary* edit_dict();

private:
  friend class CPDFField;

  // A field as it was read last.
  struct Known {
    PDF_REF ref{0, 0};
    PDF_XREF place = PDF_XREF::none();
    sheaf::Cleared<CPDFDictionary> dict;
  };
  static constexpr std::size_t kParents = 16;

  const CPDFDictionary* look_at(const CPDFField& field);
  CPDFField* add_tree(const PDF_REF& ref);
  bool has_room_for(const PDF_String& partial, std::int32_t parent) const;
  CPDFField* add_field(const PDF_REF& ref, const PDF_String& partial, std::int32_t parent);
  void index_field(std::int32_t index);
  void drop_from_index(std::int32_t index);
  bool grow_index();

  CPDFXRefTable& table_;
  PDF_REF form_ref_{0, 0};  // once the form is edited
  sheaf::GrowArray<CPDFField*> fields_;
  sheaf::GrowArray<std::int32_t> buckets_;
  std::size_t name_chars_ = 0;  // of all full names when they were added
  Known known_[kParents + 1];   // those above others that were looked at last, and the last terminal field
  std::size_t next_known_ = 0;
};

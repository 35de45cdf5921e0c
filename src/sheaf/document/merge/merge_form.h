// The form of a source (ISO 32000-1, 12.7.2): its fields join the document's own under names that are
// free, with what they need from the form itself.
#pragma once

#include "sheaf/document/merge/merge_source.h"
#include "sheaf/neighbours/page/acro_form.h"

namespace sheaf {

class MergeForm {
public:
  explicit MergeForm(MergeTarget& target) : target_(target), table_(target.table), form_(target.table) {}
  MergeForm(const MergeForm&) = delete;
  MergeForm& operator=(const MergeForm&) = delete;

  /// Takes note of the document's own fields. Its form gets an object of its own now, so that it does not count as
  /// made for a source.
  void load() {
    if (form_.load())
      form_.edit_dict();
  }
  static bool is_in(const MergeSource& source) { return source.entry(CPDFDictionary::sm_tag_acro_form) != nullptr; }
  /// Takes the fields that have a widget on the pages that are taken, or none at all. To be
  /// called before the pages, which then find the widgets that they show.
  void take(MergeSource& source);
  /// Makes the widgets of a second copy of a page part of the form: a widget that is a field of its
  /// own becomes another field, the others further widgets of their fields.
  void add_repeated(const PDF_REF& page);

private:
  void leave_out_fields(MergeSource& source, const CPDFArray& fields);
  void take_field(MergeSource& source, const PDF_REF& ref);
  void append_field(MergeSource* source, const PDF_REF& ref);
  void take_order(MergeSource& source, const CPDFDictionary& form);
  void take_settings(MergeSource& source, const CPDFDictionary& form, std::int32_t first_field);
  void take_resources(MergeSource& source, const CPDFDictionary& form);
  void take_category(MergeSource& source, const char* category, CPDFDictionary& theirs);
  void add_renamed(MergeSource& source, CPDFDictItem& font, const CPDFDictionary& ours, const CPDFDictionary& theirs,
                   CPDFDictionary& added);
  void add_widget(const PDF_REF& widget);
  void name_kid(const PDF_REF& parent, const PDF_REF& kid);

  MergeTarget& target_;
  CPDFXRefTable& table_;
  CPDFAcroForm form_;
  NameList tried_;      // names that were taken, as UTF-8; `num` is the number that is tried next
  NameList kid_names_;  // "parent/name" of fields below others, where some were added
  VisitedSet parents_;  // of the fields that are there
};

}  // namespace sheaf

// Filling in the form of a document: values are set by the full names of fields, and the widgets get appearances that
// show them (ISO 32000-1, 12.7), so that no reader has to make its own.
//
//   CPDFFormFiller filler(doc);
//   filler.load();
//   filler.set("person.name", "Ann");
//   filler.finish();
//   doc.save_update(PDF_SAVE_FORM::kAsFile, nullptr);   // after the old content: signatures stay valid
//
// Scripts that would format or calculate values are not run.
#pragma once

#include <cstdint>

#include "sheaf/base/heap.h"
#include "sheaf/object/object.h"

class CPDFDoc;
class CPDFAcroForm;
class CPDFAcroForm;
class CPDFField;
class CPDFFormData;

namespace sheaf {
struct FieldFacts;
}

/// What became of a value.
enum class PDF_FILL : std::int32_t {
  kDone,
  kUnchanged,   ///< The field may not be changed, and has this value already.
  kNoField,     ///< No field has this name.
  kNoKind,      ///< The field does not say of what kind it is.
  kNotOffered,  ///< A choice or a state that the field does not have.
  kOneValue,    ///< Several values for a field that takes one.
  kTooLong,     ///< More characters than the field takes.
  kPassword,    ///< Passwords are never stored in a document.
  kPushButton,  ///< Push buttons have no value.
  kSignature,   ///< Signature fields are not filled but signed.
  kReadOnly,    ///< The field is read-only.
  kLocked,      ///< A signature of the document locks the field.
  kCertified,   ///< The document's certification forbids every change.
  kNoMemory,
};

/// What a field is and takes.
struct PDF_FIELD_TRAITS {
  /// "text", "check box", "radio group", "combo box", "list box", "push button", "signature", or "".
  const char* kind = "";
  bool read_only = false;
  bool required = false;
  bool locked = false;         ///< By a signature or a certification of the document.
  bool multi_line = false;     ///< A text may have several lines.
  bool takes_several = false;  ///< Several values at once.
  bool takes_any = false;      ///< Any text, besides what is offered.
  std::int32_t max_len = 0;    ///< Most characters of a text; 0: no limit.
};

class CPDFFormFiller {
public:
  /// `doc` is open and outlives this.
  explicit CPDFFormFiller(CPDFDoc& doc) : doc_(doc) {}
  CPDFFormFiller(const CPDFFormFiller&) = delete;
  CPDFFormFiller& operator=(const CPDFFormFiller&) = delete;
  ~CPDFFormFiller();

  /// Reads the form. False when the document has none or there is no memory; nothing else may be called then.
  bool load();
  /// Read-only fields are filled all the same from now on. What signatures lock stays locked.
  void fill_read_only(bool flag) { fills_read_only_ = flag; }
  /// A font to ask before the common ones for what a field's own font cannot say: a family, full or PostScript
  /// name. False when the system and the table's environment know none of that name.
  bool add_font(const char* name);

  /// Sets the value of every field of this full name. All texts are UTF-8. A field that the form does not list, but
  /// whose widgets are on the pages, joins the form.
  /// Text fields take a text. Choices take the value of an option or its shown text, and combo boxes that can be edited
  /// any text. Check boxes and radio buttons take the name of a state, with or without its slash, or the export value
  /// of a button; "Off" or "" clears them, and a check box of one state takes "true", "yes" and "on" for it as well.
  PDF_FILL set(const char* name, const char* value);
  /// The same with several values, for list boxes that take more than one. No value at all clears a list box.
  PDF_FILL set(const char* name, const char* const* values, std::int32_t count);
  /// Says what the first field of this full name is. What it offers is appended to `offers`: options by their values
  /// with the texts that they show, states of buttons by their names with their export values. False when there is no
  /// such field.
  bool describe(const char* name, PDF_FIELD_TRAITS& traits, CPDFFormData& offers);
  /// How many characters, in all values set so far, no font had; appearances show question marks in their place.
  std::int32_t missing_characters() const;

  /// To be called once, before the save. Where the form asks viewers to make its appearances, those of all other
  /// fields are made too and the request goes. A part in the XML Forms Architecture goes with the first value, as it
  /// would contradict it. False when there was no memory for all of it.
  bool finish();
  /// Makes the appearances that widgets lack, and all of text and choice fields anew where the form asks viewers for
  /// them. `finish` does so by itself in that case. False when there was no memory for all of it.
  bool draw_missing();
  /// Whether `finish` took an XML Forms part out.
  bool has_dropped_xfa() const { return dropped_xfa_; }

  /// Adds to the form, which was loaded, the fields that it does not list although their widgets are on the pages.
  /// Reads all pages. How many were added.
  static int add_loose_fields(CPDFDoc& doc, CPDFAcroForm& form);

  /// Why a value was not set, as a sentence fragment; "" for kDone.
  static const char* reason(PDF_FILL result);

private:
  struct Parts;

  bool add_loose_fields();
  PDF_FILL set_field(CPDFField& field, const char* const* values, std::int32_t count);
  PDF_FILL set_text(CPDFField& field, const sheaf::FieldFacts& facts, const char* value);
  PDF_FILL set_choice(CPDFField& field, const sheaf::FieldFacts& facts, const char* const* values, std::int32_t count);
  PDF_FILL set_button(CPDFField& field, const sheaf::FieldFacts& facts, const char* value);
  PDF_FILL refusal(const sheaf::FieldFacts& facts) const;
  PDF_FILL store_value(CPDFField& field, const sheaf::FieldFacts& facts, CPDFObj& value, CPDFObj* indices);
  bool drop_rendering_request();
  bool draw_if_needed(CPDFField& field, bool anew);

  CPDFDoc& doc_;
  Parts* parts_ = nullptr;  // what is known of the form; owned
  bool fills_read_only_ = false;
  bool dropped_xfa_ = false;
  bool changed_ = false;
};

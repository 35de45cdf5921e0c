// Signs a copy of a document twice, with two keys that it makes itself. The second signature stands
// in an update section behind the first, so that the first stays as it is and goes on covering its
// revision. `pdfsig OUT.pdf` confirms it from outside.
//
//   sign FILE.pdf [OUT.pdf]
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>

#include "self_made_signer.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/signatures/signature_writer.h"
#include "sheaf/neighbours/page/acro_form.h"

namespace {

constexpr int kSignatureRoom = 4096;  // bytes set aside for the signature

// Adds an invisible signature field with a signature dictionary; the number of that dictionary.
std::int32_t add_signature(CPDFDoc& doc, const std::string& name) {
  CPDFXRefTable& table = doc.table();
  sheaf::Cleared<CPDFDictionary> signature;
  signature.set_item_name(CPDFDictionary::sm_tag_type, "Sig");
  signature.set_item_name(CPDFDictionary::sm_tag_filter, "Adobe.PPKLite");
  signature.set_item_name("SubFilter", "adbe.pkcs7.detached");
  CPDFSignatureWriter::reserve(signature, kSignatureRoom);
  const PDF_REF value{table.alloc_obj_num(), 0};
  table.store_dict(value, &signature);

  sheaf::Cleared<CPDFDictionary> field;
  const _QVRECTF nowhere{};
  field.set_item_name(CPDFDictionary::sm_tag_subtype, "Widget");
  field.set_item_name("FT", "Sig");
  field.set_item_str("T", name.data(), static_cast<int>(name.size()));
  field.set_item_ref("V", value);
  field.set_item_rect("Rect", &nowhere);
  const PDF_REF ref{table.alloc_obj_num(), 0};
  table.store_dict(ref, &field);
  CPDFAcroForm form(table);
  form.load();
  if (form.append_field(ref) == nullptr)
    return 0;
  form.edit_dict()->set_item_int("SigFlags", 3);  // there are signatures, and changes must be appended
  return value.num;
}

bool append_bytes(void* text, const unsigned char* bytes, unsigned size) {
  static_cast<std::string*>(text)->append(reinterpret_cast<const char*>(bytes), size);
  return true;
}

// Seals the section with signature `num`, which fills in the byte range, and puts the signature over
// the bytes of that range into its place.
bool seal_and_sign(CPDFDoc& doc, std::int32_t num, const Signer& signer) {
  CPDFSignatureWriter writer(doc);
  std::string bytes;
  if (!writer.seal(PDF_SAVE_FORM::kAsFile, num) || !writer.read_signed(append_bytes, &bytes))
    return false;
  const std::string signature = signer.sign(bytes);
  std::printf("signature %d covers all %lld bytes but its own %d\n", num, doc.file_size(), 2 * kSignatureRoom + 2);
  return writer.put(reinterpret_cast<const unsigned char*>(signature.data()), signature.size());
}

}  // namespace

int main(int argc, char** argv) {
  const std::string out = argc > 2 ? argv[2] : "signed.pdf";
  std::error_code failure;
  if (argc < 2 || !std::filesystem::copy_file(argv[1], out, std::filesystem::copy_options::overwrite_existing, failure))
    return 2;
  CPDFDoc doc;
  if (!doc.open_for_update(out.c_str()) || !doc.is_readable())
    return 2;
  const bool first = seal_and_sign(doc, add_signature(doc, "Author"), Signer("The author"));
  const bool second = first && seal_and_sign(doc, add_signature(doc, "Reviewer"), Signer("The reviewer"));
  return second ? 0 : 2;
}

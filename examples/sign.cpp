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
#include "sheaf/neighbours/page/acro_form.h"

namespace {

constexpr int kSignatureRoom = 4096;    // bytes set aside for the signature
constexpr int kTenDigits = 1999999999;  // room for any offset in the byte range

// Adds an invisible signature field with a signature dictionary; the number of that dictionary.
std::int32_t add_signature(CPDFDoc& doc, const std::string& name) {
  CPDFXRefTable& table = doc.table();
  sheaf::Cleared<CPDFDictionary> signature;
  signature.set_item_name(CPDFDictionary::sm_tag_type, "Sig");
  signature.set_item_name(CPDFDictionary::sm_tag_filter, "Adobe.PPKLite");
  signature.set_item_name("SubFilter", "adbe.pkcs7.detached");
  sheaf::Cleared<CPDFArray> range;
  for (const int value : {0, kTenDigits, kTenDigits, kTenDigits})
    range.append_int(value);
  signature.set_item_arr("ByteRange", &range);
  const std::string zeros(kSignatureRoom, '\0');
  signature.set_item_str("Contents", zeros.data(), kSignatureRoom);
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

// Seals the section with signature `num`, then fills in the byte range and the signature over it.
bool seal_and_sign(CPDFDoc& doc, std::int32_t num, const Signer& signer) {
  PDF_SIGN_DATA sealed;
  sealed.num = num;
  const bool saved = num > 0 && doc.save_update(PDF_SAVE_FORM::kAsFile, &sealed);
  sealed.dict.clear();
  if (!saved)
    return false;
  CQVStream& file = *doc.table().stream;
  std::string bytes(static_cast<std::size_t>(file.GetLen()), '\0');
  file.SetPos(CQVStream::STR_SEEK_SET, 0);
  file.Read(bytes.data(), static_cast<unsigned>(bytes.size()));

  const std::size_t object = doc.table().xref_items[num].offset;  // where the sealed save has put it
  const std::size_t range = bytes.find("/ByteRange[", object) + 10;
  const std::size_t contents = bytes.find("/Contents<", object) + 9;
  const std::size_t behind = contents + 2 * kSignatureRoom + 2;
  std::string values =
      "[0 " + std::to_string(contents) + " " + std::to_string(behind) + " " + std::to_string(bytes.size() - behind);
  values.resize(bytes.find(']', range) - range, ' ');
  bytes.replace(range, values.size(), values);
  const std::string signature = signer.sign(bytes.substr(0, contents) + bytes.substr(behind));
  if (signature.empty() || signature.size() > kSignatureRoom)
    return false;
  for (std::size_t i = 0; i < signature.size(); ++i)
    std::snprintf(&bytes[contents + 1 + 2 * i], 3, "%02x", static_cast<unsigned char>(signature[i]));
  bytes[contents + 1 + 2 * signature.size()] = '0';  // where the last NUL went
  file.SetPos(CQVStream::STR_SEEK_SET, static_cast<long long>(object));
  const auto rest = static_cast<unsigned>(bytes.size() - object);
  const bool written = file.Write(bytes.data() + object, rest) == rest;
  file.Flush();
  std::printf("signature %d covers all %zu bytes but its own %d\n", num, bytes.size(), 2 * kSignatureRoom + 2);
  return written;
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

// Signature fields, and what a signature covers.
#include "sheaf/layer/signing.h"

#include <ctime>

#include "sheaf/base/heap_watch.h"
#include "sheaf/document/signatures/signature_state.h"
#include "sheaf/document/signatures/signature_writer.h"
#include "sheaf/layer/core_internal.h"
#include "sheaf/layer/document.h"
#include "sheaf/neighbours/page/acro_form.h"
#include "sheaf/neighbours/security/crypto_calls.h"

namespace sheaf {

namespace {

constexpr int kPrintAndLocked = 4 | 128;  // of an annotation (ISO 32000-1, table 165)
constexpr int kSignedAndAppendOnly = 3;   // of a form (ISO 32000-1, table 219)

std::string present_date() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  char text[32];
  gmtime_r(&now, &parts);
  std::strftime(text, sizeof(text), "D:%Y%m%d%H%M%SZ", &parts);
  return text;
}

// The first field of that name among `fields` and what is below them; null for none.
Value find_field(const Value& fields, const std::string& name, int level = 0) {
  constexpr int kMostLevels = 32;
  for (const Value& field : fields.elements()) {
    const std::string partial = field.get<std::string>("T");
    if (partial == name)
      return field;
    if (level < kMostLevels && !partial.empty() && name.compare(0, partial.size() + 1, partial + ".") == 0) {
      if (Value below = find_field(field["Kids"], name.substr(partial.size() + 1), level + 1))
        return below;
    }
  }
  return {};
}

std::string free_name(const Value& fields) {
  for (int i = 1;; ++i) {
    std::string name = "Signature" + std::to_string(i);
    if (!find_field(fields, name))
      return name;
  }
}

// A frame with the name of who signs, where the font has all its characters.
Value add_appearance(layer::Core& core, const SignatureOptions& options) {
  const Rect box{0, 0, options.rect.width(), options.rect.height()};
  const Object name(options.name);
  const PDF_String text = name.raw().as_string();
  const bool is_plain = text.len != 0 && static_cast<unsigned char>(text.data[0]) < 0x80;
  ContentAppender content;
  content.add("w", 0.5).add("re", 0.25, 0.25, box.width() - 0.5, box.height() - 0.5).add("S");
  if (is_plain) {
    const double size = std::min(12.0, box.height() / 2);
    content.add("BT").add("Tf", Name("F"), size).add("Td", 4, (box.height() - size) / 2 + size * 0.2);
    content.add("Tj", options.name).add("ET");
  }
  Value form = core.add(Object::dictionary(
      "Type", Name("XObject"), "Subtype", Name("Form"), "BBox", Object::array(0, 0, box.width(), box.height()),
      "Resources",
      Object::dictionary(
          "Font", Object::dictionary("F", Object::dictionary("Type", Name("Font"), "Subtype", Name("Type1"), "BaseFont",
                                                             Name("Helvetica"))))));
  form.write(content.data());
  return form;
}

// A field with its widget on the page, without a value. Null, with the failure noted, when it cannot be made.
Value add_field(layer::Core& core, Page page, const SignatureOptions& options, const std::string& name) {
  const Rect& rect = options.rect;
  Value field = core.add(Object::dictionary("Type", Name("Annot"), "Subtype", Name("Widget"), "FT", Name("Sig"), "T",
                                            name, "F", kPrintAndLocked, "P", Object::reference(page.number()), "Rect",
                                            Object::array(rect.left, rect.bottom, rect.right, rect.top)));
  if (rect.width() > 0 && rect.height() > 0)
    field.set("AP", Object::dictionary("N", Object::reference(add_appearance(core, options).number())));
  if (!page.object()["Annots"].is_array())
    page.object().set("Annots", Object::array());
  page.object()["Annots"].append(field);
  CPDFAcroForm form(core.finished().table());
  form.load();
  if (form.append_field({field.number(), 0}) == nullptr)
    core.note(Code::kNoMemory, "the signature field could not be put into the form");
  core.refresh();
  return field;
}

// The signature dictionary, its parts reserved. Null, with the failure noted, when there is no memory for it.
Value add_signature(layer::Core& core, const SignatureOptions& options) {
  Object signature = Object::dictionary("Type", Name("Sig"), "Filter", Name("Adobe.PPKLite"), "SubFilter",
                                        Name(options.sub_filter), "M", present_date());
  const auto say = [&signature](const char* key, const std::string& text) {
    if (!text.empty())
      signature.set(key, text);
  };
  say("Name", options.name);
  say("Reason", options.reason);
  say("Location", options.location);
  if (signature.raw().as_dict() != nullptr)
    CPDFSignatureWriter::reserve(*signature.raw().as_dict(), options.room);
  return core.add(std::move(signature));
}

Error not_allowed(const char* message, std::int32_t object = 0) {
  return layer::error_of(Code::kNotAllowed, message, object);
}

}  // namespace

// ---- sealing ----

Expected<Seal> Document::seal_signature(const SignatureOptions& options) {
  if (Expected<void> ready = begin_writing(); !ready)
    return ready.error();
  CPDFDoc& doc = core_->below();
  constexpr std::int32_t kMostRoom = 1 << 24;
  if (options.room < 1 || options.room > kMostRoom)
    return layer::error_of(Code::kBadValue, "a signature has a room of 1 byte to 16 MiB");
  const int permitted = certified_changes(doc);
  const bool has_other_changes = doc.table().new_obj_count != 0 && doc.last_save() == PDF_SAVE::kUnchanged;
  if (permitted == 1)
    return not_allowed("the certification of the document forbids every change, further signatures too");
  if (permitted != 0 && has_other_changes)
    return not_allowed("the document is certified, and other changes would be saved with the signature");
  const Page page = pages()[options.page];
  if (!page)
    return layer::error_of(Code::kNotFound, "there is no page for the signature field");
  const Value fields = root()["AcroForm"]["Fields"];
  const std::string name = options.field.empty() ? free_name(fields) : options.field;
  Value field = find_field(fields, name);
  if (field && (!field["FT"].is_name("Sig") || field.has("V")))
    return not_allowed("the field of that name is no signature field, or is signed already", field.number());
  if (!field && name.find('.') != std::string::npos)
    return layer::error_of(Code::kBadValue, "the name of a new signature field has no period");
  const HeapWatch watch;
  if (!field)
    field = add_field(*core_, page, options, name);

  const Value value = add_signature(*core_, options);
  field.set("V", value);
  root()["AcroForm"].set("SigFlags", kSignedAndAppendOnly);
  if (!watch.all_granted()) {
    core_->note(Code::kNoMemory, "there is no memory for the signature field", field.number());
    return core_->trouble();
  }
  if (Expected<void> ready = begin_saving(); !ready)
    return ready.error();
  auto writer = std::make_unique<CPDFSignatureWriter>(doc);
  const bool sealed = writer->seal(PDF_SAVE_FORM::kAsFile, value.number());
  core_->renew_streams();
  if (!sealed)
    return layer::error_of(doc.last_save() == PDF_SAVE::kFileChanged ? Code::kFileChanged : Code::kNotWritten,
                           "the section with the signature could not be written", value.number());
  return Seal(core_, std::move(writer));
}

// ---- the seal ----

Seal::Seal(layer::CoreRef core, std::unique_ptr<CPDFSignatureWriter> writer)
    : core_(std::move(core)), writer_(std::move(writer)) {}
Seal::Seal(Seal&&) noexcept = default;
Seal& Seal::operator=(Seal&&) noexcept = default;
Seal::~Seal() = default;

std::array<std::int64_t, 4> Seal::byte_range() const {
  const long long* const range = writer_->byte_range();
  return {range[0], range[1], range[2], range[3]};
}

Expected<void> Seal::digest(const std::function<void(std::span<const std::uint8_t>)>& take) const {
  if (!core_->is_open())
    return core_->trouble();
  const auto hand_on = [](void* context, const unsigned char* bytes, unsigned size) {
    (*static_cast<const std::function<void(std::span<const std::uint8_t>)>*>(context))({bytes, size});
    return true;
  };
  if (writer_->read_signed(hand_on, const_cast<void*>(static_cast<const void*>(&take))))
    return {};
  return layer::error_of(Code::kNoFile, "the bytes to be signed cannot be read");
}

Expected<std::array<std::uint8_t, 32>> Seal::sha256() const {
  std::array<std::uint8_t, 32> result{};
  if (!has_crypto())
    return layer::error_of(Code::kUnsupported, "libcrypto cannot be loaded, which makes digests");
  const std::unique_ptr<EVP_MD_CTX, decltype(&::EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
  if (context == nullptr || EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1)
    return layer::error_of(Code::kNoMemory, "there is no memory for a digest");
  const Expected<void> read = digest(
      [&context](std::span<const std::uint8_t> bytes) { EVP_DigestUpdate(context.get(), bytes.data(), bytes.size()); });
  if (!read)
    return read.error();
  if (EVP_DigestFinal_ex(context.get(), result.data(), nullptr) != 1)
    return layer::error_of(Code::kNoMemory, "there is no memory for a digest");
  return result;
}

Expected<void> Seal::write(std::span<const std::uint8_t> signature) {
  if (!core_->is_open())
    return core_->trouble();
  if (writer_->put(signature.data(), signature.size()))
    return {};
  return layer::error_of(Code::kBadValue, "the signature does not fit into its room, or could not be written");
}

}  // namespace sheaf

// Forms, attachments, images and signatures for C.
#include "sheaf/c/handles_internal.h"

using namespace sheaf;
using namespace sheaf::c;

namespace {

// Attachment `index` of the document, counted by name.
sheaf_code with_attachment(sheaf_document* doc, std::int32_t index, sheaf_data** out, bool wants_data) {
  if (doc == nullptr || out == nullptr)
    return missing_argument();
  const Attachments files = doc->document.attachments();
  if (index < 0 || static_cast<std::size_t>(index) >= files.size())
    return fail(Code::kNotFound, "there is no such attachment");
  const Attachment& file = files.begin()[index];
  return wants_data ? hand_out_data(out, file.data()) : hand_out_text(out, file.name());
}

}  // namespace

extern "C" {

// ---- form ----

int32_t sheaf_field_count(sheaf_document* doc) {
  return doc != nullptr ? static_cast<int32_t>(doc->document.form().fields().size()) : 0;
}

sheaf_code sheaf_field_name(sheaf_document* doc, int32_t index, sheaf_data** out) {
  if (doc == nullptr || out == nullptr)
    return missing_argument();
  const std::vector<Field> fields = doc->document.form().fields();
  if (index < 0 || static_cast<std::size_t>(index) >= fields.size())
    return fail(Code::kNotFound, "there is no such field");
  return hand_out_text(out, fields[static_cast<std::size_t>(index)].name());
}

sheaf_code sheaf_field_value(sheaf_document* doc, const char* name, sheaf_data** out) {
  if (doc == nullptr || name == nullptr || out == nullptr)
    return missing_argument();
  return hand_out_text(out, doc->document.form().field(name).value());
}

sheaf_code sheaf_field_set(sheaf_document* doc, const char* name, const char* value) {
  if (doc == nullptr || name == nullptr || value == nullptr)
    return missing_argument();
  return report(doc->document.form().field(name).set(std::string(value)));
}

sheaf_code sheaf_flatten(sheaf_document* doc, int32_t all) {
  if (doc == nullptr)
    return missing_argument();
  const Expected<FlattenReport> result = doc->document.flatten(all != 0 ? Flatten::kAnnotations : Flatten::kForm);
  return result ? done() : fail(result.error());
}

// ---- attachments ----

int32_t sheaf_attachment_count(sheaf_document* doc) {
  return doc != nullptr ? static_cast<int32_t>(doc->document.attachments().size()) : 0;
}

sheaf_code sheaf_attachment_name(sheaf_document* doc, int32_t index, sheaf_data** out) {
  return with_attachment(doc, index, out, false);
}

sheaf_code sheaf_attachment_data(sheaf_document* doc, int32_t index, sheaf_data** out) {
  return with_attachment(doc, index, out, true);
}

sheaf_code sheaf_attachment_remove(sheaf_document* doc, const char* name) {
  return doc != nullptr && name != nullptr ? report(doc->document.attachments().remove(name)) : missing_argument();
}

sheaf_code sheaf_attach_file(sheaf_document* doc, const char* path) {
  return doc != nullptr && path != nullptr ? report(doc->document.attachments().add(std::string(path)))
                                           : missing_argument();
}

sheaf_code sheaf_attach(sheaf_document* doc, const char* name, const void* bytes, size_t count, const char* mime_type) {
  if (doc == nullptr || name == nullptr || (bytes == nullptr && count != 0))
    return missing_argument();
  const std::span<const std::uint8_t> view(static_cast<const std::uint8_t*>(bytes), count);
  return report(doc->document.attachments().add(name, view, text_of(mime_type)));
}

// ---- images ----

sheaf_code sheaf_images_begin(sheaf_document* doc, sheaf_images** out) {
  if (doc == nullptr || out == nullptr)
    return missing_argument();
  *out = new (std::nothrow) sheaf_images(doc->document.images());
  return *out != nullptr ? done() : fail(Code::kNoMemory, "there is no memory for a handle");
}

int32_t sheaf_images_next(sheaf_images* images, sheaf_image_info* info) {
  if (images == nullptr || (images->at && *images->at == images->images.end()))
    return 0;
  if (images->at)
    ++*images->at;
  else
    images->at.emplace(images->images.begin());
  if (*images->at == images->images.end())
    return 0;
  const Image& image = **images->at;
  const sheaf_image_info all{sizeof(sheaf_image_info), image.number(), image.width(),
                             image.height(),           image.bits(),   image.is_mask() ? 1 : 0};
  if (info != nullptr) {
    const std::size_t size = std::min(info->size, sizeof(all));
    std::memcpy(info, &all, size);
    info->size = size;
  }
  return 1;
}

sheaf_code sheaf_images_save(const sheaf_images* images, const char* folder, sheaf_data** path) {
  if (images == nullptr || !images->at || folder == nullptr || path == nullptr)
    return missing_argument();
  const Expected<std::string> saved = (**images->at).save(folder);
  return saved ? hand_out_text(path, *saved) : fail(saved.error());
}

sheaf_code sheaf_images_encoded(const sheaf_images* images, sheaf_data** out) {
  if (images == nullptr || !images->at || out == nullptr)
    return missing_argument();
  return hand_out_data(out, (**images->at).encoded());
}

void sheaf_images_free(sheaf_images* images) {
  delete images;
}

// ---- signing ----

sheaf_code sheaf_seal_signature(sheaf_document* doc, const sheaf_signature_options* given, sheaf_seal** out) {
  if (doc == nullptr || out == nullptr)
    return missing_argument();
  const sheaf_signature_options known = known_part(given);
  SignatureOptions options;
  options.page = known.page;
  if (known.room != 0)
    options.room = known.room;
  options.rect = {known.rect.left, known.rect.bottom, known.rect.right, known.rect.top};
  options.field = text_of(known.field);
  options.name = text_of(known.name);
  options.reason = text_of(known.reason);
  options.location = text_of(known.location);
  if (known.sub_filter != nullptr)
    options.sub_filter = known.sub_filter;
  Expected<Seal> seal = doc->document.seal_signature(options);
  return seal ? hand_out(out, std::move(*seal)) : fail(seal.error());
}

sheaf_code sheaf_seal_range(const sheaf_seal* seal, int64_t range[4]) {
  if (seal == nullptr || range == nullptr)
    return missing_argument();
  const std::array<std::int64_t, 4> found = seal->seal.byte_range();
  std::copy(found.begin(), found.end(), range);
  return done();
}

sheaf_code sheaf_seal_sha256(const sheaf_seal* seal, uint8_t digest[32]) {
  if (seal == nullptr || digest == nullptr)
    return missing_argument();
  const auto found = seal->seal.sha256();
  if (!found)
    return fail(found.error());
  std::copy(found->begin(), found->end(), digest);
  return done();
}

sheaf_code sheaf_seal_digest(const sheaf_seal* seal, void (*take)(void* context, const void* bytes, size_t count),
                             void* context) {
  if (seal == nullptr || take == nullptr)
    return missing_argument();
  return report(seal->seal.digest(
      [take, context](std::span<const std::uint8_t> bytes) { take(context, bytes.data(), bytes.size()); }));
}

sheaf_code sheaf_seal_write(sheaf_seal* seal, const void* signature, size_t count) {
  if (seal == nullptr || signature == nullptr)
    return missing_argument();
  return report(seal->seal.write({static_cast<const std::uint8_t*>(signature), count}));
}

void sheaf_seal_free(sheaf_seal* seal) {
  delete seal;
}

}  // extern "C"

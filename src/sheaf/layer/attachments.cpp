// The document information and the embedded files.
#include <algorithm>
#include <limits>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/attachments/attachments.h"
#include "sheaf/document/names/name_tree.h"
#include "sheaf/layer/core_internal.h"
#include "sheaf/layer/new_file_internal.h"
#include "sheaf/layer/parts.h"
#include "sheaf/object/text_utf8.h"

namespace sheaf {

namespace {

std::string text_of(const CPDFObj& string) {
  std::size_t len = 0;
  const HeapBlock<char> utf8(text_to_utf8(string.as_string(), len));
  return utf8 ? std::string(utf8.get(), len) : std::string();
}

}  // namespace

// ---- information ----

std::string Info::get(const char* key) const {
  return core_->info(false).get<std::string>(key);
}

bool Info::set(const char* key, std::string_view text) {
  if (!core_->is_open())
    return core_->note(Code::kClosed, "the document is closed");
  const std::string utf8(text);
  const bool done = core_->updated_doc().set_info(key, utf8.c_str());
  core_->refresh_touched();
  return done || core_->note(Code::kNoMemory, "the document information could not be changed");
}

// ---- one attachment ----

std::string Attachment::file_name() const {
  const std::string& name = path_.empty() ? name_ : path_;
  const std::size_t slash = name.find_last_of("/\\");
  return slash == std::string::npos ? name : name.substr(slash + 1);
}

Expected<void> Attachment::save(const std::string& path) const {
  const Expected<Data> bytes = data();
  return bytes ? layer::write_file(path, bytes->data(), bytes->size()) : Expected<void>(bytes.error());
}

// ---- all of them ----

Attachments::Attachments(layer::CoreRef core) : core_(std::move(core)) {
  collect();
}

void Attachments::collect() {
  files_.clear();
  if (!core_->is_open())
    return;
  CPDFAttachments list;
  if (!list.load(core_->updated_doc()))
    core_->note(Code::kNoMemory, "there is no memory for the list of embedded files");
  core_->refresh_touched();
  const auto text = [](const char* utf8) { return std::string(utf8 != nullptr ? utf8 : ""); };
  const auto value = [this](const PDF_REF& ref) { return ref.num > 0 ? core_->object(ref.num) : Value(); };
  for (std::int32_t i = 0; i < list.size(); ++i) {
    const PDF_ATTACHMENT& found = list.at(i);
    Attachment file;
    file.path_ = text(found.name);
    file.name_ = found.key.tag == kTagString ? text_of(found.key) : file.path_;
    file.description_ = text(found.description);
    file.mime_type_ = text(found.type);
    file.created_ = text(found.created);
    file.modified_ = text(found.modified);
    file.page_ = found.page;
    file.stream_ = value(found.stream);
    file.spec_ = value(found.spec);
    files_.push_back(std::move(file));
  }
}

Expected<void> Attachments::remove(std::string_view name) {
  if (const Error trouble = core_->trouble(); trouble.code != Code::kNone)
    return trouble;
  const Attachment* const file = find(name);
  if (file == nullptr)
    return layer::error_of(Code::kNotFound, "the document has no file " + std::string(name));
  CPDFAttachments list;
  CPDFDoc& doc = core_->finished();
  const auto index = static_cast<std::int32_t>(file - files_.data());
  const bool done = list.load(doc) && index < list.size() && list.remove(doc, index);
  core_->refresh_touched();
  collect();
  return done ? Expected<void>()
              : Expected<void>(layer::error_of(Code::kDamaged, "the list of embedded files cannot be changed"));
}

const Attachment* Attachments::find(std::string_view name) const {
  const auto found = std::find_if(begin(), end(), [name](const Attachment& file) { return file.name() == name; });
  return found != end() ? &*found : nullptr;
}

Expected<void> Attachments::add(const std::string& path) {
  if (!core_->is_open())
    return core_->trouble();
  CPDFDoc& doc = core_->finished();
  if (!doc.attach(path.c_str())) {
    const bool too_large = doc.table().file_too_large != 0;
    return layer::error_of(too_large ? Code::kTooLarge : Code::kNoFile,
                           path + (too_large ? " has 2 GiB or more" : " cannot be read or embedded"));
  }
  core_->refresh_touched();
  collect();
  return {};
}

Expected<void> Attachments::add(std::string_view name, std::span<const std::uint8_t> bytes,
                                std::string_view mime_type) {
  if (const Error trouble = core_->trouble(); trouble.code != Code::kNone)
    return trouble;
  if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
    return layer::error_of(Code::kTooLarge, "an embedded file has less than 2 GiB");
  const HeapWatch watch;
  Object about = Object::dictionary("Type", Name("EmbeddedFile"), "Params",
                                    Object::dictionary("Size", static_cast<std::int64_t>(bytes.size())));
  if (!mime_type.empty())
    about.set("Subtype", Name(mime_type));
  Value file = core_->add(std::move(about));
  file.write({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  const Value spec = core_->add(Object::dictionary(
      "Type", Name("Filespec"), "F", name, "UF", name, "EF",
      Object::dictionary("F", Object::reference(file.number()), "UF", Object::reference(file.number()))));
  Value root = core_->root();
  if (!root["Names"].is_dictionary())
    root.set("Names", Object::dictionary());
  Value names = root["Names"];
  Object tree = names["EmbeddedFiles"].is_dictionary() ? Object(names["EmbeddedFiles"]) : Object::dictionary();
  Object key(name);
  PDF_String key_text{0, nullptr};
  std::swap(key_text.data, key.raw().data);
  key_text.len = key.raw().as_string().len;
  const bool done = tree.raw().as_dict() != nullptr &&
                    name_tree_insert(core_->updated_doc().table(), *tree.raw().as_dict(), key_text, {spec.number(), 0});
  QVFree(key_text.data);
  core_->refresh_touched();
  if (!watch.all_granted())
    return layer::error_of(Code::kNoMemory, "there is no memory for the file");
  if (!done || !names.set("EmbeddedFiles", std::move(tree)))
    return layer::error_of(Code::kDamaged, "the list of embedded files is damaged");
  collect();
  return core_->trouble().code != Code::kNone ? Expected<void>(core_->trouble()) : Expected<void>();
}

}  // namespace sheaf

// The document information and the embedded files.
#include <algorithm>
#include <limits>
#include <unordered_set>

#include "sheaf/document/names/name_tree.h"
#include "sheaf/layer/core_internal.h"
#include "sheaf/layer/new_file_internal.h"
#include "sheaf/layer/parts.h"

namespace sheaf {

// ---- information ----

std::string Info::get(const char* key) const {
  return core_->info(false).get<std::string>(key);
}

bool Info::set(const char* key, std::string_view text) {
  if (!core_->is_open())
    return core_->note(Code::kClosed, "the document is closed");
  const std::string utf8(text);
  const bool done = core_->settled().set_info(key, utf8.c_str());
  core_->refresh();
  return done || core_->note(Code::kNoMemory, "the document information could not be changed");
}

// ---- one attachment ----

std::string Attachment::file_name() const {
  std::string name = spec_.has("UF") ? spec_.get<std::string>("UF") : spec_.get<std::string>("F");
  if (name.empty())
    name = name_;
  const std::size_t slash = name.find_last_of("/\\");
  return slash == std::string::npos ? name : name.substr(slash + 1);
}

Value Attachment::stream() const {
  const Value files = spec_["EF"];
  return files.has("UF") ? files["UF"] : files["F"];
}

Expected<void> Attachment::save(const std::string& path) const {
  const Expected<Data> bytes = data();
  return bytes ? layer::write_file(path, bytes->data(), bytes->size()) : Expected<void>(bytes.error());
}

// ---- all of them ----

Attachments::Attachments(layer::CoreRef core) : core_(std::move(core)) {
  collect();
}

// The leaves of the name tree, in order. A node is looked at once, so that loops do no harm.
void Attachments::collect() {
  files_.clear();
  std::vector<Value> waiting{core_->root()["Names"]["EmbeddedFiles"]};
  std::unordered_set<std::int32_t> seen;
  while (!waiting.empty()) {
    const Value node = waiting.back();
    waiting.pop_back();
    if (node.is_object() && !seen.insert(node.number()).second)
      continue;
    const Value names = node["Names"];
    for (std::int32_t i = 0; i + 1 < names.size(); i += 2) {
      if (names[i].is_string() && names[i + 1].is_dictionary())
        files_.emplace_back(names[i].text(), names[i + 1]);
    }
    const Value kids = node["Kids"];
    for (std::int32_t i = kids.is_array() ? kids.size() : 0; i-- > 0;) {
      if (kids.reference(i) != 0)
        waiting.push_back(kids[i]);
    }
  }
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
  core_->refresh();
  collect();
  return {};
}

Expected<void> Attachments::add(std::string_view name, std::span<const std::uint8_t> bytes,
                                std::string_view mime_type) {
  if (const Error trouble = core_->trouble(); trouble.code != Code::kNone)
    return trouble;
  if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
    return layer::error_of(Code::kTooLarge, "an embedded file has less than 2 GiB");
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
                    name_tree_insert(core_->settled().table(), *tree.raw().as_dict(), key_text, {spec.number(), 0});
  QVFree(key_text.data);
  core_->refresh();
  if (!done || !names.set("EmbeddedFiles", std::move(tree)))
    return layer::error_of(Code::kDamaged, "the list of embedded files is damaged");
  collect();
  return core_->trouble().code != Code::kNone ? Expected<void>(core_->trouble()) : Expected<void>();
}

}  // namespace sheaf

// Opening, saving and closing for C; errors, bytes, and what a document says of itself.
#include "sheaf/base/heap.h"
#include "sheaf/c/handles_internal.h"
#include "sheaf/version.h"

using namespace sheaf;
using namespace sheaf::c;

static_assert(static_cast<int>(Code::kClosed) == SHEAF_CLOSED && static_cast<int>(Kind::kStream) == SHEAF_STREAM);

namespace sheaf::c {

namespace {

struct LastError {
  Error error;
  sheaf_error shown{sizeof(sheaf_error), SHEAF_OK, 0, -1, ""};
};
thread_local LastError last_error;

}  // namespace

sheaf_code fail(const Error& error) {
  last_error.error = error;
  const auto code = static_cast<sheaf_code>(error.code);
  last_error.shown = {sizeof(sheaf_error), code, error.object, error.offset, last_error.error.message.c_str()};
  return code;
}

sheaf_code fail(Code code, const char* message) {
  return fail(Error{code, 0, -1, message});
}

sheaf_code done() {
  last_error.shown = {sizeof(sheaf_error), SHEAF_OK, 0, -1, ""};
  return SHEAF_OK;
}

namespace {

OpenOptions open_options(const sheaf_open_options* given) {
  const sheaf_open_options known = known_part(given);
  OpenOptions options;
  options.password = text_of(known.password);
  if (known.progress != nullptr) {
    options.progress = [known](const Progress& state) {
      return known.progress(known.progress_context, state.what, state.done, state.total) != 0;
    };
  }
  return options;
}

SaveOptions save_options(const sheaf_save_options* given) {
  const sheaf_save_options known = known_part(given);
  SaveOptions options;
  options.decrypt = known.decrypt != 0;
  options.object_streams = static_cast<ObjectStreams>(known.object_streams);
  options.streams = static_cast<StreamData>(known.streams);
  options.recompress = known.recompress;
  options.linearize = known.linearize != 0;
  options.share_equals = known.share_equals != 0;
  options.remove_unused_resources = known.remove_unused_resources != 0;
  options.renumber = known.renumber != 0;
  options.min_version = text_of(known.min_version);
  if (known.encrypt != 0) {
    Encryption keys;
    keys.user_password = text_of(known.user_password);
    keys.owner_password = text_of(known.owner_password);
    keys.permissions = known.permissions != 0 ? known.permissions : UINT32_MAX;
    keys.cipher = static_cast<Cipher>(known.cipher);
    options.encrypt = keys;
  }
  return options;
}

Storage storage_of(const sheaf_storage* given) {
  const sheaf_storage known = known_part(given);
  Storage storage;
  if (known.read != nullptr)
    storage.read = [known](std::uint64_t at, std::uint8_t* to, std::size_t count) {
      return known.read(known.context, at, to, count);
    };
  if (known.length != nullptr)
    storage.size = [known] { return known.length(known.context); };
  if (known.write != nullptr)
    storage.write = [known](std::uint64_t at, const std::uint8_t* from, std::size_t count) {
      return known.write(known.context, at, from, count);
    };
  return storage;
}

sheaf_code hand_out_document(sheaf_document** out, Expected<Document> document) {
  return document ? hand_out(out, std::move(*document)) : fail(document.error());
}

}  // namespace

}  // namespace sheaf::c

extern "C" {

const char* sheaf_version_text(void) {
  return SHEAF_VERSION;
}

const sheaf_error* sheaf_last_error(void) {
  return &last_error.shown;
}

sheaf_code sheaf_set_heap(const sheaf_heap* heap) {
  if (heap == nullptr) {
    set_heap_hooks(nullptr);
    return done();
  }
  const sheaf_heap known = known_part(heap);
  if (known.alloc == nullptr || known.realloc == nullptr || known.free == nullptr)
    return missing_argument();
  const QVHeapHooks hooks{known.alloc, known.realloc, known.free, known.context};
  set_heap_hooks(&hooks);
  return done();
}

// ---- opening ----

sheaf_code sheaf_open(const char* path, const sheaf_open_options* options, sheaf_document** out) {
  if (path == nullptr || out == nullptr)
    return missing_argument();
  return hand_out_document(out, Document::open(std::string(path), open_options(options)));
}

sheaf_code sheaf_open_memory(const void* bytes, size_t count, const sheaf_open_options* options, sheaf_document** out) {
  if (bytes == nullptr || out == nullptr)
    return missing_argument();
  const std::span<const std::uint8_t> view(static_cast<const std::uint8_t*>(bytes), count);
  return hand_out_document(out, Document::open(view, open_options(options)));
}

sheaf_code sheaf_open_storage(const sheaf_storage* storage, const sheaf_open_options* options, sheaf_document** out) {
  if (storage == nullptr || out == nullptr)
    return missing_argument();
  return hand_out_document(out, Document::open(storage_of(storage), open_options(options)));
}

sheaf_code sheaf_create(sheaf_document** out) {
  return out != nullptr ? hand_out_document(out, Document::create()) : missing_argument();
}

void sheaf_close(sheaf_document* doc) {
  delete doc;
}

// ---- saving ----

sheaf_code sheaf_save_update(sheaf_document* doc) {
  return doc != nullptr ? report(doc->document.save_update()) : missing_argument();
}

sheaf_code sheaf_save_as(sheaf_document* doc, const char* path, const sheaf_save_options* options) {
  if (doc == nullptr || path == nullptr)
    return missing_argument();
  return report(doc->document.save_as(std::string(path), save_options(options)));
}

sheaf_code sheaf_save_storage(sheaf_document* doc, const sheaf_storage* target, const sheaf_save_options* options) {
  if (doc == nullptr || target == nullptr)
    return missing_argument();
  return report(doc->document.save_as(storage_of(target), save_options(options)));
}

sheaf_code sheaf_save_memory(sheaf_document* doc, const sheaf_save_options* options, sheaf_data** out) {
  if (doc == nullptr || out == nullptr)
    return missing_argument();
  return hand_out_data(out, doc->document.save_to_memory(save_options(options)));
}

// ---- what it says of itself ----

int32_t sheaf_is_encrypted(sheaf_document* doc) {
  return doc != nullptr && doc->document.is_encrypted() ? 1 : 0;
}

int32_t sheaf_signature_count(sheaf_document* doc) {
  return doc != nullptr ? doc->document.signature_count() : 0;
}

int32_t sheaf_repair_count(sheaf_document* doc) {
  return doc != nullptr ? static_cast<int32_t>(doc->document.repairs().size()) : 0;
}

sheaf_code sheaf_repair(sheaf_document* doc, int32_t index, sheaf_data** out) {
  if (doc == nullptr || out == nullptr)
    return missing_argument();
  const std::vector<Repair> list = doc->document.repairs();
  if (index < 0 || static_cast<std::size_t>(index) >= list.size())
    return fail(Code::kNotFound, "there is no such repair");
  const Repair& repair = list[static_cast<std::size_t>(index)];
  return hand_out_text(out, repair.code + ": " + repair.action + " (object " + std::to_string(repair.object) +
                                ", offset " + std::to_string(repair.offset) + ")");
}

sheaf_code sheaf_info(sheaf_document* doc, const char* key, sheaf_data** out) {
  if (doc == nullptr || key == nullptr || out == nullptr)
    return missing_argument();
  return hand_out_text(out, doc->document.info().get(key));
}

sheaf_code sheaf_set_info(sheaf_document* doc, const char* key, const char* text) {
  if (doc == nullptr || key == nullptr || text == nullptr)
    return missing_argument();
  return report(doc->document.info().set(key, text), doc->document);
}

// ---- bytes ----

const void* sheaf_data_bytes(const sheaf_data* data) {
  if (data == nullptr)
    return nullptr;
  return data->data.data() != nullptr ? static_cast<const void*>(data->data.data()) : data->text.c_str();
}

size_t sheaf_data_size(const sheaf_data* data) {
  if (data == nullptr)
    return 0;
  return data->data.data() != nullptr ? data->data.size() : data->text.size();
}

void sheaf_data_free(sheaf_data* data) {
  delete data;
}

}  // extern "C"

// Opening and saving.
#include "sheaf/layer/document.h"

#include <algorithm>
#include <limits>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/forms/flattener.h"
#include "sheaf/document/signatures/signature_state.h"
#include "sheaf/document/writer/doc_writer.h"
#include "sheaf/layer/core_internal.h"
#include "sheaf/layer/new_file_internal.h"
#include "sheaf/layer/new_keys_internal.h"

namespace sheaf {

namespace {

using Outcome = CPDFStandardSecHand::Outcome;

Error open_error(const CPDFDoc& doc, const std::string& name) {
  switch (doc.status()) {
    case PDF_OPEN::kNoFile:
      return layer::error_of(Code::kNoFile, name + " cannot be opened or read");
    case PDF_OPEN::kEmpty:
      return layer::error_of(Code::kEmpty, name + " is empty");
    case PDF_OPEN::kNoMemory:
      return layer::error_of(Code::kNoMemory, "there is no memory to open " + name);
    case PDF_OPEN::kTooLarge:
      return layer::error_of(Code::kTooLarge, name + " has 4 GiB or more");
    default:
      return layer::error_of(Code::kDamaged, "no document was found in " + name);
  }
}

Error password_error(const CPDFDoc& doc, const std::string& name) {
  switch (doc.handler().outcome()) {
    case Outcome::kNeedsPassword:
      return layer::error_of(Code::kNeedsPassword, name + " needs a password");
    case Outcome::kWrongPassword:
      return layer::error_of(Code::kWrongPassword, "the password for " + name + " is wrong");
    case Outcome::kDamagedDictionary:
      return layer::error_of(Code::kDamaged, "the encryption dictionary of " + name + " is damaged");
    case Outcome::kNoCipher:
      return layer::error_of(Code::kUnsupported, name + " is encrypted by AES, and libcrypto cannot be loaded");
    default:
      return layer::error_of(Code::kUnsupported, name + " is encrypted in a way that is not known");
  }
}

Error save_error(CPDFDoc& doc) {
  switch (doc.last_save()) {
    case PDF_SAVE::kFileChanged:
      return layer::error_of(Code::kFileChanged, "another program has changed the file since it was opened");
    case PDF_SAVE::kShort: {
      const long long end = doc.sound_end();
      doc.undo_failed_save();
      return layer::error_of(Code::kNotWritten, "the changes could not be written to their end", 0, end);
    }
    default:
      return layer::error_of(Code::kNoMemory, "the document cannot be saved");
  }
}

bool wants_writer(const SaveOptions& options) {
  return options.object_streams != ObjectStreams::kPreserve || options.streams != StreamData::kPreserve ||
         options.recompress != 0 || options.linearize || options.share_equals || options.remove_unused_resources ||
         options.renumber || !options.min_version.empty();
}

const char* const kNotWritten = "the new file could not be written to its end";

Expected<void> write_plain(CPDFDoc& doc, CPDFXRefTable& target, CPDFEncrypt* keys) {
  doc.save_complete(target, keys);
  if (target.write_failed != 0 || target.xref_items == nullptr)
    return layer::error_of(Code::kNotWritten, kNotWritten);
  return {};
}

Expected<void> write_as_asked(CPDFDoc& doc, CPDFXRefTable& target, CPDFEncrypt* keys, const SaveOptions& options) {
  PDF_WRITE_OPTIONS wanted;
  wanted.object_streams = static_cast<PDF_OBJECT_STREAMS>(options.object_streams);
  wanted.stream_data = static_cast<PDF_STREAM_DATA>(options.streams);
  wanted.recompress = std::clamp(options.recompress, 0, PDF_WRITE_OPTIONS::kMostEffort);
  wanted.linearize = options.linearize;
  wanted.share_equals = options.share_equals;
  wanted.remove_unused_resources = options.remove_unused_resources;
  wanted.renumber = options.renumber;
  options.min_version.copy(wanted.min_version, sizeof(wanted.min_version) - 1);
  CPDFDocWriter writer(doc);
  writer.set_id(target.id);
  if (!writer.write(*target.stream, keys, wanted))
    return layer::error_of(Code::kNotWritten, kNotWritten);
  if (const std::int64_t lost = writer.result().unreadable; lost != 0)
    return layer::error_of(Code::kDamaged,
                           std::to_string(lost) + " streams cannot be read, and the new file lacks them");
  return {};
}

}  // namespace

// ---- opening ----

Expected<Document> Document::open_stream(layer::CoreRef core, CQVStream* stream, const OpenOptions& options) {
  CPDFDoc& doc = core->below();
  const std::string name = core->path.empty() ? "the document" : core->path;
  core->progress = options.progress;
  doc.set_password(options.password.c_str());
  layer::Task task(*core, "open");
  const bool opened = stream != nullptr ? doc.open(stream) : doc.open(core->path.c_str());
  if (task.is_stopped())
    return layer::error_of(Code::kCancelled, "opening was stopped");
  if (!opened)
    return open_error(doc, name);
  if (!doc.is_readable() && !doc.has_lost_encryption())
    return password_error(doc, name);
  core->set_open();
  return Document(std::move(core));
}

Expected<Document> Document::open(const std::string& path, const OpenOptions& options) {
  layer::CoreRef core(new layer::Core);
  core->path = path;
  return open_stream(std::move(core), nullptr, options);
}

Expected<Document> Document::open(std::span<const std::uint8_t> bytes, const OpenOptions& options) {
  if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
    return layer::error_of(Code::kTooLarge, "a document in memory has less than 2 GiB");
  layer::CoreRef core(new layer::Core);
  auto stream = std::make_unique<CQVStreamMemFix>();
  // The view is never written to: such a document is saved as a new one.
  stream->Open(const_cast<std::uint8_t*>(bytes.data()), static_cast<int>(bytes.size()));
  core->memory = std::move(stream);
  CQVStream* const source = core->memory.get();
  return open_stream(std::move(core), source, options);
}

Expected<Document> Document::open(std::vector<std::uint8_t>&& bytes, const OpenOptions& options) {
  std::vector<std::uint8_t> owned = std::move(bytes);
  Expected<Document> opened = open(std::span<const std::uint8_t>(owned), options);
  if (opened)
    opened->core_->bytes = std::move(owned);  // which stay where they are
  return opened;
}

Expected<Document> Document::open(Storage storage, const OpenOptions& options) {
  layer::CoreRef core(new layer::Core);
  core->storage = std::make_unique<layer::StorageStream>(std::move(storage));
  CQVStream* const source = core->storage.get();
  return open_stream(std::move(core), source, options);
}

Expected<Document> Document::create() {
  layer::CoreRef core(new layer::Core);
  core->memory = std::make_unique<CQVStreamMem>();
  if (!core->below().create(core->memory.get()))
    return layer::error_of(Code::kNoMemory, "there is no memory for a new document");
  core->set_open();
  return Document(std::move(core));
}

Document& Document::operator=(Document&& other) noexcept {
  std::swap(core_, other.core_);
  return *this;
}

Document::~Document() {
  close();
}

void Document::close() {
  if (core_.get() != nullptr && core_->is_open())
    core_->close();
}

// ---- what it has ----

Objects::Objects(layer::CoreRef core) : core_(std::move(core)) {
  if (!core_->is_open())
    return;
  core_->table().drain_pending();
  end_ = object_num(core_->table().xref_count);
}

Value Objects::at(std::int32_t index) const {
  return core_->object(index);
}

Value Document::root() const {
  return core_->root();
}

Value Document::object(std::int32_t number) const {
  return core_->object(number);
}

Value Document::add(Object value) {
  return core_->add(std::move(value));
}

Value Document::add_stream(std::string_view data, Object dictionary, Coding coding) {
  Value stream = core_->add(dictionary.raw().as_dict() != nullptr ? std::move(dictionary) : Object::dictionary());
  stream.write(data, coding);
  return stream;
}

Expected<FlattenReport> Document::flatten(Flatten what) {
  if (const Error trouble = core_->trouble(); trouble.code != Code::kNone)
    return trouble;
  layer::Task task(*core_, "flatten");
  CPDFFlattener flattener(core_->finished());
  const bool done = flattener.run(what == Flatten::kForm ? PDF_FLATTEN::kWidgets : PDF_FLATTEN::kAll);
  core_->refresh();
  if (!done) {
    core_->note(task.is_stopped() ? Code::kCancelled : Code::kNoMemory,
                task.is_stopped() ? "flattening was stopped; the document is good for closing only"
                                  : "there is no memory to flatten the document");
    return core_->failure();
  }
  const PDF_FLATTEN_REPORT& report = flattener.report();
  return FlattenReport{report.pages, report.drawn, report.hidden, report.kept, report.signatures};
}

std::string Document::version() const {
  return core_->below().version();
}

bool Document::is_open() const {
  return core_.get() != nullptr && core_->is_open();
}

bool Document::is_encrypted() const {
  return core_->below().is_encrypted();
}

std::vector<Repair> Document::repairs() const {
  std::vector<Repair> list;
  for (const PDF_DOC_REPAIR& repair : core_->below().repairs())
    list.push_back({repair.code, repair.num, repair.offset, repair.action});
  return list;
}

std::int32_t Document::signature_count() const {
  return core_->is_open() ? count_signatures(core_->updated_doc()) : 0;
}

Error Document::failure() const {
  return core_->trouble();
}

void Document::on_progress(ProgressFunction progress) {
  core_->progress = std::move(progress);
}

CPDFDoc& Document::below() {
  return core_->finished();
}

// ---- saving ----

Expected<void> Document::begin_saving() {
  if (core_->is_open())
    core_->finished();
  const Error trouble = core_->trouble();
  return trouble.code != Code::kNone ? Expected<void>(trouble) : Expected<void>();
}

// Makes the file or storage that was opened ready to be written after its end.
Expected<void> Document::begin_writing() {
  if (Expected<void> ready = begin_saving(); !ready)
    return ready;
  if (core_->memory != nullptr || (core_->storage != nullptr && !core_->storage->can_write()))
    return layer::error_of(Code::kNotAllowed, "there is no file to add an update to; save the document as a new file");
  if (!core_->path.empty() && !core_->below().begin_update(core_->path.c_str()))
    return layer::error_of(Code::kFileChanged,
                           core_->path + " cannot be written, or is no longer the file that was opened");
  return {};
}

Expected<void> Document::save_update() {
  if (Expected<void> ready = begin_writing(); !ready)
    return ready;
  if (core_->progress && !core_->progress({"save", 0, 0}))
    return layer::error_of(Code::kCancelled, "the save was stopped; nothing was written");
  layer::Task task(*core_, "save", false);
  const bool done = core_->below().save_update(PDF_SAVE_FORM::kAsFile, nullptr);
  core_->refresh();
  return done ? Expected<void>() : Expected<void>(save_error(core_->below()));
}

Expected<void> Document::write_new(CQVStream& target, const SaveOptions& options) {
  if (Expected<void> ready = begin_saving(); !ready)
    return ready;
  layer::Task task(*core_, "save");
  CPDFXRefTable table;
  table.stream = &target;
  layer::NewKeys keys;
  if (!keys.make(core_->below(), table, options))
    return layer::error_of(Code::kNoMemory, "the keys of the new file cannot be made");
  Expected<void> done = wants_writer(options) ? write_as_asked(core_->below(), table, keys.encrypter(), options)
                                              : write_plain(core_->below(), table, keys.encrypter());
  core_->refresh();
  if (task.is_stopped())
    return layer::error_of(Code::kCancelled, "the save was stopped");
  return done;
}

Expected<void> Document::save_as(const std::string& path, const SaveOptions& options) {
  layer::NewFile file;
  if (Expected<void> opened = file.open(path); !opened)
    return opened;
  const Expected<void> written = write_new(file.stream(), options);
  return written ? file.commit() : written;
}

Expected<void> Document::save_as(Storage target, const SaveOptions& options) {
  layer::StorageStream stream(std::move(target));
  return write_new(stream, options);
}

Expected<Data> Document::save_to_memory(const SaveOptions& options) {
  CQVStreamMem out;
  if (const Expected<void> written = write_new(out, options); !written)
    return written.error();
  Data data(out.data, out.len);
  out.data = nullptr;
  out.len = out.pos = out.capacity = 0;
  return data;
}

}  // namespace sheaf

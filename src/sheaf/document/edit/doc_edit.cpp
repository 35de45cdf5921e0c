// Changing a document: opening for update, the document information, attachments, and the update
// section behind the old content.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/number_text.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/names/name_tree.h"
#include "sheaf/document/open/object_rescue_internal.h"
#include "sheaf/neighbours/security/encrypter.h"
#include "sheaf/object/array.h"
#include "sheaf/object/parse_buf.h"
#include "sheaf/object/text_utf8.h"

using namespace sheaf;

namespace {

// Whether "N" or "First" of an object stream had to be set right: copied as it is, it would hide its
// members from other readers.
bool has_false_numbers(CPDFXRefTable& table, std::uint32_t num) {
  table.get_objstm_references(table.xref_items[num].offset, static_cast<int>(num));
  return std::any_of(table.repairs.begin(), table.repairs.end(), [num](const PDF_REPAIR& repair) {
    return repair.code == PDF_REPAIR::kLengthCorrected && repair.num == static_cast<std::int32_t>(num);
  });
}

// Gives numbers that no section lists, though it lists higher ones, their objects: lines of it can be gone.
void enter_unlisted(CPDFXRefTable& table) {
  std::uint32_t num = 1;
  while (num < table.xref_count && (table.xref_items[num].is_known() || !table.listed.leave_out(num)))
    ++num;
  if (num < table.xref_count && table.finder != nullptr)
    table.finder->enter_missing();
}

}  // namespace

bool CPDFDoc::open_for_update(const char* path) {
  close();
  if (!file_.OpenForUpdate(path)) {
    status_ = PDF_OPEN::kNoFile;
    return false;
  }
  stream_ = &file_;
  return open_stream();
}

bool CPDFDoc::create(CQVStream* stream) {
  close();
  stream_ = stream;
  reset_table();
  table_.write_failed = 0;
  const HeapWatch watch;
  table_.new_xref();
  status_ = watch.all_granted() ? PDF_OPEN::kClean : PDF_OPEN::kNoMemory;
  return watch.all_granted() && table_.write_failed == 0;
}

namespace {

// A file without a name, readable by its owner only: what is to be encrypted waits in it in clear, and no end of the
// process leaves it behind. `name` is a pattern for file systems where a file must have a name at first.
int make_unnamed(const char* folder, char* name) {
#ifdef O_TMPFILE
  const int handle = open(folder, O_TMPFILE | O_EXCL | O_RDWR | O_CLOEXEC, 0600);
  if (handle >= 0)
    return handle;
#endif
  const int named = mkostemp(name, O_CLOEXEC);
  if (named >= 0)
    unlink(name);
  return named;
}

}  // namespace

bool CPDFDoc::use_temp_file(const char* folder) {
  if (table_.temp_stream.file != nullptr)
    return true;  // there are records that lie in it
  const char* const base = folder != nullptr ? folder : std::getenv("TMPDIR");
  const char* const where = base != nullptr && *base != 0 ? base : "/tmp";
  constexpr char kName[] = "/sheaf-XXXXXX";
  const std::size_t len = std::strlen(where);
  auto* path = static_cast<char*>(QVAlloc(len + sizeof(kName)));
  if (path == nullptr)
    return false;
  std::memcpy(path, where, len);
  std::memcpy(path + len, kName, sizeof(kName));
  const int handle = make_unnamed(where, path);
  QVFree(path);
  std::FILE* const file = handle >= 0 ? fdopen(handle, "w+b") : nullptr;
  if (file == nullptr) {
    if (handle >= 0)
      ::close(handle);
    return false;
  }
  table_.temp_stream.file = file;
  return true;
}

bool CPDFDoc::attach(const char* path) {
  if (table_.root.tag != kTagRef)
    return false;
  const HeapWatch watch;
  PDF_String name{0, nullptr};
  const int spec = table_.new_file_spec(path, name);
  const ScopeGuard release_name([&name] { QVFree(name.data); });
  if (spec == 0 || name.data == nullptr)
    return false;
  Freed<CPDFObj> catalog;
  Freed<CPDFObj> names;
  Freed<CPDFObj> tree;
  table_.resolve(catalog, &table_.root);
  CPDFDictionary* const top = catalog.as_dict();
  if (top == nullptr)
    return false;
  const auto fetch = [this](CPDFObj& value, const CPDFObj* item) {
    table_.resolve(value, item);
    if (value.as_dict() == nullptr)
      value.take_dict(new (std::nothrow) CPDFDictionary);
    return item != nullptr ? item->as_ref() : PDF_REF{0, 0};
  };
  const PDF_REF names_ref = fetch(names, top->get_item("Names"));
  const CPDFDictionary* const lists = names.as_dict();
  const PDF_REF tree_ref = fetch(tree, lists != nullptr ? lists->get_item("EmbeddedFiles") : nullptr);
  if (!watch.all_granted() || !name_tree_insert(table_, *tree.as_dict(), name, {spec, 0}))
    return false;
  // Each level goes back to where it was: its own object, or the level above.
  if (tree_ref.num != 0)
    return table_.store_object(tree_ref, tree);
  names.as_dict()->move_item("EmbeddedFiles", tree);
  if (names_ref.num != 0)
    return table_.store_object(names_ref, names);
  top->move_item("Names", names);
  return table_.store_object(table_.root.as_ref(), catalog);
}

// Where the chain of old sections cannot be trusted, other readers must not have to follow it: the
// update then lists every object itself. Those that stay where they are become entries of the
// update at their true places, and those in object streams, which an update section cannot list,
// become objects of the update.
void CPDFDoc::detach_from_old_sections() {
  read_all_sections();
  if (table_.sections_lost != 0 && rescue_ != nullptr)
    rescue_->enter_missing();  // the next reader will look for nothing behind this section
  Freed<CPDFObj> obj;
  std::uint32_t last = 0;
  for (std::uint32_t num = 1; num < table_.xref_count; ++num) {
    const PDF_XREF before = table_.xref_items[num];
    const PDF_REF ref{static_cast<std::int32_t>(num), 0};
    if (before.is_in_file() && (last == 0 || before.offset > table_.xref_items[last].offset))
      last = num;
    if (!before.is_listed() && !before.is_compressed())
      continue;
    table_.get_stored(obj, ref);
    if (before.is_compressed() && !obj.is_null())
      table_.store_object(ref, obj);
    PDF_XREF& entry = table_.xref_items[num];
    if (entry.is_listed())
      entry = PDF_XREF::found_at(entry.offset);
  }
  table_.last_xref_offset = 0;
  store_last_object(last);
}

// The last object of a file that was cut short may have no end: what the update puts behind it would be
// taken for a part of it. It goes into the update as it was read.
void CPDFDoc::store_last_object(std::uint32_t num) {
  constexpr char kEnd[] = "endobj";
  constexpr unsigned kEndSize = sizeof(kEnd) - 1;
  if (num == 0)
    return;
  stream_->SetPos(CQVStream::STR_SEEK_SET, table_.xref_items[num].offset);
  CPDFBufBase buf;
  buf.buf_init(stream_);
  const PDF_REF ref{static_cast<std::int32_t>(num), 0};
  PDF_DEC_PARA para{};
  Freed<CPDFObj> obj;
  obj.read(&buf, table_.decode_para(para, ref));
  buf.buf_need(kEndSize);
  const bool has_end =
      buf.buf_pos + kEndSize <= buf.buf_len && std::memcmp(buf.buf_data + buf.buf_pos, kEnd, kEndSize) == 0;
  if (!has_end && !obj.is_null() && obj.tag != kTagStream && obj.tag != kTagNoValue)
    table_.store_object(ref, obj);
}

// A catalogue or document information that stands directly in a trailer becomes an object, as it has to
// be. False when there is no memory.
bool CPDFDoc::give_trailer_values_numbers() {
  for (CPDFObj* value : {&table_.root, &table_.info}) {
    if (value->as_dict() == nullptr)
      continue;
    const PDF_REF ref{table_.alloc_obj_num(), 0};
    if (!table_.store_object(ref, *value))
      return false;
    value->set_ref(ref);
  }
  return true;
}

// Readers may ignore every object at or above "Size", which follows from the last run of an update: that
// run has to reach the highest number. An object that stays where it is joins it by its entry alone.
bool CPDFDoc::reach_last_number() {
  table_.drain_pending();
  std::uint32_t last = table_.xref_count;
  while (last > 1 && !table_.xref_items[last - 1].is_known())
    --last;
  if (last-- < 2)
    return true;
  PDF_XREF& entry = table_.xref_items[last];
  if (entry.is_changed())
    return true;
  if (entry.type == PDF_XREF::kInFile && entry.gen == 0 && begins_at_its_place(last)) {
    entry = PDF_XREF::found_at(entry.offset);
    return true;
  }
  CPDFObj nothing{};
  return table_.store_object({table_.alloc_obj_num(), 0}, nothing);
}

bool CPDFDoc::has_sound_sections() {
  read_all_sections();
  if (status_ != PDF_OPEN::kClean)
    return false;
  for (const PDF_DOC_REPAIR& repair : repairs()) {
    if (std::strcmp(repair.code, "startxref") == 0 || std::strcmp(repair.code, "section") == 0)
      return false;
  }
  return table_.sections_lost == 0;
}

void CPDFDoc::keep_identifier(CPDFObj& id) {
  const HeapWatch watch;
  Freed<CPDFObj> present;
  table_.resolve(present, &table_.id);
  if (present.as_array() == nullptr) {
    // The keys of a document without an identifier hang on an empty one, and one made now would
    // change them.
    present.take_array(new (std::nothrow) CPDFArray);
    for (int i = 0; i < 2 && present.as_array() != nullptr; ++i)
      present.as_array()->append_str("", 0);
  }
  if (!watch.all_granted())
    return;  // half an identifier would change the keys as well
  id.free();
  std::swap<CPDFObj>(id, present);
}

// One section at `append_offset` of the table's stream, with all that waits.
bool CPDFDoc::write_section(PDF_SAVE_FORM form, PDF_SIGN_DATA* sign) {
  const HeapWatch watch;
  if (!give_trailer_values_numbers())
    return false;
  if (!has_sound_sections())
    detach_from_old_sections();
  CPDFStandardEncrypt encrypter;
  CPDFEncrypt* enc = nullptr;
  if (is_encrypted()) {
    Freed<CPDFObj> settings;
    table_.get_encryption(settings);
    // Without the key nothing may go into the file: what is written in clear can never be read as it.
    if (table_.sec_filter[0] == 0 || table_.sec_hand == nullptr || settings.as_dict() == nullptr)
      return false;
    encrypter.continue_with(handler_, *settings.as_dict());
    enc = &encrypter;
    keep_identifier(table_.id);
  }
  const bool classic =
      form == PDF_SAVE_FORM::kClassic || (form == PDF_SAVE_FORM::kAsFile && table_.first_xref_kind == 1);
  if (classic && !reach_last_number())
    return false;
  table_.write_failed = 0;
  table_.drain_pending();
  const std::uint32_t section_num = table_.next_obj_num;  // the number that a cross-reference stream takes
  const int done = classic ? table_.save_14(enc, sign) : table_.save(enc, sign);
  if (done == 0 || !watch.all_granted() || table_.entries_lost != 0)
    table_.write_failed = 1;
  const bool good = table_.write_failed == 0;
  if (classic || table_.next_obj_num != section_num + 1)
    return good;
  if (good && sign != nullptr)
    table_.xref_items[section_num] = PDF_XREF::in_file(table_.last_xref_offset, 0);
  else
    table_.next_obj_num = section_num;  // the next save, or the next object, takes it again
  return good;
}

// Reading an object stream needs no header and no entry of the right type, so the members of one that a
// new file cannot have can be known all the same. They then become objects.
void CPDFDoc::free_members_of_lost_streams() {
  table_.drain_pending();
  Freed<CPDFObj> obj;
  std::uint32_t container = 0;
  bool has_stream = true;
  for (std::uint32_t num = 1; num < table_.xref_count; ++num) {
    const PDF_XREF entry = table_.xref_items[num];
    if (!entry.is_compressed())
      continue;
    if (entry.offset != container) {
      container = entry.offset;
      has_stream = comes_along(container);
    }
    if (has_stream)
      continue;
    const PDF_REF ref{static_cast<std::int32_t>(num), 0};
    table_.get_stored(obj, ref);
    if (!obj.is_null())
      table_.store_object(ref, obj);
  }
}

// Whether the object stream will be in a new file.
bool CPDFDoc::comes_along(std::uint32_t num) {
  if (num >= table_.xref_count)
    return false;
  const PDF_XREF& entry = table_.xref_items[num];
  if (const PDF_NEWOBJ* const slot = table_.slot_of(num))
    return slot->obj.as_stream() != nullptr;
  return entry.is_in_file() && begins_at_its_place(num) && !has_false_numbers(table_, num);
}

bool CPDFDoc::begins_at_its_place(std::uint32_t num) {
  stream_->SetPos(CQVStream::STR_SEEK_SET, table_.xref_items[num].offset);
  CPDFBufBase buf;
  buf.buf_init(stream_);
  return ansi_to_i32(buf.buf_data) == static_cast<std::int32_t>(num);
}

void CPDFDoc::save_complete(CPDFXRefTable& target, CPDFEncrypt* enc) {
  const HeapWatch watch;
  read_all_sections();
  enter_unlisted(table_);
  if (!give_trailer_values_numbers())
    table_.entries_lost = 1;
  store_page_tree();
  table_.font_cache.embed_flush();
  store_frame();
  store_metadata();
  free_members_of_lost_streams();
  if (enc != nullptr || is_encrypted())
    drop_unknown_crypt_filters(enc);
  if (target.id.is_null())
    renew_identifier(target.id);
  table_.save_as(target, enc);
  if (!watch.all_granted() || table_.entries_lost != 0)
    target.write_failed = 1;
}

// Recovery above the table's own rebuild: for files that have only cross-reference streams, no
// trailer at all, a root that is lost, or object streams that nobody names any more. Every object
// in the file is looked at once; what lies later in the file wins.
#include <cstring>
#include <memory>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/open/deep_recovery_internal.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/object/array.h"
#include "sheaf/object/parse_buf.h"

using namespace sheaf;

namespace {

constexpr int kMostObjStmBytes = 0x8000000;

bool has_type(const CPDFDictionary& dict, const char* name) {
  const CPDFObj* type = dict.get_item(CPDFDictionary::sm_tag_type);
  return type != nullptr && type->is_name(name);
}

}  // namespace

namespace sheaf {

bool DeepRecovery::take_object(std::int32_t num, std::uint32_t pos) {
  const auto index = static_cast<std::uint32_t>(num);
  if (num < 1 || index >= table_.max_obj_num())
    return false;  // object 0 is never in use (ISO 32000-1, 7.5.4)
  if (index >= table_.xref_count && !table_.grow_xref_items(CPDFXRefTable::rounded_count(index), false))
    return false;
  if (!table_.xref_items[index].is_known())
    ++table_.repaired_count;
  table_.xref_items[index] = PDF_XREF::found_at(pos);
  return true;
}

void DeepRecovery::classify(const PDF_REF& ref, std::uint32_t pos, const CPDFObj& obj) {
  const CPDFDictionary* dict = obj.as_dict_or_stream();
  if (dict == nullptr)
    return;
  if (has_type(*dict, "XRef"))
    trailers_.push(pos);
  else if (has_type(*dict, "ObjStm"))
    object_streams_.push({ref.num, pos});
  else if (has_type(*dict, "Catalog"))
    catalog_ = ref;
  else if (has_type(*dict, "Page"))
    pages_.push(ref);
  else if (has_type(*dict, "Pages") && dict->get_item(CPDFDictionary::sm_tag_parent) == nullptr)
    tree_ = ref;
}

void DeepRecovery::scan_objects() {
  CQVStream* const stream = table_.stream;
  stream->SetPos(CQVStream::STR_SEEK_SET, 0);
  CPDFBufBase buf;
  buf.buf_init(stream);
  Freed<CPDFObj> obj;
  while (const char* header = buf.buf_skip_to_obj()) {
    const std::int32_t num = ansi_to_i32(header);
    const std::int32_t gen = header_generation(header);
    const std::uint32_t pos = buf.position();
    obj.read(&buf, nullptr);
    if (take_object(num, pos))
      classify({num, gen > 0 ? gen : 0}, pos, obj);
    else if (const CPDFDictionary* dict = obj.as_dict_or_stream(); dict != nullptr && has_type(*dict, "ObjStm"))
      object_streams_.push({--last_nameless_, pos});
    if (obj.tag != kTagStream)
      continue;
    // Headers inside stream data are none; data without an end hide nothing behind them.
    const std::uint32_t data = buf.position();
    if (skip_to_word(buf, "endstream", 9))
      continue;
    stream->SetPos(CQVStream::STR_SEEK_SET, data);
    buf.buf_init(stream);
  }
}

void DeepRecovery::scan_trailers() {
  CQVStream* const stream = table_.stream;
  stream->SetPos(CQVStream::STR_SEEK_SET, 0);
  CPDFBufBase buf;
  buf.buf_init(stream);
  while (skip_to_word(buf, "trailer", 7)) {
    buf.buf_skip(7);
    buf.buf_skip_ws(true);
    buf.buf_need(2);
    if (std::strncmp(buf.buf_data + buf.buf_pos, "<<", 2) == 0)
      trailers_.push(buf.position());
  }
}

// Takes over what the trailers and cross-reference streams say, the last one in the file first.
// Those that name a root which is no catalogue are passed over.
void DeepRecovery::load_trailers() {
  std::sort(trailers_.begin(), trailers_.end());
  for (std::size_t i = trailers_.size(); i-- > 0;) {
    table_.stream->SetPos(CQVStream::STR_SEEK_SET, trailers_[i]);
    CPDFBufBase buf;
    buf.buf_init(table_.stream);
    Freed<CPDFObj> obj;
    obj.read(&buf, nullptr);
    if (const CPDFDictionary* dict = obj.as_dict_or_stream())
      table_.XRefLoadObjs(dict);
    if (table_.root.is_null() || is_catalog(table_.root))
      continue;
    table_.root.free();
  }
}

bool DeepRecovery::is_catalog(const CPDFObj& root) {
  Freed<CPDFObj> value;
  table_.resolve(value, &root);
  const CPDFDictionary* dict = value.as_dict();
  Freed<CPDFObj> tree;
  table_.resolve(tree, dict != nullptr ? dict->get_item("Pages") : nullptr);
  return tree.as_dict() != nullptr;
}

// One without a number is read through entry 0, which stays free otherwise.
void DeepRecovery::read_found_stream(CPDFObj& out, const FoundStream& found) {
  if (found.num > 0) {
    table_.get_entity(out, {found.num, 0});
    return;
  }
  if (table_.xref_count == 0 && !table_.grow_xref_items(CPDFXRefTable::rounded_count(0), false))
    return;
  const PDF_XREF free_entry = table_.xref_items[0];
  table_.xref_items[0] = PDF_XREF::found_at(found.pos);
  table_.get_entity(out, {0, 0});
  if (table_.xref_count != 0)
    table_.xref_items[0] = free_entry;
}

// Object streams whose headers bear no usable number get numbers behind all others, known only when
// every object is entered, and the entries of their objects follow. They would be lost in a save else.
void DeepRecovery::name_object_streams() {
  const std::uint32_t first = table_.xref_count;
  for (const FoundStream& found : object_streams_) {
    if (found.num < 0)
      take_object(static_cast<std::int32_t>(first + nameless_index(found.num)), found.pos);
  }
  for (std::uint32_t num = 1; num < first && num < table_.xref_count; ++num) {
    PDF_XREF& entry = table_.xref_items[num];
    const auto stream = static_cast<std::int32_t>(entry.offset);
    if (entry.is_compressed() && stream < 0)
      entry.offset = first + nameless_index(stream);
  }
}

// Enters the objects of one object stream under the numbers that its own table gives them.
void DeepRecovery::load_object_stream(const FoundStream& found) {
  Freed<CPDFObj> obj;
  read_found_stream(obj, found);
  const CPDFStreamRec* rec = obj.as_stream();
  if (rec == nullptr)
    return;
  Freed<CPDFObj> value;
  table_.resolve(value, rec->dict.get_item("N"));
  const std::int32_t count = value.to_int();
  const std::unique_ptr<CPDFStream> decoder(table_.make_stream(rec));
  if (decoder == nullptr)
    return;
  int size = 0;
  const HeapBlock<std::uint8_t> data(decoder->buffer_load(kMostObjStmBytes, size));
  if (!data || size < 1)
    return;
  CPDFBufMem buf;
  buf.buf_init_mem(data.get(), static_cast<std::uint32_t>(size));
  Freed<CPDFObj> number;
  for (std::int32_t index = 0; index < count; ++index) {
    number.read(&buf, nullptr);
    const std::int32_t num = number.as_int();
    if (number.tag != kTagInt)
      return;
    number.read(&buf, nullptr);  // the offset: objects are read one after the other
    enter_compressed(num, found, index);
  }
}

void DeepRecovery::enter_compressed(std::int32_t num, const FoundStream& found, std::int32_t index) {
  const auto at = static_cast<std::uint32_t>(num);
  if (num < 1 || at >= table_.max_obj_num())
    return;
  if (at >= table_.xref_count && !table_.grow_xref_items(CPDFXRefTable::rounded_count(at), false))
    return;
  PDF_XREF& entry = table_.xref_items[at];
  const bool newer_in_file = entry.is_changed() && entry.offset > found.pos;
  if (!newer_in_file)
    entry = {PDF_XREF::kCompressed, static_cast<std::uint32_t>(found.num), index};
}

// A catalogue, or failing that the top of a page tree, among the objects of object streams.
void DeepRecovery::search_compressed() {
  Freed<CPDFObj> obj;
  for (std::uint32_t num = 1; num < table_.xref_count; ++num) {
    if (!table_.xref_items[num].is_compressed())
      continue;
    table_.get_entity(obj, {static_cast<std::int32_t>(num), 0});
    const CPDFDictionary* dict = obj.as_dict();
    if (dict == nullptr)
      continue;
    const PDF_REF ref{static_cast<std::int32_t>(num), 0};
    if (has_type(*dict, "Catalog"))
      catalog_ = ref;
    else if (has_type(*dict, "Page"))
      pages_.push(ref);
    else if (has_type(*dict, "Pages") && dict->get_item(CPDFDictionary::sm_tag_parent) == nullptr)
      tree_ = ref;
  }
}

// The root itself, when no trailer names a good one.
void DeepRecovery::find_root() {
  if (!table_.root.is_null())
    return;
  search_compressed();
  CPDFObj root{};
  root.set_ref(catalog_);
  if (catalog_.num != 0 && is_catalog(root)) {
    table_.root.move_from(root);
    doc_.add_repair("root", catalog_.num, 0, "no trailer names the catalogue; found by its type");
    return;
  }
  if (tree_.num == 0)
    return;
  auto* dict = new (std::nothrow) CPDFDictionary;
  if (dict == nullptr)
    return;
  dict->set_item_name(CPDFDictionary::sm_tag_type, "Catalog");
  dict->set_item_ref("Pages", tree_);
  table_.root.take_dict(dict);
  doc_.add_repair("root", tree_.num, 0, "the catalogue is lost; a new one stands over the page tree");
}

void DeepRecovery::run() {
  doc_.reset_table();
  scan_objects();
  scan_trailers();
  load_trailers();
  if (doc_.is_encrypted() && !doc_.authorise_quietly())
    return;
  for (const FoundStream& found : object_streams_)
    load_object_stream(found);
  if (last_nameless_ != 0)
    name_object_streams();
  load_trailers();
  table_.next_obj_num = table_.xref_count;
  find_root();
}

// A new catalogue and page tree over the pages that were found, in the order of the file.
void DeepRecovery::make_page_tree() {
  table_.next_obj_num = std::max(table_.next_obj_num, table_.xref_count);
  const PDF_REF tree{table_.alloc_obj_num(), 0};
  const PDF_REF catalog{table_.alloc_obj_num(), 0};
  Cleared<CPDFArray> kids;
  Freed<CPDFObj> page;
  for (const PDF_REF& ref : pages_) {
    table_.get_entity(page, ref);
    if (page.as_dict() == nullptr)
      continue;
    page.as_dict()->set_item_ref(CPDFDictionary::sm_tag_parent, tree);
    kids.append_ref(ref);
    table_.store_object(ref, page);
  }
  Cleared<CPDFDictionary> dict;
  dict.set_item_name(CPDFDictionary::sm_tag_type, "Pages");
  dict.set_item_int(CPDFDictionary::sm_tag_count, kids.count);
  dict.set_item_arr("Kids", &kids);
  table_.store_dict(tree, &dict);
  dict.clear();
  dict.set_item_name(CPDFDictionary::sm_tag_type, "Catalog");
  dict.set_item_ref("Pages", tree);
  table_.store_dict(catalog, &dict);
  table_.root.set_ref(catalog);
}

}  // namespace sheaf

bool CPDFDoc::try_deep_recovery() {
  DeepRecovery recovery(*this);
  recovery.run();
  if (is_encrypted() && !is_readable())
    return true;  // recognised; it waits for a password
  Attempt attempt = examine();
  if (!attempt.has_pages && recovery.found_pages()) {
    recovery.make_page_tree();
    Attempt again;
    again.usable = look_at_tree(again);
    attempt = again;
    add_repair("pages", 0, 0, "the page tree is lost; a new one lists the pages in the order of the file");
  }
  if (!attempt.usable)
    return false;
  ensure_pages();  // counts that the nodes tell are not believed here
  add_repair("scan", 0, 0, "objects, object streams and the catalogue were found by scanning");
  return true;
}

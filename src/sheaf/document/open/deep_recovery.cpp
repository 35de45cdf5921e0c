// Recovery above the table's own rebuild: for files that have only cross-reference streams, no
// trailer at all, a root that is lost, or object streams that nobody names any more. Every object
// in the file is looked at once; what lies later in the file wins.
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/open/deep_recovery_internal.h"
#include "sheaf/document/open/object_rescue_internal.h"
#include "sheaf/object/array.h"
#include "sheaf/object/parse_buf.h"

using namespace sheaf;

namespace {

bool has_type(const CPDFDictionary& dict, const char* name) {
  const CPDFObj* type = dict.get_item(CPDFDictionary::sm_tag_type);
  return type != nullptr && type->is_name(name);
}

// A dictionary with all that a key hangs on. To read a document without it is to read garbage.
bool is_encryption(const CPDFDictionary& dict) {
  const CPDFObj* const filter = dict.get_item(CPDFDictionary::sm_tag_filter);
  const auto has_text = [&dict](const char* key) {
    const CPDFObj* const item = dict.get_item(key);
    return item != nullptr && item->tag == kTagString;
  };
  return filter != nullptr && filter->is_name("Standard") && has_text("O") && has_text("U");
}

}  // namespace

namespace sheaf {

bool DeepRecovery::take_object(std::int32_t num, std::uint32_t pos) {
  const auto index = object_index(num);
  if (num < 1 || index >= table_.max_obj_num())
    return false;  // object 0 is never in use (ISO 32000-1, 7.5.4)
  if (index >= table_.xref_count && !table_.grow_xref_items(CPDFXRefTable::rounded_count(index), false))
    return false;
  if (!table_.xref_items[index].is_known())
    ++table_.repaired_count;
  table_.xref_items[index] = PDF_XREF::found_at(pos);
  return true;
}

void DeepRecovery::classify(const ObjectScan& scan, const ObjectScan::Object& object) {
  if (object.kind == ObjectScan::Kind::kXRefStream)
    trailers_.push(object.pos);
  if (object.kind != ObjectScan::Kind::kOther)
    return;
  Freed<CPDFObj> obj;
  scan.read_value(obj, object);
  const CPDFDictionary* dict = obj.as_dict();
  if (dict == nullptr)
    return;
  const PDF_REF ref = doc_.reference_to(object.num);
  if (!note_by_type(ref, *dict) && is_encryption(*dict))
    encryption_ = ref;
}

bool DeepRecovery::note_by_type(const PDF_REF& ref, const CPDFDictionary& dict) {
  if (has_type(dict, "Catalog"))
    catalog_ = ref;
  else if (has_type(dict, "Page"))
    pages_.push(ref);
  else if (has_type(dict, "Pages") && dict.get_item(CPDFDictionary::sm_tag_parent) == nullptr)
    tree_ = ref;
  else
    return false;
  return true;
}

void DeepRecovery::enter_objects(const ObjectScan& scan) {
  for (const ObjectScan::Object& object : scan.objects()) {
    const bool has_number = take_object(object.num, object.pos);
    if (!has_number && object.num > 0)
      opener_.rescue()->report_number(object);
    if (object.kind == ObjectScan::Kind::kObjectStream)
      object_streams_.push({has_number ? object.num : --last_nameless_, object.pos});
    else if (has_number)
      classify(scan, object);
  }
  for (const std::uint32_t trailer : scan.trailers())
    trailers_.push(trailer);
}

// Takes over what the trailers and cross-reference streams say, the last one in the file first.
// Those that name a root which is no catalogue are passed over.
void DeepRecovery::load_trailers() {
  constexpr std::size_t kMostTrailers = 256;  // each may be read to the end of the file
  std::sort(trailers_.begin(), trailers_.end());
  const std::size_t first = trailers_.size() > kMostTrailers ? trailers_.size() - kMostTrailers : 0;
  for (std::size_t i = trailers_.size(); i-- > first;) {
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
  Freed<CPDFObj> value = table_.value(&root);
  const CPDFDictionary* dict = value.as_dict();
  Freed<CPDFObj> tree = table_.value(dict, "Pages");
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

// Object streams whose headers bear no usable number get numbers after all others, known only when
// every object is entered, and the entries of their objects follow. They would be lost in a save else.
void DeepRecovery::name_object_streams() {
  const std::uint32_t first = table_.xref_count;
  for (const FoundStream& found : object_streams_) {
    if (found.num < 0)
      take_object(object_num(first + nameless_index(found.num)), found.pos);
  }
  for (std::uint32_t num = 1; num < first && num < table_.xref_count; ++num) {
    PDF_XREF& entry = table_.xref_items[num];
    const auto stream = entry.container();
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
  GrowArray<std::int32_t> numbers;
  if (!read_member_numbers(table_, *rec, numbers))
    opener_.add_repair("stream", std::max(found.num, 0), found.pos, kObjectStreamDamaged);
  for (std::uint32_t index = 0; index < numbers.size(); ++index)
    enter_compressed(numbers[index], found, static_cast<std::int32_t>(index));
}

void DeepRecovery::enter_compressed(std::int32_t num, const FoundStream& found, std::int32_t index) {
  const auto at = object_index(num);
  if (num < 1 || at >= table_.max_obj_num())
    return;
  if (at >= table_.xref_count && !table_.grow_xref_items(CPDFXRefTable::rounded_count(at), false))
    return;
  PDF_XREF& entry = table_.xref_items[at];
  const bool newer_in_file = entry.is_changed() && entry.offset > found.pos;
  if (!newer_in_file)
    entry = {PDF_XREF::kCompressed, object_index(found.num), index};
}

// A catalogue, or failing that the top of a page tree, among the objects of object streams.
void DeepRecovery::search_compressed() {
  Freed<CPDFObj> obj;
  for (std::uint32_t num = 1; num < table_.xref_count; ++num) {
    if (!table_.xref_items[num].is_compressed())
      continue;
    const PDF_REF ref = PDF_REF::at(num);
    obj = table_.object(ref);
    if (obj.as_dict() != nullptr)
      note_by_type(ref, *obj.as_dict());
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
    opener_.add_repair("root", catalog_.num, 0, "no trailer names the catalogue; found by its type");
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
  opener_.add_repair("root", tree_.num, 0, "the catalogue is lost; a new one was made for the page tree");
}

void DeepRecovery::run() {
  opener_.reset_table();
  const ObjectScan* const scan = opener_.scan();
  if (scan == nullptr)
    return;
  enter_objects(*scan);
  load_trailers();
  if (table_.encrypt.is_null() && encryption_.num != 0)
    table_.encrypt.set_ref(encryption_);
  if (doc_.is_encrypted() && !opener_.authorise())
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
    page = table_.object(ref);
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

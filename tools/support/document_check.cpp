// Reads and decodes everything, and compares what is reachable with what could be read.
#include "support/document_check.h"

#include <cstring>
#include <memory>

#include "sheaf/base/scope_guard.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/document/content/content_check.h"
#include "sheaf/document/pages/page_content.h"
#include "sheaf/filters/decode_parms.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/filters/stream_flaw.h"
#include "sheaf/object/array.h"
#include "sheaf/object/references.h"
#include "support/progress.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

// By number, whether an object can be reached from the trailer.
std::vector<bool> reachable(CPDFXRefTable& table) {
  std::vector<bool> reached(table.xref_count);
  std::vector<std::int32_t> waiting;
  const auto reach = [&](std::int32_t num) {
    const auto index = object_index(num);
    if (num < 1 || index >= table.xref_count)
      return;
    if (index >= reached.size())
      reached.resize(table.xref_count);
    if (!reached[index])
      waiting.push_back(num);
    reached[index] = true;
  };
  ReferenceList found;
  for (const CPDFObj* value : {&table.root, &table.info})
    collect_references(*value, found);
  for (;;) {
    for (const std::int32_t num : found)
      reach(num);
    if (waiting.empty())
      return reached;
    found.clear();
    const std::int32_t next = waiting.back();
    waiting.pop_back();
    table.get_references(found, next);
  }
}

class Checker {
public:
  // `contents` was led through the pages before; null when nobody looks at them.
  Checker(CPDFDoc& doc, CheckResult& result, const ContentChecker* contents)
      : doc_(doc), table_(doc.table()), result_(result), contents_(contents) {}

  void check_objects() {
    table_.drain_pending();
    if (doc_.has_lost_encryption())
      problem(0, "says that it is encrypted, but its encryption dictionary cannot be read");
    // Reading can grow the table, so its size is looked at each turn.
    Progress progress("objects checked", table_.xref_count);
    for (std::uint32_t num = 1; num < table_.xref_count; num = has_searched_ ? table_.next_entry(num + 1) : num + 1) {
      if (!table_.xref_items[num].is_known() && !has_searched_)
        search_unlisted(num);
      if (!table_.xref_items[num].is_known())
        continue;
      progress.show(num);
      check_object(object_num(num), table_.xref_items[num]);
    }
    report_lost();
  }

private:
  // Objects that no section lists are searched for, all of them, as soon as one is asked for.
  void search_unlisted(std::uint32_t num) {
    has_searched_ = table_.listed.leave_out(num);
    if (has_searched_)
      table_.locate(object_num(num));
  }

  void check_object(std::int32_t num, const PDF_XREF& entry) {
    ++result_.objects;
    if (entry.is_compressed()) {
      // Object streams hold no streams, and their objects' syntax was passed over when they were decoded.
      table_.locate(num);
      if (!doc_.can_reach(num))
        lost_.push_back(num);
      return;
    }
    obj_ = table_.object(doc_.reference_to(num));
    if (obj_.is_null() && !doc_.can_reach(num))
      lost_.push_back(num);
    if (obj_.tag == kTagNoValue)
      problem(num, "is no value");
    if (const CPDFStreamRec* rec = obj_.as_stream())
      check_stream(num, *rec);
  }

  void check_stream(std::int32_t num, const CPDFStreamRec& rec) {
    ++result_.streams;
    if (const char* filter = unknown_filter(rec.dict)) {
      problem(num, std::string("no decoder for /") + filter);
      return;
    }
    if (const PDF_OBJSTM* const objstm = object_stream(num, rec)) {
      result_.decoded_bytes += objstm->decoded;
      report_flaw(num, static_cast<CPDFStreamFlaw>(objstm->flaw));
      return;
    }
    std::size_t size = 0;
    CPDFStreamFlaw flaw = kFlawNone;
    if (contents_ != nullptr && contents_->has_read(num, size, flaw)) {
      result_.decoded_bytes += static_cast<std::int64_t>(size);
      report_flaw(num, flaw);
      return;
    }
    const std::unique_ptr<CPDFStream> decoder(table_.make_stream(&rec));
    if (decoder == nullptr) {
      if (!is_empty(rec))
        problem(num, "stream data cannot be read");
      return;
    }
    const bool has_data = decoder->left > 0;
    const std::int64_t total = drain(table_, rec, *decoder, [](const unsigned char*, int) { return true; });
    result_.decoded_bytes += total;
    const CPDFStreamFlaw end = total < kMostDecoded ? find_flaw(*decoder) : kFlawNone;
    const bool may_be_nothing = !decoder->is_picture() && (!has_data || end == kFlawNone);
    if (total == 0 && !may_be_nothing && end != kFlawLimit)
      problem(num, "stream data decode to nothing");
    else
      report_flaw(num, end);
    if (total >= kMostDecoded)
      problem(num, "stream data decode to more than 1 GiB; the rest was not looked at");
  }

  void report_flaw(std::int32_t num, CPDFStreamFlaw end) {
    if (end == kFlawEarlyEnd)
      problem(num, "stream data end before their end mark; what could be decoded was");
    if (end == kFlawChecksum)
      problem(num, "stream data are not what they were: their checksum is false");
    if (end == kFlawLimit)
      problem(num, "stream data take more work or memory than their length justifies; they were decoded in part");
  }

  // What was decoded of an object stream, null for other streams. It is decoded once, for its objects.
  const PDF_OBJSTM* object_stream(std::int32_t num, const CPDFStreamRec& rec) {
    const CPDFObj* const type = rec.dict.get_item(CPDFDictionary::sm_tag_type);
    const PDF_XREF entry = table_.xref_items[num];
    if (type == nullptr || !type->is_name("ObjStm") || !entry.is_listed())
      return nullptr;
    const PDF_OBJSTM* const objstm = table_.objstm_outline(entry.offset, num);
    return objstm != nullptr && objstm->decoded != 0 ? objstm : nullptr;
  }

  bool is_empty(const CPDFStreamRec& rec) {
    Freed<CPDFObj> length = table_.value(&rec.dict, CPDFDictionary::sm_tag_length);
    return length.tag == kTagInt && length.as_int() == 0;
  }

  // Of the objects that cannot be read those count that something needs.
  void report_lost() {
    if (lost_.empty())
      return;
    const std::vector<bool> reached = reachable(table_);
    for (const std::int32_t num : lost_) {
      if (object_index(num) < reached.size() && reached[object_index(num)])
        problem(num, "is referred to, but is not where its entry says nor anywhere else");
    }
  }

  // The first filter that has no decoder, or null. Borrowed from `name_`.
  const char* unknown_filter(const CPDFDictionary& dict) {
    Freed<CPDFObj> filters = table_.value(&dict, CPDFDictionary::sm_tag_filter);
    const CPDFArray* names = filters.as_array();
    if (names == nullptr)
      return unknown_name(filters);
    for (std::int32_t i = 0; i < names->count; ++i) {
      Freed<CPDFObj> name = table_.value(names, i);
      if (const char* unknown = unknown_name(name))
        return unknown;
    }
    return nullptr;
  }

  const char* unknown_name(const CPDFObj& name) {
    const char* text = name.as_text();
    if (text == nullptr || find_decoder(text) != nullptr)
      return nullptr;
    name_ = text;
    return name_.c_str();
  }

  void problem(std::int32_t num, const std::string& what) { result_.problems.push_back({num, what}); }

  CPDFDoc& doc_;
  CPDFXRefTable& table_;
  CheckResult& result_;
  const ContentChecker* contents_;
  std::vector<std::int32_t> lost_;
  bool has_searched_ = false;
  Freed<CPDFObj> obj_;
  std::string name_;
};

// Whether what was healed shows that something can be lost that nothing else reports.
bool may_lack_data(const PDF_DOC_REPAIR& repair) {
  for (const char* code : {"bytes", "length", "number", "pages", "stream", "update"}) {
    if (std::strcmp(repair.code, code) == 0)
      return true;
  }
  return false;
}

// A real without a fraction is written as an integer, and what is no value as nothing.
bool is_same_kind(const CPDFObj& before, const CPDFObj& after) {
  return before.tag == after.tag || before.tag == kTagNoValue || (before.is_number() && after.is_number());
}

// What a page's content streams decode to.
struct PageContent {
  std::int64_t size = -1;
  bool is_whole = true;
};

PageContent read_content(CPDFDoc& doc, int index) {
  PageContent content;
  CPDFPage page;
  if (!doc.load_page_alone(index, page))
    return content;
  CPDFXRefTable& table = doc.table();
  Freed<CPDFObj> contents = table.value(&page.dict, "Contents");
  content.size = 0;
  const auto add = [&](const CPDFObj* item) {
    Freed<CPDFObj> part;
    if (item != nullptr && item->tag == kTagRef)
      part = table.object(doc.reference_to(item->as_ref().num));
    const CPDFStreamRec* const rec = part.as_stream();
    const std::unique_ptr<CPDFStream> decoder(rec != nullptr ? table.make_stream(rec) : nullptr);
    if (decoder == nullptr)
      return;
    content.size += drain(table, *rec, *decoder, [](const unsigned char*, int) { return true; });
    content.is_whole = content.is_whole && find_flaw(*decoder) == kFlawNone;
  };
  const CPDFArray* const parts = contents.as_array();
  if (parts == nullptr)
    add(page.dict.get_item("Contents"));
  for (std::int32_t i = 0; parts != nullptr && i < parts->count; ++i)
    add(parts->get(i));
  return content;
}

}  // namespace

namespace {

void check_page_tree(CPDFDoc& doc, CheckResult& result) {
  const int strays = doc.is_readable() ? doc.page_tree_strays() : 0;
  if (strays == 0)
    return;
  const Freed<CPDFObj> catalog = doc.table().catalog();
  const CPDFObj* const top = catalog.item("Pages");
  result.problems.push_back(
      {ref_of(top).num, "the page tree lists " + std::to_string(strays) + " things that are no pages"});
  result.pages = doc.page_count();
}

void judge(CPDFDoc& doc, CheckResult& result) {
  check_page_tree(doc, result);
  if (!result.problems.empty())
    result.status = "problems";
  else if (doc.status() != PDF_OPEN::kClean || !doc.repairs().empty())
    result.status = "repaired";
}

}  // namespace

void check_document(CPDFDoc& doc, CheckResult& result) {
  result.pages = doc.page_count();
  Checker(doc, result, nullptr).check_objects();
  judge(doc, result);
}

namespace {

void check_contents(CPDFDoc& doc, ContentChecker& checker, std::vector<Problem>& found) {
  Progress progress("pages checked", doc.page_count());
  for (int i = 0; i < doc.page_count(); ++i) {
    GrowArray<ContentFinding> findings;
    progress.show(i);
    checker.check_page(i, findings);
    for (const ContentFinding& finding : findings)
      found.push_back({finding.stream.num, "page " + std::to_string(i + 1) + ", offset " +
                                               std::to_string(finding.offset) + ": " + finding.what +
                                               (finding.name[0] != 0 ? std::string(" (") + finding.name + ")" : "")});
  }
}

}  // namespace

// Contents come first, so that what was decoded for them need not be decoded again; but objects do where something has
// to be repaired, which is then listed by their numbers.
void check_document_and_contents(CPDFDoc& doc, CheckResult& result) {
  result.pages = doc.page_count();
  std::vector<Problem> found;
  ContentChecker checker(doc);
  const bool contents_first = doc.list_pages_by_count() && doc.repairs().empty();
  if (contents_first)
    check_contents(doc, checker, found);
  Checker(doc, result, &checker).check_objects();
  if (!contents_first)
    check_contents(doc, checker, found);
  result.problems.insert(result.problems.end(), found.begin(), found.end());
  judge(doc, result);
}

std::vector<Problem> find_losses(CPDFDoc& source, CPDFDoc& copy) {
  std::vector<Problem> lost;
  if (source.has_lost_encryption())
    lost.push_back({0, "the encryption dictionary could not be read; what was written is as it was stored"});
  for (const PDF_DOC_REPAIR& repair : source.repairs()) {
    if (may_lack_data(repair))
      lost.push_back({repair.num, repair.action});
  }
  const std::vector<bool> reached = reachable(source.table());
  Freed<CPDFObj> before;
  Freed<CPDFObj> after;
  for (std::size_t i = 1; i < reached.size(); ++i) {
    const auto num = static_cast<std::int32_t>(i);
    if (!reached[i])
      continue;
    source.table().get_stored(before, source.reference_to(num));
    copy.table().get_stored(after, copy.reference_to(num));
    if (before.is_null() && !source.can_reach(num))
      lost.push_back({num, "is referred to, but could not be found"});
    else if (!is_same_kind(before, after))
      lost.push_back({num, "could not be written as it was"});
  }
  const int pages = source.page_count();
  if (pages == 0 && source.status() != PDF_OPEN::kClean)
    lost.push_back({0, "no page was found"});
  if (copy.page_count() != pages)
    lost.push_back(
        {0, std::to_string(pages) + " pages were read, and " + std::to_string(copy.page_count()) + " written"});
  VisitedSet compared;  // a page may be listed again and again
  for (int i = 0; i < pages; ++i) {
    const std::int32_t num = source.page_ref(i).num;
    if (copy.page_ref(i).num == num && !compared.visit(num) && compared.has(num))
      continue;
    const PageContent content = read_content(source, i);
    if (read_content(copy, i).size != content.size)
      lost.push_back({num, "content of page " + std::to_string(i + 1) + " is not what it was"});
    else if (!content.is_whole)
      lost.push_back(
          {num, "content of page " + std::to_string(i + 1) + " is damaged; what could be decoded of it was kept"});
  }
  return lost;
}

}  // namespace sheaf::tool

// Pages are aligned by a digest of what they show; the longest common run of them is found as in a comparison of texts.
#include "sheaf/document/diff/doc_diff.h"

#include <algorithm>
#include <cstring>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/content/content_text.h"
#include "sheaf/document/diff/value_walk_internal.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/pages/inherited_resources.h"
#include "sheaf/document/pages/page_boxes.h"

using namespace sheaf;

struct CPDFDocDiff::PageLook {
  std::uint64_t digest;
};

namespace {

// Bytes of content that are compared: at least, and for each byte of the files.
constexpr long long kLeastWork = 1LL << 28;
constexpr long long kWorkPerByte = 64;
constexpr std::size_t kMostCells = std::size_t{1} << 24;  // of the table that aligns pages; beyond, they go by number

std::uint64_t mixed(std::uint64_t digest, const void* bytes, std::size_t size) {
  constexpr std::uint64_t kPrime = 1099511628211u;  // FNV-1a
  const auto* at = static_cast<const unsigned char*>(bytes);
  for (std::size_t i = 0; i < size; ++i)
    digest = (digest ^ at[i]) * kPrime;
  return digest;
}

bool same_boxes(CPDFDoc& a, const CPDFPage& page_a, CPDFDoc& b, const CPDFPage& page_b) {
  for (int which = 0; which < kPageBoxCount; ++which) {
    _QVRECTF box_a{};
    _QVRECTF box_b{};
    const bool has_a = read_page_box(a, page_a, which, box_a);
    const bool has_b = read_page_box(b, page_b, which, box_b);
    if (has_a != has_b || std::memcmp(&box_a, &box_b, sizeof(box_a)) != 0)
      return false;
  }
  return true;
}

// Where the resources that apply to a page are: the number of their object; below 0 that of the node which holds
// them, and one less; 0 when they are the page's own.
std::int32_t place_of_resources(CPDFDoc& doc, const CPDFPage& page) {
  const CPDFObj* const own = page.dict.get_item(CPDFDictionary::sm_tag_res);
  if (!doc.is_absent(own))
    return own->as_ref().num;
  const PDF_INHERITED& above = page.from_above;
  return above.has_direct_resources ? -2 - above.holder : above.resources.num;
}

// The resources that apply to the page `index`, wherever they are.
Freed<CPDFObj> read_resources(CPDFDoc& doc, int index) {
  CPDFPage page;
  return doc.load_page(index, page) ? page_resources(doc.table(), page) : Freed<CPDFObj>();
}

// Whether an object holds the file together.
bool is_structure(CPDFXRefTable& table, const CPDFObj& obj) {
  const CPDFStreamRec* const rec = obj.as_stream();
  const Freed<CPDFObj> kind = table.value(rec != nullptr ? &rec->dict : nullptr, CPDFDictionary::sm_tag_type);
  return kind.is_name("XRef") || kind.is_name("ObjStm");
}

// "Annot Widget", "Page", "stream" or "array".
std::size_t put_kind(CPDFXRefTable& table, const CPDFObj& obj, char (&out)[128]) {
  const CPDFDictionary* const dict = obj.as_stream() != nullptr ? &obj.as_stream()->dict : obj.as_dict();
  const Freed<CPDFObj> type = table.value(dict, CPDFDictionary::sm_tag_type);
  const Freed<CPDFObj> subtype = table.value(dict, CPDFDictionary::sm_tag_subtype);
  const char* const words[] = {type.as_name(), subtype.as_name()};
  std::size_t size = 0;
  for (const char* word : words) {
    const std::size_t length = word != nullptr ? std::strlen(word) : 0;
    if (length == 0 || size + length + 2 > sizeof(out))
      continue;
    if (size != 0)
      out[size++] = ' ';
    std::memcpy(out + size, word, length);
    size += length;
  }
  if (size != 0)
    return size;
  const char* const plain = obj.as_stream() != nullptr  ? "stream"
                            : obj.as_dict() != nullptr  ? "dictionary"
                            : obj.as_array() != nullptr ? "array"
                                                        : "value";
  std::memcpy(out, plain, std::strlen(plain));
  return std::strlen(plain);
}

}  // namespace

CPDFDocDiff::CPDFDocDiff(CPDFDoc& a, CPDFDoc& b, CPDFDiffSink& sink)
    : a_(a), b_(b), sink_(sink), left_(kLeastWork + kWorkPerByte * (a.file_size() + b.file_size())) {}

std::uint64_t CPDFDocDiff::look_of(CPDFDoc& doc, int index) {
  constexpr std::uint64_t kStart = 14695981039346656037u;
  CPDFPage page;
  ContentText content;
  if (!doc.load_page_alone(index, page))
    return 0;
  const CPDFObj* const contents = page.dict.get_item("Contents");
  if (left_ > 0)
    content.load(doc.table(), contents);
  left_ -= static_cast<long long>(content.text().size());
  std::uint64_t digest = mixed(kStart, content.text().data(), content.text().size());
  if (left_ <= 0 && contents != nullptr)
    digest = mixed(digest, &contents->value, sizeof(contents->value));
  return mixed(digest, &page.box, sizeof(page.box));
}

bool CPDFDocDiff::same_content(const CPDFPage& a, const CPDFPage& b) {
  const CPDFObj* const item_a = a.dict.get_item("Contents");
  const CPDFObj* const item_b = b.dict.get_item("Contents");
  if (left_ <= 0)
    return item_a != nullptr && item_b != nullptr && item_a->as_ref() == item_b->as_ref();
  ContentText text_a;
  ContentText text_b;
  text_a.load(a_.table(), item_a);
  text_b.load(b_.table(), item_b);
  left_ -= static_cast<long long>(text_a.text().size() + text_b.text().size());
  return text_a.text() == text_b.text();
}

// Pairs of pages, in the order of both documents.
class CPDFDocDiff::Alignment {
public:
  Alignment(const GrowArray<PageLook>& a, const GrowArray<PageLook>& b, GrowArray<Pair>& pairs)
      : a_(a), b_(b), pairs_(pairs) {}

  void run() {
    std::size_t end_a = a_.size();
    std::size_t end_b = b_.size();
    for (; first_ < std::min(end_a, end_b) && a_[first_].digest == b_[first_].digest; ++first_)
      put(first_, first_);
    while (end_a > first_ && end_b > first_ && a_[end_a - 1].digest == b_[end_b - 1].digest) {
      --end_a;
      --end_b;
    }
    rows_ = end_a - first_;
    columns_ = end_b - first_;
    if (measure())
      pair_by_digest();
    else
      pair_changed(first_, end_a, first_, end_b);
    for (; end_a < a_.size(); ++end_a, ++end_b)
      put(end_a, end_b);
  }

private:
  void put(std::size_t a, std::size_t b) { pairs_.push({static_cast<std::int32_t>(a), static_cast<std::int32_t>(b)}); }
  bool are_equal(std::size_t i, std::size_t j) const { return a_[first_ + i].digest == b_[first_ + j].digest; }
  std::int32_t& cell(std::size_t i, std::size_t j) { return longest_[i * (columns_ + 1) + j]; }

  // How many pages those from i and j on have in common, for all i and j. False when that would take too much.
  bool measure() {
    if (rows_ >= kMostCells || columns_ >= kMostCells || (rows_ + 1) * (columns_ + 1) > kMostCells ||
        !longest_.resize((rows_ + 1) * (columns_ + 1)))
      return false;
    for (std::size_t i = rows_; i-- > 0;) {
      for (std::size_t j = columns_; j-- > 0;)
        cell(i, j) = are_equal(i, j) ? cell(i + 1, j + 1) + 1 : std::max(cell(i + 1, j), cell(i, j + 1));
    }
    return true;
  }

  void pair_by_digest() {
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < rows_ || j < columns_) {
      const std::size_t start_i = i;
      const std::size_t start_j = j;
      while (i < rows_ && j < columns_ && !are_equal(i, j))
        ++(cell(i + 1, j) >= cell(i, j + 1) ? i : j);
      if (i == rows_ || j == columns_) {
        i = rows_;
        j = columns_;
      }
      pair_changed(first_ + start_i, first_ + i, first_ + start_j, first_ + j);
      if (i < rows_ && j < columns_)
        put(first_ + i++, first_ + j++);
    }
  }

  // Between two pages in common, as many as there are on both sides were changed; the others are new or gone.
  void pair_changed(std::size_t a, std::size_t end_a, std::size_t b, std::size_t end_b) {
    while (a < end_a && b < end_b)
      put(a++, b++);
    for (; a < end_a; ++a)
      pairs_.push({static_cast<std::int32_t>(a), -1});
    for (; b < end_b; ++b)
      pairs_.push({-1, static_cast<std::int32_t>(b)});
  }

  const GrowArray<PageLook>& a_;
  const GrowArray<PageLook>& b_;
  GrowArray<Pair>& pairs_;
  GrowArray<std::int32_t> longest_;
  std::size_t first_ = 0;  // pages before this one are equal on both sides
  std::size_t rows_ = 0;
  std::size_t columns_ = 0;
};

// Pages that follow one another often share theirs, which are then compared once.
bool CPDFDocDiff::same_resources(const Pair& pair, std::int32_t place_a, std::int32_t place_b) {
  if (place_a != 0 && place_b != 0 && place_a == resources_.a && place_b == resources_.b)
    return resources_are_same_;
  const Freed<CPDFObj> a = read_resources(a_, pair.a);
  const Freed<CPDFObj> b = read_resources(b_, pair.b);
  resources_ = {place_a, place_b};
  resources_are_same_ = ValueWalk(a_, b_).are_same(a, b);
  return resources_are_same_;
}

void CPDFDocDiff::compare_pages(const Pair& pair) {
  CPDFPage a;
  CPDFPage b;
  const bool has_a = pair.a >= 0 && a_.load_page_alone(pair.a, a);
  const bool has_b = pair.b >= 0 && b_.load_page_alone(pair.b, b);
  if (!has_a || !has_b) {
    if (has_a != has_b || pair.a < 0 || pair.b < 0)
      sink_.page(pair.a, pair.b, 0);
    return;
  }
  std::uint32_t what = 0;
  what |= same_content(a, b) ? 0U : kPageContentDiffers;
  what |= same_boxes(a_, a, b_, b) ? 0U : kPageBoxesDiffer;
  what |= a.rotate == b.rotate ? 0U : kPageRotationDiffers;
  what |= same_resources(pair, place_of_resources(a_, a), place_of_resources(b_, b)) ? 0U : kPageResourcesDiffer;
  const Freed<CPDFObj> annots_a = a_.table().value(&a.dict, "Annots");
  const Freed<CPDFObj> annots_b = b_.table().value(&b.dict, "Annots");
  what |= ValueWalk(a_, b_).are_same(annots_a, annots_b) ? 0U : kPageAnnotationsDiffer;
  if (what != 0)
    sink_.page(pair.a, pair.b, what);
}

void CPDFDocDiff::pages() {
  GrowArray<PageLook> a;
  GrowArray<PageLook> b;
  GrowArray<Pair> pairs;
  for (int i = 0; i < a_.page_count(); ++i)
    a.push({look_of(a_, i)});
  for (int i = 0; i < b_.page_count(); ++i)
    b.push({look_of(b_, i)});
  Alignment(a, b, pairs).run();
  for (const Pair& pair : pairs)
    compare_pages(pair);
}

void CPDFDocDiff::tree() {
  ValueWalk walk(a_, b_);
  const auto compare = [&](const char* name, const CPDFObj& a, const CPDFObj& b) {
    walk.compare(name, a, b,
                 [this](std::string_view path, const CPDFObj* x, const CPDFObj* y) { sink_.value(path, x, y); });
  };
  compare("Root", a_.table().root, b_.table().root);
  compare("Info", a_.table().info, b_.table().info);
}

void CPDFDocDiff::objects() {
  CPDFXRefTable& table_a = a_.table();
  CPDFXRefTable& table_b = b_.table();
  table_a.drain_pending();
  table_b.drain_pending();
  const std::uint32_t count = std::max(table_a.xref_count, table_b.xref_count);
  for (std::uint32_t num = 1; num < count; ++num) {
    const PDF_REF ref = PDF_REF::at(num);
    Freed<CPDFObj> a;
    Freed<CPDFObj> b;
    if (num < table_a.xref_count)
      table_a.get_stored(a, ref);
    if (num < table_b.xref_count)
      table_b.get_stored(b, ref);
    if (is_structure(table_a, a))
      a.free();
    if (is_structure(table_b, b))
      b.free();
    if (same_stored(a_, a, b_, b))
      continue;
    char kind[128];
    const std::size_t size = b.is_null() ? put_kind(table_a, a, kind) : put_kind(table_b, b, kind);
    sink_.object(ref.num, {kind, size}, a, b);
  }
}

// The ways that believe a file's own cross-reference sections, and the order in which all are tried.
#include "sheaf/document/open/document_opener_internal.h"

#include <algorithm>
#include <new>

#include "sheaf/base/heap_watch.h"
#include "sheaf/document/open/entry_places_internal.h"
#include "sheaf/document/open/object_rescue_internal.h"
#include "sheaf/document/pages/page_list.h"
#include "sheaf/neighbours/security/standard_handler.h"

namespace sheaf {

namespace {

// Streams of files give the low 32 bits of their length; their position at the end is the whole of it.
bool is_too_large(CQVStream& stream) {
  const long long length = stream.GetLen();
  stream.SetPos(CQVStream::STR_SEEK_END, 0);
  const long long end = stream.GetPos();
  stream.SetPos(CQVStream::STR_SEEK_SET, 0);
  constexpr long long kMost = UINT32_MAX;
  return length < 0 || length > kMost || end < 0 || end > kMost;
}

}  // namespace

const ObjectScan* DocumentOpener::scan() {
  return doc_.rescue_ != nullptr ? doc_.rescue_->scan() : nullptr;
}

// The handler tries the empty password too: most encrypted documents open with it.
bool DocumentOpener::authorise() {
  // A section that cannot be read takes the handler off the table, so all are read before.
  doc_.read_all_sections();
  doc_.authorised_ = table_.XRefAuthorize(&doc_.handler_) != 0;
  if (!doc_.authorised_)
    table_.sec_hand = nullptr;
  return doc_.authorised_;
}

DocumentOpener::Attempt DocumentOpener::look_at_tree() {
  PageTreeLook look;
  doc_.pages_.look_at_tree(look);
  const bool in_place = std::all_of(look.met.begin(), look.met.end(),
                                    [this](const PDF_REF& ref) { return header_stands_at(table_, ref); });
  return {look.is_tree, look.is_tree && in_place, look.has_pages, look.has_no_pages};
}

// Looks at what the table leads to. The root may be in an older section.
DocumentOpener::Attempt DocumentOpener::examine() {
  Attempt attempt;
  while (table_.root.is_null() && table_.pending_count > 0)
    table_.pop_pending();
  if (table_.root.is_null())
    return attempt;
  if (doc_.is_encrypted() && !authorise()) {
    // Object streams may hide the page tree until a password is known.
    attempt.usable = attempt.trusted = true;
    return attempt;
  }
  attempt = look_at_tree();
  attempt.trusted = attempt.trusted && attempt.usable && (attempt.has_no_pages || attempt.has_pages);
  return attempt;
}

// An offset that is a little off is replaced by that of the nearest section around it.
std::uint32_t DocumentOpener::adjust_section_offset(std::uint32_t offset) {
  if (is_section_at(stream_, offset))
    return offset;
  const std::uint32_t best = find_section_near(stream_, offset);
  if (best != offset)
    add_repair("startxref", 0, best, "startxref is off; section found nearby");
  if (best < offset)
    add_repair("bytes", 0, best, kBytesMissing);
  return best;
}

bool DocumentOpener::try_linearized() {
  reset_table();
  PDF_PAGE_SET set{};
  const std::uint32_t hint_offset = table_.read_linearized(set);
  QVFree(set.pages);
  const std::uint32_t length = table_.linearized_length;
  stated_length_ = length;
  // Without "L" nobody knows whether something was appended; the newest section knows.
  doc_.linearized_ = hint_offset != 0 && length != 0;
  if (!doc_.linearized_) {
    reset_table();
    table_.linearized_length = length;  // marks the sections that were appended since
    return false;
  }
  const Attempt attempt = examine();
  if (attempt.trusted)
    return true;
  doc_.linearized_ = false;
  reset_table();
  return false;
}

// Whether the chain of sections from `offset` on leads to a document whose entries are true.
bool DocumentOpener::read_chain(std::uint32_t offset) {
  reset_table();
  table_.linearized_length = former_length_;
  return table_.XRefRead(offset) != 0 && examine().trusted && !entries_mislead(table_);
}

// Where the number of the last mark is cut off, its section is the last one in the file.
bool DocumentOpener::try_section_before(const SectionMark& mark) {
  const ObjectScan* const found = scan();
  if (found == nullptr || found->last_section() == 0 || found->last_section() >= mark.position ||
      !read_chain(found->last_section()))
    return false;
  add_repair("startxref", 0, found->last_section(), "the number of startxref is cut off; the last section is taken");
  return true;
}

// Where the mark of the newest section is cut off, the section itself can still be there.
bool DocumentOpener::try_section_after(const SectionMark& mark) {
  const ObjectScan* const found = scan();
  if (found == nullptr || found->last_section() < mark.end || !ends_within_mark(stream_, found->last_section()) ||
      !read_chain(found->last_section()))
    return false;
  add_repair("startxref", 0, found->last_section(), "startxref of the newest section is gone; the section is taken");
  return true;
}

bool DocumentOpener::try_sections() {
  SectionMark mark{stream_.GetLen() + 1};
  bool is_cut = true;
  former_length_ = table_.linearized_length;
  // A mark that was cut in the middle gives way to the one before it, which has an older state.
  const std::size_t known = doc_.repairs_.size();
  stated_section_ = 0;
  while (is_cut && find_section_mark(stream_, mark)) {
    is_cut = mark.is_cut;
    if (mark.has_number && stated_section_ == 0 && !is_cut)
      stated_section_ = mark.offset;
    const bool is_whole = mark.has_number && (!is_cut || is_section_at(stream_, mark.offset));
    const std::uint32_t offset = is_whole ? adjust_section_offset(mark.offset) : 0;
    if (is_whole && read_chain(offset)) {
      PDF_REF behind{};
      std::uint32_t place = 0;
      if (!has_object_after(mark, behind, place) || try_section_after(mark))
        return true;
      add_repair("update", behind.num, place, "objects behind the last section are listed by none; left out");
      return read_chain(offset);
    }
    while (doc_.repairs_.size() > known)
      doc_.repairs_.pop();  // of an attempt that came to nothing
    if (is_cut && try_section_before(mark))
      return true;
  }
  if (!mark.has_number)
    add_repair("startxref", 0, 0, "no startxref");
  return false;
}

bool DocumentOpener::finish(PDF_OPEN status) {
  doc_.status_ = status;
  read_catalog_version();
  return true;
}

void DocumentOpener::begin_at(long long base) {
  if (doc_.rescue_ != nullptr && stream_.base_offset != base)
    doc_.rescue_->forget_scan();
  stream_.base_offset = base;
}

bool DocumentOpener::run() {
  if (is_too_large(stream_)) {
    doc_.status_ = PDF_OPEN::kTooLarge;
    return false;
  }
  table_.lengths.checked = true;
  const HeapWatch watch;
  doc_.file_size_ = stream_.GetLen();
  if (doc_.file_size_ <= 0) {
    doc_.status_ = PDF_OPEN::kEmpty;
    return false;
  }
  doc_.storage_base_ = stream_.base_offset;
  doc_.rescue_ = new (std::nothrow) ObjectRescue(doc_, table_);
  find_header();
  if (open_in_order())
    return true;
  reset_table();
  doc_.status_ = watch.all_granted() ? PDF_OPEN::kDamaged : PDF_OPEN::kNoMemory;
  return false;
}

bool DocumentOpener::open_in_order() {
  // Offsets usually count from the header, but in some files from the start of the file.
  const long long bases[] = {doc_.storage_base_ + doc_.header_offset_, doc_.storage_base_};
  const int base_count = doc_.header_offset_ != 0 ? 2 : 1;
  for (int i = 0; i < base_count; ++i) {
    begin_at(bases[i]);
    if (try_linearized() || try_sections()) {
      if (stated_length_ > stream_.GetLen())
        report_missing_bytes();
      return finish(PDF_OPEN::kClean);
    }
  }
  begin_at(bases[0]);
  if (heal()) {
    report_missing_bytes();
    return true;
  }
  // What is left may still be a proper document, only without pages.
  reset_table();
  SectionMark mark{stream_.GetLen() + 1};
  return find_section_mark(stream_, mark) && table_.XRefRead(adjust_section_offset(mark.offset)) != 0 &&
         examine().usable && finish(PDF_OPEN::kClean);
}

}  // namespace sheaf

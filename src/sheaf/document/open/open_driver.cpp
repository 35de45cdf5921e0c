// Opening: from bytes to a table that can be trusted.
#include <algorithm>
#include <cstring>
#include <new>

#include "sheaf/base/chars.h"
#include "sheaf/base/heap_watch.h"
#include "sheaf/base/number_text.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/open/object_rescue_internal.h"
#include "sheaf/object/parse_buf.h"

using namespace sheaf;

namespace {

constexpr unsigned kHeaderWindow = 1024;  // the header may be anywhere in the first bytes
constexpr unsigned kTailBlock = 1024;
constexpr unsigned kFarBlock = 16 * 1024;
constexpr unsigned kTailOverlap = 16;  // "startxref" may lie across two blocks
constexpr char kStartWord[] = "startxref";
constexpr int kStartWordSize = sizeof(kStartWord) - 1;
constexpr long long kMostTail = 300LL * 1024 * 1024;  // as far as a rebuild would look
constexpr char kBytesMissing[] = "bytes are missing in front of the last section or behind it; something was cut out";
constexpr std::uint32_t kNearby = 1024;  // how far an offset is searched around

// The last place of `word` in `data`, or -1.
int find_last(const char* data, int len, const char* word) {
  const auto word_len = static_cast<int>(std::strlen(word));
  for (int at = len - word_len; at >= 0; --at) {
    if (std::memcmp(data + at, word, static_cast<std::size_t>(word_len)) == 0)
      return at;
  }
  return -1;
}

// Whether the entry leads into the middle of its own object's number. What is read there is another
// object's header, and the search for the right one would begin behind it.
bool leads_into_its_number(const CPDFXRefTable& table, std::uint32_t num) {
  constexpr std::uint32_t kMostDigits = 10;
  const std::uint32_t offset = table.xref_items[num].offset;
  const std::uint32_t before = std::min(offset, kMostDigits);
  char text[kMostDigits + 2]{};
  table.stream->SetPos(CQVStream::STR_SEEK_SET, offset - before);
  if (table.stream->Read(text, before + 1) != before + 1 || !is_digit(text[before]))
    return false;
  std::uint32_t start = before;
  while (start != 0 && is_digit(text[start - 1]))
    --start;
  table.stream->SetPos(CQVStream::STR_SEEK_SET, offset - before + start);
  table.stream->Read(text, kMostDigits + 1);
  return start != before && ansi_to_i32(text) == static_cast<std::int32_t>(num);
}

}  // namespace

bool CPDFDoc::open(const char* path) {
  close();
  if (!blocks_.Open(path)) {
    status_ = PDF_OPEN::kNoFile;
    return false;
  }
  stream_ = &blocks_;
  return open_stream();
}

bool CPDFDoc::open(CQVStream* stream) {
  close();
  stream_ = stream;
  return open_stream();
}

void CPDFDoc::close() {
  fold_plain_sections();
  table_.XRefFree();
  reset_table();
  table_.stream = nullptr;
  table_.finder = nullptr;
  delete rescue_;
  rescue_ = nullptr;
  if (stream_ != nullptr)
    stream_->base_offset = storage_base_;
  stream_ = nullptr;
  file_.Close();
  blocks_.Close();
  pages_.reset();
  repairs_.reset();
  table_repairs_told_ = 0;
  status_ = PDF_OPEN::kClosed;
  linearized_ = authorised_ = false;
  version_[0] = 0;
  file_size_ = header_offset_ = 0;
  forget_plain_sections();
  saved_changes_ = 0;
  changed_info_ = 0;
  metadata_left_ = false;
  last_save_ = PDF_SAVE::kUnchanged;
}

// A fresh table over the present stream.
void CPDFDoc::reset_table() {
  table_.XRefFree();
  table_.xref_kinds = table_.first_xref_kind = 0;
  table_.last_xref_offset = table_.linearized_length = 0;
  table_.next_obj_num = 0;
  table_.keeps_generations = 1;
  table_.omits_frame = 1;  // the document gives one to those who ask for it
  table_.sec_filter[0] = 0;
  table_.stream = stream_;
  table_.copies_own_source = 1;
  table_.frees_lost_members = 1;
  table_.reads_hybrid_first = 1;
  table_.finder = rescue_;
  if (rescue_ != nullptr)
    rescue_->begin_anew();
  table_.append_offset = stream_ != nullptr ? static_cast<std::uint32_t>(stream_->GetLen()) : 0;
  table_repairs_told_ = 0;
}

void CPDFDoc::add_repair(const char* code, std::int32_t num, std::uint32_t offset, const char* action) {
  repairs_.push({code, num, offset, action});
}

const GrowArray<PDF_DOC_REPAIR>& CPDFDoc::repairs() {
  for (; table_repairs_told_ < table_.repairs.size(); ++table_repairs_told_) {
    const PDF_REPAIR& repair = table_.repairs[table_repairs_told_];
    switch (repair.code) {
      case PDF_REPAIR::kEntryCorrected:
        add_repair("entry", repair.num, repair.offset, "object was not at its entry's offset; found elsewhere");
        break;
      case PDF_REPAIR::kSectionUnreadable:
        add_repair("section", repair.num, repair.offset, "cross-reference section cannot be read; passed over");
        break;
      case PDF_REPAIR::kLengthCorrected:
        add_repair("length", repair.num, repair.offset,
                   "a length or number that the stream states is false; its data are believed");
        break;
      case PDF_REPAIR::kTableRebuilt:
        add_repair("table", repair.num, repair.offset, "cross-reference table rebuilt by scanning");
        break;
    }
  }
  return repairs_;
}

void CPDFDoc::find_header() {
  char window[kHeaderWindow + 1];
  stream_->SetPos(CQVStream::STR_SEEK_SET, 0);
  const unsigned len = std::min(stream_->Read(window, kHeaderWindow), kHeaderWindow);
  window[len] = 0;
  const char* const end = window + len;
  const char mark[] = "%PDF-";
  const char* at = std::search(window, window + len, mark, mark + 5);
  header_offset_ = at != end ? at - window : 0;
  version_[0] = 0;
  if (at == end) {
    add_repair("header", 0, 0, "no header in the first 1,024 bytes; read without one");
    return;
  }
  std::size_t count = 0;
  for (at += 5; at < end && count + 1 < sizeof(version_) && (is_digit(*at) || *at == '.'); ++at)
    version_[count++] = *at;
  version_[count] = 0;
}

// The last "startxref" in front of `mark.position`, looked for from there over zeros and junk: a
// save that was cut short can have left a whole section of it behind the old end.
bool CPDFDoc::find_startxref(StartMark& mark) {
  char block[kFarBlock + kTailOverlap + 1];
  const long long limit = mark.position;
  const long long len = stream_->GetLen();
  long long size = kTailBlock;
  for (long long end = limit; end > 0 && len - end < kMostTail; end -= size, size = kFarBlock) {
    const long long start = std::max(end - size, 0LL);
    stream_->SetPos(CQVStream::STR_SEEK_SET, start);
    const unsigned got = stream_->Read(block, static_cast<unsigned>(std::min(end + kTailOverlap, limit) - start));
    const int at = find_last(block, static_cast<int>(std::min(got, kFarBlock + kTailOverlap)), kStartWord);
    if (at < 0)
      continue;
    mark.position = start + at;
    read_start_mark(mark);
    return true;
  }
  return false;
}

// The number behind the word. A file that ends within the two was cut there.
void CPDFDoc::read_start_mark(StartMark& mark) {
  stream_->SetPos(CQVStream::STR_SEEK_SET, mark.position + kStartWordSize);
  CPDFBufBase buf;
  buf.buf_init(stream_);
  mark.has_number = buf.buf_skip_ws(true) && is_digit(buf.buf_data[buf.buf_pos]);
  mark.offset = mark.has_number ? static_cast<std::uint32_t>(buf.buf_read_int()) : 0;
  buf.buf_need(1);
  mark.is_cut = buf.buf_pos >= buf.buf_len;
}

// Whether a cross-reference section begins at `offset`: the keyword, or the header of an object.
bool CPDFDoc::is_section_at(std::uint32_t offset) {
  stream_->SetPos(CQVStream::STR_SEEK_SET, offset);
  CPDFBufBase buf;
  buf.buf_init(stream_);
  if (!buf.buf_skip_ws(true))
    return false;
  buf.buf_need(32);
  const char* at = buf.buf_data + buf.buf_pos;
  if (std::strncmp(at, "xref", 4) == 0)
    return true;
  const std::uint32_t before = buf.buf_pos;
  return is_digit(*at) && buf.buf_skip_to_obj() != nullptr && buf.buf_pos == before;
}

// An offset that is a little off is replaced by that of the nearest "xref" around it.
std::uint32_t CPDFDoc::adjust_section_offset(std::uint32_t offset) {
  if (is_section_at(offset))
    return offset;
  char window[2 * kNearby];
  const std::uint32_t start = offset > kNearby ? offset - kNearby : 0;
  stream_->SetPos(CQVStream::STR_SEEK_SET, start);
  const unsigned len = std::min<unsigned>(stream_->Read(window, sizeof(window)), sizeof(window));
  std::uint32_t best = offset;
  std::uint32_t best_distance = UINT32_MAX;
  for (std::uint32_t i = 0; i + 4 <= len; ++i) {
    const bool own_word = i == 0 || !is_regular(window[i - 1]);
    if (!own_word || std::memcmp(window + i, "xref", 4) != 0)
      continue;
    const std::uint32_t found = start + i;
    const std::uint32_t distance = found > offset ? found - offset : offset - found;
    if (distance < best_distance) {
      best = found;
      best_distance = distance;
    }
  }
  if (best != offset)
    add_repair("startxref", 0, best, "startxref is off; section found nearby");
  if (best < offset)
    add_repair("bytes", 0, best, kBytesMissing);
  return best;
}

// An update that was cut off leaves objects behind the last section: the document is opened in its
// state before.
void CPDFDoc::look_behind(const StartMark& mark) {
  constexpr long long kMostBehind = 1 << 20;
  const long long start = mark.position + kStartWordSize;
  if (stream_->GetLen() - start < kHeaderWindow / 16)
    return;
  stream_->SetPos(CQVStream::STR_SEEK_SET, start);
  CPDFBufBase buf;
  buf.buf_init(stream_);
  while (buf.position() - start < kMostBehind) {
    const char* const header = buf.buf_skip_to_obj();
    if (header == nullptr)
      return;
    const std::int32_t num = ansi_to_i32(header);
    const std::uint32_t at = buf.position();
    Freed<CPDFObj> obj;
    obj.read(&buf, nullptr);
    if (obj.as_dict_or_stream() == nullptr)
      continue;
    add_repair("update", num, at, "what stands behind the last section is in none; left out");
    return;
  }
}

// Whether the last section stands in front of where the end of the file says, or the file is shorter
// than it says: something was cut out of it, and nobody can say what.
void CPDFDoc::tell_of_missing_bytes() {
  const ObjectScan* const scan = rescue_ != nullptr ? rescue_->scan() : nullptr;
  const std::uint32_t found = scan != nullptr ? scan->last_section() : 0;
  const bool too_near = found != 0 && stated_section_ > found && stated_section_ < stream_->GetLen() + kNearby * 4;
  const bool too_short = stated_length_ != 0 && stated_length_ > stream_->GetLen();
  if (too_near || too_short)
    add_repair("bytes", 0, found, kBytesMissing);
}

// Whether an entry of the file leads to the header of its own object.
bool CPDFDoc::header_stands_at(const PDF_REF& ref) {
  const auto num = static_cast<std::uint32_t>(ref.num);
  if (ref.num <= 0 || num >= table_.xref_count)
    return true;  // a direct object has no place to be tested
  const PDF_XREF& entry = table_.xref_items[num];
  if (entry.is_found())
    return table_.xref_kinds == 1;  // corrected on the way: by the strict search or by the plain one
  if (!entry.is_listed())
    return true;
  return header_number_at(*stream_, entry.offset) == ref.num;
}

PDF_REF CPDFDoc::reference_to(std::int32_t num) {
  const auto index = static_cast<std::uint32_t>(num);
  return {num, num > 0 && table_.know_entry(index) ? std::max(table_.known_generation(index), 0) : 0};
}

bool CPDFDoc::can_reach(std::int32_t num) {
  const auto index = static_cast<std::uint32_t>(num);
  if (num < 1 || !table_.know_entry(index))
    return true;
  if (!table_.xref_items[index].is_compressed()) {
    Freed<CPDFObj> obj;
    table_.get_stored(obj, reference_to(num));
    if (!obj.is_null())
      return true;
  }
  const PDF_XREF entry = table_.xref_items[index];
  if (entry.is_listed() || entry.is_found()) {
    return header_number_at(*stream_, entry.offset) == num;
  }
  if (!entry.is_compressed())
    return true;
  const std::uint32_t container = entry.offset;
  const PDF_OBJSTM* const objstm =
      table_.know_entry(container)
          ? table_.get_objstm_references(table_.xref_items[container].offset, static_cast<std::int32_t>(container))
          : nullptr;
  return objstm != nullptr && (objstm->objs != nullptr || objstm->refs != nullptr) && entry.gen >= 0 &&
         entry.gen < objstm->count;
}

// Whether entries of a sample lead into the middle of numbers, as in a file whose offsets are all off
// by a little: each object would then be searched for, and some would be taken for others.
bool CPDFDoc::offsets_mislead() {
  constexpr std::uint32_t kSample = 16;
  std::uint32_t looked_at = 0;
  std::uint32_t wrong = 0;
  const std::uint32_t step = std::max(table_.xref_count / kSample, 1u);
  for (std::uint32_t num = 1; num < table_.xref_count; num += step) {
    const PDF_XREF& entry = table_.xref_items[num];
    if (entry.type != PDF_XREF::kInFile)
      continue;
    char text[12]{};
    stream_->SetPos(CQVStream::STR_SEEK_SET, entry.offset);
    stream_->Read(text, sizeof(text) - 1);
    ++looked_at;
    if (!is_digit(text[0]) || ansi_to_i32(text) == static_cast<std::int32_t>(num))
      continue;
    ++wrong;
    if (leads_into_its_number(table_, num))
      return true;
  }
  return 2 * wrong > looked_at;
}

// The tree is trusted when every object met on the way to the first page stands at its entry's place.
void CPDFDoc::look_at_tree(Attempt& attempt) {
  PageTreeLook look;
  pages_.look_at_tree(look);
  attempt.usable = look.is_tree;
  attempt.has_pages = look.has_pages;
  attempt.has_no_pages = look.has_no_pages;
  attempt.trusted = look.is_tree && std::all_of(look.met.begin(), look.met.end(),
                                                [this](const PDF_REF& ref) { return header_stands_at(ref); });
}

// Looks at what the table leads to. The root may be in an older section.
CPDFDoc::Attempt CPDFDoc::examine() {
  Attempt attempt;
  while (table_.root.is_null() && table_.pending_count > 0)
    table_.pop_pending();
  if (table_.root.is_null())
    return attempt;
  if (is_encrypted() && !authorise_quietly()) {
    // Object streams may hide the page tree until a password is known.
    attempt.usable = attempt.trusted = true;
    return attempt;
  }
  look_at_tree(attempt);
  attempt.trusted = attempt.trusted && attempt.usable && (attempt.has_no_pages || attempt.has_pages);
  return attempt;
}

// Connects the handler, which tries the empty password too: most encrypted documents open with it.
bool CPDFDoc::authorise_quietly() {
  // A section that cannot be read takes the handler off the table, so all are read before.
  read_all_sections();
  authorised_ = table_.XRefAuthorize(&handler_) != 0;
  if (!authorised_)
    table_.sec_hand = nullptr;
  return authorised_;
}

// Also those behind one that cannot be read.
void CPDFDoc::read_all_sections() {
  CPDFSecHand* const hand = table_.sec_hand;
  while (table_.pending_count > 0)
    table_.pop_pending();
  table_.sec_hand = hand;
}

void CPDFDoc::tell_of_missing(std::int32_t num) {
  add_repair("objects", num, 0, "this object and others are in no section that can be read; found by scanning");
}

bool CPDFDoc::try_linearized() {
  reset_table();
  PDF_PAGE_SET set{};
  const std::uint32_t hint_offset = table_.read_linearized(set);
  QVFree(set.pages);
  const std::uint32_t length = table_.linearized_length;
  stated_length_ = length;
  // Without "L" nobody can tell whether something was appended; the newest section knows.
  linearized_ = hint_offset != 0 && length != 0;
  if (!linearized_) {
    reset_table();
    table_.linearized_length = length;  // marks the sections that were appended since
    return false;
  }
  const Attempt attempt = examine();
  if (attempt.trusted)
    return true;
  linearized_ = false;
  reset_table();
  return false;
}

// Where the number of the last mark is cut off, its section is the last one in the file.
bool CPDFDoc::try_section_before(const StartMark& mark) {
  const ObjectScan* const scan = rescue_ != nullptr ? rescue_->scan() : nullptr;
  reset_table();
  if (scan == nullptr || scan->last_section() == 0 || scan->last_section() >= mark.position ||
      table_.XRefRead(scan->last_section()) == 0 || !examine().trusted || offsets_mislead())
    return false;
  add_repair("startxref", 0, scan->last_section(), "the number of startxref is cut off; the last section is taken");
  return true;
}

bool CPDFDoc::try_sections() {
  StartMark mark{stream_->GetLen() + 1};
  bool is_cut = true;
  const std::uint32_t linearized_length = table_.linearized_length;  // that of a file updated since
  // A mark that was cut in the middle gives way to the one before it, which has an older state.
  const std::size_t told = repairs_.size();
  stated_section_ = 0;
  while (is_cut && find_startxref(mark)) {
    is_cut = mark.is_cut;
    if (mark.has_number && stated_section_ == 0 && !is_cut)
      stated_section_ = mark.offset;
    reset_table();
    table_.linearized_length = linearized_length;
    const bool is_whole = mark.has_number && (!is_cut || is_section_at(mark.offset));
    if (is_whole && table_.XRefRead(adjust_section_offset(mark.offset)) != 0 && examine().trusted &&
        !offsets_mislead()) {
      look_behind(mark);
      return true;
    }
    while (repairs_.size() > told)
      repairs_.pop();  // of an attempt that came to nothing
    if (is_cut && try_section_before(mark))
      return true;
  }
  if (!mark.has_number)
    add_repair("startxref", 0, 0, "no startxref");
  return false;
}

// The table's rebuild, with objects that it does not see: those behind one that has no end.
bool CPDFDoc::try_rebuild() {
  reset_table();
  if (table_.XRefCreate() == 0)
    return false;
  if (rescue_ != nullptr)
    rescue_->enter_all();
  table_.pending_count = 0;  // what is left in sections are objects in object streams
  table_.sections_lost = 1;
  const Attempt attempt = examine();
  return attempt.usable && (attempt.has_pages || waits_for_password());
}

// The table's rebuild knows nothing of object streams when a trailer is all it needs, and pages can
// lie in some of them. Where the tree tells of more pages than it leads to, the deeper search is
// tried as well, and what comes to more pages is taken.
bool CPDFDoc::heal() {
  const ObjectScan* const scan = rescue_ != nullptr ? rescue_->scan() : nullptr;
  if (scan != nullptr && scan->has_object_streams() && try_deep_recovery())
    return finish(PDF_OPEN::kRecovered);
  const bool rebuilt = try_rebuild();
  if (rebuilt && (waits_for_password() || !pages_.misses_pages()))
    return finish(PDF_OPEN::kRebuilt);
  const int pages = pages_.listed();
  const std::size_t told = repairs_.size();
  if (try_deep_recovery()) {
    if (!rebuilt)
      return finish(PDF_OPEN::kRecovered);
    pages_.ensure();
    if (pages_.listed() > pages)
      return finish(PDF_OPEN::kRecovered);
  }
  while (repairs_.size() > told && rebuilt)
    repairs_.pop();
  return rebuilt && try_rebuild() && finish(PDF_OPEN::kRebuilt);
}

bool CPDFDoc::finish(PDF_OPEN status) {
  status_ = status;
  read_version();
  return true;
}

// The catalogue may name a newer version than the header (ISO 32000-1, 7.7.2).
void CPDFDoc::read_version() {
  Freed<CPDFObj> catalog;
  table_.resolve(catalog, &table_.root);
  const CPDFDictionary* dict = catalog.as_dict();
  Freed<CPDFObj> version;
  table_.resolve(version, dict != nullptr ? dict->get_item("Version") : nullptr);
  const char* name = version.as_name();
  if (name == nullptr || std::strlen(name) >= sizeof(version_) || std::strcmp(name, version_) <= 0)
    return;
  std::memcpy(version_, name, std::strlen(name) + 1);
}

// Streams of files tell the low 32 bits of their length; where they stand at their end they tell it whole.
bool CPDFDoc::is_too_large() const {
  const long long told = stream_->GetLen();
  stream_->SetPos(CQVStream::STR_SEEK_END, 0);
  const long long end = stream_->GetPos();
  stream_->SetPos(CQVStream::STR_SEEK_SET, 0);
  constexpr long long kMost = UINT32_MAX;
  return told < 0 || told > kMost || end < 0 || end > kMost;
}

void CPDFDoc::begin_at(long long base) {
  if (rescue_ != nullptr && stream_->base_offset != base)
    rescue_->forget_scan();
  stream_->base_offset = base;
}

bool CPDFDoc::open_stream() {
  if (is_too_large()) {
    status_ = PDF_OPEN::kTooLarge;
    return false;
  }
  table_.lengths.checked = true;
  const HeapWatch watch;
  file_size_ = stream_->GetLen();
  if (file_size_ <= 0) {
    status_ = PDF_OPEN::kEmpty;
    return false;
  }
  storage_base_ = stream_->base_offset;
  rescue_ = new (std::nothrow) ObjectRescue(*this, table_);
  find_header();
  // Offsets count from the header as a rule, and from the file's start in some files all the same.
  const long long bases[] = {storage_base_ + header_offset_, storage_base_};
  const int base_count = header_offset_ != 0 ? 2 : 1;
  for (int i = 0; i < base_count; ++i) {
    begin_at(bases[i]);
    if (try_linearized() || try_sections()) {
      if (stated_length_ > stream_->GetLen())
        tell_of_missing_bytes();
      return finish(PDF_OPEN::kClean);
    }
  }
  begin_at(bases[0]);
  if (heal()) {
    tell_of_missing_bytes();
    return true;
  }
  // What is left may still be a proper document, only without pages.
  reset_table();
  StartMark mark{stream_->GetLen() + 1};
  if (find_startxref(mark) && table_.XRefRead(adjust_section_offset(mark.offset)) != 0 && examine().usable)
    return finish(PDF_OPEN::kClean);
  reset_table();
  status_ = watch.all_granted() ? PDF_OPEN::kDamaged : PDF_OPEN::kNoMemory;
  return false;
}

// A complete new file (ISO 32000-1, 7.5): the header, one copy of every object that can still be
// reached, one cross-reference stream. Object numbers stay; what was dropped leaves gaps. All
// positions count from where the target's stream was.
#include <algorithm>
#include <bit>
#include <cstring>

#include "sheaf/base/block_writer.h"
#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/work_watch.h"
#include "sheaf/object/references.h"
#include "sheaf/object/security.h"
#include "sheaf/save/entry_deflater_internal.h"
#include "sheaf/save/object_runs_internal.h"
#include "sheaf/save/stored_print.h"
#include "sheaf/save/xref_stream_internal.h"
#include "sheaf/xref/pdf_header.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr std::int32_t kRunStep = 4;
constexpr unsigned kMostEntrySize = 9;  // type, four bytes, four bytes
constexpr unsigned kStagingReserve = 12;
constexpr unsigned kFlushAt = EntryDeflater::kStaging - kStagingReserve;
constexpr std::size_t kSpareOutput = 256;
static_assert(kFlushAt + kMostEntrySize <= EntryDeflater::kStaging);

constexpr unsigned bytes_for(std::uint32_t value) {
  return static_cast<unsigned>((std::bit_width(value) + 7) / 8);
}
static_assert(bytes_for(0) == 0 && bytes_for(255) == 1 && bytes_for(256) == 2);

class CompleteFile {
public:
  CompleteFile(CPDFXRefTable& source, CPDFXRefTable& target, CPDFEncrypt* enc)
      : source_(source),
        target_(target),
        enc_(enc),
        base_(static_cast<std::uint32_t>(target.stream->GetPos())),
        has_id_(!target.id.is_null()),
        out_(target.stream),
        runs_(kRunStep) {}
  CompleteFile(const CompleteFile&) = delete;
  CompleteFile& operator=(const CompleteFile&) = delete;
  ~CompleteFile() { QVFree(map_.entries); }

  void write() {
    source_.drain_pending();
    source_.font_cache.embed_flush();
    if (source_.omits_frame == 0)
      source_.pdfa_gen();
    out_.Write(PDF_Header.data(), static_cast<unsigned>(PDF_Header.size()));
    if (!make_entries())
      return;
    mark();
    confirm_positions();
    put_objects();
    if (source_.frees_lost_members != 0)
      free_lost_members();
    put_section();
    if (out_.failed() || out_.GetPos() - base_ > static_cast<long long>(UINT32_MAX))
      target_.write_failed = 1;  // or offsets of 32 bits do not reach to its end
  }

private:
  std::uint32_t position() const { return static_cast<std::uint32_t>(out_.GetPos()) - base_; }

  // The entries themselves follow once the objects have been read.
  bool make_entries() {
    const std::size_t size = std::size_t{source_.xref_count} * sizeof(PDF_XREF);
    target_.xref_items = static_cast<PDF_XREF*>(QVAlloc(size));
    if (target_.xref_items == nullptr)
      return false;
    heap_expects_writes(target_.xref_items, size);
    target_.xref_count = source_.xref_count;
    target_.next_obj_num = source_.next_obj_num;
    return true;
  }

  void mark() {
    const auto mark_from = [this](const CPDFObj& value) {
      if (value.tag == kTagRef)
        source_.rec_obj(map_, value.as_ref());
    };
    mark_from(source_.root);
    mark_from(source_.info);
  }

  // The walk has read every object that will be written, and may have found some of them elsewhere
  // than their entries said; the target's copy follows.
  void confirm_positions() {
    if (source_.has_many_repairs()) {
      ReferenceList ignored;
      for (std::uint32_t num = 1; num < source_.xref_count && num < target_.xref_count; ++num) {
        const PDF_XREF entry = source_.xref_items[num];
        if (entry.is_known() && !entry.is_compressed())
          source_.get_references(ignored, object_num(num));
        ignored.clear();
      }
      source_.repaired_count = 0;
    }
    const std::uint32_t count = std::min(source_.xref_count, target_.xref_count);
    if (count != 0)
      std::memcpy(target_.xref_items, source_.xref_items, std::size_t{count} * sizeof(PDF_XREF));
  }

  bool is_marked(std::uint32_t num) const {
    return num < object_index(map_.count) && num < map_.capacity && map_.entries[num] != 0;
  }

  void put_objects() {
    for (std::uint32_t num = target_.next_entry(1); num < target_.xref_count; num = target_.next_entry(num + 1)) {
      WorkWatch::at(num, target_.xref_count);
      put_object(num, target_.xref_items[num]);
    }
  }

  void put_object(std::uint32_t num, PDF_XREF& entry) {
    if (entry.offset == 0 && !entry.is_changed()) {
      entry.type = PDF_XREF::kFree;
      return;
    }
    const bool rescued = entry.is_found() && is_marked(num);
    const std::int32_t gen = rescued && source_.keeps_generations != 0 ? source_.known_generation(num) : -1;
    if (gen > 0) {
      entry = PDF_XREF::in_file(entry.offset, gen);
      highest_gen_ = std::max(highest_gen_, gen);
    }
    if (!rescued)
      highest_gen_ = std::max(highest_gen_, entry.gen);
    if (!is_marked(num)) {
      // An object in an object stream stays with it, whether anything refers to it or not.
      if (!entry.is_compressed())
        entry.type = PDF_XREF::kFree;
      return;
    }
    if (entry.is_in_file())
      put_from_file(num, entry);
    else if (entry.is_in_memory())
      put_from_memory(num, entry);
  }

  void put_from_file(std::uint32_t num, PDF_XREF& entry) {
    const long long before = out_.GetPos();
    source_.save_obj(&out_, static_cast<int>(base_), object_num(num), &entry, enc_);
    // Where nothing could be printed, a free entry and not one that points at its neighbour.
    entry.type = out_.GetPos() == before ? PDF_XREF::kFree : PDF_XREF::kInFile;
  }

  void put_from_memory(std::uint32_t num, PDF_XREF& entry) {
    PDF_NEWOBJ* const slot = source_.slot_of(num);
    if (slot == nullptr)
      return;
    entry = PDF_XREF::in_file(position(), entry.gen);
    PDF_ENC_PARA para{object_num(num), entry.gen, 1, enc_};
    if (!print_stored(source_, slot->obj, &out_, para))
      target_.write_failed = 1;
  }

  // Compressed objects whose object stream was left out, and entries of types that no reader knows, lead
  // nowhere.
  void free_lost_members() {
    for (std::uint32_t num = target_.next_entry(1); num < target_.xref_count; num = target_.next_entry(num + 1)) {
      PDF_XREF& entry = target_.xref_items[num];
      const PDF_XREF* const container = entry.is_compressed() ? target_.entry(entry.offset) : nullptr;
      const bool has_stream = container != nullptr && container->type == PDF_XREF::kInFile;
      if (entry.type != PDF_XREF::kInFile && !has_stream)
        entry.type = PDF_XREF::kFree;
    }
  }

  // The entries, compressed; false when there is no memory.
  bool deflate_entries(EntryDeflater& deflater, unsigned offset_width, unsigned gen_width) {
    const PDF_XREF* const items = target_.xref_items;
    for (std::uint32_t num = target_.next_entry(1); num < target_.xref_count;) {
      if (!items[num].is_known()) {
        num = target_.next_entry(num + 1);
        continue;
      }
      const std::uint32_t first = num;
      for (; num < target_.xref_count && items[num].is_known(); ++num) {
        const PDF_XREF& entry = items[num];
        deflater.begin_entry();
        deflater.field(entry.is_changed() || entry.is_listed() ? std::uint32_t{PDF_XREF::kInFile} : entry.type, 1);
        deflater.field(entry.offset, offset_width);
        deflater.field(static_cast<std::uint32_t>(entry.gen), gen_width);
      }
      if (!runs_.append(object_num(first), static_cast<std::int32_t>(num - first)))
        return false;
    }
    return true;
  }

  std::size_t count_entries() const {
    std::size_t count = 0;
    for (std::uint32_t num = target_.next_entry(0); num < target_.xref_count; num = target_.next_entry(num + 1))
      count += target_.xref_items[num].is_known() ? 1u : 0u;
    return count;
  }

  void put_section() {
    const std::uint32_t xpos = position();
    const unsigned offset_width = std::max(bytes_for(xpos), offset_width_for_streams());
    const unsigned gen_width = highest_gen_ < 1 ? 0 : bytes_for(static_cast<std::uint32_t>(highest_gen_));
    EntryDeflater deflater(kFlushAt);
    std::uint32_t len = 0;
    std::uint8_t* data = nullptr;
    if (deflater.open(count_entries() * (1 + offset_width + gen_width) + kSpareOutput) &&
        deflate_entries(deflater, offset_width, gen_width))
      data = deflater.finish(len);
    if (data == nullptr) {
      QVFree(target_.xref_items);
      target_.xref_items = nullptr;
      target_.xref_count = 0;
      target_.write_failed = 1;
      return;
    }
    Cleared<CPDFArray> index;
    Cleared<CPDFDictionary> dict;
    runs_.fill_index(index);
    fill_xref_stream_dict(dict, runs_.size_value(), index, static_cast<int>(offset_width), static_cast<int>(gen_width));
    set_trailer_values(dict);
    write_xref_stream(out_, runs_.size_value(), dict, data, len);
    out_.text("startxref\n");
    out_.decimal(xpos);
    out_.text("\n%%EOF\n");
    out_.write_out();
  }

  // Object streams are named by number in the same field as positions; in a very small file their
  // numbers can be the larger.
  unsigned offset_width_for_streams() const {
    std::uint32_t highest = 0;
    for (std::uint32_t num = target_.next_entry(1); num < target_.xref_count; num = target_.next_entry(num + 1)) {
      if (target_.xref_items[num].is_compressed())
        highest = std::max(highest, target_.xref_items[num].offset);
    }
    return bytes_for(highest);
  }

  void set_trailer_values(CPDFDictionary& dict) {
    if (!source_.root.is_null())
      dict.set_item("Root", &source_.root);
    if (!source_.info.is_null())
      dict.set_item("Info", &source_.info);
    if (!has_id_) {
      // The identifier covers all that has been written so far.
      out_.write_out();
      target_.gen_id();
      out_.SetPos(CQVStream::STR_SEEK_END, 0);
    }
    dict.set_item("ID", &target_.id);
    if (enc_ != nullptr)
      dict.set_item_dict("Encrypt", &enc_->encrypt_dict);
  }

  CPDFXRefTable& source_;
  CPDFXRefTable& target_;
  CPDFEncrypt* enc_;
  std::uint32_t base_;
  bool has_id_;
  BlockWriter out_;
  ObjectRuns runs_;
  CPDFCloneMap map_{nullptr, 0};
  std::int32_t highest_gen_ = 0;
};

}  // namespace

void CPDFXRefTable::save_as(CPDFXRefTable& dst, CPDFEncrypt* enc) {
  CompleteFile(*this, dst, enc).write();
}

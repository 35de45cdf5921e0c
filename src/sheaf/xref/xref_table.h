// The document object store: one CPDFXRefTable per open PDF file, with all that is known about
// the file at the level of indirect objects. The members are grouped by family; each family's
// bodies live in the room of its name (xref, filters, cache, save, create, clone).
//
// The life of an entry (PDF_XREF::type):
//
//        section read            get_xref2                 sealed save
//   0 ------------------> 1,2,4 -----------> 3 (slot) ----------------> 1
//   |                       |                   ^
//   | XRefCreate            | get_entity: found |  get_xref2
//   |                       v   elsewhere       |
//   +------------------> 3 (gen -1) ------------+
//
// Sections fill an entry only while its type is 0, so the newest section, read first, wins.
// Reading is lazy: `pending_xref` holds the offsets of the sections not read yet; get_entity pops
// them while it lacks an answer, drain_pending reads them all.
//
// One table is used by one thread at a time; even a plain read changes it and moves `stream`.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/stream.h"
#include "sheaf/cache/font_caches.h"
#include "sheaf/filters/picture_work.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/object.h"
#include "sheaf/xref/guards.h"

class CPDFAcroForm;
class CPDFBuf;
class CPDFCMap;
class CPDFCMapToUnicode;
class CPDFDoc;
class CPDFEncrypt;
class CPDFEnviroment;
class CPDFFont;
class CPDFFontProvider;
class CPDFForm;
class CPDFPage;
class CPDFSecHand;
class CPDFStream;
class CQVBmp32;
class CQVFTFont;

namespace sheaf {
class ExportMemory;
class ObjectFinder;
class StoredBytes;
enum class NoLength;
}  // namespace sheaf

/// Where an object lives. A fresh entry is {0, 0, -1}.
///
/// type          the object lives                 offset                   gen
/// 0             not known, or free               0 or a free entry's      -1
/// 1             in the file                      byte offset              generation
/// 2             in an object stream              number of that stream    index in it
/// 3, gen -1     in the file, found by scanning   byte offset              -1
/// 3             in memory, new or changed        index into new_objs      generation
/// 4             as 1, from a section after the linearized part
struct PDF_XREF {
  enum Type : std::uint32_t { kFree = 0, kInFile = 1, kCompressed = 2, kChanged = 3, kInFileLate = 4 };
  static constexpr std::int32_t kNoGen = -1;

  std::uint32_t type;
  std::uint32_t offset;
  std::int32_t gen;

  static constexpr PDF_XREF none() { return {kFree, 0, kNoGen}; }
  static constexpr PDF_XREF in_file(std::uint32_t offset, std::int32_t gen) { return {kInFile, offset, gen}; }
  static constexpr PDF_XREF found_at(std::uint32_t offset) { return {kChanged, offset, kNoGen}; }
  static constexpr PDF_XREF in_slot(std::uint32_t slot, std::int32_t gen) { return {kChanged, slot, gen}; }

  bool is_known() const { return type != kFree; }
  bool is_compressed() const { return type == kCompressed; }
  /// The object stream of a compressed object.
  std::int32_t container() const { return sheaf::object_num(offset); }
  /// At the place that a section names.
  bool is_listed() const { return type == kInFile || type == kInFileLate; }
  /// At a place that scanning found.
  bool is_found() const { return is_changed() && gen == kNoGen; }
  /// At a place of its own in the file.
  bool is_in_file() const { return is_listed() || is_found(); }
  /// Listed by an update section: changed, or found elsewhere than the file says.
  bool is_changed() const { return type == kChanged; }
  bool is_in_memory() const { return is_changed() && gen != kNoGen; }
};

/// Slot of an object in memory.
struct PDF_NEWOBJ {
  std::int32_t num;
  std::int32_t gen;
  CPDFObj obj;
  std::uint32_t place;  ///< Where the object was in the file before; 0: it was not there.
};

/// A decoded object stream. The cache is sorted by (offset, first). Its objects are read out of `text`; they stand in
/// `objs`, in place of it, once get_objstm was called. Each part is null while it is released.
struct PDF_OBJSTM {
  std::int32_t offset;  ///< File offset of the object stream.
  std::int32_t first;   ///< Its "First".
  CPDFObj* objs;        ///< `count` objects, or null.
  std::int32_t count;   ///< Its "N".
  std::int32_t recent;  ///< Not 0: asked for since the last turn through the cache.
  /// 2 * `count` + 1 places, then numbers of objects. Places are words, or half words where the decoded bytes are few.
  std::int32_t* refs;
  std::uint8_t* text;        ///< The decoded bytes.
  std::int32_t decoded;      ///< Bytes that the stream decoded to.
  std::int32_t flaw;         ///< A CPDFStreamFlaw of the stream.
  std::int64_t objs_weight;  ///< What `objs` take in memory, as estimated.
  std::int64_t refs_weight;  ///< What `refs` take, also while they are released; 0 when the stream would not decode.
  std::int32_t corrected;    ///< Not 0: "Length", "N" or "First" is false, and other readers may find nothing.

  bool decodes() const { return refs_weight != 0; }
  bool has_short_places() const { return decoded <= UINT16_MAX; }
  /// With `refs`, up to `count`: where the numbers that object `i` refers to begin in numbers(), and those before it
  /// end. `count` + 1 + i: where object i begins in the decoded bytes.
  std::uint32_t place(std::size_t i) const {
    if (!has_short_places())
      return static_cast<std::uint32_t>(refs[i]);
    std::uint16_t place = 0;
    std::memcpy(&place, reinterpret_cast<const char*>(refs) + i * sizeof(place), sizeof(place));
    return place;
  }
  const std::int32_t* numbers() const { return refs + (has_short_places() ? count + 1 : 2 * count + 1); }
  /// What is held takes in memory.
  std::int64_t held() const {
    return (objs != nullptr ? objs_weight : 0) + held_lists() + (text != nullptr ? decoded : 0);
  }
  std::int64_t held_lists() const { return refs != nullptr ? refs_weight : 0; }
};

/// Stream data held in memory for one object.
struct PDF_MEMSTREAM {
  PDF_REF ref;         ///< Only `num` is compared.
  CQVStream* stream;   ///< Owned; a CQVStreamMemFix over `data`.
  std::uint8_t* data;  ///< Owned.
};

/// Byte range of the table's file, for the digests.
struct PDF_STREAM_REC {
  std::uint32_t offset;
  std::uint32_t length;
};

/// One page of a linearized file, as known from its start alone.
struct PDF_PAGE_ITEM {
  std::uint32_t obj;    ///< Object number of the page.
  std::int32_t width;   ///< Hundredths of a point; 0 until the hints are read.
  std::int32_t height;  ///< The same.
  std::int32_t rotate;  ///< Degrees, as the page's own dictionary has them.
};

/// All pages of such a file. Value-initialise it; the caller owns `pages` and releases it with QVFree.
struct PDF_PAGE_SET {
  std::int32_t count;    ///< Pages, from "N".
  PDF_PAGE_ITEM* pages;  ///< `count` + 2 items, or null.
};

/// Makes a save a sealed one.
struct PDF_SIGN_DATA {
  std::int32_t num = 0;  ///< Object number of the signature dictionary, or one that no object has.
  CPDFDictionary dict;   ///< Receives a copy of that dictionary. The caller clears it.
};

/// Map of the walks inside one document, by object number; 0 means no entry. Built by its user:
/// zeroed, or with `entries` from QVCalloc(xref_count, 4) and `count` that number rounded up to a
/// multiple of 256.
struct CPDFCloneMap {
  std::uint32_t* entries;      ///< Owned by whoever built the map; released with QVFree.
  std::int32_t count;          ///< Bound for lookups; runs ahead by one a recording.
  std::uint32_t capacity = 0;  ///< Words of the block; 0: as many as the table has entries. The walks keep it.
};

/// One import from another document.
struct CPDFMergeContext {
  CPDFDoc* doc;            ///< As given to import_start; not read here.
  std::uint32_t* map;      ///< Destination number by source number; 0 not imported.
  std::uint32_t map_size;  ///< Words in `map`; a number at or above it counts as a null reference.
};

class CPDFXRefTable {
public:
  CPDFXRefTable() = default;
  CPDFXRefTable(const CPDFXRefTable&) = delete;
  CPDFXRefTable& operator=(const CPDFXRefTable&) = delete;
  ~CPDFXRefTable();

  static constexpr int kPendingSlots = 256;
  static constexpr int kSecFilterSize = 36;
  static constexpr std::uint32_t kManyRepairs = 10;

  // ---- fields; everything starts at zero, and the caller stores `stream` ----

  CQVStreamFile temp_stream;  ///< Temporary file for new stream data; set up by the caller if wanted.
  PDF_OBJSTM* objstm_cache = nullptr;
  std::uint32_t objstm_count = 0;
  std::uint32_t objstm_capacity = 0;
  CPDFCacheFontExt font_ext_cache;
  CPDFCacheFont font_cache;
  CPDFCacheCMap cmap_cache;
  CPDFCacheCMapTou cmap_tou_cache;
  CQVStream* stream = nullptr;                ///< The PDF file. Borrowed.
  std::uint32_t env_tag = 0;                  ///< First four bytes of the text given to set_envirment.
  std::uint32_t xref_kinds = 0;               ///< Mask of section kinds read: 1 classic, 2 stream.
  std::uint32_t first_xref_kind = 0;          ///< Kind of the first section read; 0 none.
  std::uint32_t append_offset = 0;            ///< Where the next update section starts; set by the caller.
  std::uint32_t last_xref_offset = 0;         ///< Offset of the newest section; 0 none.
  std::uint32_t linearized_length = 0;        ///< "L" of a linearized file; 0 otherwise.
  CPDFEnviroment* env = nullptr;              ///< Private copy, owned.
  CPDFFontProvider* font_provider = nullptr;  ///< Borrowed; cleared by XRefFree.
  std::int32_t utf8_strings = 0;              ///< Not 0: text strings without a mark are UTF-8.
  PDF_XREF* xref_items = nullptr;
  std::uint32_t xref_count = 0;      ///< Highest known object number plus one.
  std::uint32_t repaired_count = 0;  ///< Entries that became type 3 with gen -1.
  CPDFObj root{};
  CPDFObj info{};
  CPDFObj id{};
  CPDFObj encrypt{};
  std::uint32_t next_obj_num = 0;
  PDF_NEWOBJ* new_objs = nullptr;
  std::uint32_t new_obj_count = 0;
  std::uint32_t new_obj_capacity = 0;
  PDF_MEMSTREAM* mem_streams = nullptr;
  std::int32_t mem_stream_count = 0;
  std::int32_t mem_stream_capacity = 0;
  std::int64_t pending_xref[kPendingSlots]{};
  std::int32_t pending_count = 0;
  char sec_filter[kSecFilterSize]{};  ///< "Filter" of the encryption dictionary; empty: not encrypted.
  CPDFSecHand* sec_hand = nullptr;    ///< Borrowed.

  // Fields that the caller may set or ask for.
  std::int64_t decoded_ceiling = 0;  ///< Most bytes that a chain stage or object stream may decode to; 0: fixed limits.
  std::int64_t picture_ceiling = 0;  ///< Most bytes of pixels that one picture may come to; 0: by its data.
  std::int32_t export_depth = 0;     ///< Levels that export_annot and its like go down; 0: all there are.
  /// Borrowed. Asked for objects that are not where their entries say, in place of the search from
  /// there on, and for those of sections that could not be read. Null: nobody is.
  sheaf::ObjectFinder* finder = nullptr;
  std::int32_t sections_lost = 0;       ///< Not 0: a section, or part of one, could not be read.
  std::int32_t write_failed = 0;        ///< Set by a save when an output operation came short; cleared by the caller.
  std::int32_t entries_lost = 0;        ///< Not 0: entries are gone for want of memory. Nothing must be saved then.
  std::int32_t keeps_generations = 0;   ///< Not 0: saves print and list objects under their generation, not under 0.
  std::int32_t omits_frame = 0;         ///< Not 0: saves add neither output intent nor metadata.
  std::int32_t claims_pdfa = 0;         ///< Not 0: metadata made by a save identify the document as PDF/A-1b.
  std::uint64_t change_count = 0;       ///< Requests for slots so far; one that has not grown since: no change.
  std::int32_t copies_own_source = 0;   ///< Not 0: copies take a stream from where its record says, not from `stream`.
  std::int32_t frees_lost_members = 0;  ///< Not 0: save_as lists no compressed object without its object stream.
  std::int32_t reads_hybrid_first = 0;  ///< Not 0: "XRefStm" of a section is read ahead of its "Prev".
  std::int32_t file_too_large = 0;      ///< Set by new_file_spec: the file has more bytes than a stream can hold.
  sheaf::RepairLog repairs;             ///< The first corrections made, for reports.
  sheaf::StreamLengths lengths;
  std::uint32_t objstm_last = 0;  ///< Index of the object stream that was asked for last: requests come in runs.
  sheaf::ObjStmBudget objstm_budget;

  // Guards and indexes.
  sheaf::SectionLog sections_read;
  sheaf::ListedNumbers listed;
  sheaf::Nesting entity_calls{32};  ///< References to references, lengths, object streams.
  sheaf::Nesting objstm_loads{4};   ///< Object streams whose own parameters lie in others.
  sheaf::StreamWork stream_work;
  sheaf::PictureWork picture_work;
  sheaf::Room entry_room;
  sheaf::Room slot_room;
  sheaf::Room mem_stream_room;
  sheaf::NumberIndex mem_stream_index;           ///< Entry of mem_streams plus one by object number.
  sheaf::ExportMemory* export_memory = nullptr;  ///< Owned; made by the first export of an annotation.
  sheaf::SlotLog slots_asked;

  // ---- opening and closing (xref/) ----

  /// Attaches a private copy of `env`; `tag` points at four readable bytes.
  void set_envirment(CPDFEnviroment* env, const char* tag);
  /// Releases all that the table holds; `stream` stays the caller's. Harmless twice. The section
  /// kinds, offsets and `next_obj_num` keep their values.
  void XRefFree();
  /// Reads the section at `offset`. 1, or 0 on failure: `sec_hand` is then left null.
  int XRefRead(unsigned int offset);
  /// A classic section, with `buf` on "xref". `prev` and `xrefstm` get the trailer's offsets.
  int XRefRead(CPDFBuf* buf, long long& prev, long long& xrefstm);
  /// A cross-reference stream `obj` that began at `pos`, with `decoder` open on its data.
  int XRefRead(CPDFObj& obj, unsigned int pos, CPDFStream* decoder, long long& prev);
  /// Copies "ID", "Info", "Root" and "Encrypt" that the table does not have yet.
  void XRefLoadObjs(const CPDFDictionary* trailer);
  /// Rebuilds the table by scanning a file of at most 300 MiB. 1 if it has entries and a root.
  int XRefCreate();
  /// The same for at most 30 MiB.
  int XRefCreate13();
  /// Recognises a linearized file and reads its first section. The offset of the hint stream, or 0.
  unsigned int read_linearized(PDF_PAGE_SET& set);
  /// Fills `set` from the hint stream at `offset`. 0 on failure. `length` plays no part.
  int read_linearized_hint(unsigned int offset, int length, PDF_PAGE_SET& set);
  /// The rectangle that `obj` holds; `table` may be null, references are then not followed.
  static void read_obj_rect(CPDFXRefTable* table, _QVRECTF& rect, const CPDFObj* obj);
  void read_obj_rect(_QVRECTF& rect, const CPDFObj* obj) { read_obj_rect(this, rect, obj); }
  /// Connects the handler of an encrypted document. 1 if the document can be read.
  int XRefAuthorize(CPDFSecHand* hand);
  /// The encryption dictionary with all that it refers to in place, its strings as they are stored:
  /// the form that a handler reads, and that a new file can take over.
  void get_encryption(CPDFObj& out);
  /// A PDF text string as wide characters: at most `max` elements with the terminating 0.
  void cvt_text_to_ucs(const PDF_String* text, wchar_t* out, int max) const;

  // ---- reading (xref/, filters/, cache/) ----

  /// The object of `ref.num`, references followed; the null object if it is missing or cannot
  /// be read. `out` is released first and is the caller's to free.
  void get_entity(CPDFObj& out, const PDF_REF& ref);
  /// As get_entity, but an object that is itself a reference comes back as that reference.
  void get_stored(CPDFObj& out, const PDF_REF& ref);
  /// Appends the numbers of the objects that the object `num` refers to, found as get_stored finds
  /// it, but without making its value.
  void get_references(sheaf::GrowArray<std::int32_t>& found, std::int32_t num);
  /// Looks for the object `num` as get_stored does, with all that is healed on the way, but does not read it. Object
  /// streams are decoded once for it.
  void locate(std::int32_t num);
  /// The decoded object stream at file offset `offset`; null on failure. Borrowed; valid until the
  /// next object stream is loaded.
  PDF_OBJSTM* get_objstm(unsigned int offset, int num, int gen);
  /// The same where the references of the objects are enough, which are read without making values. `refs` is set
  /// unless the stream would not decode.
  PDF_OBJSTM* get_objstm_references(unsigned int offset, int num);
  /// What stays known of the object stream at `offset` once it was decoded, even when its contents were released: the
  /// count, the decoded bytes and how they end. Null on failure. Borrowed as above.
  const PDF_OBJSTM* objstm_outline(unsigned int offset, int num);
  /// Reads object `index` of the object stream `num` at `offset`. `out`, which must be null, stays null when there is
  /// none.
  void read_compressed(CPDFObj& out, unsigned int offset, int num, int index);
  /// Sets the true length of a stream of the file, where `lengths.checked` is set. `num` names
  /// the object in the list of repairs.
  void heal_length(CPDFStreamRec& rec, std::int32_t num);
  /// Whether the object stream at `offset` gave its objects. It is then where it should
  /// be, whatever number its header bears.
  bool serves_as_objstm(std::uint32_t offset);
  /// Where the object stream `num`, below `xref_count`, is in the file, also one that was changed
  /// since: its objects are those of the file until the next sealed save.
  std::uint32_t objstm_place(std::uint32_t num) const;
  /// Empties the cache of object streams.
  void release_objstms();
  static char* read_stream_raw_data(CQVStream* s, int& len);
  /// A value, with a reference followed; null gives the null object. `table` may be null.
  static void resolve(CPDFXRefTable* table, CPDFObj& out, const CPDFObj* item);
  void resolve(CPDFObj& out, const CPDFObj* item) { resolve(this, out, item); }
  /// The value of `item`, of a key or of an element, with references followed: the null object when
  /// it is missing or when `dict` or `array` is null. Released at the end of its scope.
  sheaf::Freed<CPDFObj> value(const CPDFObj* item);
  sheaf::Freed<CPDFObj> value(const CPDFDictionary* dict, const char* key);
  sheaf::Freed<CPDFObj> value(const CPDFArray* array, std::int32_t index);
  /// The object of that number as get_entity gives it.
  sheaf::Freed<CPDFObj> object(const PDF_REF& ref);
  sheaf::Freed<CPDFObj> object(std::int32_t num) { return object(PDF_REF{num, 0}); }
  /// The value of `root`.
  sheaf::Freed<CPDFObj> catalog() { return value(&root); }
  /// The decoded stream, ready for read_block, or null. The caller deletes it.
  CPDFStream* make_stream(const CPDFStreamRec* rec);
  /// One decoder over a block of the QVAlloc family, which it takes over even on failure. `parms`
  /// may be null, and so may `table`.
  static CPDFStream* make_stream2(CPDFXRefTable* table, unsigned char* data, int len, const char* name,
                                  const CPDFDictionary* parms);
  CPDFStream* make_stream2(unsigned char* data, int len, const char* name, const CPDFDictionary* parms) {
    return make_stream2(this, data, len, name, parms);
  }
  /// The stream's bytes as stored, decryption taken off; null on failure. The caller owns the
  /// block (a NUL follows it) and releases it with QVFree.
  unsigned char* load_raw_data(const CPDFStreamRec* rec, int& len);
  /// Finds the stored bytes of `rec` in `source`, a "Length" that is a reference followed. False as
  /// StoredBytes::find.
  bool find_stored(sheaf::StoredBytes& found, const CPDFStreamRec& rec, CQVStream* source, sheaf::NoLength none);
  /// Whether the bytes of `rec` are encrypted, and can be decrypted.
  bool needs_decrypting(const CPDFStreamRec& rec) const {
    return rec.plain == 0 && sec_filter[0] != 0 && sec_hand != nullptr;
  }
  void* get_font_ext(const char* name);
  CPDFCMap* get_cmap(const char* name);
  CPDFCMapToUnicode* get_cmap_tou(const char* name);
  CQVFTFont* get_extern_font(const char* key1, const char* key2, int key3, int& flags);

  // ---- changing (xref/, save/) ----

  /// The slot of object `num`, made if it is missing; null without memory. Valid until
  /// the next call that can grow `new_objs`. `gen` -1 must not be passed; where `keeps_generations`
  /// is set, an object that the file has keeps the generation that it has there.
  PDF_NEWOBJ* get_xref2(int num, int gen);
  /// The slot of object `num`, below `xref_count`, if it has one. A file can state the type of a slot
  /// too: then there is none, or it is another object's. Valid as that of get_xref2.
  PDF_NEWOBJ* slot_of(std::uint32_t num) const;
  /// Reads all pending sections; stops at the first failure.
  void drain_pending();
  /// A new object number; consumed whatever happens later.
  std::int32_t alloc_obj_num();
  /// The first number from `num` on whose entry is not blank, that is, is used or was in use; xref_count or above when
  /// there is no more. Passes over gaps fast: a few entries can have numbers in the millions.
  std::uint32_t next_entry(std::uint32_t num) const;
  /// The first number from `num` on that no reference of the document names, as far as `finder` knows.
  std::uint32_t unnamed_from(std::uint32_t num);
  /// Stores `obj`, which becomes null, as the object `ref` (an existing slot's value is released).
  /// False when the number is 0 or was never given out, or when there is no slot: `obj` is released.
  bool store_object(const PDF_REF& ref, CPDFObj& obj);
  /// Stores a copy of `dict` as object `ref`; a null slot is passed over.
  void store_dict(const PDF_REF& ref, const CPDFDictionary* dict);
  /// Stores a copy of `rec` (dictionary and location) as stream object `ref`, then clears `rec.dict`.
  void store_stream(const PDF_REF& ref, CPDFStreamRec& rec);
  /// Keeps encoded stream bytes until the next save and fills `rec`. The caller keeps `data`.
  void write_stream(const PDF_REF& ref, CPDFStreamRec* rec, const void* data, unsigned int len);
  /// The same from a stream, which is positioned at its start.
  void write_stream(const PDF_REF& ref, CPDFStreamRec* rec, CQVStream* src);
  /// The same; takes over `data`, a block of the QVAlloc family.
  void write_stream_autofree(const PDF_REF& ref, CPDFStreamRec* rec, void* data, unsigned int len);
  /// Puts a block of the QVAlloc family, which it takes over, into the list of memory streams.
  CQVStream* set_mem_stream(const PDF_REF& ref, unsigned char* data, int len);

  // ---- saving (save/) ----

  void save_obj(CQVStream* out, int base, int num, PDF_XREF* item, CPDFEncrypt* enc);
  void save_obj(CPDFObj& obj, CQVStream* out, int base, int num, PDF_XREF* item, CPDFEncrypt* enc);
  /// Writes the update section, closed by a cross-reference stream. `sign` not null seals it.
  int save(CPDFEncrypt* enc, PDF_SIGN_DATA* sign);
  /// The same with a classic table and trailer.
  int save_14(CPDFEncrypt* enc, PDF_SIGN_DATA* sign);
  /// Writes a complete new file of what is reachable to `dst.stream`.
  void save_as(CPDFXRefTable& dst, CPDFEncrypt* enc);
  void pdfa_gen();
  void gen_id();
  int pdfa_verify();

  // ---- creating (create/) ----

  void new_xref();
  /// Embeds the file `path` as a file specification; a folder gives one without data. The number of
  /// its dictionary, or 0 with nothing made: the file cannot be opened, has 2 GiB or more
  /// (`file_too_large`), or there is no memory. ISO 32000-1, 7.11.
  int new_file_spec(const char* path);
  /// The same; the caller owns the base name of the path, which goes to `name`.
  int new_file_spec(const char* path, PDF_String& name);
  /// Deflates `len` bytes (RFC 1950). `out_len` gets the compressed size. The caller owns the block, a
  /// NUL after it, and releases it with QVFree; null, with a size of 0, when there is no memory. Any
  /// thread may call it.
  static unsigned char* compress_data(const void* data, int len, int& out_len);
  /// A bitmap as an image of 8-bit red, green and blue; `swap_rb` not 0: its pixels are blue, green,
  /// red. `with_alpha` not 0: its alpha becomes the soft mask, the object before the image.
  /// {0, 0} on failure; the mask's number, or the mask, may then be there unused. ISO 32000-1, 8.9.5.
  PDF_REF new_image_flate(const CQVBmp32* bmp, int swap_rb, int with_alpha);
  /// A JPEG file as an image, byte for byte; {0, 0}, with no number taken, when its header cannot be
  /// read or is of no colour space that PDF has; {0, 0} without memory too.
  PDF_REF new_image_jpeg(const char* path);
  /// The same of JPEG data, which are copied.
  PDF_REF new_image_jpeg_mem(const unsigned char* data, int len);
  /// A JPEG 2000 file (JP2 or a bare code stream) as an image, byte for byte; {0, 0}, with no number
  /// taken, when its headers cannot be read; {0, 0} without memory too.
  PDF_REF new_image_jpx(const char* path);
  /// A stream of the data, compressed, without "Type"; {0, 0} without memory. The data stay the caller's.
  PDF_REF adv_new_stream_flate(unsigned char* data, int len);
  /// A stream of the data as they are; {0, 0} without memory. Copies them.
  PDF_REF adv_new_stream_raw(unsigned char* data, int len);
  CPDFFont* new_font_type0_h(const char* name, int style);
  CPDFFont* new_font_type0_v(const char* name, int style);
  /// An empty form with an empty resource dictionary after it, loaded from a copy of its stream
  /// object. The caller owns the result and deletes it; null without memory. ISO 32000-1, 8.10.
  CPDFForm* new_form();
  /// A form with that content; `resources` number 0: it has none. {0, 0} without memory.
  PDF_REF new_form(const _QVRECTF& bbox, const char* content, int len, const PDF_REF& resources);
  /// One outline item that leads to `page`, scrolled to the height `top`. References of number 0 are
  /// left out; its neighbours and the counts are the caller's to keep. {0, 0} without memory. ISO 32000-1, 12.3.3.
  PDF_REF new_outline(const wchar_t* title, const PDF_REF& parent, const PDF_REF& prev, const PDF_REF& next,
                      const PDF_REF& page, const QVFIX& top);
  /// A graphics state that sets nothing yet. The setters change one key of a state that exists, alpha
  /// 255 being opaque, dash lengths in user space units, modes as get_blend_name counts them; what is
  /// no dictionary they leave alone. {0, 0} without memory. ISO 32000-1, 8.4.5.
  PDF_REF new_gstate();
  void set_gstate_fill_alpha(const PDF_REF& ref, unsigned char alpha);
  void set_gstate_stroke_alpha(const PDF_REF& ref, unsigned char alpha);
  void set_gstate_stroke_dash(const PDF_REF& ref, const float* dash, int count, float phase);
  void set_gstate_bmode(const PDF_REF& ref, int mode);

  // ---- copying (clone/) ----

  void rec_obj(CPDFCloneMap& map, const PDF_REF& ref);
  void rec_array(CPDFCloneMap& map, const CPDFArray* arr);
  void rec_dict(CPDFCloneMap& map, const CPDFDictionary* dict);
  PDF_REF clone_obj(CPDFCloneMap& map, const PDF_REF& ref);
  int clone_array(CPDFCloneMap& map, CPDFArray* arr);
  int clone_dict(CPDFCloneMap& map, CPDFDictionary* dict);
  CPDFMergeContext* import_start(CPDFDoc* doc, CPDFXRefTable* src);
  void import_end(CPDFMergeContext* ctx);
  int clone_page(CPDFXRefTable* src, CPDFMergeContext* ctx, const CPDFPage* page);
  PDF_REF clone_resources(CPDFXRefTable* src, CPDFMergeContext* ctx, const CPDFDictionary* res);
  PDF_REF clone_obj(CPDFXRefTable* src, CPDFMergeContext* ctx, const PDF_REF& ref);
  int clone_array(CPDFXRefTable* src, CPDFMergeContext* ctx, CPDFArray* arr);
  int clone_dict(CPDFXRefTable* src, CPDFMergeContext* ctx, CPDFDictionary* dict);
  int calc_md5(PDF_STREAM_REC* ranges, unsigned int count, unsigned char* digest);
  int calc_sha1(PDF_STREAM_REC* ranges, unsigned int count, unsigned char* digest);
  int clone_acro_form(CPDFXRefTable* src, CPDFMergeContext* ctx);
  int merge_acro_form(CPDFXRefTable* src, CPDFMergeContext* ctx, CPDFAcroForm* form);
  int export_annot(CPDFDictionary& out, const PDF_REF& ref);
  int export_dict(CPDFDictionary& out, CPDFDictionary* src);
  int export_array(CPDFArray& out, CPDFArray* src);
  int clone_annot(const PDF_REF& ref);

  // ---- shared by the families ----

  /// Grows `xref_items` to `new_count` fresh entries; also `next_obj_num` when `sets_next`. False
  /// when there is no memory: the table is then empty.
  bool grow_xref_items(std::uint32_t new_count, bool sets_next);
  /// The rounding rule of growth: a multiple of 256 above `num`.
  static constexpr std::uint32_t rounded_count(std::uint32_t num) { return (num + 256) & ~std::uint32_t{255}; }
  /// The entry of `num`, or null where the table does not reach so far. Valid until the table grows.
  PDF_XREF* entry(std::int32_t num) { return entry(sheaf::object_index(num)); }
  PDF_XREF* entry(std::uint32_t num) { return num < xref_count ? xref_items + num : nullptr; }
  /// Notes the place at which scanning found object `num`. False without memory.
  bool note_found(std::uint32_t num, std::uint32_t offset);
  /// Whether so many entries were wrong that a save looks at the place of every object.
  bool has_many_repairs() const { return repaired_count > kManyRepairs; }
  /// Pops one pending section and reads it. False when none is pending or it cannot be read.
  bool pop_pending();
  /// Reads pending sections until the table reaches `num` and knows its entry, or there are no more.
  /// False when it does not reach so far.
  bool know_entry(std::uint32_t num);
  /// Puts a section's offset on the stack; an offset that does not fit is dropped.
  void push_pending(std::int64_t offset);
  /// The generation of object `num` as its entry has it or, of one found by scanning, its header; -1
  /// when neither says one that a header can bear.
  std::int32_t known_generation(std::uint32_t num);
  /// The largest object number that a file of this length can justify.
  std::uint32_t max_obj_num() const;
  /// `para` filled for `ref`, or null when the document is not encrypted.
  PDF_DEC_PARA* decode_para(PDF_DEC_PARA& para, const PDF_REF& ref) const;
  /// Notes that the section at `offset` cannot be read. 0, as the result of the reading.
  int lose_section(std::uint32_t offset);
};

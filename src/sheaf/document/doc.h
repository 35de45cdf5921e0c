// An open document: finds its way into a file, however damaged, and gives its pages.
//
//   header -> newest section -> linearized? -> XRefRead -> believed? -> open
//                                                 | no
//                                                 v
//                                            XRefCreate -> believed? -> open, rebuilt
//                                                 | no
//                                                 v
//                          scan for streams, object streams and catalogues -> open, recovered
//
// A table is accepted when its root is a catalogue with a page tree and the objects on the way down are where their
// entries say.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/stream.h"
#include "sheaf/neighbours/page/page.h"
#include "sheaf/xref/xref_table.h"

class CPDFStandardSecHand;
class CQVStreamBlocks;
class CQVStreamUpdate;

namespace sheaf {
class DocMetadata;
class DocSaver;
class DocumentOpener;
class ObjectRescue;
class PageList;
}  // namespace sheaf

/// How a document was opened, or why it could not be.
enum class PDF_OPEN : std::int32_t {
  kClosed,     ///< Nothing was opened yet.
  kClean,      ///< By the sections of the file, without repairs.
  kRebuilt,    ///< By the table's own rebuild.
  kRecovered,  ///< By deeper recovery.
  kNoFile,     ///< The file cannot be opened or read.
  kEmpty,      ///< The file has no bytes.
  kDamaged,    ///< No catalogue with pages could be found.
  kNoMemory,
  kTooLarge,  ///< 4 GiB or more: offsets have 32 bits.
};

/// One thing that had to be healed.
struct PDF_DOC_REPAIR {
  const char* code;      ///< A short stable word, such as "startxref".
  std::int32_t num;      ///< Object number, 0 when none is meant.
  std::uint32_t offset;  ///< File offset, 0 when none is meant.
  const char* action;    ///< What was done, as a sentence fragment.
};

/// How an update section ends.
enum class PDF_SAVE_FORM : std::int32_t {
  kAsFile,   ///< As the file's newest section does.
  kClassic,  ///< In a classic table.
  kStream,   ///< In a cross-reference stream.
};

/// How the last `save_update` ended.
enum class PDF_SAVE : std::int32_t {
  kDone,         ///< All changes are in the file.
  kUnchanged,    ///< There was nothing to write.
  kShort,        ///< The output came short, as on a full disk: `undo_failed_save` takes back what was written.
  kFileChanged,  ///< Another program changed, cut, replaced or removed the file. Nothing was written.
  kRefused,      ///< The document cannot be saved: no memory, no keys, no catalogue. Nothing was written.
};

/// What a plain save does with the plain save before it.
enum class PDF_SAVE_SAFETY : std::int32_t {
  kWriteOver,  ///< Goes over it, so that the file stays short.
  kAppend,     ///< Goes after it, so that what the last save wrote outlives one that fails.
};

/// The frame of PDF/A-1 (ISO 19005-1, 6.2.2, 6.7) that saves give a document.
enum class PDF_FRAME : std::int32_t {
  kNone,   ///< As it is.
  kFrame,  ///< An output intent with its profile, and metadata.
  kClaim,  ///< The same, and the metadata identify the document as PDF/A-1b: the caller vouches for the rest.
};

/// What a document has of that frame.
struct PDF_FRAME_FOUND {
  int output_intents = 0;         ///< How many there are,
  int pdfa_intents = 0;           ///< and how many of them for PDF/A with a profile.
  bool has_metadata = false;      ///< The catalogue has a metadata stream,
  bool metadata_is_read = false;  ///< which is a packet that can be read,
  char claim[8] = {};             ///< and identifies the document as, for example, "1B"; "" when it does not.
};

/// One document at a time. The table inside is the library's; everything above it is a caller.
class CPDFDoc {
public:
  CPDFDoc();
  CPDFDoc(const CPDFDoc&) = delete;
  CPDFDoc& operator=(const CPDFDoc&) = delete;
  ~CPDFDoc();

  /// The password, as UTF-8, that an encrypted document will be opened with. Copied; wiped with the
  /// document object. Null takes it back.
  void set_password(const char* utf8);
  /// Opens a file for reading. True when pages can be asked for, or when the document is encrypted
  /// and waits for a password.
  bool open(const char* path);
  /// The same over a stream that the caller keeps open until `close`. The document begins at the
  /// stream's `base_offset`, which changes while it is open and is put back by `close`.
  bool open(CQVStream* stream);
  /// Opens a file for reading and writing, so that `save_update` can go after its end.
  bool open_for_update(const char* path);
  /// Goes on with a document of `open(path)` as if it had been opened by `open_for_update`: what was changed waits
  /// for `save_update`. False, and the document stays as it was, when the file cannot be written or is no longer the
  /// one that was opened. True without effect where the document can be saved already.
  bool begin_update(const char* path);
  /// Starts a new document on an empty stream that the caller keeps open until `close`.
  bool create(CQVStream* stream);
  /// Releases everything; harmless twice.
  void close();

  CPDFXRefTable& table() { return table_; }
  PDF_OPEN status() const { return status_; }
  bool is_open() const {
    return status_ == PDF_OPEN::kClean || status_ == PDF_OPEN::kRebuilt || status_ == PDF_OPEN::kRecovered;
  }
  bool is_encrypted() const { return !table_.encrypt.is_null(); }
  /// Whether objects can be read as they are: not encrypted, or authorised.
  bool is_readable() const { return !is_encrypted() || authorised_; }
  /// The handler of an encrypted document: whether and how it opened, and with which methods. Declared in
  /// neighbours/security/standard_handler.h.
  const CPDFStandardSecHand& handler() const { return handler_; }
  /// The "L" of a linearized file, also of one that was updated since; 0 for other files.
  std::uint32_t linearized_length() const { return table_.linearized_length; }
  bool is_linearized() const { return linearized_; }
  /// "1.4", from the header or the catalogue, whichever is newer. "" without a header.
  const char* version() const { return version_; }
  /// The length of the file at this moment, counted from its first byte.
  long long file_size() const;
  long long header_offset() const { return header_offset_; }

  /// How many pages there are: as the nodes of the tree say where they agree with one another, else
  /// by walking the tree. Loops, nulls and wrong counts do no harm.
  int page_count();
  /// The object of page `index` (from 0), or {0, 0}. The first call walks the tree.
  PDF_REF page_ref(int index);
  /// Builds the list from "Count" alone and checks 32 pages as a sample. False if a full walk was
  /// needed. If `load_page` later meets something that is no page, the list is dropped and the tree
  /// is walked after all.
  bool list_pages_by_count();
  /// Whether the list still rests on the counts of the nodes.
  bool has_pages_by_count() const;
  /// How many kids of the page tree are no pages: nulls, numbers, other objects, nodes that came up before. The list
  /// of pages goes without them, whatever the nodes count. Walks the tree.
  int page_tree_strays();
  /// Reads page `index` with what it inherits. False when there is no such page.
  bool load_page(int index, CPDFPage& page);
  /// The same without resources that are directly in a node above: `page.inherited` names the node,
  /// so that a caller that copies many pages copies those resources only once.
  bool load_page_alone(int index, CPDFPage& page);
  /// Whether `page` has no resources of its own, but a node above it holds some directly.
  bool inherits_direct_resources(const CPDFPage& page);
  /// The resources that are directly in the node `holder`, as PDF_INHERITED names it. Null for none.
  void read_direct_resources(CPDFObj& resources, std::int32_t holder);
  /// Whether a value is absent: no item, a null, or a reference to nothing.
  bool is_absent(const CPDFObj* item);
  /// A page that is listed more often than this, all copies of all pages counted, is listed as the
  /// object that it is: a copy each would take memory out of all proportion to the file.
  static constexpr std::int32_t kMostPageCopies = 1 << 14;

  /// Puts a page object of this document before page `index`, or after the last page. The page
  /// tree follows with the next save. False when there is no such place, or when `page` is no page.
  bool insert_page(int index, const PDF_REF& page);
  /// Takes page `index` off the list; its object stays.
  bool remove_page(int index);
  /// Moves page `from` so that it becomes page `to`.
  bool move_page(int from, int to);
  /// Writes the page tree anew when pages were edited; saves do so themselves. False when there is no
  /// memory or no catalogue that can be changed.
  bool store_page_tree();

  /// Gives new stream data a temporary file without a name in `folder` (null: TMPDIR, else /tmp),
  /// which goes with the document or the process. Without one they stay in memory. A document that
  /// has one keeps it.
  bool use_temp_file(const char* folder);
  /// Sets a text of the document information ("Title", "Author" ...) and the date of change; a packet of
  /// metadata follows with the next save. The change waits for a save.
  bool set_info(const char* key, const char* utf8);
  /// Embeds a file of less than 2 GiB and lists it among the document's embedded files under its base
  /// name. False when that fails; `table().file_too_large` is then not 0 if the file's size is why.
  bool attach(const char* path);

  /// Whether plain saves go over one another, as they do unless asked otherwise. With kAppend the plain
  /// sections become one with the next sealed save, and at `close` when all is saved. Only a document of
  /// `open_for_update` can be saved so.
  void set_save_safety(PDF_SAVE_SAFETY safety);
  /// What saves add to the document besides its changes; nothing unless asked for.
  void set_frame(PDF_FRAME frame);
  /// What it has of that.
  void read_frame(PDF_FRAME_FOUND& found);
  /// Whether a save found a packet of metadata that cannot be read, and so left it as it was.
  bool metadata_left_behind() const;
  /// Writes all changes as an update section, encrypted as the document is; `sign` seals it. Each
  /// section has an identifier of its own (ISO 32000-1, 14.4). Without a change since the last save
  /// nothing is written. False when the changes are not in the file; `last_save` says why.
  bool save_update(PDF_SAVE_FORM form, PDF_SIGN_DATA* sign);
  PDF_SAVE last_save() const;
  /// Where the last state that is whole ends in the file: that of opening, of the last sealed save or,
  /// with kAppend, of the last plain one. Counted from the file's first byte.
  long long sound_end() const;
  /// Cuts off, after a save that failed, what it left behind `sound_end`. The changes go on waiting,
  /// and the next save writes all of them. False when the file cannot be cut.
  bool undo_failed_save();

  /// Puts the document's identifier into `id`, an empty one for a document without: what a new file needs
  /// whose keys stay as they are.
  void keep_identifier(CPDFObj& id);
  /// Writes a complete new file to `target.stream`. A catalogue or document information that is
  /// directly in the trailer becomes an object first, so that what it refers to is kept.
  void save_complete(CPDFXRefTable& target, CPDFEncrypt* enc);
  /// Brings into memory what a complete new file needs that the document does not have yet: the page
  /// tree after edits, what the fonts collected, metadata in step with the document information, objects
  /// for what is directly in the trailer; streams lose crypt filters that `enc` (null: no encryption)
  /// does not have. `id` gets a new identifier where it is null. False when there is no memory.
  bool prepare_complete(CPDFObj& id, const CPDFEncrypt* enc);
  /// Sees to it that each page is listed once, by the node that it names as its parent. Where that is not so, the page
  /// tree is made anew, in branches of equal size, with the next save. False as for `store_page_tree`.
  bool rebuild_page_tree();
  /// Reads object `num` as it is stored. A page gets all that it inherits, a node of the page tree loses what it hands
  /// down. The null object when there is none.
  void get_without_inheritance(CPDFObj& out, std::int32_t num);
  /// Cuts the file opened for update to `size` bytes, counted from its first one. False, and nothing is
  /// done, when that is before the end of what was opened or sealed, or after the file's end.
  bool truncate_to(long long size);

  /// The page list of a linearized file from its start alone, without its main table. True when the
  /// file was not updated since and every page that the hints name is where they say; the list
  /// is then complete. The caller releases `set.pages` with QVFree.
  static bool read_page_hints(CQVStream* stream, PDF_PAGE_SET& set);
  /// Whether the hints of the open document give the same pages as its page tree.
  bool hints_hold();

  /// The reference to object `num`, with the generation that its entry or its header bears.
  PDF_REF reference_to(std::int32_t num);
  /// Reads all older sections now, also those after one that cannot be read.
  void read_all_sections();
  /// Whether the table can lead to object `num`: false when it has an entry but the object is
  /// not there. An object without an entry, or with that of a free one, is no loss.
  bool can_reach(std::int32_t num);
  /// Whether the document counts as encrypted, but nobody can say how: it is read as it is stored.
  bool has_lost_encryption() const { return is_encrypted() && table_.sec_filter[0] == 0; }

  /// What had to be healed, in the order in which it was met. Borrowed; valid until `close`.
  const sheaf::GrowArray<PDF_DOC_REPAIR>& repairs();

private:
  // open/
  friend class sheaf::DocumentOpener;
  friend class sheaf::ObjectRescue;
  bool open_stream();
  void reset_table();
  bool waits_for_password() const { return is_encrypted() && !is_readable(); }
  void add_repair(const char* code, std::int32_t num, std::uint32_t offset, const char* action);

  // Made in `room_`, so that a document needs no memory before it is opened.
  struct Parts;
  static constexpr std::size_t kRoom = 1024;
  alignas(std::max_align_t) unsigned char room_[kRoom];

  CPDFXRefTable table_;
  Parts& parts_;
  CPDFStandardSecHand& handler_;
  CQVStreamBlocks& blocks_;  // a document opened for reading
  CQVStreamUpdate& file_;    // a document opened for update
  sheaf::PageList& pages_;
  sheaf::DocMetadata& metadata_;
  sheaf::DocSaver& saver_;
  CQVStream* stream_ = nullptr;
  long long storage_base_ = 0;             // where the document begins in the stream's storage
  sheaf::ObjectRescue* rescue_ = nullptr;  // owned; null without memory
  PDF_OPEN status_ = PDF_OPEN::kClosed;
  bool linearized_ = false;
  bool authorised_ = false;
  char version_[8]{};
  long long file_size_ = 0;
  long long header_offset_ = 0;
  sheaf::GrowArray<PDF_DOC_REPAIR> repairs_;
  std::uint32_t table_repairs_taken_ = 0;
};

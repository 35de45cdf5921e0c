// A document, opened or new. It moves and does not copy; one thread uses it at a time, with all that was asked of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "sheaf/layer/core_ref.h"
#include "sheaf/layer/pages.h"
#include "sheaf/layer/parts.h"
#include "sheaf/layer/result.h"
#include "sheaf/layer/signing.h"
#include "sheaf/layer/value.h"

class CPDFDoc;
class CQVStream;

namespace sheaf {

struct OpenOptions {
  std::string password = {};       ///< UTF-8. The empty one is always tried.
  ProgressFunction progress = {};  ///< For opening and for all that is done with the document.
};

/// An application's own storage as the source, and where wanted the target, of a document: three functions over bytes
/// that have places. They are called in the thread that uses the document.
struct Storage {
  /// Puts up to `size` bytes from `offset` on into `to`; their count, less than `size` at the end only.
  std::function<std::size_t(std::uint64_t offset, std::uint8_t* to, std::size_t size)> read;
  /// How many bytes there are.
  std::function<std::uint64_t()> size;
  /// Takes `size` bytes for `offset` and on, which may lie after the end; their count. Empty: nothing is written.
  std::function<std::size_t(std::uint64_t offset, const std::uint8_t* from, std::size_t size)> write;
};

enum class Cipher { kAes256, kAes128, kRc4 };

struct Encryption {
  std::string user_password = {};          ///< To open; UTF-8.
  std::string owner_password = {};         ///< For all rights; "": as the user's.
  std::uint32_t permissions = UINT32_MAX;  ///< Bits of "P" (ISO 32000-2, table 22).
  Cipher cipher = Cipher::kAes256;
  bool clear_metadata = false;
};

enum class ObjectStreams { kPreserve, kGenerate, kDisable };
enum class StreamData { kPreserve, kCompress, kUncompress };

struct SaveOptions {
  std::optional<Encryption> encrypt = {};  ///< Without it an encrypted document stays encrypted as it is,
  bool decrypt = false;                    ///< unless this is set.
  // What a new file is to be like; what is not said stays as it is.
  ObjectStreams object_streams = ObjectStreams::kPreserve;
  StreamData streams = StreamData::kPreserve;
  int recompress = 0;         ///< 1 to 9: Flate is made anew where it comes out smaller; 10: slowly, and smaller still.
  bool linearize = false;     ///< The first page in front, with hints.
  bool share_equals = false;  ///< Equal streams, fonts and the like are written once.
  bool remove_unused_resources = false;
  bool renumber = false;         ///< Objects are numbered without gaps.
  std::string min_version = {};  ///< The least version of the file, such as "1.5".
};

/// One thing that had to be healed when the document was opened or read.
struct Repair {
  std::string code;
  std::int32_t object = 0;
  std::int64_t offset = 0;
  std::string action;
};

enum class Flatten { kForm, kAnnotations };

/// What flattening did. Counts are of annotations.
struct FlattenReport {
  std::int32_t pages = 0;  ///< Pages that were changed.
  std::int32_t drawn = 0;
  std::int32_t hidden = 0;      ///< Removed, as they are not shown.
  std::int32_t kept = 0;        ///< They have no appearance to draw.
  std::int32_t signatures = 0;  ///< Fields whose signatures are gone.
};

/// All objects of a document by number, those that are not there as null.
class Objects {
public:
  using iterator = layer::Counting<Objects, Value>;
  explicit Objects(layer::CoreRef core);
  Value at(std::int32_t index) const;
  iterator begin() const { return {this, 1}; }
  iterator end() const { return {this, end_}; }
  std::int32_t size() const { return end_; }

private:
  layer::CoreRef core_;
  std::int32_t end_ = 0;
};

class Document {
public:
  /// Opens a file, however damaged. Nothing is written before `save_update`.
  static Expected<Document> open(const std::string& path, const OpenOptions& options = {});
  /// Opens a document in memory, which is borrowed, or taken over.
  static Expected<Document> open(std::span<const std::uint8_t> bytes, const OpenOptions& options = {});
  static Expected<Document> open(std::vector<std::uint8_t>&& bytes, const OpenOptions& options = {});
  /// Opens a document in the application's own storage.
  static Expected<Document> open(Storage storage, const OpenOptions& options = {});
  /// A new document without pages.
  static Expected<Document> create();

  Document(Document&&) noexcept = default;
  Document& operator=(Document&& other) noexcept;
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;
  ~Document();

  Pages pages() const { return Pages(core_); }
  /// The pages from `first` up to, but not with, `end`.
  Pages pages(std::int32_t first, std::int32_t end) const { return Pages(core_, first, end); }
  /// The catalogue.
  Value root() const;
  /// The object of that number, or null.
  Value object(std::int32_t number) const;
  Objects objects() const { return Objects(core_); }
  Info info() const { return Info(core_); }
  Form form() const { return Form(core_); }
  Attachments attachments() const { return Attachments(core_); }
  Images images() const { return Images(core_); }

  /// Gives a value a number of its own.
  Value add(Object value);
  /// A new stream with that data; `dictionary` may be null.
  Value add_stream(std::string_view data, Object dictionary = {}, Coding coding = Coding::kFlate);
  /// Draws the form's widgets, or all annotations but links, into the pages.
  Expected<FlattenReport> flatten(Flatten what = Flatten::kForm);

  /// "1.7".
  std::string version() const;
  bool is_open() const;
  bool is_encrypted() const;
  /// What had to be healed so far.
  std::vector<Repair> repairs() const;
  std::int32_t signature_count() const;
  /// The first change that was impossible; saves give it too. Code::kNone when there was none.
  Error failure() const;
  void on_progress(ProgressFunction progress);

  /// Writes all changes after the content of the file or storage that was opened, of which no byte changes. Without
  /// a change nothing is written. A save that fails leaves a file as the last good one left it. Stopping has an effect
  /// until the writing begins.
  Expected<void> save_update();
  /// Writes a complete new file of what is used. `path` is replaced when the file is complete, and may be the file that
  /// was opened.
  Expected<void> save_as(const std::string& path, const SaveOptions& options = {});
  Expected<void> save_as(Storage target, const SaveOptions& options = {});
  /// The same as bytes.
  Expected<Data> save_to_memory(const SaveOptions& options = {});
  /// Saves the document as an update with a signature field, and seals it.
  Expected<Seal> seal_signature(const SignatureOptions& options = {});

  /// Closes the document; values that are left keep what was read of them.
  void close();

  /// The layer below, with all changes in it. It may be used freely; values see what is changed there.
  CPDFDoc& below();

private:
  explicit Document(layer::CoreRef core) : core_(std::move(core)) {}
  static Expected<Document> open_stream(layer::CoreRef core, CQVStream* stream, const OpenOptions& options);
  Expected<void> begin_saving();
  Expected<void> write_new(CQVStream& target, const SaveOptions& options);
  Expected<void> begin_writing();

  layer::CoreRef core_;
};

}  // namespace sheaf

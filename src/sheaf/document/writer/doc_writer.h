// Writes a complete new file of a document: one copy of every object that can still be reached, as the options ask.
// What is kept in memory is a few words for each object, one object at a time, and one object stream.
//
//   what is to go is stripped -> objects are found -> equals are joined -> numbers and places are planned -> written
#pragma once

#include <cstddef>
#include <cstdint>

#include "sheaf/document/doc.h"

namespace sheaf {
class ObjectSurvey;
}

/// Which objects go into object streams (ISO 32000-1, 7.5.7).
enum class PDF_OBJECT_STREAMS : std::int32_t {
  kPreserve,  ///< Those that are in one now, together with the same others.
  kGenerate,  ///< All that may.
  kDisable,   ///< None; the file ends in a classic table.
};

/// What becomes of the data of streams.
enum class PDF_STREAM_DATA : std::int32_t {
  kPreserve,    ///< They stay as they are stored.
  kCompress,    ///< Flate, where that is smaller than no filter, LZW, RunLength or an ASCII filter.
  kUncompress,  ///< Every filter but those of images is taken off.
};

/// Parts of a document that can be left out; a set of these.
enum PDF_STRIP : std::uint32_t {
  kStripMetadata = 1,     ///< "Metadata" of every object, and the document information.
  kStripAttachments = 2,  ///< Embedded files, associated files and the annotations that show them.
  kStripJavaScript = 4,   ///< Scripts by name, and every action that runs one; what follows such an action stays.
  kStripThumbnails = 8,   ///< "Thumb" of pages.
  kStripPrivate = 16,     ///< "PieceInfo" and "SpiderInfo": the private data of applications.
  kStripOutline = 32,     ///< The outline.
  kStripStructure = 64,   ///< The structure tree, and the numbers that lead to it.
};

/// Does the packing for a writer: an application with several processors can have the data packed ahead.
class CPDFPacker {
public:
  /// The Flate data (RFC 1950) of `size` bytes at the effort `level`, as PDF_WRITE_OPTIONS has it; null without memory.
  /// The caller owns the block and releases it with QVFree.
  virtual unsigned char* pack(const unsigned char* data, std::size_t size, int level, std::size_t& packed) = 0;

protected:
  ~CPDFPacker() = default;
};

struct PDF_WRITE_OPTIONS {
  /// The largest `recompress`: many times slower, a few percent smaller. Streams above 256 KiB get less of it, above
  /// 16 MiB none.
  static constexpr std::int32_t kMostEffort = 10;

  PDF_OBJECT_STREAMS object_streams = PDF_OBJECT_STREAMS::kPreserve;
  PDF_STREAM_DATA stream_data = PDF_STREAM_DATA::kPreserve;
  std::int32_t recompress = 0;  ///< 1 to 9, or kMostEffort: Flate is made anew where it comes out smaller. 0: not.
  bool renumber = false;        ///< Objects are numbered without gaps, in the order in which they are written.
  bool readable = false;        ///< One key a line, content indented, for a text editor. No object streams.
  bool linearize = false;       ///< The first page in front, with hints (ISO 32000-1, Annex F). Renumbers.
  bool share_equals = false;    ///< Equal streams, fonts and the like are written once.
  bool remove_unused_resources = false;  ///< Resources that no content uses are left out.
  bool pack_bilevel_images = false;      ///< Images of one bit a pixel become JBIG2 or CCITT Group 4, if smaller.
  std::uint32_t strip = 0;               ///< A set of PDF_STRIP.
  char min_version[4] = {};              ///< The least version of the header, such as "1.5"; "" for what is needed.
  CPDFPacker* packer = nullptr;          ///< Borrowed; null: data are packed where they are written.
};

/// What was done.
struct PDF_WRITE_RESULT {
  std::int64_t objects = 0;          ///< Objects of the document that were written.
  std::int64_t left_out = 0;         ///< Objects of the document that were not.
  std::int64_t joined = 0;           ///< Of these, objects whose equal was written.
  std::int64_t unreadable = 0;       ///< Of these, streams whose bytes could not be had: a loss.
  std::int64_t streams_changed = 0;  ///< Streams whose data were filtered in another way.
  std::int64_t streams_left = 0;     ///< Streams that stay as they are, since all would decode to too much.
  std::int64_t resources = 0;        ///< Resources taken out of their dictionaries.
  std::int64_t images = 0;           ///< Images packed.
  std::int64_t stripped = 0;         ///< Values taken out for `strip`.
  bool has_no_pages = false;         ///< There is no page to put in front, and the file is not linearized.
  bool hints_are_cut = false;        ///< Pages share so much that the hints do not name all of it.
};

class CPDFDocWriter {
public:
  explicit CPDFDocWriter(CPDFDoc& doc) : doc_(doc) {}
  CPDFDocWriter(const CPDFDocWriter&) = delete;
  CPDFDocWriter& operator=(const CPDFDocWriter&) = delete;
  ~CPDFDocWriter() { id_.free(); }

  /// The identifier that the new file gets; copied. Without one a new identifier is made.
  void set_id(const CPDFObj& id) { id_.copy_from(&id); }
  /// Writes the new file to `out`, from its present position on, encrypted by `enc` unless it is null. The options that
  /// leave something out change the document in memory; the file that it came from stays as it is. False when the
  /// output came short or there was no memory: what was written is then no document.
  bool write(CQVStream& out, CPDFEncrypt* enc, const PDF_WRITE_OPTIONS& options);
  /// What the last `write` did.
  const PDF_WRITE_RESULT& result() const { return result_; }

private:
  bool edit(const PDF_WRITE_OPTIONS& options);
  bool join_equals(sheaf::ObjectSurvey& survey, const PDF_WRITE_OPTIONS& options);
  bool write_plainly(CQVStream& out, CPDFEncrypt* enc, const PDF_WRITE_OPTIONS& options);
  bool write_linearized(CQVStream& out, CPDFEncrypt* enc, const PDF_WRITE_OPTIONS& options);
  void count_left_out();

  CPDFDoc& doc_;
  CPDFObj id_{};
  PDF_WRITE_RESULT result_{};
};

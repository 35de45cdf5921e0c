// Decoder of JBIG2 data (ITU-T T.88): segments in, page bitmaps out. Decoding is complete when
// `dec_data` returns; what it made stays with the decoder until `clear`. Two decoders work
// together where global segments have a stream of their own: `parent` links them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/neighbours/decoders/jbig2/jb2_limits.h"

/// A bitmap, 1 for black, rows padded to whole bytes: with 0 bits as long as it is worked on, and
/// with 1 bits in a page that `dec_data` has left, so that they are 0 in the inverted rows of an
/// image. One block of the QVAlloc family
/// that ends in its data, so that QVFree of the bitmap releases all of it.
struct QVJB2_Bitmap {
  std::int32_t refs;    ///< Holders; whoever brings it to 0 releases the block.
  std::int32_t stride;  ///< Bytes a row.
  std::int32_t height;  ///< Rows.
  std::uint8_t* data;   ///< `stride` x `height` bytes, behind this structure.
  std::int32_t width;   ///< Pixels a row.
  std::int32_t room;    ///< Rows that the block has room for, at least `height`.
};

enum QVJB2_PageState : std::int32_t {
  kPageUnused = 0,
  kPageBegun = 1,
  kPageFinished = 2,  ///< Finished and not yet taken.
  kPageTaken = 3,     ///< Taken by a filter.
};

/// One page.
struct QVJB2_Page {
  std::int32_t state;
  QVJB2_Bitmap* bitmap;        ///< One reference is the record's own.
  std::uint32_t number;        ///< The page number that its segments bear.
  std::int32_t open_ended;     ///< Not 0: the height was unknown, the bitmap grows with what is drawn.
  std::int32_t default_black;  ///< Not 0: the page began black.
  std::int64_t stripes_end;    ///< The row behind the last stripe, 0 before the first end of a stripe.
};

/// What a symbol dictionary exports; the pointers are in the same block.
struct QVJB2_Symbols {
  std::int32_t count;
  QVJB2_Bitmap** bitmaps;  ///< One reference on each is the dictionary's.
};

/// Coding statistics that a symbol dictionary leaves for a later one (T.88, 7.4.2.2).
struct QVJB2_Statistics {
  std::uint32_t generic_size;
  std::uint32_t refinement_size;
  std::uint8_t* generic;  ///< Behind this structure, like `refinement`.
  std::uint8_t* refinement;
};

/// One segment. All zero: no segment.
struct QVJB2_Seg {
  std::uint32_t flags;      ///< As in the segment's header; the low 6 bits are its type.
  std::uint32_t* referred;  ///< Numbers of the segments it refers to, owned, or null.
  void* result;             ///< By type, or null. See `release`.
  std::uint32_t number;
  std::uint32_t referred_count;
  std::uint32_t page;                  ///< 0 for segments that belong to all pages.
  const QVJB2_Statistics* statistics;  ///< Borrowed from the decoder, or null.

  std::uint32_t type() const { return flags & 63; }
  /// Releases what the segment owns: of a symbol dictionary its references on the symbols and the
  /// block, of intermediate text and refinement regions the bitmap, of a table its lines.
  /// All other results belong to the decoder and are only forgotten. Harmless twice.
  void release();
};

class CQVJBIG2 {
public:
  QVJB2_Page* pages = nullptr;
  std::int32_t page_last = 0;  ///< The record in use last.
  std::int32_t page_cap = 0;   ///< Records allocated.
  std::int32_t page_flag = 0;  ///< For the filter: 1 after a successful decoding.
  CQVJBIG2* parent = nullptr;  ///< Borrowed; the decoder whose segments may be referred to, or null.
  QVJB2_Seg* segments = nullptr;
  std::int32_t segment_count = 0;

  std::int32_t segment_cap = 0;
  sheaf::GrowArray<void*> kept;    ///< Blocks that live as long as the decoder, owned.
  sheaf::jb2::Limits limits = {};  ///< What decoding may still cost.
  bool is_cut = false;             ///< A segment was shorter than its header says.

  CQVJBIG2() = default;
  CQVJBIG2(const CQVJBIG2&) = delete;
  CQVJBIG2& operator=(const CQVJBIG2&) = delete;
  ~CQVJBIG2() { clear(); }

  /// Allocates the first four page records. False when there is no memory.
  bool init();
  /// Decodes the segments in `data`: an embedded stream, or a file with its header, sequential or
  /// of random access (T.88, Annex D). Damaged segments are left out and the others drawn.
  /// 1 when a page was begun, so that the record at `page_last` has a bitmap; else 0, which global
  /// segments always give. `data` is not needed afterwards.
  int dec_data(unsigned char* data, int len);
  /// Releases all segments, pages and kept blocks, and the link to the parent.
  void clear();

  /// The segment with that number, the newest first, here or in the parent; null when unknown.
  const QVJB2_Seg* find_segment(std::uint32_t number);
  /// Makes `block` live as long as the decoder. Takes it over even on failure, which gives null.
  void* keep(void* block);
  /// The record that segments of page `number` draw on; null before the first page.
  QVJB2_Page* page_of(std::uint32_t number);
  /// A fresh record at the new `page_last`, or null.
  QVJB2_Page* begin_page();
};

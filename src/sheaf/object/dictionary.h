// Dictionaries: items in ascending order of strcmp of their keys, found by binary search; and the value of a stream
// object, which is its dictionary with the place of its raw data.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sheaf/base/heap.h"
#include "sheaf/object/object.h"

class CQVStream;

/// One allocation of the QVAlloc family: the value, directly followed by the key and its NUL.
struct CPDFDictItem : CPDFObj {
  const char* key() const { return reinterpret_cast<const char*>(this + 1); }
};

/// A table of owned items with unique keys. Empty when value-initialised; released by `clear`.
class CPDFDictionary : public QVHeapObject<CPDFDictionary> {
public:
  CPDFDictItem** items = nullptr;    ///< Table of `count` pointers, from the QVAlloc family.
  std::int32_t count = 0;            ///< Items in the table.
  std::int32_t capacity = 0;         ///< Pointers that the table has room for.
  std::int64_t reserved[2]{-1, -1};  ///< Start at -1 wherever a dictionary is built in place.

  /// The value under `key`, or null. Borrowed; valid until the dictionary changes.
  CPDFObj* get_item(const char* key) const;

  /// Whether this is a signature over the file's bytes: its "Contents" is the one string of an
  /// encrypted document that is not encrypted (ISO 32000-1, 7.6.1, 12.8.1).
  bool holds_signature() const;

  /// Stores a deep copy under `key`, in place of an earlier value; null removes the key.
  void set_item(const char* key, const CPDFObj* value);
  /// Stores `value` itself, which becomes null, under `key`.
  void move_item(const char* key, CPDFObj& value);
  void set_item_int(const char* key, int value);
  void set_item_bool(const char* key, int value);
  void set_item_real(const char* key, const QVFIX& value);
  void set_item_str(const char* key, const char* bytes, int len);
  void set_item_name(const char* key, const char* name);
  void set_item_ref(const char* key, const PDF_REF& ref);
  void set_item_arr(const char* key, const CPDFArray* array);
  void set_item_dict(const char* key, const CPDFDictionary* dict);
  /// An array of four reals: left, bottom, right, top.
  void set_item_rect(const char* key, const _QVRECTF* rect);

  /// For the reader, which meets keys in any order: appends an item with a null value after the
  /// others, out of order, and gives its value, or null when there is no memory. `sort_items` must
  /// run before anything else looks at the dictionary.
  CPDFObj* append_unsorted(const char* key, std::size_t key_len);
  /// Brings appended items into order; of equal keys the last one stays.
  void sort_items();

  /// Replaces all items by deep copies of those of `src`; null leaves the dictionary empty.
  void copy_from(const CPDFDictionary* src);
  /// Releases all items and the table. Safe twice in a row.
  void clear();

  // The keys and names that recur; code compares and stores by these, never by another literal.
  static const char* const sm_tag_acro_form;  ///< "AcroForm"
  static const char* const sm_tag_base_font;  ///< "BaseFont"
  static const char* const sm_tag_bbok;       ///< "BBox"
  static const char* const sm_tag_bpc;        ///< "BitsPerComponent"
  static const char* const sm_tag_count;      ///< "Count"
  static const char* const sm_tag_cs;         ///< "ColorSpace"
  static const char* const sm_tag_extgs;      ///< "ExtGState"
  static const char* const sm_tag_fdec;       ///< "FlateDecode"
  static const char* const sm_tag_fdes;       ///< "FontDescriptor"
  static const char* const sm_tag_filter;     ///< "Filter"
  static const char* const sm_tag_first;      ///< "First"
  static const char* const sm_tag_font;       ///< "Font"
  static const char* const sm_tag_height;     ///< "Height"
  static const char* const sm_tag_length;     ///< "Length"
  static const char* const sm_tag_next;       ///< "Next"
  static const char* const sm_tag_parent;     ///< "Parent"
  static const char* const sm_tag_prev;       ///< "Prev"
  static const char* const sm_tag_res;        ///< "Resources"
  static const char* const sm_tag_rotate;     ///< "Rotate"
  static const char* const sm_tag_subtype;    ///< "Subtype"
  static const char* const sm_tag_type;       ///< "Type"
  static const char* const sm_tag_width;      ///< "Width"
  static const char* const sm_tag_xobj;       ///< "XObject"
};

/// Record of a stream object (tag 9). Copies share the data: `source` is never owned.
struct CPDFStreamRec : QVHeapObject<CPDFStreamRec> {
  CPDFDictionary dict;            ///< First member, so that a record can be used as its dictionary.
  std::uint32_t offset = 0;       ///< Where the raw data start in `source`.
  std::int32_t length = 0;        ///< Raw bytes; 0 not known, negative unusable.
  PDF_REF ref{0, 0};              ///< Key of the decryption of the data.
  std::int32_t decoded_hint = 0;  ///< Expected decoded size; 0 not known.
  std::int32_t plain = 0;         ///< Not 0: the bytes in `source` are not encrypted.
  CQVStream* source = nullptr;    ///< Borrowed; null makes the record unreadable.

  /// Copies the words after the dictionary, bit for bit.
  void copy_location(const CPDFStreamRec& from) {
    offset = from.offset;
    length = from.length;
    ref = from.ref;
    decoded_hint = from.decoded_hint;
    plain = from.plain;
    source = from.source;
  }
  void clear() { dict.clear(); }
};

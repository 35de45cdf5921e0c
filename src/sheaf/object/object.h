// The values of PDF objects (ISO 32000-1, 7.3). A CPDFObj is a plain structure that owns what it
// holds: value-initialise one (`CPDFObj o{};`), use it, and call `free` on every path out.
// Nothing here takes a lock; a value belongs to whoever holds it.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "sheaf/base/fixed.h"

class CPDFArray;
class CPDFBuf;
class CPDFDictionary;
class CPDFEncrypt;
class CPDFSecHand;
class CQVStream;
struct CPDFStreamRec;

namespace sheaf {
/// Object numbers are signed where they are written and unsigned where they count entries. A negative
/// one is beyond all entries.
constexpr std::uint32_t object_index(std::int32_t num) {
  return static_cast<std::uint32_t>(num);
}
constexpr std::int32_t object_num(std::size_t index) {
  return static_cast<std::int32_t>(index);
}
}  // namespace sheaf

/// Object number and generation; {0, 0} means no object.
struct PDF_REF {
  std::int32_t num;
  std::int32_t gen;

  /// Generation 0 of the object whose entry in the table has that index.
  static constexpr PDF_REF at(std::uint32_t index) { return {sheaf::object_num(index), 0}; }
  /// The index of the object's entry.
  constexpr std::uint32_t index() const { return sheaf::object_index(num); }
  friend constexpr bool operator==(const PDF_REF&, const PDF_REF&) = default;
};
static_assert(sizeof(PDF_REF) == 8);

/// For CPDFObj::read: the object being read and the handler that decrypts its strings.
struct PDF_DEC_PARA {
  PDF_REF ref;
  CPDFSecHand* sec_hand;
};

/// For CPDFObj::write.
struct PDF_ENC_PARA {
  std::int32_t obj_num;  ///< For the object header and the key of the object.
  std::int32_t gen;      ///< The same.
  std::int32_t mode;     ///< 1 indirect object with header, 0 bare value.
  CPDFEncrypt* encrypt;  ///< Borrowed; null prints strings and bodies as they are.
};

/// Raw bytes of a PDF string; no encoding is implied. `data[len]` is a NUL that does not count.
struct PDF_String {
  std::int32_t len;
  char* data;  ///< From the QVAlloc family; null for an empty string.

  /// Makes the string from wide text, two bytes a character, big-endian, after FE FF when `bom`
  /// is not 0. Characters above U+FFFF lose their upper bits. The object is taken as raw memory:
  /// an earlier value is not released. A failed allocation leaves `len` 0 and `data` null.
  void init(const wchar_t* text, int bom);
};

/// What the tag of a CPDFObj says.
enum CPDFTag : std::int32_t {
  kTagNull = 0,
  kTagBool = 1,
  kTagInt = 2,
  kTagReal = 3,
  kTagString = 4,
  kTagName = 5,
  kTagArray = 6,
  kTagDict = 7,
  kTagRef = 8,
  kTagStream = 9,
  kTagNoValue = 10,  ///< `read` met a keyword that is no value, such as endobj.
};

/// Tagged value of one PDF object.
///
/// tag  value holds                    data holds     owned
///  0   0
///  1   signed 32-bit, 0 or not 0
///  2   signed 32-bit
///  3   QVFIX
///  4   PDF_String.len                 PDF_String.data   bytes, QVAlloc
///  5   name without the slash, NUL                      bytes, QVAlloc
///  6   CPDFArray*                                       operator new
///  7   CPDFDictionary*                                  operator new
///  8   PDF_REF
///  9   CPDFStreamRec*                                   operator new
/// 10   nothing
struct CPDFObj {
  std::int32_t tag;
  std::uint64_t value;
  char* data;

  /// Releases what the object owns and leaves it null. Safe on a null object and when repeated.
  void free() {
    if (tag >= kTagString)
      release();
    tag = kTagNull;
    value = 0;
  }
  /// Replaces the object by a deep copy of `src`; null gives the null object. A stream's data are
  /// shared, not copied. A failed allocation gives an empty string, a null name. Not for `src` == this.
  void copy_from(const CPDFObj* src);
  /// Takes over the value of `src`, which becomes null; what this object held is released.
  void move_from(CPDFObj& src);

  /// Parses one value from `buf`, at white space or at the first byte of a value or of an object
  /// header `N G obj`. With a header the result is the value inside, white space after it is
  /// passed, and the buffer is at `endobj`; a dictionary followed by `stream` gives tag 9. A
  /// keyword that is no value gives tag 10, with the buffer after it; the end of input gives tag 0.
  /// `para` null means that strings are not decrypted. What the object held is released.
  /// ISO 32000-1, 7.2, 7.3.
  void read(CPDFBuf* buf, PDF_DEC_PARA* para);
  /// Prints the value at the present position of `out`: `para->mode` 1 as an indirect object with
  /// header, endobj and line end, 0 the bare value (a null `para` counts as mode 0). Streams print
  /// the number of body bytes that really follow as their Length. `source` of a stream may be `out`.
  /// Strings and bodies are encrypted by `para->encrypt` when it is not null. ISO 32000-1, 7.3.
  void write(CQVStream* out, PDF_ENC_PARA* para) const;

  bool is_null() const { return tag == kTagNull; }
  bool is_number() const { return tag == kTagInt || tag == kTagReal; }
  bool is_name(const char* name) const;

  /// Typed access: the value for a matching tag, else 0, null, {0, 0}. Pointers are borrowed and
  /// valid until the object changes.
  bool as_bool() const { return tag == kTagBool && low_word() != 0; }
  std::int32_t as_int() const { return tag == kTagInt ? low_word() : 0; }
  QVFIX as_real() const { return tag == kTagReal ? static_cast<QVFIX>(value) : 0; }
  const char* as_name() const { return tag == kTagName ? pointer<char>() : nullptr; }
  PDF_String as_string() const { return tag == kTagString ? PDF_String{low_word(), data} : PDF_String{0, nullptr}; }
  PDF_REF as_ref() const { return tag == kTagRef ? std::bit_cast<PDF_REF>(value) : PDF_REF{0, 0}; }
  CPDFArray* as_array() const { return tag == kTagArray ? pointer<CPDFArray>() : nullptr; }
  CPDFStreamRec* as_stream() const { return tag == kTagStream ? pointer<CPDFStreamRec>() : nullptr; }
  /// The dictionary of tag 7; the stream's dictionary is reached by `as_dict_or_stream`.
  CPDFDictionary* as_dict() const { return tag == kTagDict ? pointer<CPDFDictionary>() : nullptr; }
  /// The dictionary of tag 7, or that of the record of tag 9.
  CPDFDictionary* as_dict_or_stream() const;
  /// The item of `key` in a dictionary, references not followed; null without one, or when this is no dictionary.
  /// Borrowed; valid until the dictionary changes.
  const CPDFObj* item(const char* key) const;
  /// The text of a name, or the bytes of a string (NUL-terminated); null for anything else. Some
  /// writers put strings where names belong.
  const char* as_text() const;
  /// An integer, or a real rounded (halves up); anything else 0.
  std::int32_t to_int() const;
  /// A number as a real; anything else 0.
  QVFIX to_real() const;
  /// The low 32 bits of `value` whatever the tag is: what a lenient reader takes for a number.
  std::int32_t low_word() const { return static_cast<std::int32_t>(static_cast<std::uint32_t>(value)); }

  /// Setters: release what the object held, then store. Texts are copied.
  void set_bool(int flag);
  void set_int(std::int32_t number);
  void set_real(QVFIX number);
  void set_name(const char* name);
  void set_name(const char* name, std::size_t len);
  void set_string(const char* bytes, int len);
  void set_ref(const PDF_REF& ref);
  /// The object takes over a container that came from `operator new`.
  void take_array(CPDFArray* array);
  void take_dict(CPDFDictionary* dict);
  void take_stream(CPDFStreamRec* rec);

private:
  void release();

  template <class T>
  T* pointer() const {
    return reinterpret_cast<T*>(static_cast<std::uintptr_t>(value));
  }
};

namespace sheaf {
/// What `item` refers to; {0, 0} when it is null or no reference.
inline PDF_REF ref_of(const CPDFObj* item) {
  return item != nullptr ? item->as_ref() : PDF_REF{0, 0};
}
}  // namespace sheaf

// An object that is printed from the text that was read, without values in between: how most objects of a
// document come to a new one.
#pragma once

#include <cstdint>
#include <string_view>

#include "sheaf/base/stream.h"
#include "sheaf/object/object.h"

class CPDFBuf;

namespace sheaf {

/// One object as a list of its parts, which borrow the texts of names and strings from the buffer that it was read
/// from. Lives on the stack; no memory is taken.
class PlainObject {
public:
  PlainObject() = default;
  PlainObject(const PlainObject&) = delete;
  PlainObject& operator=(const PlainObject&) = delete;

  /// Reads the object whose header is at the position of `buf`. False where CPDFObj::read and CPDFObj::write must do
  /// it: streams, objects that the buffer does not hold whole, damage, names and strings that are not printed
  /// as they stand. `buf` stays where it is.
  bool read(CPDFBuf& buf);
  /// Prints what CPDFObj::write would print of the value, with its header.
  void print(CQVStream* out, std::int32_t num, std::int32_t gen) const;

  // The parts as the pass over the text gives them, each false when it cannot be taken.
  bool name(std::string_view text);
  bool key(std::string_view text) { return name(text); }
  bool string(std::string_view bytes);
  bool hex_string() { return false; }
  bool integer(std::int32_t value);
  bool real(QVFIX value);
  bool word(std::string_view text);
  bool reference(const PDF_REF& ref);
  bool open(bool dict);
  bool close(bool dict);

private:
  enum class Kind : std::uint8_t { kName, kString, kWord, kInteger, kReal, kReference, kArray, kDict };
  struct Part {
    Kind kind;
    std::uint16_t end;     // behind what belongs to it
    std::uint32_t length;  // of `text`, or how many keys a dictionary has
    union {
      const char* text;
      QVFIX number;
      PDF_REF ref;
      std::uint32_t first;  // key of a dictionary, in `keys_`; while a container is open, the one around it
    };
    std::string_view view() const { return {text, length}; }
  };
  class Printer;

  Part* add(Kind kind);
  bool add_text(Kind kind, std::string_view text);
  bool order_keys(Part& dict);

  static constexpr std::uint32_t kMostParts = 512;
  static constexpr std::uint32_t kMostKeys = 256;
  std::uint32_t count_ = 0;
  std::uint32_t key_count_ = 0;
  std::uint32_t open_ = 0;  // the innermost open container
  Part parts_[kMostParts];
  std::uint16_t keys_[kMostKeys];  // of each dictionary in turn, in the order of printing
};

}  // namespace sheaf

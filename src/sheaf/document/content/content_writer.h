// Writes the operators of a content stream (ISO 32000-1, 7.8.2) into a block of its own.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>

#include "sheaf/base/grow_array.h"
#include "sheaf/object/object.h"

class CPDFDictionary;
class CPDFXRefTable;

namespace sheaf {

/// Pieces of a line are parted by spaces; `op` ends the line.
class ContentWriter {
public:
  void text(std::string_view bytes);
  /// A number with at most four digits after the point.
  void number(double value);
  /// A name, with what a name cannot hold escaped.
  void name(std::string_view value);
  /// A string in hexadecimal.
  void hex_string(const unsigned char* bytes, std::size_t len);
  void op(std::string_view name);
  /// A value of any kind, strings in their literal form.
  void value(const CPDFObj& value);
  /// An inline image (ISO 32000-1, 8.9.7): its entries, and its data as they are stored.
  void image(const CPDFDictionary& entries, std::string_view data);
  /// Numbers and the operator that takes them.
  void op(std::initializer_list<double> operands, std::string_view name);

  const char* data() const { return bytes_.begin(); }
  int size() const { return bytes_.count(); }
  bool empty() const { return bytes_.empty(); }

  /// The content as a stream object of its own, compressed, with the items of `dict`, which are
  /// taken over. {0, 0} when there is no memory.
  PDF_REF store(CPDFXRefTable& table, CPDFDictionary& dict) const;

private:
  void part();

  GrowArray<char> bytes_;
};

}  // namespace sheaf

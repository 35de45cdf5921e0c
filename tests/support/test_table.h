// A table over bytes in memory, and values as text.
#pragma once

#include <string>

#include "sheaf/base/scope_guard.h"
#include "sheaf/base/stream.h"
#include "sheaf/object/parse_buf.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

/// A stream that holds a copy of `bytes`.
struct MemStream : CQVStreamMem {
  explicit MemStream(const std::string& bytes) {
    Write(bytes.data(), static_cast<unsigned>(bytes.size()));
    SetPos(STR_SEEK_SET, 0);
  }
  std::string str() const { return std::string(reinterpret_cast<const char*>(data), len); }
};

/// A table whose file lies in memory; no section is read yet.
struct TestTable {
  explicit TestTable(const std::string& bytes) : file(bytes) {
    table.stream = &file;
    table.append_offset = file.len;
  }
  /// The object in PDF syntax.
  std::string object(int num) {
    Freed<CPDFObj> obj;
    table.get_entity(obj, {num, 0});
    return syntax(obj);
  }
  static std::string syntax(const CPDFObj& obj) {
    CQVStreamMem out;
    obj.write(&out, nullptr);
    return std::string(reinterpret_cast<const char*>(out.data), out.len);
  }

  MemStream file;
  CPDFXRefTable table;
};

/// Reads one value from `text`.
inline void read_value(CPDFObj& out, const std::string& text) {
  CPDFBufMem buf;
  buf.buf_init_mem(text.data(), static_cast<std::uint32_t>(text.size()));
  out.read(&buf, nullptr);
}

/// Reads one value from `text` and prints it.
inline std::string reprinted(const std::string& text) {
  Freed<CPDFObj> value;
  read_value(value, text);
  return value.tag == kTagNoValue ? "no value" : TestTable::syntax(value);
}

// A small writer of JSON (RFC 8259): the caller keeps the order, the writer the commas and escapes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace sheaf::tool {

class JsonWriter {
public:
  JsonWriter& begin_object() { return open('{'); }
  JsonWriter& end_object() { return close('}'); }
  JsonWriter& begin_array() { return open('['); }
  JsonWriter& end_array() { return close(']'); }
  JsonWriter& key(std::string_view name);
  JsonWriter& text(std::string_view value);
  JsonWriter& number(std::int64_t value);
  JsonWriter& real(double value);
  /// A value that is JSON already.
  JsonWriter& raw(std::string_view value);
  JsonWriter& flag(bool value);
  JsonWriter& null();
  const std::string& str() const { return out_; }
  /// Forgets what was written, so that a long text can be written in pieces.
  void restart() { *this = JsonWriter(); }

private:
  JsonWriter& open(char bracket);
  JsonWriter& close(char bracket);
  void comma();
  void quoted(std::string_view value);

  std::string out_;
  bool needs_comma_ = false;
};

}  // namespace sheaf::tool

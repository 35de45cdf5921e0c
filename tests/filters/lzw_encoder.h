// A plain LZW encoder for the tests, written from the description of the format (ISO 32000-1, 7.4.4.2).
#pragma once

#include <map>
#include <string>
#include <string_view>

/// Encodes `bytes`. Without `clears` the table stays full instead of being cleared.
inline std::string lzw_encoded(std::string_view bytes, int early, bool clears) {
  constexpr int kClear = 256;
  constexpr int kEnd = 257;
  std::string out;
  unsigned long window = 0;
  int bits = 0;
  int width = 9;
  int next = kEnd + 1;
  std::map<std::string, int> table;
  const auto put = [&](int code) {
    window = window << width | static_cast<unsigned long>(code);
    for (bits += width; bits >= 8; bits -= 8)
      out += static_cast<char>(window >> (bits - 8));
    window &= 0xFF;
  };
  const auto reset = [&] {
    put(kClear);
    table.clear();
    for (int i = 0; i < 256; ++i)
      table[std::string(1, static_cast<char>(i))] = i;
    width = 9;
    next = kEnd + 1;
  };
  // The decoder knows an entry one code later than the encoder, so the encoder widens after it.
  const auto add = [&](const std::string& entry) {
    if (next < 4096)
      table[entry] = next++;
    while (width < 12 && next - 1 + early >= 1 << width)
      ++width;
  };
  reset();
  std::string held;
  for (const char c : bytes) {
    if (table.count(held + c) != 0) {
      held += c;
      continue;
    }
    put(table[held]);
    add(held + c);
    held.assign(1, c);
    if (clears && next >= 4094)
      reset();
  }
  if (!held.empty()) {
    put(table[held]);
    add("");
  }
  put(kEnd);
  if (bits > 0)
    out += static_cast<char>(window << (8 - bits));
  return out;
}

// Font files as tests look at them: their tables by tag, and numbers at positions.
#pragma once

#include <cstdint>
#include <map>
#include <string>

inline std::uint32_t number_at(const std::string& bytes, std::size_t at, int size) {
  std::uint32_t value = 0;
  for (int i = 0; i < size; ++i)
    value = value << 8 | static_cast<unsigned char>(bytes.at(at + static_cast<std::size_t>(i)));
  return value;
}
inline int signed_at(const std::string& bytes, std::size_t at) {
  return static_cast<std::int16_t>(number_at(bytes, at, 2));
}

/// The tables of a single font. It also says whether its directory is in order and the checksums are right.
struct FontFile {
  explicit FontFile(const std::string& file) {
    std::string before;
    for (std::uint32_t i = 0; i < number_at(file, 4, 2); ++i) {
      const std::size_t entry = 12 + 16 * i;
      const std::string tag = file.substr(entry, 4);
      is_ordered = is_ordered && before < tag;
      before = tag;
      std::string bytes = file.substr(number_at(file, entry + 8, 4), number_at(file, entry + 12, 4));
      tables[tag] = bytes;
      if (tag == "head")
        bytes.replace(8, 4, 4, '\0');
      checksums_hold = checksums_hold && sum(bytes) == number_at(file, entry + 4, 4);
    }
    checksums_hold = checksums_hold && sum(file) == 0xB1B0AFBA;
  }
  static std::uint32_t sum(std::string bytes) {
    bytes.resize((bytes.size() + 3) / 4 * 4);
    std::uint32_t total = 0;
    for (std::size_t at = 0; at < bytes.size(); at += 4)
      total += number_at(bytes, at, 4);
    return total;
  }
  /// The bytes of a glyph by either form of index.
  std::string glyph(unsigned number) const {
    const std::string& loca = tables.at("loca");
    const bool is_long = number_at(tables.at("head"), 50, 2) != 0;
    const auto at = [&](unsigned i) { return is_long ? number_at(loca, i * 4, 4) : number_at(loca, i * 2, 2) * 2; };
    return tables.at("glyf").substr(at(number), at(number + 1) - at(number));
  }

  std::map<std::string, std::string> tables;
  bool is_ordered = true;
  bool checksums_hold = true;
};

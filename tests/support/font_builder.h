// Small TrueType fonts for tests, built by code: rectangles as glyphs, a composite one, and whatever
// tables a test asks for.
//
//   glyph  outline                                                advance
//   0      .notdef, a box                                         600
//   1..n   a rectangle from (100, 0) to (100 + 40 g, 500 + 10 g)  500 + 10 g
//   last   composite of glyphs 1 and 2                            999
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

class FontBuilder {
public:
  std::string family = "Test Sans";
  std::string subfamily = "Regular";
  std::string post_script = "TestSans";
  int weight = 400;
  bool italic = false;
  int units = 2000;
  int simple_glyphs = 20;
  std::map<std::uint32_t, std::uint16_t> characters;      ///< Glyph by character.
  std::map<std::uint16_t, std::uint16_t> vertical_forms;  ///< "vert" of "GSUB"; empty: no such table.
  std::vector<std::pair<int, int>> vertical_metrics;      ///< Advance and origin by glyph; empty: none.
  bool cff = false;                                       ///< Only the tag and an empty "CFF " table.
  bool signature = false;                                 ///< A "DSIG" table.
  std::map<std::string, std::string> replaced;            ///< Tables put in place of the built ones.

  int glyph_count() const { return simple_glyphs + 2; }
  int composite_glyph() const { return simple_glyphs + 1; }
  static int advance(int glyph) { return glyph == 0 ? 600 : 500 + 10 * glyph; }

  std::string build() const { return file({tables()}, false); }
  static std::string collection(const std::vector<FontBuilder>& faces) {
    std::vector<std::map<std::string, std::string>> all;
    for (const FontBuilder& face : faces)
      all.push_back(face.tables());
    return file(all, true);
  }

  static std::string u16(int value) { return {static_cast<char>(value >> 8), static_cast<char>(value)}; }
  static std::string u32(std::uint32_t value) {
    return u16(static_cast<int>(value >> 16)) + u16(static_cast<int>(value & 0xFFFF));
  }

private:
  std::map<std::string, std::string> tables() const {
    std::map<std::string, std::string> all;
    std::string glyf;
    std::string loca;
    std::string hmtx;
    for (int glyph = 0; glyph < glyph_count(); ++glyph) {
      loca += u32(static_cast<std::uint32_t>(glyf.size()));
      glyf += glyph == composite_glyph() ? composite() : rectangle(glyph);
      glyf.resize((glyf.size() + 3) / 4 * 4);
      hmtx += u16(glyph == composite_glyph() ? 999 : advance(glyph)) + u16(100);
    }
    loca += u32(static_cast<std::uint32_t>(glyf.size()));
    all["glyf"] = glyf;
    all["loca"] = loca;
    all["hmtx"] = hmtx;
    all["head"] = u32(0x10000) + u32(0x10000) + u32(0x12345678) + u32(0x5F0F3CF5) + u16(3) + u16(units) +
                  std::string(16, '\0') + u16(-50) + u16(-400) + u16(1900) + u16(1800) + u16(italic ? 2 : 0) + u16(8) +
                  u16(2) + u16(1) + u16(0);
    all["hhea"] = u32(0x10000) + u16(1600) + u16(-400) + u16(0) + u16(999) + std::string(22, '\0') + u16(glyph_count());
    all["maxp"] = u32(0x10000) + u16(glyph_count()) + u16(8) + u16(2) + u16(8) + u16(2) + u16(1) +
                  std::string(12, '\0') + u16(2) + u16(1);
    all["post"] = u32(0x30000) + u32(italic ? 0xFFF40000 : 0) + std::string(24, '\0');
    all["OS/2"] = u16(4) + u16(500) + u16(weight) + u16(5) + std::string(56, '\0') + u16(0x40) + u16(0x20) +
                  u16(0xFFFF) + u16(1600) + u16(-400) + u16(0) + u16(1600) + u16(400) + std::string(18, '\0');
    all["cmap"] = cmap();
    all["name"] = names();
    if (cff) {
      all.erase("glyf");
      all.erase("loca");
      all["CFF "] = std::string(16, '\0');
    }
    if (signature)
      all["DSIG"] = u32(1) + u32(0);
    if (!vertical_forms.empty())
      all["GSUB"] = substitutions();
    if (!vertical_metrics.empty())
      add_vertical(all);
    for (const auto& [tag, bytes] : replaced)
      all[tag] = bytes;
    return all;
  }

  static std::string rectangle(int glyph) {
    const int right = 100 + 40 * (glyph == 0 ? 10 : glyph);
    const int top = glyph == 0 ? 700 : 500 + 10 * glyph;
    std::string out = u16(1) + u16(100) + u16(0) + u16(right) + u16(top) + u16(3) + u16(0) + std::string(4, '\1');
    out += u16(100) + u16(0) + u16(right - 100) + u16(0);
    out += u16(0) + u16(top) + u16(0) + u16(-top);
    return out;
  }
  static std::string composite() {
    const int words_and_xy = 3;
    const int more = 0x20;
    return u16(-1) + u16(100) + u16(0) + u16(1080) + u16(520) + u16(words_and_xy | more) + u16(1) + u16(0) + u16(0) +
           u16(words_and_xy) + u16(2) + u16(900) + u16(0);
  }
  std::string cmap() const {
    std::string groups;
    for (const auto& [character, glyph] : characters)
      groups += u32(character) + u32(character) + u32(glyph);
    const auto count = static_cast<std::uint32_t>(characters.size());
    return u16(0) + u16(1) + u16(3) + u16(10) + u32(12) + u16(12) + u16(0) + u32(16 + 12 * count) + u32(0) +
           u32(count) + groups;
  }
  std::string names() const {
    const std::pair<int, std::string> texts[] = {
        {1, family}, {2, subfamily}, {4, family + " " + subfamily}, {6, post_script}};
    std::string records;
    std::string strings;
    for (const auto& [id, text] : texts) {
      std::string wide;
      for (const char c : text)
        wide += u16(static_cast<unsigned char>(c));
      records += u16(3) + u16(1) + u16(0x409) + u16(id) + u16(static_cast<int>(wide.size())) +
                 u16(static_cast<int>(strings.size()));
      strings += wide;
    }
    return u16(0) + u16(4) + u16(6 + 4 * 12) + records + strings;
  }
  // One script, one feature, one lookup, one subtable of single substitutions.
  std::string substitutions() const {
    const int count = static_cast<int>(vertical_forms.size());
    std::string coverage = u16(1) + u16(count);
    std::string forms = u16(2) + u16(6 + 2 * count) + u16(count);
    for (const auto& [from, to] : vertical_forms) {
      coverage += u16(from);
      forms += u16(to);
    }
    const std::string scripts = u16(1) + "DFLT" + u16(8) + u16(4) + u16(0) + u16(0) + u16(0xFFFF) + u16(1) + u16(0);
    const std::string features = u16(1) + "vert" + u16(8) + u16(0) + u16(1) + u16(0);
    const std::string lookups = u16(1) + u16(4) + u16(1) + u16(0) + u16(1) + u16(8) + forms + coverage;
    const int at = 10 + static_cast<int>(scripts.size());
    return u32(0x10000) + u16(10) + u16(at) + u16(at + static_cast<int>(features.size())) + scripts + features +
           lookups;
  }
  void add_vertical(std::map<std::string, std::string>& all) const {
    all["vhea"] =
        u32(0x10000) + u16(1000) + u16(-1000) + u16(0) + u16(2000) + std::string(22, '\0') + u16(glyph_count());
    std::string vmtx;
    for (int glyph = 0; glyph < glyph_count(); ++glyph) {
      const auto [height, origin] = vertical_metrics[static_cast<std::size_t>(glyph) % vertical_metrics.size()];
      const int top = glyph == composite_glyph() ? 520 : glyph == 0 ? 700 : 500 + 10 * glyph;
      vmtx += u16(height) + u16(origin - top);
    }
    all["vmtx"] = vmtx;
  }

  static std::string file(const std::vector<std::map<std::string, std::string>>& faces, bool as_collection) {
    std::size_t start = as_collection ? 12 + 4 * faces.size() : 0;
    for (const auto& face : faces)
      start += 12 + 16 * face.size();
    std::string head = as_collection ? "ttcf" + u32(0x10000) + u32(static_cast<std::uint32_t>(faces.size())) : "";
    std::string directories;
    std::string bodies;
    const std::size_t first = as_collection ? 12 + 4 * faces.size() : 0;
    for (const auto& face : faces) {
      if (as_collection)
        head += u32(static_cast<std::uint32_t>(first + directories.size()));
      directories += face.count("CFF ") != 0 ? "OTTO" : u32(0x10000);
      directories += u16(static_cast<int>(face.size())) + std::string(6, '\0');
      for (const auto& [tag, bytes] : face) {
        directories += tag + u32(0) + u32(static_cast<std::uint32_t>(start + bodies.size())) +
                       u32(static_cast<std::uint32_t>(bytes.size()));
        bodies += bytes + std::string((4 - bytes.size() % 4) % 4, '\0');
      }
    }
    return head + directories + bodies;
  }
};

// A PNG file of one piece of compressed data. Rows are stored as the difference to the row above where samples have a
// byte or two, which suits pictures, and as they are where several samples share a byte.
#include "sheaf/layer/png_file_internal.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "sheaf/base/scope_guard.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf::layer {

namespace {

constexpr char kSignature[] = "\x89PNG\r\n\x1A\n";
constexpr std::uint8_t kFilterNone = 0;
constexpr std::uint8_t kFilterUp = 2;
constexpr std::uint8_t kGrey = 0;
constexpr std::uint8_t kColour = 2;
constexpr std::uint8_t kIndexed = 3;

void put_number(std::string& out, std::size_t number) {
  for (int shift = 24; shift >= 0; shift -= 8)
    out += static_cast<char>(number >> shift & 0xFF);
}

void put_chunk(std::string& out, const char* name, std::string_view data) {
  put_number(out, data.size());
  const std::size_t start = out.size();
  out.append(name).append(data);
  const auto* const bytes = reinterpret_cast<const Bytef*>(out.data() + start);
  put_number(out, crc32_z(0, bytes, out.size() - start));
}

std::string header_of(const Pixels& pixels) {
  std::string header;
  put_number(header, static_cast<std::size_t>(pixels.width));
  put_number(header, static_cast<std::size_t>(pixels.height));
  header += static_cast<char>(pixels.bits);
  header += static_cast<char>(!pixels.palette.empty() ? kIndexed : pixels.components == 3 ? kColour : kGrey);
  header.append(3, '\0');  // compression, filters and order as always
  return header;
}

// As many colours as the indexes can name, the last one again where the palette has fewer.
std::string palette_of(const Pixels& pixels) {
  std::string palette(pixels.palette.begin(), pixels.palette.end());
  const std::size_t wanted = std::size_t{3} << pixels.bits;
  while (palette.size() >= 3 && palette.size() < wanted)
    palette += palette.substr(palette.size() - 3);
  palette.resize(wanted);
  return palette;
}

std::string compressed(std::string_view data) {
  int size = 0;
  const HeapBlock<unsigned char> block(
      data.size() < INT32_MAX ? CPDFXRefTable::compress_data(data.data(), static_cast<int>(data.size()), size)
                              : nullptr);
  return block ? std::string(reinterpret_cast<const char*>(block.get()), static_cast<std::size_t>(size))
               : std::string();
}

std::string filtered_rows(const Pixels& pixels) {
  const std::string_view rows = pixels.rows.text();
  const bool by_difference = pixels.bits >= 8 && pixels.palette.empty();
  std::string out;
  out.reserve(rows.size() + static_cast<std::size_t>(pixels.height));
  for (std::size_t at = 0; at + pixels.row_bytes <= rows.size(); at += pixels.row_bytes) {
    const bool has_above = by_difference && at != 0;
    out += static_cast<char>(has_above ? kFilterUp : kFilterNone);
    const std::size_t start = out.size();
    out += rows.substr(at, pixels.row_bytes);
    for (std::size_t i = 0; has_above && i < pixels.row_bytes; ++i)
      out[start + i] = static_cast<char>(out[start + i] - rows[at - pixels.row_bytes + i]);
  }
  return out;
}

}  // namespace

Data png_file(const Pixels& pixels) {
  const std::string picture = compressed(filtered_rows(pixels));
  if (picture.empty())
    return {};
  std::string file(kSignature, sizeof(kSignature) - 1);
  put_chunk(file, "IHDR", header_of(pixels));
  const std::size_t components = pixels.components == 3 || !pixels.palette.empty() ? 3 : 1;
  const bool fits =
      pixels.profile.size() > 20 && std::memcmp(pixels.profile.data() + 16, components == 3 ? "RGB " : "GRAY", 4) == 0;
  if (fits) {
    std::string profile("ICC profile");
    profile.append(2, '\0');
    profile += compressed({reinterpret_cast<const char*>(pixels.profile.data()), pixels.profile.size()});
    put_chunk(file, "iCCP", profile);
  }
  if (!pixels.palette.empty())
    put_chunk(file, "PLTE", palette_of(pixels));
  put_chunk(file, "IDAT", picture);
  put_chunk(file, "IEND", {});
  auto* const block = static_cast<std::uint8_t*>(QVAlloc(file.size()));
  if (block == nullptr)
    return {};
  std::copy(file.begin(), file.end(), block);
  return {block, file.size()};
}

}  // namespace sheaf::layer

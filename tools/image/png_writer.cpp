// Images as PNG files.
#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "image/image_writer.h"
#include "image/png_steps.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/images/image_colours.h"
#include "sheaf/filters/picture_budget.h"
#include "sheaf/filters/stream_filter.h"

namespace sheaf::tool {

namespace {

constexpr const char* kNotWritten = "could not be written to its end";
constexpr const char* kOutOfProportion = "its size is out of all proportion to its data";

// As many colours as the indexes can tell, the last one again where the space has fewer.
std::vector<std::uint8_t> full_palette(const ColourSpace& space, int bits) {
  std::vector<std::uint8_t> palette = space.palette;
  const std::size_t wanted = std::size_t{3} << bits;
  while (palette.size() < wanted)
    palette.insert(palette.end(), {palette[palette.size() - 3], palette[palette.size() - 2], palette.back()});
  palette.resize(wanted);
  return palette;
}

// `empty_bytes` of rows may stand behind the end of the data.
const char* write_rows(PngOutput& png, const CPDFImage& image, const PixelRows& rows, CPDFStream& decoder,
                       std::int64_t empty_bytes, bool& is_whole) {
  std::vector<std::uint8_t> source(static_cast<std::size_t>(rows.source_row_bytes()) + 1);
  std::vector<std::uint8_t> row(static_cast<std::size_t>(rows.row_bytes()));
  for (std::int32_t y = 0; y < image.height; ++y) {
    int total = 0;
    for (int got = 1; is_whole && total < rows.source_row_bytes() && got > 0; total += std::max(got, 0))
      got = decoder.read_block(source.data() + total, rows.source_row_bytes() - total);
    if (is_whole && total < rows.source_row_bytes() && rows.row_bytes() * (image.height - y) > empty_bytes)
      return kOutOfProportion;
    is_whole = is_whole && total == rows.source_row_bytes();
    std::fill(source.begin() + total, source.end(), std::uint8_t{0});
    rows.convert(source.data(), row.data());
    if (!png_put_row(png, row.data()))
      return kNotWritten;
  }
  return png_finish(png) ? nullptr : kNotWritten;
}

}  // namespace

const char* write_png(CQVStream* out, CPDFXRefTable& table, const CPDFImage& image, const Dots& dots, bool& is_whole) {
  constexpr std::int64_t kMostRowBits = 1 << 28;
  is_whole = true;
  const ColourSpace space = read_colour_space(table, image);
  const bool is_bilevel =
      std::strcmp(image.filter, "CCITTFaxDecode") == 0 || std::strcmp(image.filter, "JBIG2Decode") == 0;
  const int bits = is_bilevel ? 1 : image.bits;
  if (space.family == ColourFamily::kNone)
    return "its colour space cannot be shown as a picture";
  if (image.width < 1 || image.height < 1 || (bits != 1 && bits != 2 && bits != 4 && bits != 8 && bits != 16) ||
      std::int64_t{image.width} * space.components * bits > kMostRowBits)
    return "its size or depth makes no picture";
  const std::unique_ptr<CPDFStream> decoder(image.open_samples());
  if (decoder == nullptr)
    return "its data cannot be decoded";
  const PixelRows rows(table, image, space, bits);
  const std::int64_t budget = picture_budget(image.stored_length, table.picture_ceiling);
  if (rows.row_bytes() > budget)
    return kOutOfProportion;
  const std::vector<std::uint8_t> palette =
      rows.has_palette() ? full_palette(space, bits) : std::vector<std::uint8_t>();
  PngLayout layout{};
  layout.width = static_cast<std::uint32_t>(image.width);
  layout.height = static_cast<std::uint32_t>(image.height);
  layout.components = rows.components();
  layout.bits = rows.bits();
  layout.palette = rows.has_palette() ? palette.data() : nullptr;
  layout.palette_size = static_cast<int>(palette.size() / 3);
  layout.profile = space.profile.empty() ? nullptr : space.profile.data();
  layout.profile_len = static_cast<std::uint32_t>(space.profile.size());
  layout.dots_x = dots.x;
  layout.dots_y = dots.y;
  PngOutput png{};
  const ScopeGuard close([&png] { png_close(png); });
  if (!png_begin(png, out, layout))
    return kNotWritten;
  return write_rows(png, image, rows, *decoder, budget, is_whole);
}

}  // namespace sheaf::tool

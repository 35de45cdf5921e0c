// Images as PNG files.
#include <algorithm>
#include <vector>

#include "image/image_writer.h"
#include "image/png_steps.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/images/colour_rows.h"
#include "sheaf/filters/picture_budget.h"

namespace sheaf::tool {

namespace {

constexpr const char* kNotWritten = "could not be written to its end";
constexpr const char* kOutOfProportion = "its size is out of all proportion to its data";

// As many colours as the indexes can name, the last one again where the space has fewer.
std::vector<std::uint8_t> full_palette(const ColourSpace& space, int bits) {
  std::vector<std::uint8_t> palette = space.palette;
  const std::size_t wanted = std::size_t{3} << bits;
  while (palette.size() < wanted)
    palette.insert(palette.end(), {palette[palette.size() - 3], palette[palette.size() - 2], palette.back()});
  palette.resize(wanted);
  return palette;
}

// Squares of pixels as one pixel each: their mean or, of indexes, the first one.
class RowShrinker {
public:
  RowShrinker(const PixelRows& rows, std::int32_t width, int shrink)
      : components_(rows.components()), bytes_(rows.bits() / 8), is_indexed_(rows.has_palette()), shrink_(shrink) {
    width_ = static_cast<std::size_t>(width);
    const std::size_t samples = (width_ + static_cast<std::size_t>(shrink) - 1) / static_cast<std::size_t>(shrink) *
                                static_cast<std::size_t>(components_);
    sums_.resize(samples);
    counts_.resize(samples);
    row_.resize(samples);
  }
  // Whether the row is the last one of its squares, so that `row` is complete; `is_last`: of the picture.
  bool add(const std::uint8_t* row, bool is_last) {
    const auto components = static_cast<std::size_t>(components_);
    for (std::size_t i = 0; i < width_ * components; ++i) {
      const std::size_t to = i / components / static_cast<std::size_t>(shrink_) * components + i % components;
      if (is_indexed_ && counts_[to] > 0)
        continue;
      sums_[to] += row[i * static_cast<std::size_t>(bytes_)];
      ++counts_[to];
    }
    if (++rows_ < shrink_ && !is_last)
      return false;
    for (std::size_t i = 0; i < row_.size(); ++i)
      row_[i] = static_cast<std::uint8_t>(sums_[i] / counts_[i]);
    std::fill(sums_.begin(), sums_.end(), 0u);
    std::fill(counts_.begin(), counts_.end(), 0u);
    rows_ = 0;
    return true;
  }
  const std::uint8_t* row() const { return row_.data(); }

private:
  int components_;
  int bytes_;  // of a sample; the first one is the high one
  bool is_indexed_;
  int shrink_;
  std::size_t width_ = 0;
  int rows_ = 0;
  std::vector<std::uint32_t> sums_;
  std::vector<std::uint32_t> counts_;
  std::vector<std::uint8_t> row_;
};

const char* why_not(NoPicture trouble) {
  switch (trouble) {
    case NoPicture::kColourSpace:
      return "its colour space cannot be shown as a picture";
    case NoPicture::kSize:
      return "its size or depth makes no picture";
    case NoPicture::kData:
      return "its data cannot be decoded";
    case NoPicture::kOtherSize:
      return "its data are of another size than it says";
    case NoPicture::kNone:
      break;
  }
  return nullptr;
}

// `empty_bytes` of rows may be after the end of the data.
const char* write_rows(PngOutput& png, const CPDFImage& image, const PixelRows& rows, ColourRows& colours,
                       std::int64_t empty_bytes, int shrink, bool& is_whole) {
  std::vector<std::uint8_t> source(static_cast<std::size_t>(rows.source_row_bytes()) + 1);
  std::vector<std::uint8_t> row(static_cast<std::size_t>(rows.row_bytes()));
  RowShrinker shrinker(rows, shrink > 1 ? image.width : 0, shrink);
  for (std::int32_t y = 0; y < image.height; ++y) {
    const int total = is_whole ? colours.read(source.data(), rows.source_row_bytes(), nullptr) : 0;
    if (is_whole && total < rows.source_row_bytes() && rows.row_bytes() * (image.height - y) > empty_bytes)
      return kOutOfProportion;
    is_whole = is_whole && total == rows.source_row_bytes();
    std::fill(source.begin() + total, source.end(), std::uint8_t{0});
    rows.convert(source.data(), row.data());
    if (shrink > 1 && !shrinker.add(row.data(), y + 1 == image.height))
      continue;
    if (!png_put_row(png, shrink > 1 ? shrinker.row() : row.data()))
      return kNotWritten;
  }
  return png_finish(png) ? nullptr : kNotWritten;
}

const char* write_opacity_rows(PngOutput& png, const CPDFImage& image, int colour_bytes, ColourRows& colours) {
  std::vector<std::uint8_t> skipped(static_cast<std::size_t>(colour_bytes));
  std::vector<std::uint8_t> row(static_cast<std::size_t>(image.width));
  for (std::int32_t y = 0; y < image.height; ++y) {
    if (colours.read(skipped.data(), colour_bytes, row.data()) != colour_bytes)
      std::fill(row.begin(), row.end(), std::uint8_t{0});
    if (!png_put_row(png, row.data()))
      return kNotWritten;
  }
  return png_finish(png) ? nullptr : kNotWritten;
}

}  // namespace

const char* write_opacity_png(CQVStream* out, CPDFXRefTable& table, const CPDFImage& image, const Dots& dots,
                              bool& has_opacity) {
  ColourRows colours;
  has_opacity = false;
  if (image.opacity_in_data == 0)
    return nullptr;
  if (const char* const trouble = why_not(colours.open(table, image)))
    return trouble;
  has_opacity = colours.has_opacity();
  if (!has_opacity)
    return nullptr;
  PngLayout layout{};
  layout.width = static_cast<std::uint32_t>(image.width);
  layout.height = static_cast<std::uint32_t>(image.height);
  layout.components = 1;
  layout.bits = 8;
  layout.dots_x = dots.x;
  layout.dots_y = dots.y;
  PngOutput png{};
  const ScopeGuard close([&png] { png_close(png); });
  if (!png_begin(png, out, layout))
    return kNotWritten;
  return write_opacity_rows(png, image, image.width * colours.space().components, colours);
}

const char* write_png(CQVStream* out, CPDFXRefTable& table, const CPDFImage& image, const Dots& dots, bool& is_whole,
                      int shrink) {
  is_whole = true;
  ColourRows colours;
  if (const char* const trouble = why_not(colours.open(table, image)))
    return trouble;
  const ColourSpace& space = colours.space();
  const int bits = colours.bits();
  const PixelRows rows(table, image, space, bits);
  const std::int64_t budget = picture_budget(image.stored_length, table.picture_ceiling);
  if (rows.row_bytes() > budget)
    return kOutOfProportion;
  const std::vector<std::uint8_t> palette =
      rows.has_palette() ? full_palette(space, bits) : std::vector<std::uint8_t>();
  shrink = rows.bits() < 8 ? 1 : shrink;
  PngLayout layout{};
  layout.width = static_cast<std::uint32_t>((image.width + shrink - 1) / shrink);
  layout.height = static_cast<std::uint32_t>((image.height + shrink - 1) / shrink);
  layout.components = rows.components();
  layout.bits = shrink > 1 ? 8 : rows.bits();
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
  return write_rows(png, image, rows, colours, budget, shrink, is_whole);
}

}  // namespace sheaf::tool

// Images: their data, their pixels, and files of them.
#include <sys/stat.h>

#include <algorithm>
#include <cstring>

#include "sheaf/base/scope_guard.h"
#include "sheaf/base/work_watch.h"
#include "sheaf/document/images/colour_rows.h"
#include "sheaf/document/images/image.h"
#include "sheaf/document/images/image_colours.h"
#include "sheaf/filters/picture_budget.h"
#include "sheaf/layer/core_internal.h"
#include "sheaf/layer/new_file_internal.h"
#include "sheaf/layer/parts.h"
#include "sheaf/layer/png_file_internal.h"

namespace sheaf {

namespace {

// Rows as the filters give them, converted into `to`. False where the data end early.
bool convert_rows(ColourRows& samples, const PixelRows& rows, std::int32_t height, std::uint8_t* to,
                  std::uint8_t* opacity, std::int32_t width) {
  std::vector<std::uint8_t> source(static_cast<std::size_t>(rows.source_row_bytes()) + 1);
  bool is_whole = true;
  for (std::int32_t y = 0; y < height && is_whole; ++y) {
    WorkWatch::at(y, height);
    const int total =
        samples.read(source.data(), rows.source_row_bytes(), opacity != nullptr ? opacity + y * width : nullptr);
    is_whole = total == rows.source_row_bytes();
    std::fill(source.begin() + total, source.end(), std::uint8_t{0});
    rows.convert(source.data(), to + y * rows.row_bytes());
  }
  return is_whole;
}

}  // namespace

Image::Image() = default;
Image::Image(Image&&) noexcept = default;
Image& Image::operator=(Image&&) noexcept = default;
Image::~Image() = default;

std::int32_t Image::width() const {
  return image_ != nullptr ? image_->width : 0;
}
std::int32_t Image::height() const {
  return image_ != nullptr ? image_->height : 0;
}
int Image::bits() const {
  return image_ != nullptr ? image_->bits : 0;
}
bool Image::is_mask() const {
  return image_ != nullptr && image_->is_mask;
}
std::string Image::filter() const {
  return image_ != nullptr ? std::string(image_->filter) : std::string();
}

bool Image::load(const layer::CoreRef& core, std::int32_t num) {
  const Value object = core->object(num);
  if (!object.is_stream() || object.number() != num)
    return false;
  if (image_ == nullptr)
    image_ = std::make_unique<CPDFImage>();
  if (!image_->load(core->table(), object.raw()))
    return false;
  core_ = core;
  object_ = object;
  return true;
}

Expected<Data> Image::encoded() const {
  std::int32_t len = 0;
  std::uint8_t* const block = image_ != nullptr && core_->is_open() ? image_->load_encoded(len) : nullptr;
  if (block == nullptr)
    return layer::error_of(Code::kDamaged, "the data of the image cannot be read", number());
  return Data(block, static_cast<std::size_t>(len));
}

std::string Image::extension() const {
  if (filter() == "DCTDecode")
    return "jpg";
  if (filter() != "JPXDecode")
    return "png";
  const Expected<Data> data = encoded();
  return data && !data->empty() && data->data()[0] == 0xFF ? "j2k" : "jp2";
}

Expected<Pixels> Image::pixels() const {
  if (image_ == nullptr || !core_->is_open())
    return layer::error_of(Code::kClosed, "the document is closed");
  CPDFXRefTable& table = core_->table();
  layer::Task task(*core_, "images");
  ColourRows samples;
  const NoPicture trouble = samples.open(table, *image_);
  if (trouble == NoPicture::kColourSpace)
    return layer::error_of(Code::kUnsupported, "the colour space of the image cannot be shown", number());
  if (trouble != NoPicture::kNone)
    return layer::error_of(Code::kDamaged, "the image has no size, depth or data to make a picture of", number());
  const ColourSpace& space = samples.space();
  const PixelRows rows(table, *image_, space, samples.bits());
  const std::int64_t size = rows.row_bytes() * image_->height;
  if (size > picture_budget(image_->stored_length, table.picture_ceiling))
    return layer::error_of(Code::kTooLarge, "the size of the image is out of all proportion to its data", number());
  auto* const block = static_cast<std::uint8_t*>(QVCalloc(static_cast<std::size_t>(size), 1));
  if (block == nullptr)
    return layer::error_of(Code::kNoMemory, "there is no memory for the pixels of the image", number());
  Pixels pixels;
  pixels.rows = Data(block, static_cast<std::size_t>(size));
  pixels.width = image_->width;
  pixels.height = image_->height;
  pixels.components = rows.components();
  pixels.bits = rows.bits();
  pixels.row_bytes = static_cast<std::size_t>(rows.row_bytes());
  std::uint8_t* opacity = nullptr;
  if (samples.has_opacity()) {
    const std::size_t count = static_cast<std::size_t>(image_->width) * static_cast<std::size_t>(image_->height);
    opacity = static_cast<std::uint8_t*>(QVCalloc(count, 1));
    if (opacity == nullptr)
      return layer::error_of(Code::kNoMemory, "there is no memory for the pixels of the image", number());
    pixels.opacity = Data(opacity, count);
  }
  pixels.is_whole = convert_rows(samples, rows, image_->height, block, opacity, image_->width);
  if (task.is_stopped())
    return layer::error_of(Code::kCancelled, "the picture was stopped", number());
  pixels.profile = space.profile;
  if (rows.has_palette())
    pixels.palette = space.palette;
  return pixels;
}

Expected<std::string> Image::save(const std::string& folder) const {
  if (mkdir(folder.c_str(), 0777) != 0 && errno != EEXIST)
    return layer::error_of(Code::kNoFile, folder + " cannot be made: " + std::strerror(errno));
  const std::string kind = extension();
  const std::string path = folder + "/image-" + std::to_string(number()) + "." + kind;
  Data file;
  if (kind == "png") {
    const Expected<Pixels> picture = pixels();
    if (!picture)
      return picture.error();
    file = layer::png_file(*picture);
    if (file.empty())
      return layer::error_of(Code::kNoMemory, "there is no memory for a picture file", number());
  } else {
    Expected<Data> data = encoded();
    if (!data)
      return data.error();
    file = std::move(*data);
  }
  const Expected<void> written = layer::write_file(path, file.data(), file.size());
  return written ? Expected<std::string>(path) : Expected<std::string>(written.error());
}

bool Images::advance() {
  if (!core_->is_open())
    return false;
  CPDFXRefTable& table = core_->updated_doc().table();
  table.drain_pending();
  for (; object_index(next_) < table.xref_count; ++next_) {
    const PDF_XREF* const entry = table.entry(next_);
    if (entry == nullptr || !(entry->is_in_file() || entry->is_in_memory()))
      continue;  // members of object streams are no streams
    Image image;
    if (!image.load(core_, next_))
      continue;
    present_ = std::move(image);
    ++next_;
    return true;
  }
  return false;
}

}  // namespace sheaf

// The callbacks through which OpenJPEG reads the block.
#include "sheaf/neighbours/decoders/jpx/jpx_source.h"

#include <algorithm>
#include <cstring>

#include <openjpeg.h>

namespace sheaf {

namespace {

constexpr std::size_t kMostChunk = 64 * 1024;
constexpr std::size_t kLeastChunk = 256;

}  // namespace

std::size_t JpxSource::read(void* dst, std::size_t size, void* client) {
  auto* self = static_cast<JpxSource*>(client);
  const std::size_t count = std::min(size, self->len_ - self->pos_);
  if (count == 0)
    return static_cast<std::size_t>(-1);
  std::memcpy(dst, self->data_ + self->pos_, count);
  self->pos_ += count;
  return count;
}

std::int64_t JpxSource::skip(std::int64_t count, void* client) {
  auto* self = static_cast<JpxSource*>(client);
  if (count < 0)
    return -1;
  const std::size_t left = self->len_ - self->pos_;
  const std::size_t passed = std::min(left, static_cast<std::size_t>(count));
  self->pos_ += passed;
  return passed == 0 && count > 0 ? -1 : static_cast<std::int64_t>(passed);
}

int JpxSource::seek(std::int64_t pos, void* client) {
  auto* self = static_cast<JpxSource*>(client);
  if (pos < 0 || static_cast<std::uint64_t>(pos) > self->len_)
    return OPJ_FALSE;
  self->pos_ = static_cast<std::size_t>(pos);
  return OPJ_TRUE;
}

bool JpxSource::open(const std::uint8_t* data, std::size_t len, JpxForm form, JpxMessage on_error,
                     JpxMessage on_warning) {
  close();
  data_ = data;
  len_ = len;
  opj_codec_t* codec = opj_create_decompress(form.is_bare ? OPJ_CODEC_J2K : OPJ_CODEC_JP2);
  codec_ = codec;
  opj_stream_t* stream = opj_stream_create(std::clamp(len, kLeastChunk, kMostChunk), OPJ_TRUE);
  stream_ = stream;
  if (codec == nullptr || stream == nullptr)
    return false;
  opj_set_error_handler(codec, on_error, this);
  opj_set_warning_handler(codec, on_warning, this);
  opj_dparameters_t parameters;
  opj_set_default_decoder_parameters(&parameters);
  if (form.keeps_indexes)
    parameters.flags |= OPJ_DPARAMETERS_IGNORE_PCLR_CMAP_CDEF_FLAG;
  if (!opj_setup_decoder(codec, &parameters))
    return false;
  opj_decoder_set_strict_mode(codec, OPJ_FALSE);  // data that end early give what they have
  opj_stream_set_read_function(stream, read);
  opj_stream_set_skip_function(stream, skip);
  opj_stream_set_seek_function(stream, seek);
  opj_stream_set_user_data(stream, this, nullptr);
  opj_stream_set_user_data_length(stream, len);
  return opj_read_header(stream, codec, &image_) != OPJ_FALSE && image_ != nullptr;
}

bool JpxSource::decode() {
  if (image_ == nullptr)
    return false;
  auto* codec = static_cast<opj_codec_t*>(codec_);
  auto* stream = static_cast<opj_stream_t*>(stream_);
  if (!opj_decode(codec, stream, image_))
    return false;
  opj_end_decompress(codec, stream);  // what follows the samples need not be complete
  return true;
}

void JpxSource::close() {
  if (image_ != nullptr)
    opj_image_destroy(image_);
  if (stream_ != nullptr)
    opj_stream_destroy(static_cast<opj_stream_t*>(stream_));
  if (codec_ != nullptr)
    opj_destroy_codec(static_cast<opj_codec_t*>(codec_));
  image_ = nullptr;
  stream_ = nullptr;
  codec_ = nullptr;
  pos_ = 0;
}

}  // namespace sheaf

// JPEG 2000 files of any kind for tests, by OpenJPEG's compressor.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include <openjpeg.h>

struct Jp2Kind {
  int components = 3;
  int precision = 8;
  bool is_signed = false;
  bool bare = false;    ///< A code stream without boxes.
  int chroma_step = 1;  ///< Of the second and third component, in both directions.
  int left = 0;
  int top = 0;
  int tile = 0;  ///< Side of the tiles; 0: one tile.
  OPJ_COLOR_SPACE space = OPJ_CLRSPC_UNSPECIFIED;
};

namespace jp2_maker {

struct Sink {
  std::string bytes;
  std::size_t pos = 0;

  static std::size_t write(void* data, std::size_t size, void* client) {
    auto& sink = *static_cast<Sink*>(client);
    sink.bytes.resize(std::max(sink.bytes.size(), sink.pos + size));
    std::copy_n(static_cast<const char*>(data), size, sink.bytes.begin() + static_cast<std::ptrdiff_t>(sink.pos));
    sink.pos += size;
    return size;
  }
  static OPJ_OFF_T skip(OPJ_OFF_T count, void* client) {
    static_cast<Sink*>(client)->pos += static_cast<std::size_t>(count);
    return count;
  }
  static OPJ_BOOL seek(OPJ_OFF_T pos, void* client) {
    static_cast<Sink*>(client)->pos = static_cast<std::size_t>(pos);
    return OPJ_TRUE;
  }
};

inline opj_image_t* make_image(int width, int height, const Jp2Kind& kind) {
  std::vector<opj_image_cmptparm_t> parms(static_cast<std::size_t>(kind.components));
  for (std::size_t i = 0; i < parms.size(); ++i) {
    const auto step = static_cast<OPJ_UINT32>(i == 1 || i == 2 ? kind.chroma_step : 1);
    parms[i] = {};
    parms[i].dx = parms[i].dy = step;
    parms[i].w = (static_cast<OPJ_UINT32>(width) + step - 1) / step;
    parms[i].h = (static_cast<OPJ_UINT32>(height) + step - 1) / step;
    parms[i].x0 = static_cast<OPJ_UINT32>(kind.left);
    parms[i].y0 = static_cast<OPJ_UINT32>(kind.top);
    parms[i].prec = static_cast<OPJ_UINT32>(kind.precision);
    parms[i].sgnd = kind.is_signed ? 1 : 0;
  }
  opj_image_t* image = opj_image_create(static_cast<OPJ_UINT32>(parms.size()), parms.data(), kind.space);
  image->x0 = static_cast<OPJ_UINT32>(kind.left);
  image->y0 = static_cast<OPJ_UINT32>(kind.top);
  image->x1 = static_cast<OPJ_UINT32>(kind.left + width);
  image->y1 = static_cast<OPJ_UINT32>(kind.top + height);
  return image;
}

}  // namespace jp2_maker

/// Compresses without loss what `sample(component, x, y)` gives, x and y counted in the component.
template <class Sample>
std::string make_jp2(int width, int height, const Jp2Kind& kind, const Sample& sample) {
  opj_image_t* image = jp2_maker::make_image(width, height, kind);
  for (OPJ_UINT32 c = 0; c < image->numcomps; ++c) {
    const opj_image_comp_t& comp = image->comps[c];
    for (OPJ_UINT32 i = 0; i < comp.w * comp.h; ++i)
      comp.data[i] = sample(static_cast<int>(c), static_cast<int>(i % comp.w), static_cast<int>(i / comp.w));
  }
  opj_cparameters_t parameters;
  opj_set_default_encoder_parameters(&parameters);
  parameters.tcp_numlayers = 1;
  parameters.cp_disto_alloc = 1;
  parameters.numresolution = 3;
  parameters.tile_size_on = kind.tile != 0 ? OPJ_TRUE : OPJ_FALSE;
  parameters.cp_tdx = parameters.cp_tdy = kind.tile;
  opj_codec_t* codec = opj_create_compress(kind.bare ? OPJ_CODEC_J2K : OPJ_CODEC_JP2);
  opj_setup_encoder(codec, &parameters, image);
  jp2_maker::Sink sink;
  opj_stream_t* stream = opj_stream_default_create(OPJ_FALSE);
  opj_stream_set_write_function(stream, jp2_maker::Sink::write);
  opj_stream_set_skip_function(stream, jp2_maker::Sink::skip);
  opj_stream_set_seek_function(stream, jp2_maker::Sink::seek);
  opj_stream_set_user_data(stream, &sink, nullptr);
  const bool done =
      opj_start_compress(codec, image, stream) && opj_encode(codec, stream) && opj_end_compress(codec, stream);
  opj_stream_destroy(stream);
  opj_destroy_codec(codec);
  opj_image_destroy(image);
  return done ? sink.bytes : "";
}

/// A box of a JP2 file.
inline std::string jp2_box(const std::string& type, const std::string& content) {
  const std::size_t size = content.size() + 8;
  std::string box;
  for (int shift = 24; shift >= 0; shift -= 8)
    box += static_cast<char>(size >> shift);
  return box + type + content;
}

/// A JP2 file of these boxes inside its header and of a bare code stream.
inline std::string jp2_file(const std::string& header, const std::string& code_stream) {
  using namespace std::string_literals;
  return jp2_box("jP  ", "\r\n\x87\n") + jp2_box("ftyp", "jp2 \0\0\0\0jp2 "s) + jp2_box("jp2h", header) +
         jp2_box("jp2c", code_stream);
}

/// 67 x 45 pixels, grey of 0x30 with an opacity of 0x60.
inline std::string make_grey_with_opacity() {
  using namespace std::string_literals;
  const std::string data =
      make_jp2(67, 45, {.components = 2, .bare = true}, [](int c, int, int) { return c == 0 ? 0x30 : 0x60; });
  return jp2_file(jp2_box("ihdr", "\0\0\0\x2D\0\0\0\x43\0\x02\x07\x07\0\0"s) + jp2_box("colr", "\x01\0\0\0\0\0\x11"s) +
                      jp2_box("cdef", "\0\x02\0\0\0\0\0\x01\0\x01\0\x01\0\0"s),
                  data);
}

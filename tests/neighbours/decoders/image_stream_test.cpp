// DCT and JPX streams of every kind, whole and damaged.
#include <gtest/gtest.h>

#include "filters/filter_support.h"
#include "sheaf/neighbours/decoders/dct.h"
#include "sheaf/neighbours/decoders/jpx/jpx.h"
#include "support/jp2_maker.h"
#include "support/jpeg_maker.h"
#include "support/netpbm.h"

using namespace sheaf;

using namespace std::string_literals;

namespace {

constexpr int kWidth = 67;
constexpr int kHeight = 45;

std::string picture_jpeg(const JpegKind& kind) {
  return make_jpeg(smooth_picture(kWidth, kHeight, kind.components), kWidth, kHeight, kind);
}

// Luminance and chrominance to colours by the standard's real numbers, with inks inverted.
std::string converted(const std::string& samples, std::size_t step) {
  std::string out = samples;
  for (std::size_t i = 0; i + step <= samples.size(); i += step) {
    const double y = static_cast<unsigned char>(samples[i]);
    const double cb = static_cast<unsigned char>(samples[i + 1]) - 128.0;
    const double cr = static_cast<unsigned char>(samples[i + 2]) - 128.0;
    const double rgb[] = {y + 1.402 * cr, y - 0.344136 * cb - 0.714136 * cr, y + 1.772 * cb};
    for (std::size_t c = 0; c < 3; ++c) {
      const double clamped = std::min(std::max(rgb[c], 0.0), 255.0);
      out[i + c] = static_cast<char>(static_cast<int>((step == 4 ? 255 - clamped : clamped) + 0.5));
    }
  }
  return out;
}

TEST(ImageStreams, ExpectWhatTheLengthOfTheirDataSuggests) {
  const std::string jpeg = picture_jpeg({});
  EXPECT_EQ(decoder_of("DCTDecode", jpeg)->size_hint, static_cast<int>(4 * jpeg.size()));
  EXPECT_EQ(decoder_of("DCTDecode", "none")->size_hint, 16);
  EXPECT_EQ(decoder_of("JPXDecode", "no image")->size_hint, 8);
}

TEST(Dct, EveryColourSpaceComesBack) {
  const JpegKind kinds[] = {
      kGreyJpeg,
      {},
      {.progressive = true},
      {.subsampled = true},
      {.stored = JCS_RGB, .adobe_marker = true},
      {.stored = JCS_RGB, .jfif_marker = false},  // known by the numbers of the components
      {.components = 2, .given = JCS_UNKNOWN, .stored = JCS_UNKNOWN},
      {.components = 4, .given = JCS_CMYK, .stored = JCS_CMYK},
      {.components = 4, .given = JCS_CMYK, .stored = JCS_CMYK, .adobe_marker = true, .progressive = true},
      {.components = 4, .given = JCS_CMYK, .stored = JCS_YCCK, .adobe_marker = true},
  };
  for (const JpegKind& kind : kinds) {
    const std::string file = picture_jpeg(kind);
    const StreamPtr decoder = decoder_of("DCT", "\r\n" + file);
    EXPECT_EQ(decoder->filter_type, kFilterDCT);
    const auto& dct = static_cast<const CPDFStreamDCT&>(*decoder);
    EXPECT_EQ(dct.width(), kWidth);
    EXPECT_EQ(dct.height(), kHeight);
    EXPECT_EQ(dct.components(), kind.components);
    const std::string samples = read_all(*decoder);
    const std::string expected = smooth_picture(kWidth, kHeight, kind.components);
    ASSERT_EQ(samples.size(), expected.size());
    EXPECT_LE(greatest_difference(samples, expected), 8) << kind.components << ' ' << kind.stored;
    EXPECT_TRUE(decoded("DCTDecode", file, "", 7) == samples);
  }
}

// How the coefficients are coded changes no sample.
TEST(Dct, EveryCodingGivesTheSameSamples) {
  const std::string plain = decoded("DCTDecode", picture_jpeg({}));
  ASSERT_FALSE(plain.empty());
  for (const JpegKind& kind :
       {JpegKind{.restart_blocks = 1}, JpegKind{.restart_blocks = 65535}, JpegKind{.arithmetic = true},
        JpegKind{.progressive = true, .arithmetic = true}, JpegKind{.restart_blocks = 7, .arithmetic = true}}) {
    EXPECT_TRUE(decoded("DCTDecode", picture_jpeg(kind)) == plain) << kind.restart_blocks << kind.arithmetic;
  }
  // More blocks than the restart interval can count in 15 bits.
  const std::string large = smooth_picture(2000, 1200, 1);
  JpegKind grey = kGreyJpeg;
  const std::string without = decoded("DCTDecode", make_jpeg(large, 2000, 1200, grey));
  grey.restart_blocks = 36000;
  EXPECT_TRUE(decoded("DCTDecode", make_jpeg(large, 2000, 1200, grey)) == without);
}

// The same data, said to be transformed or not: an Adobe marker has the last word.
TEST(Dct, ColorTransformCountsWithoutAMarker) {
  const JpegKind plain{.jfif_marker = false};
  const JpegKind marked{.adobe_marker = true};
  const std::string rgb = decoded("DCTDecode", picture_jpeg(plain), "<</ColorTransform 1>>");
  const std::string raw = decoded("DCTDecode", picture_jpeg(plain), "<</ColorTransform 0>>");
  EXPECT_LE(greatest_difference(rgb, converted(raw, 3)), 2);
  EXPECT_GT(greatest_difference(rgb, raw), 50);
  EXPECT_TRUE(decoded("DCTDecode", picture_jpeg(plain)) == rgb);
  EXPECT_TRUE(decoded("DCTDecode", picture_jpeg(marked), "<</ColorTransform 0>>") == rgb);

  const JpegKind inks{.components = 4, .given = JCS_CMYK, .stored = JCS_CMYK};
  const std::string four = decoded("DCTDecode", picture_jpeg(inks));
  EXPECT_TRUE(decoded("DCTDecode", picture_jpeg(inks), "<</ColorTransform 0>>") == four);
  EXPECT_LE(greatest_difference(decoded("DCTDecode", picture_jpeg(inks), "<</ColorTransform 1>>"), converted(four, 4)),
            2);
}

TEST(Dct, TruncatedDataGiveTheRowsThereAre) {
  const std::size_t row = kWidth * 3;
  for (const JpegKind& kind : {JpegKind{}, JpegKind{.subsampled = true}, JpegKind{.restart_rows = 1}}) {
    const std::string file = picture_jpeg(kind);
    const std::string whole = decoded("DCTDecode", file);
    const std::size_t block = kind.subsampled ? 16 : 8;
    std::size_t before = 0;
    for (std::size_t len = 0; len < file.size(); len += 13) {
      const std::string cut = decoded("DCTDecode", file.substr(0, len));
      ASSERT_EQ(cut.size() % row, 0u);
      ASSERT_GE(cut.size(), before);
      before = cut.size();
      // The last rows of blocks are there in part, and the row above them is blended with them.
      const std::size_t sure = cut.size() / row > block + 1 ? cut.size() - (block + 1) * row : 0;
      ASSERT_EQ(cut.compare(0, sure, whole, 0, sure), 0) << len;
    }
    EXPECT_TRUE(decoded("DCTDecode", file.substr(0, file.size() - 2)) == whole);
    EXPECT_LT(decoded("DCTDecode", file.substr(0, file.size() / 2)).size(), whole.size());
  }
}

TEST(Dct, TruncatedProgressiveDataGiveACoarserImage) {
  const std::string file = picture_jpeg({.progressive = true});
  const std::string whole = decoded("DCTDecode", file);
  const std::string half = decoded("DCTDecode", file.substr(0, file.size() / 2));
  EXPECT_EQ(half.size(), whole.size());
  for (std::size_t len = 0; len < file.size(); len += 29)
    EXPECT_LE(decoded("DCTDecode", file.substr(0, len)).size(), whole.size());
}

TEST(Dct, WhatIsNoImageGivesNothing) {
  std::string huge = picture_jpeg({.progressive = true});
  huge.replace(huge.find("\xFF\xC2") + 5, 4, "\xFF\xDC\xFF\xDC");  // 65,500 by 65,500 in a few hundred bytes
  std::string twelve_bits = picture_jpeg({});
  twelve_bits[twelve_bits.find("\xFF\xC0") + 4] = 12;
  for (const std::string& data : {""s, "No image at all"s, "\xFF\xD8"s, "\xFF\xD8\xFF\xD9"s, huge, twelve_bits})
    EXPECT_EQ(decoded("DCTDecode", data).size(), 0u);
}

TEST(Dct, CloseEndsTheStreamAndTheBlockInIt) {
  const StreamPtr decoder = decoder_of("DCTDecode", picture_jpeg({}));
  char byte = 0;
  EXPECT_EQ(decoder->read_block(&byte, 1), 1);
  decoder->close();
  decoder->close();
  EXPECT_EQ(decoder->read_block(&byte, 1), 0);
}

int ramp(int component, int x, int y, int most) {
  return (x * 5 + y * 3 + component * 50) % (most + 1);
}

// What a ramp becomes at 8 bits.
template <class ToByte>
std::string ramp_picture(int components, int most, const ToByte& to_byte) {
  std::string samples;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      for (int c = 0; c < components; ++c)
        samples += static_cast<char>(to_byte(ramp(c, x, y, most)));
    }
  }
  return samples;
}

TEST(Jpx, ComponentsOfAnyDepthComeAtEightBits) {
  struct Case {
    Jp2Kind kind;
    int most;
  };
  const Case cases[] = {
      {{.components = 1}, 255},
      {{.components = 2}, 255},
      {{.components = 3, .bare = true}, 255},
      {{.components = 4}, 255},
      {{.components = 3, .left = 3, .top = 9, .tile = 32}, 255},
      {{.components = 1, .precision = 1}, 1},
      {{.components = 1, .precision = 4}, 15},
      {{.components = 3, .precision = 12}, 4095},
      {{.components = 1, .precision = 16}, 65535},
      {{.components = 3, .is_signed = true}, 255},
  };
  for (const Case& c : cases) {
    const int zero = c.kind.is_signed ? (c.most + 1) / 2 : 0;
    const std::string file = make_jp2(
        kWidth, kHeight, c.kind, [&](int component, int x, int y) { return ramp(component, x, y, c.most) - zero; });
    const StreamPtr decoder = decoder_of("JPXDecode", file);
    EXPECT_EQ(decoder->filter_type, kFilterJPX);
    EXPECT_EQ(static_cast<const CPDFStreamJPX&>(*decoder).width(), kWidth);
    const std::string expected = ramp_picture(
        c.kind.components, c.most, [&](int v) { return c.most >= 255 ? v * 256 / (c.most + 1) : v * 255 / c.most; });
    EXPECT_TRUE(read_all(*decoder, 100) == expected) << c.kind.components << " of " << c.kind.precision;
  }
}

TEST(Jpx, FewerChromaSamplesAreSpreadAndConverted) {
  for (const bool stated : {false, true}) {
    const Jp2Kind kind{.bare = !stated, .chroma_step = 2, .space = stated ? OPJ_CLRSPC_SYCC : OPJ_CLRSPC_UNSPECIFIED};
    const std::string file = make_jp2(kWidth, kHeight, kind, [](int c, int x, int y) { return ramp(c, x, y, 199); });
    std::string stored;
    for (int i = 0; i < kWidth * kHeight; ++i) {
      const int x = i % kWidth;
      const int y = i / kWidth;
      stored += static_cast<char>(ramp(0, x, y, 199));
      stored += static_cast<char>(ramp(1, x / 2, y / 2, 199));
      stored += static_cast<char>(ramp(2, x / 2, y / 2, 199));
    }
    const std::string samples = decoded("JPXDecode", file);
    ASSERT_EQ(samples.size(), stored.size());
    EXPECT_LE(greatest_difference(samples, converted(stored, 3)), 1);
  }
}

// A JP2 file whose one component is an index into three columns.
std::string palette_file(const std::string& code_stream) {
  const std::string size = "\0\0\0\x2D\0\0\0\x43"s;  // 45 rows of 67
  const std::string header = jp2_box("ihdr", size + "\0\x01\x07\x07\0\0"s) + jp2_box("colr", "\x01\0\0\0\0\0\x10"s);
  const std::string entries = "\x0A\x14\x1E\x64\x6E\x78"s;  // two of three bytes
  const std::string palette =
      jp2_box("pclr", "\0\x02\x03\x07\x07\x07"s + entries) + jp2_box("cmap", "\0\0\x01\0\0\0\x01\x01\0\0\x01\x02"s);
  return jp2_box("jP  ", "\r\n\x87\n") + jp2_box("ftyp", "jp2 \0\0\0\0jp2 "s) + jp2_box("jp2h", header + palette) +
         jp2_box("jp2c", code_stream);
}

TEST(Jpx, PaletteIsApplied) {
  const std::string code_stream =
      make_jp2(kWidth, kHeight, {.components = 1, .bare = true}, [](int, int x, int y) { return (x + y) % 2; });
  const std::string samples = decoded("JPXDecode", palette_file(code_stream));
  ASSERT_EQ(samples.size(), static_cast<std::size_t>(kWidth * kHeight * 3));
  EXPECT_EQ(samples.substr(0, 6), "\x0A\x14\x1E\x64\x6E\x78");
}

TEST(Jpx, CodeStreamAmongDamagedBoxesIsFound) {
  const std::string file = make_jp2(kWidth, kHeight, {}, [](int c, int x, int y) { return ramp(c, x, y, 255); });
  const std::string whole = decoded("JPXDecode", file);
  EXPECT_TRUE(decoded("JPXDecode", "\n" + file) == whole);
  std::string damaged = file;
  damaged[0] = 9;
  EXPECT_TRUE(decoded("JPXDecode", damaged) == whole);
  const std::size_t code_stream = file.find("jp2c") - 4;
  for (const std::size_t size : {1u, 300u, 100000u}) {
    const std::string unknown = jp2_box("uuid", std::string(size, 'u'));
    EXPECT_TRUE(decoded("JPXDecode", file.substr(0, code_stream) + unknown + file.substr(code_stream)) == whole);
  }
}

TEST(Jpx, TruncatedAndAbsurdDataGiveWhatThereIs) {
  const std::string file =
      make_jp2(kWidth, kHeight, {.bare = true, .tile = 32}, [](int c, int x, int y) { return ramp(c, x, y, 255); });
  const std::string whole = decoded("JPXDecode", file);
  for (std::size_t len = 0; len < file.size(); len += 37) {
    const std::string cut = decoded("JPXDecode", file.substr(0, len));
    EXPECT_TRUE(cut.empty() || cut.size() == whole.size()) << len;
  }
  struct Claim {
    std::size_t at;  // in the size segment, after its marker
    std::string bytes;
  };
  const Claim claims[] = {
      {6, "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"},  // 4 thousand million squared
      {38, "\x40\x00"s},                        // components
      {38, "\xFF\xFF"},                         // more than there may be
      {38, "\x00\x00"s},                        // none
      {41, "\x00"s},                            // sampled at no distance
      {14, "\xFF\xFF\xFF\xFF"},                 // starts after its end
  };
  for (const Claim& claim : claims) {
    std::string bad = file;
    bad.replace(2 + claim.at, claim.bytes.size(), claim.bytes);
    EXPECT_EQ(decoded("JPXDecode", bad).size(), 0u) << claim.at;
  }
  EXPECT_EQ(decoded("JPXDecode", "plain text"), "");
  // The last part of the image claims to be longer than there is memory; it goes up to the end.
  std::string overlong = file;
  overlong.replace(overlong.rfind("\xFF\x90\x00\x0A"s) + 6, 4, "\x7F\xFF\xFF\xF0");
  EXPECT_EQ(decoded("JPXDecode", overlong), whole);
}

}  // namespace

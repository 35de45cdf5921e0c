// Image factories: what they store, and what bad input leaves behind.
#include <gtest/gtest.h>
#include <zlib.h>

#include "sheaf/create/unpack_pixels.h"
#include "sheaf/neighbours/page/page.h"
#include "support/create_support.h"
#include "support/external_tool.h"
#include "support/jp2_maker.h"
#include "support/jpeg_maker.h"

using namespace sheaf;

using namespace std::string_literals;

namespace {

std::string image_items(int width, int height, const std::string& space, const std::string& filter) {
  return "BitsPerComponent 8\n" + (space.empty() ? "" : "ColorSpace /" + space + "\n") + "Filter /" + filter +
         "\nHeight " + std::to_string(height) + "\nSubtype /Image\nType /XObject\nWidth " + std::to_string(width) +
         "\n";
}

CQVBmp32 bitmap(std::string& bytes, int width, int height, int stride) {
  CQVBmp32 bmp;
  bmp.pixels = reinterpret_cast<std::uint8_t*>(bytes.data());
  bmp.width = width;
  bmp.height = height;
  bmp.stride = stride;
  return bmp;
}

const unsigned char* bytes_of(const std::string& text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

TEST(CompressData, BytesAreThoseOfASyncFlushAndAFinish) {
  int size = -1;
  const HeapBlock<unsigned char> empty(CPDFXRefTable::compress_data("", 0, size));
  EXPECT_EQ(std::string(reinterpret_cast<char*>(empty.get()), static_cast<std::size_t>(size)),
            "\x68\x81\0\0\0\xFF\xFF\x03\0\0\0\0\x01"s);
  const HeapBlock<unsigned char> comment(CPDFXRefTable::compress_data("%empty\r\n", 8, size));
  EXPECT_EQ(size, 22);
  EXPECT_EQ(comment[0], 0x68);
  EXPECT_EQ(comment[1], 0x81);
  EXPECT_EQ(CPDFXRefTable::compress_data(nullptr, 5, size), nullptr);
  EXPECT_EQ(size, 0);
}

// Data that do not compress use up the buffer, whose size does not count the sync flush.
TEST(CompressData, BytesThatDoNotCompressComeBackWhole) {
  for (const std::size_t len : {1u, 7u, 63u, 64u, 65u, 1000u, 16383u, 16384u, 65535u, 65536u, 300000u}) {
    std::string noise(len, '\0');
    std::uint32_t seed = 7;
    for (char& byte : noise)
      byte = static_cast<char>((seed = seed * 1664525 + 1013904223) >> 24);
    int size = 0;
    const HeapBlock<unsigned char> packed(CPDFXRefTable::compress_data(noise.data(), static_cast<int>(len), size));
    ASSERT_TRUE(packed);
    EXPECT_EQ(packed[static_cast<std::size_t>(size)], 0);
    std::string out(len + 1, '\0');
    uLongf got = static_cast<uLongf>(out.size());
    ASSERT_EQ(uncompress(reinterpret_cast<Bytef*>(out.data()), &got, packed.get(), static_cast<uLong>(size)), Z_OK);
    EXPECT_TRUE(out.substr(0, got) == noise) << len;
  }
}

TEST(UnpackPixels, EveryCountIsTakenApartWithoutTouchingMore) {
  const std::string src = sample_bytes(4 * 70);
  for (std::size_t count = 0; count <= 70; ++count) {
    std::string forward(3 * count + 8, '#');
    std::string backward = forward;
    std::string alpha(count + 8, '#');
    unpack_colour(bytes_of(src), reinterpret_cast<std::uint8_t*>(forward.data()), count, false);
    unpack_colour(bytes_of(src), reinterpret_cast<std::uint8_t*>(backward.data()), count, true);
    unpack_alpha(bytes_of(src), reinterpret_cast<std::uint8_t*>(alpha.data()), count);
    for (std::size_t i = 0; i < count; ++i) {
      const std::string colour = src.substr(4 * i, 3);
      ASSERT_EQ(forward.substr(3 * i, 3), colour);
      ASSERT_EQ(backward.substr(3 * i, 3), std::string(colour.rbegin(), colour.rend()));
      ASSERT_EQ(alpha[i], src[4 * i + 3]);
    }
    ASSERT_EQ(forward.substr(3 * count), "########");
    ASSERT_EQ(backward.substr(3 * count), "########");
    ASSERT_EQ(alpha.substr(count), "########");
  }
}

TEST(ImageFlate, MaskComesBeforeItsImage) {
  FreshTable doc;
  std::string pixel = "\x0A\x14\x1E\x28";
  const CQVBmp32 one = bitmap(pixel, 1, 1, 4);
  const PDF_REF image = doc.table.new_image_flate(&one, 1, 1);
  EXPECT_EQ(image, (PDF_REF{2, 0}));
  EXPECT_EQ(doc.data(image), "\x1E\x14\x0A");
  EXPECT_EQ(doc.data({1, 0}), "\x28");
  EXPECT_EQ(doc.items({1, 0}), image_items(1, 1, "DeviceGray", "FlateDecode"));
  std::string expected = image_items(1, 1, "DeviceRGB", "FlateDecode");
  expected.insert(expected.find("Subtype"), "SMask 1 0 R\n");
  EXPECT_EQ(doc.items(image), expected);
  EXPECT_EQ(doc.data(doc.table.new_image_flate(&one, 0, 0)), "\x0A\x14\x1E");
  EXPECT_EQ(doc.table.next_obj_num, 4u);
}

TEST(ImageFlate, RowsFollowTheStrideUpAndDown) {
  FreshTable doc;
  std::string rows = "abcdefgh----ijklmnop----";
  const CQVBmp32 down = bitmap(rows, 2, 2, 12);
  const PDF_REF image = doc.table.new_image_flate(&down, 0, 1);
  EXPECT_EQ(doc.data(image), "abcefgijkmno");
  EXPECT_EQ(doc.data({image.num - 1, 0}), "dhlp");
  CQVBmp32 up = down;
  up.pixels += 12;
  up.stride = -12;
  EXPECT_EQ(doc.data(doc.table.new_image_flate(&up, 0, 0)), "ijkmnoabcefg");
}

TEST(ImageFlate, AStrideOf0RepeatsARow) {
  FreshTable doc;
  std::string row = "abcdefgh";
  const CQVBmp32 bmp = bitmap(row, 2, 3, 0);
  EXPECT_EQ(doc.data(doc.table.new_image_flate(&bmp, 0, 0)), "abcefgabcefgabcefg");
}

TEST(ImageFlate, UnusableBitmapsChangeNothing) {
  FreshTable doc;
  std::string rows(64, 'x');
  const CQVBmp32 bad[] = {
      CQVBmp32{},
      bitmap(rows, 0, 1, 4),
      bitmap(rows, 1, -1, 4),
      bitmap(rows, 65536, 65536, 4 * 65536),
      bitmap(rows, 40000, 20000, 160000),  // the product fits, three bytes each do not
  };
  for (const CQVBmp32& bmp : bad)
    EXPECT_EQ(doc.table.new_image_flate(&bmp, 0, 1), (PDF_REF{0, 0})) << bmp.width << " x " << bmp.height;
  EXPECT_EQ(doc.table.new_image_flate(nullptr, 0, 1), (PDF_REF{0, 0}));
  EXPECT_EQ(doc.table.next_obj_num, 1u);
  EXPECT_EQ(doc.table.new_obj_count, 0u);
}

TEST(ImageJpeg, ColourSpaceComesFromTheHeaderAndBytesAsTheyAre) {
  struct Case {
    JpegKind kind;
    const char* space;
  };
  const Case cases[] = {
      {kGreyJpeg, "DeviceGray"},
      {JpegKind{}, "DeviceRGB"},
      {{.stored = JCS_RGB, .adobe_marker = true, .progressive = true}, "DeviceRGB"},
      {{.components = 4, .given = JCS_CMYK, .stored = JCS_CMYK}, "DeviceCMYK"},
      {{.components = 4, .given = JCS_CMYK, .stored = JCS_YCCK, .adobe_marker = true}, "DeviceCMYK"},
  };
  FreshTable doc;
  const TestFolder folder;
  for (const Case& c : cases) {
    const std::string file = make_jpeg(smooth_picture(20, 10, c.kind.components), 20, 10, c.kind);
    const PDF_REF held = doc.table.new_image_jpeg_mem(bytes_of(file), static_cast<int>(file.size()));
    EXPECT_EQ(doc.items(held), image_items(20, 10, c.space, "DCTDecode"));
    write_file(folder / "in.jpg", file);
    const PDF_REF read = doc.table.new_image_jpeg((folder / "in.jpg").c_str());
    EXPECT_EQ(doc.items(read), doc.items(held));
    Freed<CPDFObj> obj;
    doc.table.get_entity(obj, read);
    int len = 0;
    const HeapBlock<unsigned char> raw(doc.table.load_raw_data(obj.as_stream(), len));
    EXPECT_TRUE(file == std::string(reinterpret_cast<char*>(raw.get()), static_cast<std::size_t>(len)));
  }
}

TEST(ImageJpx, SizeIsThatOfTheImageAreaAndColourTheDatas) {
  FreshTable doc;
  const TestFolder folder;
  const auto ramp = [](int c, int x, int y) { return (x * 3 + y * 5 + c * 40) & 0xFF; };
  for (const bool bare : {false, true}) {
    write_file(folder / "in.jp2", make_jp2(30, 20, {.bare = bare, .left = 7, .top = 5}, ramp));
    const PDF_REF image = doc.table.new_image_jpx((folder / "in.jp2").c_str());
    EXPECT_EQ(doc.items(image), image_items(30, 20, "", "JPXDecode"));
    EXPECT_EQ(doc.data(image).size(), 30u * 20 * 3);
  }
}

TEST(ImageFiles, BadFilesTakeNoNumber) {
  const std::string jpeg = make_jpeg(smooth_picture(8, 8, 3), 8, 8, {});
  const std::string two_components =
      make_jpeg(smooth_picture(8, 8, 2), 8, 8, {.components = 2, .given = JCS_UNKNOWN, .stored = JCS_UNKNOWN});
  const std::string jp2 = make_jp2(8, 8, {}, [](int, int x, int y) { return x + y; });
  const std::size_t size_segment = jp2.find("\xFF\x4F\xFF\x51") + 2;
  std::string many_components = jp2;
  many_components.replace(size_segment + 38, 2, "\x40\x00"s);
  std::string many_tiles = jp2;
  many_tiles.replace(size_segment + 6, 8, "\x7F\xFF\xFF\xFF\x7F\xFF\xFF\xFF");
  many_tiles.replace(size_segment + 22, 8, "\x00\x00\x00\x01\x00\x00\x00\x01"s);
  const std::string files[] = {"",
                               "A text under another name.",
                               jpeg.substr(0, 20),
                               "\xFF\xD8\xFF\xD9",
                               two_components,
                               jp2.substr(0, 60),
                               "\xFF\x4F\xFF\x51",
                               many_components,
                               many_tiles};
  FreshTable doc;
  const TestFolder folder;
  const std::string path = folder / "in";
  for (const std::string& file : files) {
    write_file(path, file);
    EXPECT_EQ(doc.table.new_image_jpeg(path.c_str()), (PDF_REF{0, 0}));
    EXPECT_EQ(doc.table.new_image_jpx(path.c_str()), (PDF_REF{0, 0}));
    EXPECT_EQ(doc.table.new_image_jpeg_mem(bytes_of(file), static_cast<int>(file.size())), (PDF_REF{0, 0}));
  }
  for (const char* absent : {"/no/such/file", "/tmp", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(doc.table.new_image_jpeg(absent), (PDF_REF{0, 0}));
    EXPECT_EQ(doc.table.new_image_jpx(absent), (PDF_REF{0, 0}));
  }
  EXPECT_EQ(doc.table.new_image_jpeg_mem(nullptr, 100), (PDF_REF{0, 0}));
  EXPECT_EQ(doc.table.next_obj_num, 1u);
}

TEST(NewStream, FlateAndRawHaveNothingButWhatTheyNeed) {
  FreshTable doc;
  std::string text = "Some data of the layer above";
  auto* bytes = reinterpret_cast<unsigned char*>(text.data());
  const PDF_REF flate = doc.table.adv_new_stream_flate(bytes, static_cast<int>(text.size()));
  const PDF_REF raw = doc.table.adv_new_stream_raw(bytes, static_cast<int>(text.size()));
  EXPECT_EQ(doc.items(flate), "Filter /FlateDecode\n");
  EXPECT_EQ(doc.items(raw), "");
  EXPECT_EQ(doc.data(flate), text);
  EXPECT_EQ(doc.data(raw), text);
  EXPECT_EQ(doc.table.adv_new_stream_flate(nullptr, 3), (PDF_REF{0, 0}));
  EXPECT_EQ(doc.table.next_obj_num, 3u);
}

}  // namespace

// Images as their dictionaries describe them: where the samples of each filter end.
#include <gtest/gtest.h>

#include "filters/filter_support.h"
#include "sheaf/document/images/colour_rows.h"
#include "sheaf/document/images/image.h"
#include "support/fax_encoder.h"
#include "support/jp2_maker.h"
#include "support/jpeg_maker.h"
#include "support/test_table.h"

using namespace sheaf;
using namespace std::string_literals;

namespace {

struct ImageSamples : testing::Test {
  // Lets `use` have the table and the image of these entries and data.
  template <class Use>
  void with_image(const std::string& entries, const std::string& data, const Use& use) {
    TestTable file("%PDF-1.7\n1 0 obj<</Type/Catalog>>endobj\n2 0 obj<</Subtype/Image" + entries + "/Length " +
                   std::to_string(data.size()) + ">>stream\n" + data + "\nendstream endobj\ntrailer<</Root 1 0 R>>\n");
    file.table.picture_ceiling = ceiling;
    EXPECT_EQ(file.table.XRefCreate(), 1);
    Freed<CPDFObj> obj;
    file.table.get_entity(obj, {2, 0});
    CPDFImage image;
    EXPECT_TRUE(image.load(file.table, obj));
    use(file.table, image);
  }
  // The samples of an image with these entries and data, read in pieces of `step` bytes.
  std::string samples(const std::string& entries, const std::string& data, int step, std::size_t most = SIZE_MAX) {
    std::string all;
    with_image(entries, data, [&](CPDFXRefTable&, const CPDFImage& image) {
      const StreamPtr stream(image.open_samples());
      std::string piece(static_cast<std::size_t>(step), '\0');
      for (int got = 1; stream != nullptr && got > 0 && all.size() < most; all.append(piece, 0, std::size_t(got)))
        got = stream->read_block(piece.data(), step);
    });
    return all;
  }
  std::int64_t ceiling = 0;
};

TEST_F(ImageSamples, CcittRowsEndWithTheImage) {
  const std::vector<fax_test::Row> rows = fax_test::dithered_ramp(100, 12);
  fax_test::FaxEncoder encoder;
  fax_test::Row above(100);
  std::string expected;
  for (const fax_test::Row& row : rows) {
    encoder.t6_row(row, above);
    above = row;
    expected += fax_test::packed(row);
  }
  encoder.end_of_block();
  const std::string parms = "/Filter/CCITTFaxDecode/DecodeParms<</K -1/Columns 100/BlackIs1 true";
  const std::string blank(3 * 13, '\0');
  for (const int step : {1, 13, 100, 4096}) {
    EXPECT_EQ(samples("/Width 100/Height 12" + parms + ">>", encoder.bytes(), step), expected) << step;
    EXPECT_EQ(samples("/Width 100" + parms + "/Rows 12>>", encoder.bytes(), step), expected) << step;
    EXPECT_EQ(samples("/Width 100/Height 15" + parms + "/Rows 12>>", encoder.bytes(), step), expected + blank) << step;
  }
  EXPECT_EQ(samples("/Width 100" + parms + ">>", encoder.bytes(), 4096), "") << "no height at all";
}

TEST_F(ImageSamples, OpacityInTheDataIsNoColour) {
  struct Case {
    const char* entries;
    bool has_opacity;
    int grey;
  };
  const Case cases[] = {{"", false, 0x30},
                        {"/ColorSpace/DeviceGray", false, 0x30},
                        {"/SMaskInData 1", true, 0x30},
                        {"/SMaskInData 2/ColorSpace/DeviceGray", true, 0x80}};
  for (const Case& c : cases) {
    with_image("/Width 67/Height 45/Filter/JPXDecode"s + c.entries, make_grey_with_opacity(),
               [&c](CPDFXRefTable& table, const CPDFImage& image) {
                 ColourRows rows;
                 ASSERT_EQ(rows.open(table, image), NoPicture::kNone);
                 EXPECT_EQ(rows.space().components, 1);
                 EXPECT_EQ(rows.has_opacity(), c.has_opacity);
                 unsigned char grey[67]{};
                 unsigned char opacity[67]{};
                 ASSERT_EQ(rows.read(grey, 67, opacity), 67);
                 EXPECT_EQ(grey[66], c.grey) << c.entries;
                 EXPECT_EQ(opacity[66], c.has_opacity ? 0x60 : 0);
               });
  }
}

// Nothing says which component it is; with three before it, it is none of the colours.
TEST_F(ImageSamples, TheComponentAfterTheColoursIsOpacityWhenThereHasToBeOne) {
  const std::string jp2 = make_jp2(9, 5, {.components = 4}, [](int c, int, int) { return 10 + c; });
  for (const bool is_said : {false, true}) {
    with_image("/Width 9/Height 5/Filter/JPXDecode"s + (is_said ? "/SMaskInData 1" : ""), jp2,
               [is_said](CPDFXRefTable& table, const CPDFImage& image) {
                 ColourRows rows;
                 ASSERT_EQ(rows.open(table, image), NoPicture::kNone);
                 unsigned char colours[27]{};
                 unsigned char opacity[9]{};
                 ASSERT_EQ(rows.read(colours, 27, opacity), 27);
                 EXPECT_EQ(rows.has_opacity(), is_said);
                 EXPECT_EQ(colours[26], 12);
                 EXPECT_EQ(opacity[8], is_said ? 13 : 0);
               });
  }
}

// The document's palette takes the place of the data's, and indexes of few bits stay what they are.
TEST_F(ImageSamples, IndexesOfJpegTwoThousandStayIndexes) {
  constexpr const char* kSpace = "/ColorSpace[/Indexed/DeviceGray 15<000102030405060708090A0B0C0D0E0F>]";
  const Jp2Kind kind{.components = 1, .precision = 4, .bare = true};
  const std::string bare = make_jp2(16, 8, kind, [](int, int x, int) { return x; });
  std::string palette = "\0\x10\x03\x07\x07\x07"s;
  for (char i = 0; i < 16; ++i)
    palette += std::string(3, static_cast<char>(100 + i));
  const std::string header = jp2_box("ihdr", "\0\0\0\x08\0\0\0\x10\0\x01\x03\x07\0\0"s) +
                             jp2_box("colr", "\x01\0\0\0\0\0\x10"s) + jp2_box("pclr", palette) +
                             jp2_box("cmap", "\0\0\x01\0\0\0\x01\x01\0\0\x01\x02"s);
  for (const std::string& data : {bare, jp2_file(header, bare)}) {
    with_image("/Width 16/Height 8/Filter/JPXDecode"s + kSpace, data, [](CPDFXRefTable& table, const CPDFImage& image) {
      ColourRows rows;
      ASSERT_EQ(rows.open(table, image), NoPicture::kNone);
      unsigned char indexes[16]{};
      ASSERT_EQ(rows.read(indexes, 16, nullptr), 16);
      for (int i = 0; i < 16; ++i)
        EXPECT_EQ(indexes[i], i);
    });
  }
  const std::string applied = samples("/Width 16/Height 8/Filter/JPXDecode", jp2_file(header, bare), 64);
  EXPECT_EQ(applied.substr(0, 6), "dddeee");
}

TEST_F(ImageSamples, RowsOutOfAllProportionAreNotMade) {
  const std::string endless =
      "/Width 4000000/Height 2000000000/Filter/CCITTFaxDecode/DecodeParms<</K -1/Columns 4000000>>";
  constexpr std::size_t kFar = 100'000'000;
  EXPECT_LT(samples(endless, "\x80", 1 << 16, kFar).size(), kFar);
  ceiling = 3'000'000;
  EXPECT_EQ(samples(endless, "\x80", 1 << 16, kFar).size(), 6 * 500'000u);
  EXPECT_EQ(samples("/Width 3/Height 1/BitsPerComponent 8/ColorSpace/DeviceGray", "abc", 2), "abc");
}

TEST_F(ImageSamples, PicturesAboveTheCeilingGiveNothing) {
  const std::string entries = "/Width 40/Height 30/BitsPerComponent 8/ColorSpace/DeviceGray/Filter";
  const std::string jpeg = make_jpeg(smooth_picture(40, 30, 1), 40, 30, kGreyJpeg);
  const std::string jpx = make_jp2(40, 30, {.components = 1}, [](int, int x, int y) { return x + y; });
  for (const auto& [filter, data] : {std::pair{"/DCTDecode", &jpeg}, std::pair{"/JPXDecode", &jpx}}) {
    ceiling = 40 * 30;
    EXPECT_EQ(samples(entries + filter, *data, 100).size(), 40u * 30) << filter;
    ceiling = 40 * 30 - 1;
    EXPECT_EQ(samples(entries + filter, *data, 100), "") << filter;
  }
}

}  // namespace

// Images as their dictionaries describe them: where the samples of each filter end.
#include <gtest/gtest.h>

#include "filters/filter_support.h"
#include "sheaf/document/images/image.h"
#include "support/fax_encoder.h"
#include "support/jp2_maker.h"
#include "support/jpeg_maker.h"
#include "support/test_table.h"

namespace {

struct ImageSamples : testing::Test {
  // The samples of an image with these entries and data, read in pieces of `step` bytes.
  std::string samples(const std::string& entries, const std::string& data, int step, std::size_t most = SIZE_MAX) {
    TestTable file("%PDF-1.7\n1 0 obj<</Type/Catalog>>endobj\n2 0 obj<</Subtype/Image" + entries + "/Length " +
                   std::to_string(data.size()) + ">>stream\n" + data + "\nendstream endobj\ntrailer<</Root 1 0 R>>\n");
    file.table.picture_ceiling = ceiling;
    EXPECT_EQ(file.table.XRefCreate(), 1);
    Freed<CPDFObj> obj;
    file.table.get_entity(obj, {2, 0});
    CPDFImage image;
    EXPECT_TRUE(image.load(file.table, obj));
    const StreamPtr stream(image.open_samples());
    std::string all;
    std::string piece(static_cast<std::size_t>(step), '\0');
    for (int got = 1; stream != nullptr && got > 0 && all.size() < most; all.append(piece, 0, std::size_t(got)))
      got = stream->read_block(piece.data(), step);
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

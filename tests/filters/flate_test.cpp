// Flate: exact counts and states at the borders of its buffer, damage, and the predictors after it.
#include "sheaf/filters/flate.h"

#include <gtest/gtest.h>

#include "filters/filter_support.h"
#include "filters/lzw_encoder.h"
#include "filters/predictor_encoder.h"
#include "support/failing_heap.h"
#include "support/pdf_builder.h"

using namespace sheaf;

namespace {

const std::string kBytes = sample_bytes(10000);

TEST(Flate, ExactFitLeavesTheNextPieceDecoded) {
  const std::string coded = PdfBuilder::deflated(kBytes);
  const StreamPtr decoder = decoder_of("FlateDecode", coded);
  auto& flate = static_cast<CPDFStreamFlate&>(*decoder);
  EXPECT_EQ(flate.filter_type, kFilterFlate);
  EXPECT_EQ(flate.size_hint, static_cast<int>(4 * coded.size()));
  EXPECT_EQ(flate.left, static_cast<int>(coded.size()));
  std::string out(kBytes.size() + 1, '\0');
  EXPECT_EQ(flate.read_block2(out.data(), 0), 0);
  EXPECT_EQ(flate.out_end, 2048);
  EXPECT_EQ(flate.read_block2(out.data(), 2047), 2047);
  EXPECT_EQ(flate.out_pos, 2047);
  EXPECT_EQ(flate.get_char2(), static_cast<unsigned char>(kBytes[2047]));
  EXPECT_EQ(flate.read_block2(out.data(), 2048), 2048);
  EXPECT_EQ(flate.out_pos, 0);
  EXPECT_EQ(flate.zstream.total_out, 2048u);
  EXPECT_EQ(out.substr(0, 2048), kBytes.substr(2048, 2048));
  EXPECT_EQ(flate.read_block2(out.data(), 10001), 10000 - 4096);
  EXPECT_EQ(flate.read_block2(out.data(), 1), 0);
  EXPECT_EQ(flate.get_char2(), -1);
  EXPECT_EQ(flate.left, static_cast<int>(coded.size()));
  flate.close();
  flate.close();
  EXPECT_EQ(flate.read_block(out.data(), 10), 0);
}

TEST(Flate, PiecesOfAnySizeGiveTheSameBytes) {
  const std::string coded = PdfBuilder::deflated(kBytes);
  for (const int step : {1, 3, 2047, 2048, 2049, 20000})
    EXPECT_EQ(decoded("Fl", coded, "", step), kBytes) << step;
  EXPECT_EQ(decoded("Fl", PdfBuilder::deflated(std::string(1 << 20, 'z'))), std::string(1 << 20, 'z'));
  EXPECT_EQ(decoded("Fl", ""), "");
}

TEST(Flate, LargeRequestsEndWherePiecesEnd) {
  const std::string bytes = std::string(70000, 'z') + kBytes + std::string(70000, 'y');
  const std::string coded = PdfBuilder::deflated(bytes);
  for (std::size_t len = 0; len <= coded.size(); len += len + 400 < coded.size() ? 97 : 1) {
    const std::string part = coded.substr(0, len);
    ASSERT_EQ(decoded("Fl", part, "", 200000), decoded("Fl", part, "", 1000)) << len;
  }
  const StreamPtr decoder = decoder_of("Fl", coded);
  auto& flate = static_cast<CPDFStreamFlate&>(*decoder);
  std::string out(6144, '\0');
  EXPECT_EQ(flate.read_block2(out.data(), 6144), 6144);
  EXPECT_EQ(flate.out_pos, 0);
  EXPECT_EQ(flate.out_end, 2048);
  EXPECT_EQ(flate.zstream.total_out, 2048u);
}

// Whatever is wrong with the data, decoding all of them at once gives the bytes that pieces give.
TEST(Flate, WholeStreamsGiveWhatPiecesGive) {
  const std::string texts[] = {kBytes, std::string(100000, 'a'), "", sample_bytes(300)};
  unsigned state = 1;
  const auto random = [&state](std::size_t below) {
    state = state * 1664525u + 1013904223u;
    return static_cast<std::size_t>(state >> 8) % below;
  };
  int whole = 0;
  for (int round = 0; round < 4000; ++round) {
    std::string coded = PdfBuilder::deflated(texts[random(std::size(texts))]);
    const std::size_t kind = random(4);
    if (kind == 1)
      coded[random(coded.size())] ^= static_cast<char>(1 + random(255));
    else if (kind == 2)
      coded.resize(random(coded.size()));
    else if (kind == 3)
      coded += sample_bytes(random(40));
    const std::string parms = random(2) != 0 ? "<</Predictor 12/Columns 7>>" : "";
    const StreamPtr all = decoder_of("FlateDecode", coded, parms);
    whole += all->decode_whole(1 << 20) ? 1 : 0;
    ASSERT_EQ(read_all(*all, 5000), decoded("FlateDecode", coded, parms, 5000)) << round;
    int len = 0;
    const HeapBlock<std::uint8_t> block(decoder_of("FlateDecode", coded, parms)->buffer_load(1 << 20, len));
    ASSERT_EQ(std::string(reinterpret_cast<const char*>(block.get()), static_cast<std::size_t>(len)),
              decoded("FlateDecode", coded, parms, 5000));
  }
  EXPECT_TRUE(whole == 0 || whole > 1500) << whole;  // 0 in a build without libdeflate
}

TEST(Flate, DamageGivesWhatCameBeforeIt) {
  const std::string coded = PdfBuilder::deflated(kBytes);
  for (std::size_t len = 0; len < coded.size(); len += 61) {
    const std::string part = decoded("Fl", coded.substr(0, len));
    EXPECT_EQ(part, kBytes.substr(0, part.size())) << len;
  }
  EXPECT_GT(decoded("Fl", coded.substr(0, coded.size() / 2)).size(), kBytes.size() / 3);

  std::string wrong_sum = coded;
  wrong_sum.back() = static_cast<char>(wrong_sum.back() + 1);
  EXPECT_EQ(decoded("Fl", wrong_sum), kBytes);
  EXPECT_EQ(decoded("Fl", coded + coded), kBytes);
  EXPECT_EQ(decoded("Fl", "no deflate data at all"), "");
  // Two stored blocks; the second one's length and its complement disagree.
  EXPECT_EQ(decoded("Fl",
                    "\x78\x01\0\x03\0\xFC\xFF"
                    "abc\x01\x03\0\0\0"
                    "def"sv),
            "abc");
}

TEST(Predictor, UndoesEveryKindForEveryShapeOfRow) {
  for (const int bits : {1, 2, 4, 8, 16}) {
    for (const int colors : {1, 3, 4, 7}) {
      for (const int columns : {1, 5, 33}) {
        for (const int kind : {2, 10, 15}) {
          const PredictorShape shape{kind, columns, colors, bits};
          SCOPED_TRACE(shape.parms());
          const std::string rows = predictor_rows(shape, 7);
          const std::string coded = PdfBuilder::deflated(predictor_encoded(shape, rows));
          for (const int step : {1, 7, 4096})
            ASSERT_EQ(decoded("Fl", coded, shape.parms(), step), rows) << step;
        }
      }
    }
  }
  const PredictorShape shape{12, 5, 3, 8};
  const std::string rows = predictor_rows(shape, 40);
  EXPECT_EQ(decoded("LZW", lzw_encoded(predictor_encoded(shape, rows), 1, true), shape.parms()), rows);
}

TEST(Predictor, RowsWithThePredictorStillOnAreNeverGiven) {
  const PredictorShape shape{12, 5, 3, 8};
  const std::string rows = predictor_rows(shape, 40);
  const std::string coded = predictor_encoded(shape, rows);
  const std::string packed[] = {PdfBuilder::deflated(coded), lzw_encoded(coded, 1, true)};
  const char* const names[] = {"FlateDecode", "LZWDecode"};
  const Value parms(shape.parms());
  for (int kind = 0; kind < 2; ++kind) {
    bool has_refused = true;
    for (long long request = 2; has_refused; ++request) {  // the first one is for the input
      FailingHeap heap(request);
      unsigned char* const block = block_of(packed[kind]);
      const auto len = static_cast<int>(packed[kind].size());
      const StreamPtr stream(CPDFXRefTable::make_stream2(nullptr, block, len, names[kind], parms.as_dict()));
      const std::string got = stream != nullptr ? read_all(*stream) : "";
      has_refused = heap.has_refused();
      EXPECT_TRUE(got == (has_refused ? "" : rows)) << names[kind] << " " << request;
    }
  }
}

TEST(Predictor, LongRunsOfOneRowFilterAreUndoneInPiecesOfAnySize) {
  for (const int columns : {1, 3, 4, 7, 8, 9, 63, 64, 100}) {
    const PredictorShape shape{12, columns, 1, 8};
    const std::size_t size = shape.row_bytes();
    const std::string rows = predictor_rows(shape, 70'000 / size);
    std::string above(size, '\0');
    std::string coded;
    for (std::size_t at = 0; at < rows.size(); at += size) {
      const std::string row = rows.substr(at, size);
      const std::size_t index = at / size;
      coded += png_row(shape, row, above, index % 97 == 96 ? static_cast<int>(index % 5) : 2);
      above = row;
    }
    const std::string packed = PdfBuilder::deflated(coded);
    for (const int step : {1, columns, 2 * columns + 1, 4096, 65'536})
      ASSERT_TRUE(decoded("Fl", packed, shape.parms(), step) == rows) << columns << " " << step;
  }
}

TEST(Predictor, TiffLeavesTheBitsAfterTheLastSample) {
  // Three samples of 2 bits with the differences 1 2 1, and padding 11.
  EXPECT_EQ(decoded("Fl", PdfBuilder::deflated("\x67"), "<</Predictor 2 /Columns 3 /BitsPerComponent 2>>"), "\x73");
}

TEST(Predictor, ShortLastRowAndUnknownTagsGiveWhatIsThere) {
  const char* const parms = "<</Predictor 15 /Columns 4>>";
  EXPECT_EQ(decoded("Fl", PdfBuilder::deflated("\x02\1\2\3\4\x02\1\1"), parms), "\1\2\3\4\2\3");
  EXPECT_EQ(decoded("Fl", PdfBuilder::deflated("\x02\1\2\3\4\x02"), parms), "\1\2\3\4");
  EXPECT_EQ(decoded("Fl", PdfBuilder::deflated("\x09\1\2\3\4\xFF\5\6\7\7"), parms), "\1\2\3\4\5\6\7\7");
  EXPECT_EQ(decoded("Fl", PdfBuilder::deflated("\1\2\3\4\5\6"), "<</Predictor 2 /Columns 4>>"), "\1\3\6\12\5\13");
}

TEST(Predictor, OnlyOneMeansNoneAndOddKindsPassTheDataOn) {
  const std::string coded = PdfBuilder::deflated(kBytes);
  for (const char* const kind : {"0", "3", "9", "-1"}) {
    const StreamPtr decoder = decoder_of("Fl", coded, std::string("<</Predictor ") + kind + ">>");
    EXPECT_NE(static_cast<CPDFStreamFlate&>(*decoder).predictor, nullptr) << kind;
    EXPECT_EQ(read_all(*decoder), kBytes) << kind;
  }
  EXPECT_EQ(static_cast<CPDFStreamFlate&>(*decoder_of("Fl", coded, "<</Predictor 1>>")).predictor, nullptr);
}

TEST(Predictor, RowsThatCannotBeGiveNoData) {
  const std::string coded = PdfBuilder::deflated(kBytes);
  for (const char* const shape :
       {"/Columns 2147483647 /Colors 2147483647 /BitsPerComponent 16", "/Columns 0", "/Columns -5", "/Colors 0",
        "/BitsPerComponent 3", "/BitsPerComponent 0", "/Columns 1073741824 /Colors 4", "/Columns 2147483647"}) {
    for (const char* const kind : {"2", "12"})
      EXPECT_EQ(decoded("Fl", coded, std::string("<</Predictor ") + kind + shape + ">>"), "") << kind << shape;
  }
}

}  // namespace

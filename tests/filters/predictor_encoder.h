// Predictors forwards, sample by sample and byte by byte: the slow and obvious counterpart of the
// decoder (RFC 2083, 6; TIFF 6.0, section 14).
#pragma once

#include <cstdlib>
#include <string>
#include <vector>

#include "filter_support.h"

using namespace sheaf;

struct PredictorShape {
  int kind, columns, colors, bits;
  std::size_t row_bytes() const { return static_cast<std::size_t>((columns * colors * bits + 7) / 8); }
  std::string parms() const {
    return "<</Predictor " + std::to_string(kind) + "/Columns " + std::to_string(columns) + "/Colors " +
           std::to_string(colors) + "/BitsPerComponent " + std::to_string(bits) + ">>";
  }
};

inline unsigned byte_at(const std::string& bytes, std::size_t i) {
  return static_cast<unsigned char>(bytes[i]);
}

inline std::string predictor_rows(const PredictorShape& shape, std::size_t rows) {
  return sample_bytes(rows * shape.row_bytes(), static_cast<std::uint32_t>(shape.columns * 31 + shape.bits));
}

/// One row with the differences of TIFF; the bits after the last sample stay.
inline std::string tiff_row(const PredictorShape& shape, const std::string& row) {
  const auto bit = [&](std::size_t i) { return byte_at(row, i / 8) >> (7 - i % 8) & 1; };
  const auto depth = static_cast<std::size_t>(shape.bits);
  const auto sample = [&](std::size_t i) {
    unsigned value = 0;
    for (std::size_t b = 0; b < depth; ++b)
      value = value << 1 | bit(i * depth + b);
    return value;
  };
  const auto colors = static_cast<std::size_t>(shape.colors);
  const std::size_t samples = static_cast<std::size_t>(shape.columns) * colors;
  std::string out = row;
  for (std::size_t i = colors; i < samples; ++i) {
    const unsigned difference = sample(i) - sample(i - colors);
    for (std::size_t b = 0; b < depth; ++b) {
      const std::size_t at = i * depth + b;
      const unsigned mask = 0x80u >> at % 8;
      const bool set = (difference >> (depth - 1 - b) & 1) != 0;
      out[at / 8] = static_cast<char>(set ? byte_at(out, at / 8) | mask : byte_at(out, at / 8) & ~mask);
    }
  }
  return out;
}

/// One row after its tag.
inline std::string png_row(const PredictorShape& shape, const std::string& row, const std::string& above, int tag) {
  const auto pixel = static_cast<std::size_t>((shape.colors * shape.bits + 7) / 8);
  std::string out(1, static_cast<char>(tag));
  for (std::size_t i = 0; i < row.size(); ++i) {
    const int a = i < pixel ? 0 : static_cast<int>(byte_at(row, i - pixel));
    const int b = static_cast<int>(byte_at(above, i));
    const int c = i < pixel ? 0 : static_cast<int>(byte_at(above, i - pixel));
    const int p = a + b - c;
    const int pa = std::abs(p - a), pb = std::abs(p - b), pc = std::abs(p - c);
    const int guess[] = {0, a, b, (a + b) / 2, pa <= pb && pa <= pc ? a : pb <= pc ? b : c};
    out += static_cast<char>(static_cast<int>(byte_at(row, i)) - guess[tag]);
  }
  return out;
}

/// Whole rows; PNG's tags take turns.
inline std::string predictor_encoded(const PredictorShape& shape, const std::string& rows) {
  const std::size_t size = shape.row_bytes();
  std::string above(size, '\0');
  std::string out;
  for (std::size_t at = 0; at < rows.size(); at += size) {
    const std::string row = rows.substr(at, size);
    out += shape.kind == 2 ? tiff_row(shape, row) : png_row(shape, row, above, static_cast<int>((at / size + 4) % 5));
    above = row;
  }
  return out;
}

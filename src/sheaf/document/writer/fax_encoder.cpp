// Modes of T.6, 2.2; code words of T.4.
#include "sheaf/document/writer/fax_encoder.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "sheaf/filters/ccitt_tables.h"

namespace sheaf {

namespace {

struct BitCode {
  std::uint16_t bits;
  std::uint8_t count;
};

constexpr BitCode code_of(std::string_view text) {
  BitCode code{0, static_cast<std::uint8_t>(text.size())};
  for (const char c : text)
    code.bits = static_cast<std::uint16_t>(code.bits << 1 | (c == '1' ? 1 : 0));
  return code;
}

constexpr std::int32_t kLongestRun = 2560;
constexpr std::int32_t kMakeupStep = 64;
constexpr std::size_t kTerminating = 64;
constexpr std::size_t kMakeup = static_cast<std::size_t>(kLongestRun / kMakeupStep) + 1;

struct RunCodes {
  std::array<BitCode, kTerminating> terminating{};
  std::array<BitCode, kMakeup> makeup{};
};

template <std::size_t kCount, std::size_t kMore>
constexpr RunCodes codes_of(const ccitt::CodeWord (&words)[kCount], const ccitt::CodeWord (&more)[kMore]) {
  RunCodes codes;
  const auto add = [&codes](const ccitt::CodeWord& word) {
    if (word.run < kTerminating)
      codes.terminating[word.run] = code_of(word.bits);
    else
      codes.makeup[word.run / kMakeupStep] = code_of(word.bits);
  };
  for (const ccitt::CodeWord& word : words)
    add(word);
  for (const ccitt::CodeWord& word : more)
    add(word);
  return codes;
}

constexpr RunCodes kWhite = codes_of(ccitt::kWhiteCodes, ccitt::kExtendedCodes);
constexpr RunCodes kBlack = codes_of(ccitt::kBlackCodes, ccitt::kExtendedCodes);
constexpr BitCode kPassCode = code_of("0001");
constexpr BitCode kHorizontalCode = code_of("001");
// For a change that is 3 to 0 pixels before that above, then 1 to 3 after it.
constexpr BitCode kVerticalCodes[] = {code_of("0000010"), code_of("000010"), code_of("010"),    code_of("1"),
                                      code_of("011"),     code_of("000011"), code_of("0000011")};
constexpr std::int32_t kMostVertical = 3;
constexpr BitCode kEndOfLineCode = code_of("000000000001");

}  // namespace

FaxEncoder::FaxEncoder(std::int32_t columns) : columns_(columns) {
  failed_ = !above_.push(columns) || !above_.push(columns) || !above_.push(columns);
}

void FaxEncoder::put(std::uint32_t bits, unsigned count) {
  held_ = held_ << count | bits;
  held_bits_ += count;
  while (held_bits_ >= 8) {
    held_bits_ -= 8;
    failed_ = !data_.push(static_cast<unsigned char>(held_ >> held_bits_)) || failed_;
  }
}

void FaxEncoder::put_run(std::int32_t run, bool black) {
  const RunCodes& codes = black ? kBlack : kWhite;
  const auto put_code = [this](const BitCode& code) { put(code.bits, code.count); };
  for (; run >= kLongestRun + kMakeupStep; run -= kLongestRun)
    put_code(codes.makeup.back());
  if (run >= kMakeupStep) {
    const std::int32_t step = std::min(run / kMakeupStep, kLongestRun / kMakeupStep);
    put_code(codes.makeup[static_cast<std::size_t>(step)]);
    run -= step * kMakeupStep;
  }
  put_code(codes.terminating[static_cast<std::size_t>(run)]);
}

bool FaxEncoder::find_changes(const unsigned char* row) {
  row_.clear();
  unsigned colour = 1;  // each row begins white
  bool good = true;
  for (std::int32_t at = 0; at < columns_;) {
    const unsigned char byte = row[at / 8];
    if (at % 8 == 0 && byte == (colour != 0 ? 0xFF : 0) && at + 8 <= columns_) {
      at += 8;
      continue;
    }
    const unsigned bit = byte >> (7 - at % 8) & 1u;
    if (bit != colour) {
      good = good && row_.push(at);
      colour = bit;
    }
    ++at;
  }
  for (int i = 0; i < 3; ++i)
    good = good && row_.push(columns_);
  return good;
}

bool FaxEncoder::add_row(const unsigned char* row) {
  if (failed_ || !find_changes(row))
    return false;
  std::int32_t a0 = -1;  // before the first pixel
  bool black = false;
  std::size_t b = 0;  // a change above; those of even index go to black
  std::size_t a = 0;
  while (a0 < columns_) {
    // b1: the first change above, to the right of a0, to the other colour than that at a0.
    while (b > 0 && above_[b - 1] > a0)
      --b;
    while (b < above_.size() - 2 && (above_[b] <= a0 || (b % 2 != 0) != black) && above_[b] < columns_)
      ++b;
    const std::int32_t b1 = above_[b];
    const std::int32_t b2 = b1 < columns_ ? above_[b + 1] : columns_;
    while (row_[a] <= a0 && row_[a] < columns_)
      ++a;
    const std::int32_t a1 = row_[a];
    if (b2 < a1) {
      put(kPassCode.bits, kPassCode.count);
      a0 = b2;
    } else if (a1 - b1 >= -kMostVertical && a1 - b1 <= kMostVertical) {
      const BitCode& code = kVerticalCodes[a1 - b1 + kMostVertical];
      put(code.bits, code.count);
      a0 = a1;
      black = !black;
    } else {
      const std::int32_t a2 = a1 < columns_ ? row_[a + 1] : columns_;
      put(kHorizontalCode.bits, kHorizontalCode.count);
      put_run(a1 - std::max(a0, 0), black);
      put_run(a2 - a1, !black);
      a0 = a2;
    }
  }
  above_.swap(row_);
  return !failed_;
}

bool FaxEncoder::finish() {
  put(kEndOfLineCode.bits, kEndOfLineCode.count);
  put(kEndOfLineCode.bits, kEndOfLineCode.count);
  if (held_bits_ != 0)
    put(0, 8 - held_bits_);
  return !failed_;
}

}  // namespace sheaf

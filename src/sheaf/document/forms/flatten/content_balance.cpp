// Counts q and Q over the tokens of the decoded content; inline images are skipped.
#include "sheaf/document/forms/flatten/content_balance_internal.h"

#include <algorithm>
#include <memory>

#include "sheaf/base/chars.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/object/array.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

namespace {

constexpr int kBlock = 8192;
constexpr long long kMostContent = 1 << 28;  // decoded bytes of one page; beyond them its end is taken as balanced

}  // namespace

void ContentBalance::add(const char* bytes, std::size_t len) {
  for (std::size_t i = 0; i < len; ++i)
    step(bytes[i]);
}

void ContentBalance::step(char c) {
  switch (state_) {
    case State::kToken:
    case State::kName:
      if (is_regular(c)) {
        if (token_len_ < sizeof(token_))
          token_[token_len_] = c;
        ++token_len_;
        return;
      }
      end_token();
      if (state_ == State::kBetween)
        begin(c);
      return;
    case State::kString:
      if (c == '\\')
        state_ = State::kEscape;
      else if (c == '(')
        ++parentheses_;
      else if (c == ')' && --parentheses_ == 0)
        state_ = State::kBetween;
      return;
    case State::kEscape:
      state_ = State::kString;
      return;
    case State::kHex:
      if (c == '>')
        state_ = State::kBetween;
      else if (c == '<')
        state_ = State::kBetween;  // the beginning of a dictionary
      return;
    case State::kComment:
      if (c == '\n' || c == '\r')
        state_ = State::kBetween;
      return;
    case State::kImage:
    case State::kImageE:
    case State::kImageEnd:
      in_image(c);
      return;
    case State::kBetween:
      begin(c);
      return;
  }
}

void ContentBalance::begin(char c) {
  if (c == '(') {
    parentheses_ = 1;
    state_ = State::kString;
  } else if (c == '<') {
    state_ = State::kHex;
  } else if (c == '%') {
    state_ = State::kComment;
  } else if (c == '/') {
    token_len_ = 0;
    state_ = State::kName;
  } else if (is_regular(c)) {
    token_[0] = c;
    token_len_ = 1;
    state_ = State::kToken;
  }
}

void ContentBalance::end_token() {
  const bool is_operator = state_ == State::kToken && token_len_ <= sizeof(token_);
  const std::string_view token(token_, is_operator ? token_len_ : 0);
  state_ = State::kBetween;
  if (token == "q") {
    ++depth_;
  } else if (token == "Q") {
    --depth_;
    lowest_ = std::min(lowest_, depth_);
  } else if (token == "BI") {
    image_dict_ = true;
  } else if (token == "ID" && image_dict_) {
    image_dict_ = false;
    state_ = State::kImage;
    before_ = ' ';
  }
}

// The data of an inline image end at EI between white space.
void ContentBalance::in_image(char c) {
  if (state_ == State::kImageEnd && (is_wide_space(c) || has_class(c, kDelimiter)))
    state_ = State::kBetween;
  else if (state_ == State::kImageE && c == 'I')
    state_ = State::kImageEnd;
  else if (c == 'E' && is_wide_space(before_))
    state_ = State::kImageE;
  else
    state_ = State::kImage;
  before_ = c;
}

ContentBalance balance_of(CPDFXRefTable& table, const CPDFArray& contents) {
  ContentBalance balance;
  long long total = 0;
  const HeapBlock<char> block(static_cast<char*>(QVAlloc(kBlock)));
  for (std::int32_t i = 0; i < contents.count && block; ++i) {
    Freed<CPDFObj> stream;
    table.resolve(stream, contents.items + i);
    const std::unique_ptr<CPDFStream> decoder(stream.as_stream() != nullptr ? table.make_stream(stream.as_stream())
                                                                            : nullptr);
    int got = 1;
    while (decoder != nullptr && got > 0 && total < kMostContent) {
      got = decoder->read_block(block.get(), kBlock);
      balance.add(block.get(), static_cast<std::size_t>(std::max(0, got)));
      total += got;
    }
    balance.end_stream();
  }
  return balance;
}

}  // namespace sheaf

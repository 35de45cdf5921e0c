// How a page's content leaves the stack of graphics states: what is drawn behind it must begin where the page began.
#pragma once

#include <cstddef>
#include <string_view>

class CPDFXRefTable;
class CPDFArray;

namespace sheaf {

/// Takes content in pieces and counts the operators q and Q outside of strings and inline images.
class ContentBalance {
public:
  void add(const char* bytes, std::size_t len);
  /// Ends a stream: tokens do not go on in the next one.
  void end_stream() { add("\n", 1); }
  int depth() const { return depth_; }
  /// The lowest depth on the way; 0 or less.
  int lowest() const { return lowest_; }

private:
  enum class State { kBetween, kToken, kName, kString, kEscape, kHex, kComment, kImage, kImageE, kImageEnd };

  void step(char c);
  void begin(char c);
  void end_token();
  void in_image(char c);

  State state_ = State::kBetween;
  char token_[4]{};
  std::size_t token_len_ = 0;
  int parentheses_ = 0;
  int depth_ = 0;
  int lowest_ = 0;
  bool image_dict_ = false;  // between BI and ID
  char before_ = 0;          // the byte in front of an E in an image
};

/// That of all streams of a "Contents" array.
ContentBalance balance_of(CPDFXRefTable& table, const CPDFArray& contents);

}  // namespace sheaf

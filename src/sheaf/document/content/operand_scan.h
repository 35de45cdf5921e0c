// Where an operand of a content stream ends, found without making its value. What is plain, as nearly all of real
// content is, is passed here; the reader of values decides about the rest.
#pragma once

#include <cstddef>
#include <string_view>

namespace sheaf {

/// The end of the number, string, name, array or dictionary that begins at `at`, where the reader of values ends too.
/// npos when only that one can say: for a token without an end, odd numbers, keywords within containers.
std::size_t end_of_operand(std::string_view text, std::size_t at);

/// The first byte from `at` on that is neither white space nor in a comment; otherwise the text's size.
std::size_t end_of_space(std::string_view text, std::size_t at);

}  // namespace sheaf

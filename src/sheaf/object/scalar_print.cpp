// Strings are printed in hexadecimal where escapes would make the literal form longer.
#include "sheaf/object/scalar_print.h"

#include <algorithm>
#include <cstring>

#include "sheaf/object/printed_form_internal.h"

namespace sheaf {

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";
constexpr unsigned kMostFractionDigits = 9;  // enough to distinguish any two values of 26 fraction bits

// Two hexadecimal digits of each byte, in pieces.
void print_hex(PrintBuffer& out, const char* bytes, std::int32_t len) {
  constexpr std::int32_t kPiece = PrintBuffer::kRoom / 2;
  out.put('<');
  for (std::int32_t done = 0; done < len;) {
    const std::int32_t end = std::min(len - done, kPiece) + done;
    char* to = out.open(PrintBuffer::kRoom);
    for (; done < end; ++done) {
      const auto byte = static_cast<unsigned char>(bytes[done]);
      *to++ = kHexDigits[byte >> 4];
      *to++ = kHexDigits[byte & 15];
    }
    out.close(to);
  }
  out.put('>');
}

void print_escaped(PrintBuffer& out, char c) {
  out.put('\\');
  if (const char letter = escape_letter(c)) {
    out.put(letter);
    return;
  }
  const auto byte = static_cast<unsigned char>(c);
  out.put(static_cast<char>('0' + (byte >> 6)));
  out.put(static_cast<char>('0' + ((byte >> 3) & 7)));
  out.put(static_cast<char>('0' + (byte & 7)));
}

void print_literal(PrintBuffer& out, const char* bytes, std::int32_t len) {
  const char* const end = bytes + len;
  out.put('(');
  for (const char* at = bytes;; ++at) {
    const char* const run = at;
    while (at < end && literal_size(*at) == 1)
      ++at;
    out.text({run, static_cast<std::size_t>(at - run)});
    if (at == end)
      break;
    print_escaped(out, *at);
  }
  out.put(')');
}

// The fewest digits after the point that read back as `fraction` (26 bits).
struct Fraction {
  std::uint64_t digits;
  unsigned count;
};

constexpr Fraction shortest_fraction(std::uint64_t fraction) {
  constexpr auto kOne = static_cast<std::uint64_t>(kFixOne);
  std::uint64_t scale = 10;
  for (unsigned count = 1; count < kMostFractionDigits; ++count, scale *= 10) {
    const std::uint64_t digits = (fraction * scale + kOne / 2) / kOne;
    if (digits < scale && (digits * kOne + scale / 2) / scale == fraction)
      return {digits, count};
  }
  return {(fraction * scale + kOne / 2) / kOne, kMostFractionDigits};
}
static_assert(shortest_fraction(static_cast<std::uint64_t>(kFixOne) / 4).digits == 25);

constexpr unsigned kDigitsRoom = 24;

// The decimal digits of `value` from `to` on, which has room for kDigitsRoom; gives their end.
char* put_digits(char* to, std::uint64_t value) {
  char digits[kDigitsRoom];
  char* const end = digits + sizeof(digits);
  char* at = end;
  do {
    *--at = static_cast<char>('0' + value % 10);
    value /= 10;
  } while (value != 0);
  std::memcpy(to, at, static_cast<std::size_t>(end - at));
  return to + (end - at);
}

char* put_integer(char* to, std::int32_t value) {
  if (value >= 0)
    return put_digits(to, static_cast<std::uint32_t>(value));
  *to = '-';
  return put_digits(to + 1, 0 - static_cast<std::uint32_t>(value));
}

}  // namespace

void print_integer(PrintBuffer& out, std::int32_t value) {
  out.separate('0');
  out.close(put_integer(out.open(kDigitsRoom), value));
}

void print_real(PrintBuffer& out, QVFIX value) {
  const bool negative = value < 0;
  const std::uint64_t magnitude = negative ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
  out.separate('0');
  char* to = out.open(3 * kDigitsRoom);
  if (negative)
    *to++ = '-';
  to = put_digits(to, magnitude >> kFixBits);  // reaches 38 bits
  const std::uint64_t part = magnitude & (static_cast<std::uint64_t>(kFixOne) - 1);
  if (part == 0 && magnitude >> kFixBits > (negative ? std::uint64_t{1} << 31 : INT32_MAX)) {
    // An integer of more than 31 bits is held as a real. Readers take no offset that has a fraction.
    out.close(to);
    return;
  }
  *to++ = '.';
  const Fraction fraction = shortest_fraction(part);
  std::uint64_t rest = fraction.digits;
  for (unsigned i = fraction.count; i-- > 0; rest /= 10)
    to[i] = static_cast<char>('0' + rest % 10);
  out.close(to + fraction.count);
}

void print_name(PrintBuffer& out, const char* name) {
  out.separate('/');
  out.put('/');
  if (name == nullptr || *name == 0)
    out.keep_apart();
  if (name == nullptr)
    return;
  for (const char* at = name;; ++at) {
    const char* const run = at;
    while (is_plain_in_name(*at))
      ++at;
    out.text({run, static_cast<std::size_t>(at - run)});
    if (*at == 0)
      return;
    const auto byte = static_cast<unsigned char>(*at);
    out.put('#');
    out.put(kHexDigits[byte >> 4]);
    out.put(kHexDigits[byte & 15]);
  }
}

void print_string(PrintBuffer& out, const char* bytes, std::int32_t len) {
  std::int64_t literal = 0;
  for (std::int32_t i = 0; i < len; ++i)
    literal += literal_size(bytes[i]);
  out.separate('(');
  if (literal > 2 * std::int64_t{len})
    print_hex(out, bytes, len);
  else
    print_literal(out, bytes, len);
}

void print_ref(PrintBuffer& out, const PDF_REF& ref) {
  out.separate('0');
  char* to = put_integer(out.open(3 * kDigitsRoom), ref.num);
  *to++ = ' ';
  to = put_integer(to, ref.gen);
  *to++ = ' ';
  *to++ = 'R';
  out.close(to);
}

void print_object_begin(PrintBuffer& out, std::int32_t num, std::int32_t gen) {
  print_integer(out, num);
  out.put(' ');
  print_integer(out, gen);
  out.text(" obj");
  out.line_end();
}

void print_object_end(PrintBuffer& out) {
  out.text("\nendobj");
  out.line_end();
}

}  // namespace sheaf

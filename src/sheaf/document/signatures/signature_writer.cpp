// Finds the places of "ByteRange" and "Contents" in the saved file, and writes them over the same number of bytes.
#include "sheaf/document/signatures/signature_writer.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "sheaf/base/scope_guard.h"
#include "sheaf/object/array.h"

using namespace sheaf;

namespace {

constexpr int kTenDigits = 1999999999;           // room for any offset in the byte range
constexpr long long kMostDictionary = 16 << 20;  // bytes of it that are looked through

// The bytes from file position `at` on, which counts from the file's first byte.
unsigned read_at(CQVStream& file, long long at, void* dst, unsigned size) {
  file.SetPos(CQVStream::STR_SEEK_SET, at - file.base_offset);
  return file.Read(dst, size);
}

bool write_at(CQVStream& file, long long at, const void* src, unsigned size) {
  file.SetPos(CQVStream::STR_SEEK_SET, at - file.base_offset);
  return file.Write(src, size) == size;
}

}  // namespace

void CPDFSignatureWriter::reserve(CPDFDictionary& signature, int room) {
  Cleared<CPDFArray> range;
  for (const int value : {0, kTenDigits, kTenDigits, kTenDigits})
    range.append_int(value);
  signature.set_item_arr("ByteRange", &range);
  const HeapBlock<char> zeros(static_cast<char*>(QVCalloc(static_cast<std::size_t>(room), 1)));
  if (zeros)
    signature.set_item_str("Contents", zeros.get(), room);
}

bool CPDFSignatureWriter::seal(PDF_SAVE_FORM form, std::int32_t num) {
  CPDFXRefTable& table = doc_.table();
  PDF_SIGN_DATA sealed;
  sealed.num = num;
  const bool saved = num > 0 && doc_.save_update(form, &sealed);
  const bool has_room = sealed.dict.get_item("ByteRange") != nullptr && sealed.dict.get_item("Contents") != nullptr;
  sealed.dict.clear();
  if (!saved || !has_room || object_index(num) >= table.xref_count)
    return false;
  long long range_at = 0;
  int range_room = 0;
  return find_places(table.xref_items[num].offset + table.stream->base_offset, range_at, range_room) &&
         write_range(range_at, range_room);
}

// Where the sealed save put the two values of the dictionary that is at `object`.
bool CPDFSignatureWriter::find_places(long long object, long long& range_at, int& range_room) {
  CQVStream& file = *doc_.table().stream;
  const long long end = doc_.file_size();
  const auto size = static_cast<unsigned>(std::clamp(end - object, 0LL, kMostDictionary));
  const HeapBlock<char> text(static_cast<char*>(QVAlloc(std::size_t{size} + 1)));
  if (!text || read_at(file, object, text.get(), size) != size)
    return false;
  const std::string_view dictionary(text.get(), size);
  // The last byte of the first `word` from `from` on; null without one.
  const auto find = [dictionary](const char* from, std::string_view word) -> const char* {
    const std::size_t at = dictionary.find(word, static_cast<std::size_t>(from - dictionary.data()));
    return at != std::string_view::npos ? dictionary.data() + at + word.size() - 1 : nullptr;
  };
  const char* const range = find(text.get(), "/ByteRange[");
  const char* const contents = find(text.get(), "/Contents<");
  const char* const range_end = range != nullptr ? find(range, "]") : nullptr;
  const char* const contents_end = contents != nullptr ? find(contents, ">") : nullptr;
  if (range_end == nullptr || contents_end == nullptr)
    return false;
  range_at = object + (range + 1 - text.get());
  range_room = static_cast<int>(range_end - range) - 1;
  const long long behind = object + (contents_end + 1 - text.get());
  range_[0] = 0;
  range_[1] = object + (contents - text.get());
  range_[2] = behind;
  range_[3] = end - behind;
  return true;
}

bool CPDFSignatureWriter::write_range(long long at, int room) {
  char values[96];
  const int length =
      std::snprintf(values, sizeof(values), "%lld %lld %lld %lld", range_[0], range_[1], range_[2], range_[3]);
  if (length > room || room > static_cast<int>(sizeof(values)))
    return false;
  std::memset(values + length, ' ', static_cast<std::size_t>(room - length));
  CQVStream& file = *doc_.table().stream;
  const bool good = write_at(file, at, values, static_cast<unsigned>(room));
  file.Flush();
  return good;
}

bool CPDFSignatureWriter::read_signed(bool (*take)(void*, const unsigned char*, unsigned), void* context) const {
  CQVStream& file = *doc_.table().stream;
  unsigned char block[16 * 1024];
  for (int part = 0; part < 4; part += 2) {
    long long at = range_[part];
    for (long long left = range_[part + 1]; left > 0;) {
      const auto wanted = static_cast<unsigned>(std::min(left, static_cast<long long>(sizeof(block))));
      if (read_at(file, at, block, wanted) != wanted || !take(context, block, wanted))
        return false;
      at += wanted;
      left -= wanted;
    }
  }
  return range_[3] != 0;
}

bool CPDFSignatureWriter::put(const unsigned char* signature, std::size_t size) {
  const long long room = (range_[2] - range_[1] - 2) / 2;  // two digits a byte, between brackets
  if (size == 0 || room < 0 || size > static_cast<std::size_t>(room))
    return false;
  CQVStream& file = *doc_.table().stream;
  constexpr char kDigits[] = "0123456789abcdef";
  char digits[1024];
  bool good = true;
  long long at = range_[1] + 1;
  for (std::size_t done = 0; done < size && good;) {
    unsigned count = 0;
    for (; count < sizeof(digits) && done < size; ++done) {
      digits[count++] = kDigits[signature[done] >> 4];
      digits[count++] = kDigits[signature[done] & 15];
    }
    good = write_at(file, at, digits, count);
    at += count;
  }
  file.Flush();
  return good;
}

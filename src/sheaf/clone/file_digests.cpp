// Digests over byte ranges of the table's file.
#include <algorithm>

#include "sheaf/neighbours/security/digests.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr std::uint32_t kBlock = 4096;

// Lenient: a range's length bounds the test and the size of the reads, but not where the hashing
// ends, which is the end of the file. Digests made this way are compared with digests made this way.
template <class Digest>
int digest_ranges(CQVStream* file, const PDF_STREAM_REC* ranges, unsigned count, unsigned char* out) {
  if (file == nullptr)
    return 0;
  const long long size = file->GetLen();
  Digest digest;
  digest.init();
  unsigned char block[kBlock];
  for (unsigned i = 0; i < count; ++i) {
    const std::uint32_t end = ranges[i].offset + ranges[i].length;  // wraps as 32 bits do
    if (static_cast<long long>(end) > size)
      return 0;
    file->SetPos(CQVStream::STR_SEEK_SET, ranges[i].offset);
    const std::uint32_t chunk = std::min(ranges[i].length, kBlock);
    for (unsigned got = file->Read(block, chunk); got != 0; got = file->Read(block, chunk))
      digest.update(block, got);
  }
  digest.end(out);
  return 1;
}

}  // namespace

int CPDFXRefTable::calc_md5(PDF_STREAM_REC* ranges, unsigned int count, unsigned char* digest) {
  return digest_ranges<CQVSecMD5>(stream, ranges, count, digest);
}

int CPDFXRefTable::calc_sha1(PDF_STREAM_REC* ranges, unsigned int count, unsigned char* digest) {
  return digest_ranges<CQVSecSHA1>(stream, ranges, count, digest);
}

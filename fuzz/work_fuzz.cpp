// Looks for the input that makes the library work most for its bytes: what is counted is what it reads,
// allocates and decodes while a document is opened, walked and written anew, beyond what any file may cost; the entries
// of numbers, which a few bytes justify by the hundred, are left out, since they would hide everything else. Under
// libFuzzer the work for each byte is feedback, so that inputs which raise it are kept. With SHEAF_WORST set to a
// folder, inputs that cost more than all before them are stored there, named by their work a byte.
#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "../tests/support/work_meter.h"
#include "document_walk.h"

using namespace sheaf;

namespace {

constexpr std::size_t kMostBytes = 1 << 16;
constexpr std::int64_t kFixedWork = 600'000;
constexpr unsigned kStepsPerOctave = 8;

class CountedFile : public CopiedFile {
public:
  using CopiedFile::CopiedFile;
  unsigned int Read(void* dst, unsigned int size) override {
    const unsigned got = CopiedFile::Read(dst, size);
    bytes += got;
    return got;
  }
  std::int64_t bytes = 0;
};

std::int64_t work_of(const std::uint8_t* data, std::size_t size) {
  CountedFile file(data, size);
  CountedHeap heap;
  constexpr std::int64_t kEntryCopies = 3;  // the table while it grows, and the new file's
  std::int64_t decoded = 0;
  std::int64_t entries = 0;
  {
    CPDFDoc doc;
    if (doc.open(&file) && doc.is_readable()) {
      CPDFXRefTable& table = doc.table();
      doc.page_count();
      table.drain_pending();
      for (std::uint32_t num = 1; num < table.xref_count; ++num) {
        Freed<CPDFObj> obj;
        table.get_entity(obj, {static_cast<std::int32_t>(num), 0});
        decoded += decoding_cost(table, obj);
      }
      CQVStreamMem out;
      CPDFXRefTable target;
      target.stream = &out;
      doc.save_complete(target, nullptr);
      entries = std::int64_t{table.xref_count} * static_cast<std::int64_t>(sizeof(PDF_XREF));
    }
  }
  return file.bytes + std::max<std::int64_t>(heap.asked - kEntryCopies * entries, 0) + decoded;
}

void keep_if_worst(const std::uint8_t* data, std::size_t size, std::int64_t per_byte) {
  static std::int64_t worst = 0;
  const char* const folder = std::getenv("SHEAF_WORST");
  if (folder == nullptr || per_byte <= worst)
    return;
  worst = per_byte;
  const std::string path = std::string(folder) + "/" + std::to_string(per_byte) + ".pdf";
  if (std::FILE* const out = std::fopen(path.c_str(), "wb")) {
    std::fwrite(data, 1, size, out);
    std::fclose(out);
  }
}

}  // namespace

#ifdef __linux__
// libFuzzer takes these for further counters of coverage: eight for each power of two.
__attribute__((section("__libfuzzer_extra_counters"))) std::uint8_t work_counters[64 * kStepsPerOctave];
#endif

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kMostBytes)
    return 0;
  const std::int64_t work = std::max<std::int64_t>(work_of(data, size) - kFixedWork, 0);
  const std::int64_t per_byte = work / static_cast<std::int64_t>(std::max<std::size_t>(size, 1));
#ifdef __linux__
  const auto scaled = static_cast<std::uint64_t>(per_byte) * kStepsPerOctave;
  const auto octave = static_cast<unsigned>(std::bit_width(scaled));
  const auto step = octave > 3 ? static_cast<unsigned>(scaled >> (octave - 4)) % kStepsPerOctave : 0;
  work_counters[octave * kStepsPerOctave % sizeof(work_counters) + step] = 1;
#endif
  keep_if_worst(data, size, per_byte);
  return 0;
}

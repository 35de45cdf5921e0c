// Any bytes as a file that the table reads by itself: the sections that "startxref" leads to, every object, and the
// start of the decoded bytes of every stream.
#include <cstdlib>
#include <memory>
#include <string_view>

#include "../tests/support/test_table.h"
#include "sheaf/filters/stream_filter.h"

using namespace sheaf;

namespace {

constexpr std::size_t kMostBytes = 1 << 16;
constexpr std::uint32_t kMostObjects = 2000;

// Where the last section is, as the file has it; 0 without a number.
unsigned last_section(std::string_view bytes) {
  constexpr std::string_view kMark = "startxref";
  const std::size_t at = bytes.rfind(kMark);
  return at == std::string_view::npos
             ? 0
             : static_cast<unsigned>(std::strtoul(bytes.data() + at + kMark.size(), nullptr, 10));
}

void read_objects(CPDFXRefTable& table) {
  constexpr int kPieces = 16;
  char piece[4096];
  for (std::uint32_t num = 0; num < table.xref_count && num < kMostObjects; ++num) {
    const Freed<CPDFObj> obj = table.object(static_cast<std::int32_t>(num));
    const std::string text = TestTable::syntax(obj);
    if (text.empty())
      std::abort();
    const std::unique_ptr<CPDFStream> stream(obj.as_stream() != nullptr ? table.make_stream(obj.as_stream()) : nullptr);
    for (int i = 0; stream != nullptr && i < kPieces; ++i) {
      const int got = stream->read_block(piece, sizeof(piece));
      if (got <= 0)
        break;
      for (int k = 0; k < got && k < static_cast<int>(sizeof(piece)); ++k) {
        if (piece[k] == text[0])
          break;  // a decision on each byte, which must have been written
      }
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kMostBytes)
    return 0;
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  TestTable sections(bytes);
  sections.table.decoded_ceiling = 1 << 20;
  sections.table.XRefRead(last_section(bytes));
  sections.table.drain_pending();
  read_objects(sections.table);
  return 0;
}

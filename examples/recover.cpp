// Damages a copy of a document, opens it all the same, says what had to be healed, and writes a
// sound file of what was found.
//
//   recover FILE.pdf
#include <cstdio>
#include <fstream>
#include <string>

#include "sheaf/base/stream.h"
#include "sheaf/document/doc.h"

namespace {

// All bytes of a file; none of a folder or of a file that cannot be read.
std::string bytes_of(const char* path) {
  CQVStreamFile in;
  in.Open(path);
  std::string bytes;
  char block[4096];
  for (unsigned got = 1; got != 0;) {
    got = in.Read(block, sizeof(block));
    bytes.append(block, got);
  }
  return bytes;
}

// Junk in front, a false startxref, and the last bytes missing: as from a broken download.
bool write_damaged(const char* path, const char* damaged) {
  std::string bytes = bytes_of(path);
  const std::size_t mark = bytes.rfind("startxref");
  if (mark == std::string::npos)
    return false;
  bytes.resize(mark);
  std::ofstream(damaged, std::ios::binary) << "HTTP/1.0 200 OK\r\n\r\n" << bytes << "startxref\n77\n";
  return true;
}

const char* how_opened(PDF_OPEN status) {
  switch (status) {
    case PDF_OPEN::kClean:
      return "sound";
    case PDF_OPEN::kRebuilt:
      return "its table was rebuilt by scanning";
    case PDF_OPEN::kRecovered:
      return "its objects were found by what they are";
    case PDF_OPEN::kNoFile:
      return "the file cannot be opened";
    case PDF_OPEN::kEmpty:
      return "the file has no bytes";
    case PDF_OPEN::kDamaged:
      return "there is no page in it";
    case PDF_OPEN::kNoMemory:
      return "there is not enough memory";
    case PDF_OPEN::kTooLarge:
      return "the file has 4 GiB or more";
    case PDF_OPEN::kClosed:
      break;
  }
  return "nothing was opened";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 || !write_damaged(argv[1], "damaged.pdf")) {
    std::fprintf(stderr, "usage: recover FILE.pdf\n");
    return 2;
  }
  CPDFDoc doc;
  const bool opened = doc.open("damaged.pdf") && doc.is_readable();
  std::printf("damaged.pdf: %s\n", how_opened(doc.status()));
  if (!opened)
    return 2;
  for (const PDF_DOC_REPAIR& repair : doc.repairs())
    std::printf("  %s: %s (object %d, offset %u)\n", repair.code, repair.action, repair.num, repair.offset);

  // A complete new file has a table of its own and only objects that are used.
  CQVStreamFile out;
  out.file = std::fopen("recovered.pdf", "w+b");
  if (out.file == nullptr)
    return 2;
  CPDFXRefTable target;
  target.stream = &out;
  doc.save_complete(target, nullptr);
  std::printf("recovered.pdf: %d pages, %lld bytes\n", doc.page_count(), out.GetLen());
  return target.write_failed == 0 && doc.page_count() > 0 ? 0 : 2;
}

// Writes complete new files of a document: one as small as it gets, one that a viewer can show before it has all of
// it, one for a text editor.
//
//   write_anew FILE.pdf
#include <cstdio>
#include <string>

#include "sheaf/document/writer/doc_writer.h"

namespace {

bool write_file(const char* source, const char* name, const PDF_WRITE_OPTIONS& options) {
  CPDFDoc doc;
  CQVStreamFile out;
  if (!doc.open(source))
    return false;
  out.file = std::fopen(name, "w+b");
  if (out.file == nullptr)
    return false;
  CPDFDocWriter writer(doc);
  if (!writer.write(out, nullptr, options))
    return false;
  std::printf("%s: %lld objects, %lld bytes\n", name, static_cast<long long>(writer.result().objects), out.GetLen());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2)
    return 2;
  PDF_WRITE_OPTIONS small;
  small.object_streams = PDF_OBJECT_STREAMS::kGenerate;
  small.stream_data = PDF_STREAM_DATA::kCompress;
  small.recompress = 9;
  small.share_equals = true;

  PDF_WRITE_OPTIONS for_the_web;
  for_the_web.linearize = true;

  PDF_WRITE_OPTIONS for_an_editor;
  for_an_editor.stream_data = PDF_STREAM_DATA::kUncompress;
  for_an_editor.readable = true;

  return write_file(argv[1], "small.pdf", small) && write_file(argv[1], "linearized.pdf", for_the_web) &&
                 write_file(argv[1], "readable.pdf", for_an_editor)
             ? 0
             : 2;
}

// Lists the pages of a document with their sizes.
//
//   page_sizes FILE.pdf [PASSWORD]
#include <cstdio>

#include "sheaf/sheaf.hpp"

int main(int argc, char** argv) {
  auto doc = sheaf::Document::open(argc > 1 ? argv[1] : "", {.password = argc > 2 ? argv[2] : ""});
  if (!doc) {
    std::fprintf(stderr, "%s\n", doc.error().message.c_str());
    return 2;
  }
  for (sheaf::Page page : doc->pages())
    std::printf("object %d: %g x %g points, turned by %d degrees\n", page.number(), page.media_box().width(),
                page.media_box().height(), page.rotation());
  return 0;
}

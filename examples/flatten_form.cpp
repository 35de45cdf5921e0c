// Makes the form of a document part of its pages.
//
//   flatten_form FILE.pdf [OUT.pdf]
#include <cstdio>

#include "sheaf/sheaf.hpp"

int main(int argc, char** argv) {
  auto doc = sheaf::Document::open(argc > 1 ? argv[1] : "");
  if (!doc)
    return 2;
  const auto done = doc->flatten();
  const auto saved = doc->save_as(argc > 2 ? argv[2] : "flat.pdf");
  if (!done || !saved) {
    std::fprintf(stderr, "%s\n", (done ? saved.error() : done.error()).message.c_str());
    return 2;
  }
  std::printf("%d widgets drawn on %d pages\n", done->drawn, done->pages);
  return 0;
}

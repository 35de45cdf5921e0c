// Writes all images of a document into a folder.
//
//   all_images FILE.pdf [FOLDER]
#include <cstdio>

#include "sheaf/sheaf.hpp"

int main(int argc, char** argv) {
  auto doc = sheaf::Document::open(argc > 1 ? argv[1] : "");
  if (!doc)
    return 2;
  int failures = 0;
  for (const sheaf::Image& image : doc->images()) {
    const auto path = image.save(argc > 2 ? argv[2] : "images");
    std::printf("%d x %d: %s\n", image.width(), image.height(), path ? path->c_str() : path.error().message.c_str());
    failures += path ? 0 : 1;
  }
  return failures == 0 ? 0 : 1;
}

// Joins two documents with forms and fills a field of each.
//
//   merge_and_fill A.pdf B.pdf FIELD VALUE [OUT.pdf]
#include <cstdio>

#include "sheaf/sheaf.hpp"

int main(int argc, char** argv) {
  if (argc < 5)
    return 2;
  auto doc = sheaf::Document::open(argv[1]);
  auto other = sheaf::Document::open(argv[2]);
  if (!doc || !other)
    return 2;
  doc->pages().append(other->pages());
  for (sheaf::Field& field : doc->form().fields()) {
    if (field.name().starts_with(argv[3])) {  // the second of the same name has got a number
      if (auto set = field.set(argv[4]); !set)
        std::fprintf(stderr, "%s\n", set.error().message.c_str());
    }
    std::printf("%s: %s\n", field.name().c_str(), field.value().c_str());
  }
  const auto saved = doc->save_as(argc > 5 ? argv[5] : "joined.pdf");
  if (!saved)
    std::fprintf(stderr, "%s\n", saved.error().message.c_str());
  return saved ? 0 : 2;
}

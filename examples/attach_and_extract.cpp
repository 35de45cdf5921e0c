// Puts files into a document, and writes out all that it then has.
//
//   attach_and_extract FILE.pdf FOLDER FILE...
#include <cstdio>
#include <filesystem>

#include "sheaf/sheaf.hpp"

int main(int argc, char** argv) {
  auto doc = sheaf::Document::open(argc > 1 ? argv[1] : "");
  if (!doc || argc < 3)
    return 2;
  for (int i = 3; i < argc; ++i) {
    if (auto added = doc->attachments().add(argv[i]); !added)
      std::fprintf(stderr, "%s\n", added.error().message.c_str());
  }
  if (!doc->save_as("attached.pdf"))
    return 2;

  std::filesystem::create_directories(argv[2]);
  auto saved = sheaf::Document::open("attached.pdf");
  for (const sheaf::Attachment& file : saved->attachments()) {
    const auto written = file.save(std::string(argv[2]) + "/" + file.file_name());
    std::printf("%s: %s\n", file.name().c_str(), written ? "written" : written.error().message.c_str());
  }
  return 0;
}

// Gives a document a new title and a page with text at its end, and saves both behind what is there.
//
//   new_title FILE.pdf [OUT.pdf]
#include <cstdio>
#include <filesystem>

#include "sheaf/sheaf.hpp"

int main(int argc, char** argv) {
  const std::string out = argc > 2 ? argv[2] : "titled.pdf";
  std::filesystem::copy_file(argv[1], out, std::filesystem::copy_options::overwrite_existing);
  auto doc = sheaf::Document::open(out);
  if (!doc)
    return 2;
  doc->info().title("A day in Oulu – by sheaf");

  sheaf::Page page = doc->pages().add(595, 842);
  sheaf::Value font = doc->add(sheaf::Object::dictionary("Type", sheaf::Name("Font"), "Subtype", sheaf::Name("Type1"),
                                                         "BaseFont", sheaf::Name("Helvetica")));
  sheaf::ContentAppender content;
  content.add("BT").add("Tf", sheaf::Name(page.add_resource("Font", font)), 24).add("Td", 72, 720);
  content.add("Tj", "The last page").add("ET");
  page.set_content(content);

  if (auto saved = doc->save_update(); !saved) {
    std::fprintf(stderr, "%s\n", saved.error().message.c_str());
    return 2;
  }
  std::printf("%s: \"%s\", %d pages\n", out.c_str(), doc->info().title().c_str(), doc->pages().size());
  return 0;
}

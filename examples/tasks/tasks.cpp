// The guide's tasks in C++, one function each.
//
//   tasks SAMPLE.pdf SAMPLE.jpg FOLDER
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "sheaf/sheaf.hpp"

namespace {

void open_and_read(const std::string& path) {
  auto doc = sheaf::Document::open(path, {.password = "open sesame"});
  if (!doc) {
    std::fprintf(stderr, "%s\n", doc.error().message.c_str());
    return;
  }
  for (sheaf::Page page : doc->pages())
    std::printf("%g x %g, turned by %d\n", page.media_box().width(), page.media_box().height(), page.rotation());
  sheaf::Value fields = doc->root()["AcroForm"]["Fields"];
  for (sheaf::Value field : fields.elements())
    std::printf("field %s\n", field.get<std::string>("T").c_str());
}

void change(const std::string& path) {
  auto doc = sheaf::Document::open(path);
  doc->info().title("A day in Oulu");
  doc->pages()[0].rotate(90);
  doc->root().set("Lang", "en");
  doc->root().set("ViewerPreferences", sheaf::Object::dictionary("DisplayDocTitle", true));
  doc->save_update().value();
}

void edit_pages(const std::string& path, const std::string& other_path, const std::string& out) {
  auto doc = sheaf::Document::open(path);
  auto other = sheaf::Document::open(other_path);
  doc->pages().append(other->pages(0, 2));
  doc->pages().move(3, 0);
  doc->pages().remove(1);
  doc->save_as(out).value();
  std::printf("%d pages\n", doc->pages().size());
}

void edit_content(const std::string& path, const std::string& out) {
  auto doc = sheaf::Document::open(path);
  sheaf::Page page = doc->pages()[0];
  sheaf::ContentAppender kept;
  for (const sheaf::Operator& op : *page.content()) {
    if (op.name() != "Tj" && op.name() != "TJ")
      kept.add(op);
  }
  kept.add("rg", 1, 0, 0).add("re", 72, 72, 100, 20).add("f");
  page.set_content(kept);
  doc->save_as(out).value();
}

void fill(const std::string& path, const std::string& out) {
  auto doc = sheaf::Document::open(path);
  doc->form().field("City").set("Oulu").value();
  std::printf("City: %s\n", doc->form().field("City").value().c_str());
  doc->save_update().value();
  doc->flatten().value();
  doc->save_as(out).value();
}

void attach(const std::string& path, const std::string& file, const std::string& folder) {
  auto doc = sheaf::Document::open(path);
  doc->attachments().add(file).value();
  for (const sheaf::Attachment& attachment : doc->attachments()) {
    std::printf("attachment %s\n", attachment.name().c_str());
    attachment.save(folder + "/" + attachment.file_name()).value();
  }
  doc->save_update().value();
}

void images(const std::string& path, const std::string& folder) {
  auto doc = sheaf::Document::open(path);
  for (const sheaf::Image& image : doc->images())
    std::printf("image of %d x %d\n", image.save(folder) ? image.width() : 0, image.height());
}

void sign(const std::string& path, std::span<const std::uint8_t> signature) {
  auto doc = sheaf::Document::open(path);
  auto seal = doc->seal_signature({.page = 0, .room = 8192, .field = "Author"});
  const auto digest = seal->sha256();  // goes to whoever holds the key, who gives the signature
  seal->write(signature).value();
  std::printf("%d signature, a digest of %zu bytes\n", doc->signature_count(), digest->size());
}

void encrypt(const std::string& path, const std::string& out) {
  auto doc = sheaf::Document::open(path);
  doc->save_as(out, {.encrypt = sheaf::Encryption{.user_password = "open sesame"}}).value();
  std::printf("%s\n", sheaf::Document::open(out).error().code == sheaf::Code::kNeedsPassword ? "locked" : "open");
}

void repair(const std::string& path, const std::string& out) {
  auto doc = sheaf::Document::open(path);
  for (const sheaf::Repair& repair : doc->repairs())
    std::printf("healed: %s\n", repair.code.c_str());
  doc->save_as(out).value();
}

// A copy of a document for a task to change; with `cut` bytes off its end.
std::string copy_of(const std::string& path, const std::string& to, int cut = 0) {
  std::filesystem::copy_file(path, to, std::filesystem::copy_options::overwrite_existing);
  std::filesystem::resize_file(to, std::filesystem::file_size(to) - static_cast<std::uintmax_t>(cut));
  return to;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4)
    return 2;
  const std::string sample = argv[1];
  const std::string folder = argv[3];
  std::filesystem::create_directories(folder);
  open_and_read(sample);
  change(copy_of(sample, folder + "/changed.pdf"));
  edit_pages(sample, folder + "/changed.pdf", folder + "/pages.pdf");
  edit_content(sample, folder + "/content.pdf");
  fill(copy_of(sample, folder + "/filled.pdf"), folder + "/flat.pdf");
  attach(copy_of(sample, folder + "/attached.pdf"), argv[2], folder);
  images(sample, folder);
  const std::uint8_t no_signature[] = {0x30, 0x00};  // a real one is made with the digest
  sign(copy_of(sample, folder + "/signed.pdf"), no_signature);
  encrypt(sample, folder + "/locked.pdf");
  open_and_read(folder + "/locked.pdf");
  repair(copy_of(sample, folder + "/cut.pdf", 60), folder + "/repaired.pdf");
  return 0;
}

// sheaf new: a new document of images, a text and attachments.
#include <algorithm>

#include "image/image_pages.h"
#include "support/changes.h"
#include "support/command_line.h"
#include "support/inputs.h"
#include "support/safe_output.h"
#include "support/tool_support.h"
#include "text/new_text.h"

namespace sheaf::tool {

namespace {

struct NewOptions {
  std::string output;
  ImagePageOptions images;
  ChangeOptions changes;
  TextOptions text;
  bool pdfa = false;
};

void add_text(Command& command, TextOptions& text) {
  auto* file = command.add_option("--text", text.file, "Set a UTF-8 text into pages");
  const auto add_flag = [&command, file](const char* name, bool& flag, const char* what) {
    command.add_flag(name, flag, what)->needs(file);
  };
  command.add_option("--font", text.fonts, "Family, full or PostScript name; further ones fill gaps")
      ->one_at_a_time()
      ->needs(file);
  command.add_option("--font-folder", text.folders, "A folder with further fonts")->one_at_a_time()->needs(file);
  add_flag("--bold", text.bold, "Synthetic bold");
  add_flag("--italic", text.italic, "Synthetic italic");
  add_flag("--no-embed", text.no_embed, "Leave the font programs out");
  add_flag("--embed-restricted", text.embed_restricted, "Embed fonts whose licence does not allow it");
  add_flag("--no-kerning", text.no_kerning, "Letters side by side, whatever pairs they make");
  add_flag("--vertical", text.vertical, "Columns from right to left");
  command.add_option("--size", text.size, "Points")->check(Range{1.0, 400.0})->needs(file);
}

void add_images(Command& command, ImagePageOptions& images) {
  auto* file =
      command.add_option("--image", images.files, "A page for each of these JPEG, JPEG 2000, PNG or PNM files");
  command.add_option("--dpi", images.dots, "Dots an inch; else as the image says, or 72")
      ->check(Range{1.0, 100000.0})
      ->needs(file);
  auto* size = command.add_option("--page-size", images.page_size, "A4, letter, or WxH with mm, cm, in or pt")
                   ->type_name("SIZE")
                   ->check([](const std::string& text) {
                     double width = 0;
                     double height = 0;
                     return read_page_size(text, width, height)
                                ? std::string()
                                : "\"" + text + "\" is no page size; give A4, letter, or WxH such as 210x297mm";
                   })
                   ->needs(file);
  command.add_flag("--fit", images.fit, "As large as the page has room for")->needs(size);
  command.add_option("--margin", images.margin, "Points around each image")->check(Range{0.0, 7000.0})->needs(file);
}

bool note_inputs(const NewOptions& options) {
  return (options.text.file.empty() || note_input(options.text.file)) &&
         std::all_of(options.images.files.begin(), options.images.files.end(), note_input);
}

// A margin may be larger than what its page has.
bool check_room(const ImagePageOptions& images) {
  double width = 0;
  double height = 0;
  if (!read_page_size(images.page_size, width, height) || 2 * images.margin < std::min(width, height) - 1)
    return true;
  complain("--margin", "leaves no room on a page of " + images.page_size + "; give a smaller one");
  return false;
}

int run_new(const NewOptions& options) {
  if (!check_changes(options.changes))
    return kExitFailed;
  if (!note_inputs(options) || !check_room(options.images))
    return kExitFailed;
  SafeOutput output;
  if (!output.open(options.output))
    return kExitFailed;
  CPDFDoc doc;
  if (options.pdfa)
    doc.set_frame(PDF_FRAME::kClaim);
  const bool created = doc.create(&output.stream());
  const int code = created && !options.text.file.empty() ? add_text_pages(doc, options.text) : int{kExitClean};
  if (code == kExitFailed || (created && !options.images.files.empty() && !append_image_pages(doc, options.images)))
    return kExitFailed;
  if (!created || !apply_changes(doc, options.changes) || !doc.save_update(PDF_SAVE_FORM::kStream, nullptr)) {
    complain(options.output, "could not be written to its end; is the disk full?");
    return kExitFailed;
  }
  doc.close();
  if (!output.commit())
    return kExitFailed;
  report(output_name(options.output) + ": " + std::to_string(output.size()) + " bytes");
  return code;
}

const Registration kNew("new", "Make", "A new document", [](Command& command) -> Run {
  auto options = std::make_shared<NewOptions>();
  command.add_option("OUT", options->output, "The file to write")->required();
  add_images(command, options->images);
  add_changes(command, options->changes);
  add_pdfa(command, options->pdfa);
  add_text(command, options->text);
  return [options] { return run_new(*options); };
});

}  // namespace

}  // namespace sheaf::tool

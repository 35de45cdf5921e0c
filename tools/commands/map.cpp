// sheaf map: a picture of a file for people who would rather look than read.
#include "map/file_map.h"
#include "map/map_heading.h"
#include "map/map_picture.h"
#include "support/command_line.h"
#include "support/safe_output.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct MapOptions {
  std::string file;
  PasswordOptions password;
  std::string output = "-";
};

bool write_picture(const std::string& picture, const std::string& output) {
  SafeOutput out;
  if (!out.open_for_data(output))
    return false;
  if (!out.put(picture.data(), picture.size())) {
    complain(output_name(output), "could not be written to its end; is its reader gone, or the disk full?");
    return false;
  }
  return out.commit();
}

int run_map(const MapOptions& options) {
  CPDFDoc doc;
  if (!open_document(doc, options.file, options.password))
    return kExitFailed;
  const FileMap map = make_file_map(doc);
  if (!write_picture(draw_file_map(map, heading_of(doc, options.file, map)), options.output))
    return kExitFailed;
  return was_sound(doc, options.file) ? kExitClean : kExitProblems;
}

const Registration kMap("map", "Look", "A picture of the file's bytes: kinds, filters, saves, leftovers",
                        [](Command& command) -> Run {
                          auto options = std::make_shared<MapOptions>();
                          add_file(command, options->file);
                          add_password(command, options->password);
                          command.add_option("-o,--output", options->output,
                                             "The SVG file to write; else standard output");
                          return [options] { return run_map(*options); };
                        });

}  // namespace

}  // namespace sheaf::tool

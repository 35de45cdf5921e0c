// The options of the writer on the command line.
#include "support/writing.h"

#include "support/command_line.h"

#include <cstring>

#include "sheaf/document/writer/deflater.h"
#include "support/jobs.h"
#include "support/messages.h"

namespace sheaf::tool {

namespace {

bool is_version(const std::string& text) {
  return text.size() == 3 && text[0] >= '1' && text[0] <= '2' && text[1] == '.' && text[2] >= '0' && text[2] <= '9';
}

struct PartName {
  const char* name;
  PDF_STRIP part;
};

constexpr PartName kParts[] = {{"metadata", kStripMetadata},     {"attachments", kStripAttachments},
                               {"javascript", kStripJavaScript}, {"thumbnails", kStripThumbnails},
                               {"private", kStripPrivate},       {"outline", kStripOutline},
                               {"structure", kStripStructure}};

std::vector<std::string> part_names() {
  std::vector<std::string> names;
  for (const PartName& part : kParts)
    names.emplace_back(part.name);
  return names;
}

}  // namespace

void add_writing(Command& command, WritingOptions& options) {
  command
      .add_option("--object-streams", options.object_streams,
                  "Objects in object streams: preserve, generate (smaller, version 1.5) or disable (classic table)")
      ->type_name("preserve|generate|disable")
      ->check(IsMember({"preserve", "generate", "disable"}));
  command.add_flag("--renumber", options.write.renumber, "Number the objects without gaps");
  command.add_option("--min-version", options.min_version, "The least version that the file claims, such as 1.5")
      ->type_name("VERSION");
  auto* compress = command.add_flag("--compress", options.compress,
                                    "Flate in place of no filter, LZW and ASCII filters, where it is smaller");
  auto* recompress = command.add_option(
      "--recompress", options.recompress,
      "Make Flate anew where it comes out smaller: 1 to 9, or max (very slow; streams above 16 MiB as by 9)");
  recompress->type_name("LEVEL")->check(IsMember({"1", "2", "3", "4", "5", "6", "7", "8", "9", "max"}));
  command.add_option("--jobs", options.jobs, "Processes that --recompress and --compress take")
      ->check(Range{1, kMostJobs});
  auto* linearize = command.add_flag("--linearize", options.write.linearize,
                                     "The first page in front, with hints: for viewers that fetch pieces of a file");
  command.add_flag("--dedupe", options.write.share_equals, "Write equal streams, fonts and the like once");
  command.add_flag("--remove-unreferenced-resources", options.write.remove_unused_resources,
                   "Leave out resources that no content uses");
  command.add_flag("--optimise-images", options.write.pack_bilevel_images,
                   "JBIG2 or CCITT Group 4 for images of one bit a pixel, if smaller; no pixel changes");
  command
      .add_option("--strip", options.strip,
                  "Leave out: metadata, attachments, javascript, thumbnails, private, outline, structure")
      ->type_name("PARTS")
      ->delimiter(',')
      ->check(IsMember(part_names()));
  command.add_flag("--uncompress", options.uncompress, "For a text editor: filters off, one key a line; see fix")
      ->excludes(compress)
      ->excludes(recompress)
      ->excludes(linearize);
}

bool read_writing(WritingOptions& options) {
  PDF_WRITE_OPTIONS& write = options.write;
  if (options.object_streams == "generate")
    write.object_streams = PDF_OBJECT_STREAMS::kGenerate;
  else if (options.object_streams == "disable")
    write.object_streams = PDF_OBJECT_STREAMS::kDisable;
  if (!options.min_version.empty() && !is_version(options.min_version)) {
    complain("--min-version", "'" + options.min_version + "' is no version of PDF, such as 1.5");
    return false;
  }
  std::memcpy(write.min_version, options.min_version.c_str(), options.min_version.size());
  if (options.recompress == "max" && !has_most_effort())
    complain("--recompress", "this program was built without zopfli; level 9 is used");
  if (!options.recompress.empty())
    write.recompress = options.recompress == "max" ? PDF_WRITE_OPTIONS::kMostEffort : options.recompress[0] - '0';
  if (options.compress)
    write.stream_data = PDF_STREAM_DATA::kCompress;
  for (const std::string& name : options.strip) {
    for (const PartName& part : kParts)
      write.strip |= name == part.name ? part.part : 0u;
  }
  if (options.uncompress) {
    write.stream_data = PDF_STREAM_DATA::kUncompress;
    write.readable = true;
  }
  return true;
}

bool needs_writer(const WritingOptions& options) {
  const PDF_WRITE_OPTIONS& write = options.write;
  return !options.object_streams.empty() || !options.min_version.empty() || write.renumber || write.recompress != 0 ||
         write.stream_data != PDF_STREAM_DATA::kPreserve || write.linearize || write.share_equals ||
         write.remove_unused_resources || write.pack_bilevel_images || !options.strip.empty();
}

}  // namespace sheaf::tool

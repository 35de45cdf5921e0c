// sheaf overlay and underlay: pages of one document drawn over or under those of another.
#include "sheaf/document/pages/page_stamp.h"
#include "support/command_line.h"
#include "support/edit_run.h"
#include "support/inputs.h"
#include "support/page_ranges.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct StampOptions {
  EditTarget target;
  std::string stamp;  ///< "FILE" or "FILE:RANGES".
  std::string password;
  std::string ranges;
  std::string place = "center";
  bool repeat = false;
  PDF_STAMP how;
};

const std::vector<std::pair<std::string, PDF_STAMP_FIT>> kFits = {
    {"inside", PDF_STAMP_FIT::kInside}, {"cover", PDF_STAMP_FIT::kCover}, {"none", PDF_STAMP_FIT::kAsItIs}};

// "top-left", "bottom", "center".
void read_place(const std::string& place, PDF_STAMP& how) {
  const auto has = [&place](const char* word) { return place.find(word) != std::string::npos; };
  how.across = has("left") ? 0 : has("right") ? 1 : 0.5;
  how.up = has("bottom") ? 0 : has("top") ? 1 : 0.5;
}

int put_stamps(CPDFDoc& doc, const std::string& name, const StampOptions& options) {
  const FileRanges from = parse_file_ranges(options.stamp);
  CPDFDoc source;
  std::vector<std::int32_t> pages;
  std::vector<std::int32_t> stamps;
  if (!open_document(source, from.file, {options.password, ""}) ||
      !select_pages(from.ranges, from.file, source.page_count(), stamps) ||
      !select_pages(options.ranges, name, doc.page_count(), pages))
    return kExitFailed;
  doc.use_temp_file(nullptr);
  CPDFPageStamp stamp(doc, source);
  for (std::size_t i = 0; i < pages.size() && !stamps.empty(); ++i) {
    if (i >= stamps.size() && !options.repeat)
      break;
    const std::int32_t chosen = stamps[i % stamps.size()];
    if (!stamp.put(pages[i], chosen, options.how)) {
      complain(name, "page " + std::to_string(chosen + 1) + " of " + from.file + " cannot be drawn on page " +
                         std::to_string(pages[i] + 1) + "; one of them cannot be read or has no size");
      return kExitFailed;
    }
  }
  return was_sound(source, from.file) ? kExitClean : kExitProblems;
}

int run_stamp(StampOptions& options) {
  read_place(options.place, options.how);
  if (!note_input(parse_file_ranges(options.stamp).file))
    return kExitFailed;
  return run_edit(options.target,
                  [&options](CPDFDoc& doc, const std::string& name) { return put_stamps(doc, name, options); });
}

Run describe_stamp(Command& command, bool below) {
  auto options = std::make_shared<StampOptions>();
  options->how.below = below;
  add_edit_or_rewrite(command, options->target);
  command.add_option("STAMP", options->stamp, "FILE or FILE:RANGES, the pages to draw")->required();
  command.add_option("--pages", options->ranges, "On these pages only");
  command.add_flag("--repeat", options->repeat, "From the first stamp again when they are used up");
  command.add_choice<PDF_STAMP_FIT>("--fit", options->how.fit, kFits,
                                    "How large: inside the page, covering it, or as it is");
  command.add_option("--scale", options->how.scale, "Times that size")->check(Range{0.001, 1000.0});
  command.add_option("--turn", options->how.rotate, "Degrees clockwise")
      ->type_name("0|90|180|270")
      ->check(IsMember({"0", "90", "180", "270"}));
  command.add_option("--place", options->place, "Where: center, or words such as top-left or bottom")
      ->check(IsMember(
          {"center", "top", "bottom", "left", "right", "top-left", "top-right", "bottom-left", "bottom-right"}));
  command.add_option("--stamp-password", options->password, "Password of the stamp's document");
  return [options] { return run_stamp(*options); };
}

const Registration kOverlay("overlay", "Change", "Draw pages of another document over the pages",
                            [](Command& command) -> Run { return describe_stamp(command, false); });

const Registration kUnderlay("underlay", "Change", "Draw pages of another document under the pages",
                             [](Command& command) -> Run { return describe_stamp(command, true); });

}  // namespace

}  // namespace sheaf::tool

// sheaf rotate and crop: how pages are shown.
#include <charconv>
#include <cmath>
#include <set>

#include "sheaf/document/pages/page_boxes.h"
#include "support/command_line.h"
#include "support/edit_run.h"
#include "support/page_ranges.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

constexpr double kMostPoints = 1000000;

struct RotateOptions {
  EditTarget target;
  std::vector<std::string> turns;
};

struct CropOptions {
  EditTarget target;
  std::string ranges;
  std::string box;
  std::string margins;
  std::string which = "crop";
};

struct Turn {
  int degrees;
  bool relative;
  std::string ranges;
};

// "+90:1-3", "-90", "180:z".
bool read_turn(const std::string& text, Turn& turn) {
  const std::size_t colon = std::min(text.find(':'), text.size());
  const bool has_sign = !text.empty() && (text[0] == '+' || text[0] == '-');
  const std::string digits = text.substr(has_sign ? 1 : 0, colon - (has_sign ? 1 : 0));
  turn.relative = has_sign;
  turn.ranges = colon < text.size() ? text.substr(colon + 1) : "";
  if (digits == "0" || digits == "90" || digits == "180" || digits == "270") {
    turn.degrees = std::stoi(digits) * (text[0] == '-' ? -1 : 1);
    return true;
  }
  complain(text,
           "is no rotation; give +90, -90 or 180, or with pages +90:1-3; without a sign it is what the pages get");
  return false;
}

std::string unless_changed(bool changed, std::int32_t index) {
  return changed ? std::string() : "page " + std::to_string(index + 1) + " cannot be changed";
}

// Makes `change` for each page of `ranges`, once where it is listed several times. It says what is wrong with the
// change; "" when it was made.
template <class ChangePage>
int change_pages(CPDFDoc& doc, const std::string& name, const std::string& ranges, const ChangePage& change) {
  std::vector<std::int32_t> pages;
  std::set<std::int32_t> done;
  if (!select_pages(ranges, name, doc.page_count(), pages))
    return kExitFailed;
  for (const std::int32_t index : pages) {
    CPDFPage page;
    const bool loaded = doc.load_page(index, page);
    if (loaded && !done.insert(page.ref.num).second)
      continue;
    const std::string wrong = loaded ? change(index, page) : unless_changed(false, index);
    if (!wrong.empty()) {
      complain(name, wrong);
      return kExitFailed;
    }
  }
  return kExitClean;
}

int rotate(CPDFDoc& doc, const std::string& name, const std::vector<Turn>& turns) {
  for (const Turn& turn : turns) {
    const int result = change_pages(doc, name, turn.ranges, [&](std::int32_t index, const CPDFPage& page) {
      return unless_changed(set_page_rotation(doc, index, turn.degrees + (turn.relative ? page.rotate : 0)), index);
    });
    if (result != kExitClean)
      return result;
  }
  return kExitClean;
}

int run_rotate(const RotateOptions& options) {
  std::vector<Turn> turns(options.turns.size());
  for (std::size_t i = 0; i < turns.size(); ++i) {
    if (!read_turn(options.turns[i], turns[i]))
      return kExitFailed;
  }
  return run_edit(options.target, [&turns](CPDFDoc& doc, const std::string& name) { return rotate(doc, name, turns); });
}

// Numbers parted by commas, at most as many as `values` holds. The count that was read; -1 when one is not a number.
int read_numbers(const std::string& text, double (&values)[4]) {
  int count = 0;
  for (std::size_t at = 0; at <= text.size(); ++count) {
    const std::size_t end = std::min(text.find(',', at), text.size());
    if (count == 4)
      return -1;
    const auto read = std::from_chars(text.data() + at, text.data() + end, values[count]);
    if (read.ec != std::errc() || read.ptr != text.data() + end || !(std::fabs(values[count]) < kMostPoints))
      return -1;
    at = end + 1;
  }
  return count;
}

QVFIX fixed(double value) {
  return static_cast<QVFIX>(value * static_cast<double>(kFixOne));
}

struct Crop {
  int which;
  bool inward;       // the values are margins
  double values[4];  // left, bottom, right, top
};

bool read_crop(const CropOptions& options, Crop& crop) {
  crop.inward = options.box.empty();
  const std::string& text = crop.inward ? options.margins : options.box;
  const int count = read_numbers(text, crop.values);
  if (count == 1 && crop.inward)
    crop.values[1] = crop.values[2] = crop.values[3] = crop.values[0];
  else if (count != 4) {
    complain(text.empty() ? "crop" : text,
             "give --box LEFT,BOTTOM,RIGHT,TOP or --margins LEFT,BOTTOM,RIGHT,TOP, or one margin for all, in points");
    return false;
  }
  static constexpr const char* kNames[] = {"media", "crop", "bleed", "trim", "art"};
  for (int i = 0; i < kPageBoxCount; ++i) {
    if (options.which == kNames[i])
      crop.which = i;
  }
  return true;
}

int crop_pages(CPDFDoc& doc, const std::string& name, const std::string& ranges, const Crop& crop) {
  return change_pages(doc, name, ranges, [&](std::int32_t index, const CPDFPage& page) {
    const double* const v = crop.values;
    _QVRECTF box{fixed(v[0]), fixed(v[1]), fixed(v[2]), fixed(v[3])};
    if (crop.inward) {
      _QVRECTF old{};
      read_page_box(doc, page, crop.which, old);
      box = {old.left + box.left, old.bottom + box.bottom, old.right - box.right, old.top - box.top};
    }
    if (box.left >= box.right || box.bottom >= box.top)
      return "nothing would be left of page " + std::to_string(index + 1);
    return unless_changed(set_page_box(doc, index, crop.which, box), index);
  });
}

int run_crop(const CropOptions& options) {
  Crop crop{};
  if (!read_crop(options, crop))
    return kExitFailed;
  return run_edit(options.target,
                  [&](CPDFDoc& doc, const std::string& name) { return crop_pages(doc, name, options.ranges, crop); });
}

const Registration kRotate("rotate", "Change", "Turn pages", [](Command& command) -> Run {
  auto options = std::make_shared<RotateOptions>();
  add_edit_or_rewrite(command, options->target);
  command.add_option("TURN", options->turns, "+90, -90 or 180, clockwise, with pages as +90:1-3; 90: to 90 degrees")
      ->required();
  return [options] { return run_rotate(*options); };
});

const Registration kCrop("crop", "Change", "Set the boxes of pages", [](Command& command) -> Run {
  auto options = std::make_shared<CropOptions>();
  add_edit_or_rewrite(command, options->target);
  auto* box = command.add_option("--box", options->box, "LEFT,BOTTOM,RIGHT,TOP in points");
  command
      .add_option("--margins", options->margins, "Off the sides of the present box, in the same order, or one for all")
      ->excludes(box);
  command.add_option("--pages", options->ranges, "Only these pages");
  command.add_option("--which", options->which, "The box to set")
      ->type_name("media|crop|bleed|trim|art")
      ->check(IsMember({"media", "crop", "bleed", "trim", "art"}));
  return [options] { return run_crop(*options); };
});

}  // namespace

}  // namespace sheaf::tool

// sheaf metadata: document information and XMP beside each other, and changes of both.
#include <cstdio>

#include "sheaf/document/metadata/xmp_texts.h"
#include "support/changes.h"
#include "support/command_line.h"
#include "support/edit_run.h"
#include "support/inputs.h"
#include "support/json_values.h"
#include "support/safe_output.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct MetadataOptions {
  EditTarget target;
  ChangeOptions changes;
  std::string packet;
  bool xmp = false;
  bool json = false;
};

std::string text_of(const GrowArray<char>& text) {
  return {text.begin(), text.size()};
}

int print_packet(const GrowArray<char>& packet) {
  SafeOutput output;
  if (!output.open_for_data("-"))
    return kExitFailed;
  const std::string text = output.is_terminal() ? shown_lines(text_of(packet)) : text_of(packet);
  return output.put(text.data(), text.size()) && output.commit() ? kExitClean : kExitFailed;
}

// Texts of the document information and what XMP says for them.
int list_metadata(const MetadataOptions& options) {
  CPDFDoc doc;
  GrowArray<char> packet;
  if (!open_document(doc, options.target.file, options.target.password))
    return kExitFailed;
  const bool has_packet = read_xmp(doc, packet);
  if (options.xmp && !has_packet)
    complain(options.target.file, "has no XMP metadata");
  if (options.xmp)
    return has_packet ? print_packet(packet) : int{kExitFailed};
  JsonWriter json;
  bool in_step = true;
  bool is_read = has_packet;
  begin_report(json, options.target.file).key("has_xmp").flag(has_packet).key("entries").begin_array();
  for (const char* key : kMetadataKeys) {
    GrowArray<char> info;
    GrowArray<char> xmp;
    read_info_text(doc, key, info);
    is_read = is_read && read_xmp_text(packet, key, xmp);
    const std::string a = text_of(info);
    const std::string b = text_of(xmp);
    const bool same = !is_read || a == b;
    in_step = in_step && same;
    json.begin_object().key("key").text(key).key("info").text(a).key("xmp").text(b).end_object();
    if (options.json || (a.empty() && b.empty()))
      continue;
    std::printf("%-14s %s\n", key, shown(a).c_str());
    if (!same)
      std::printf("%-14s %s\n", "  in XMP", shown(b).c_str());
  }
  json.end_array().key("xmp_is_read").flag(is_read).key("in_step").flag(in_step).end_object();
  if (options.json)
    std::printf("%s\n", json.str().c_str());
  if (has_packet && !is_read)
    complain(options.target.file, "its metadata packet is no XMP that can be read");
  return was_sound(doc, options.target.file) && is_read == has_packet ? kExitClean : kExitProblems;
}

int run_metadata(const MetadataOptions& options) {
  std::string packet;
  const bool changes = !options.changes.settings.empty() || !options.packet.empty();
  if (!changes && !has_output(options.target))
    return list_metadata(options);
  if (!check_changes(options.changes) || (!options.packet.empty() && !read_input(options.packet, packet)))
    return kExitFailed;
  return run_edit(options.target, [&](CPDFDoc& doc, const std::string&) -> int {
    if (!options.packet.empty() && !replace_xmp(doc, packet.data(), packet.size())) {
      complain(options.packet, "is no XMP packet, or there is no catalogue that can be changed");
      return kExitFailed;
    }
    return apply_changes(doc, options.changes) ? kExitClean : kExitFailed;
  });
}

const Registration kMetadata("metadata", "Look", "Document information and XMP", [](Command& command) -> Run {
  auto options = std::make_shared<MetadataOptions>();
  add_edit_or_rewrite(command, options->target);
  auto* xmp = command.add_flag("--xmp", options->xmp, "The XMP packet as it is");
  command.add_option("--set", options->changes.settings, "KEY=TEXT, in both")->one_at_a_time()->excludes(xmp);
  command.add_option("--set-xmp", options->packet, "The packet from a file, which both say then")->excludes(xmp);
  command.add_flag("--json", options->json, "One JSON object");
  return [options] { return run_metadata(*options); };
});

}  // namespace

}  // namespace sheaf::tool

// sheaf attachments: the files that a document carries: listed, written into a folder, taken out, added.
#include <cstdio>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/attachments/attachments.h"
#include "sheaf/filters/stream_filter.h"
#include "support/changes.h"
#include "support/command_line.h"
#include "support/edit_run.h"
#include "support/json_values.h"
#include "support/safe_names.h"
#include "support/safe_output.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct AttachmentsOptions {
  EditTarget target;
  std::string folder;  ///< Where they are written; empty: they are listed only.
  std::vector<std::string> names;
  std::vector<std::string> gone;
  ChangeOptions changes;
  bool json = false;
};

constexpr std::int64_t kBytesPerByte = 64;  // written at most for each byte of the document, beyond the first GiB

std::string text_of(const char* text) {
  return text != nullptr ? text : "";
}

// The name by which it is listed and asked for.
std::string name_of(const PDF_ATTACHMENT& file) {
  if (file.name != nullptr && file.name[0] != 0)
    return file.name;
  return file.key.tag == kTagString ? utf8_text(file.key.as_string()) : "";
}

bool is_named(const std::vector<std::string>& names, const PDF_ATTACHMENT& file) {
  for (const std::string& name : names) {
    if (name == name_of(file) || (file.key.tag == kTagString && name == utf8_text(file.key.as_string())))
      return true;
  }
  return false;
}

class AttachmentList {
public:
  AttachmentList(CPDFDoc& doc, const AttachmentsOptions& options)
      : doc_(doc), options_(options), names_(options.folder), left_(kMostDecoded + kBytesPerByte * doc.file_size()) {
    if (options_.json)
      begin_report(json_, options_.target.file).key("attachments").begin_array();
    else
      std::printf("%8s %5s %10s  %s\n", "object", "page", "bytes", options_.folder.empty() ? "name" : "name, written");
  }

  void add(const PDF_ATTACHMENT& file) {
    const std::string written = options_.folder.empty() ? "" : extract(file);
    if (options_.json) {
      put(file, written);
      return;
    }
    const std::string page = file.page >= 0 ? std::to_string(file.page + 1) : "-";
    const std::string size = file.size >= 0 ? std::to_string(file.size) : "-";
    std::printf("%8d %5s %10s  %s%s\n", file.spec.num, page.c_str(), size.c_str(), shown(name_of(file)).c_str(),
                written.empty() ? "" : (", " + shown(written)).c_str());
  }

  int finish() {
    if (options_.json)
      std::printf("%s\n", json_.end_array().end_object().str().c_str());
    return was_sound(doc_, options_.target.file) ? code_ : int{kExitProblems};
  }

private:
  void put(const PDF_ATTACHMENT& file, const std::string& written) {
    json_.begin_object().key("name").text(name_of(file)).key("object").number(file.spec.num);
    json_.key("stream").number(file.stream.num).key("page");
    file.page >= 0 ? json_.number(file.page + 1) : json_.null();
    json_.key("bytes");
    file.size >= 0 ? json_.number(file.size) : json_.null();
    json_.key("description").text(text_of(file.description)).key("type").text(text_of(file.type));
    json_.key("created").text(text_of(file.created)).key("modified").text(text_of(file.modified));
    if (!options_.folder.empty())
      write_file_name(json_, "written", written);
    json_.end_object();
  }

  void problem(const PDF_ATTACHMENT& file, const std::string& what) {
    complain(options_.target.file, "attachment \"" + name_of(file) + "\": " + what);
    code_ = kExitProblems;
  }

  // The path of the file written; empty, with a message, when none was written.
  std::string extract(const PDF_ATTACHMENT& file) {
    const Freed<CPDFObj> data = doc_.table().object(file.stream);
    const std::unique_ptr<CPDFStream> decoder(data.as_stream() != nullptr ? doc_.table().make_stream(data.as_stream())
                                                                          : nullptr);
    if (decoder == nullptr) {
      problem(file, "its data cannot be read");
      return "";
    }
    SafeOutput output;
    std::string path = names_.path_for(name_of(file));
    if (!output.open_for_data(path)) {
      code_ = kExitProblems;
      return "";
    }
    const std::int64_t got = drain(
        doc_.table(), *data.as_stream(), *decoder,
        [&output](const unsigned char* bytes, int size) { return output.put(bytes, static_cast<std::size_t>(size)); });
    left_ -= got;
    if (got < 0 || !output.commit()) {
      problem(file, "could not be written to its end");
      return "";
    }
    if (file.size >= 0 && got != file.size)
      problem(file, "has " + std::to_string(got) + " bytes, but is said to have " + std::to_string(file.size));
    return path;
  }

  CPDFDoc& doc_;
  const AttachmentsOptions& options_;
  SafeNames names_;
  std::int64_t left_;  // how many bytes may still be written, since many names can share one stream
  JsonWriter json_;
  int code_ = kExitClean;
};

int list_attachments(const AttachmentsOptions& options) {
  CPDFDoc doc;
  CPDFAttachments files;
  if (!open_document(doc, options.target.file, options.target.password) || !make_folder(options.folder))
    return kExitFailed;
  if (!files.load(doc)) {
    complain(options.target.file, "there is not enough memory");
    return kExitFailed;
  }
  AttachmentList list(doc, options);
  bool found = options.names.empty();
  for (std::int32_t i = 0; i < files.size(); ++i) {
    if (!options.names.empty() && !is_named(options.names, files.at(i)))
      continue;
    list.add(files.at(i));
    found = true;
  }
  const int code = list.finish();
  if (!found)
    complain(options.target.file, "has no attachment of that name");
  return found ? code : int{kExitFailed};
}

int change_attachments(CPDFDoc& doc, const std::string& name, const AttachmentsOptions& options) {
  for (const std::string& gone : options.gone) {
    bool found = false;
    CPDFAttachments files;
    bool good = files.load(doc);
    for (std::int32_t i = 0; good && i < files.size(); ++i) {
      if (!is_named({gone}, files.at(i)))
        continue;
      good = files.remove(doc, i);
      found = true;
    }
    if (!good || !found) {
      complain(name,
               "attachment \"" + gone + "\": " +
                   (good ? "no attachment has that name; sheaf attachments lists them"
                         : "cannot be taken out; there is no catalogue that can be changed, or not enough memory"));
      return kExitFailed;
    }
  }
  return apply_changes(doc, options.changes) ? kExitClean : kExitFailed;
}

int run_attachments(const AttachmentsOptions& options) {
  const bool changes = !options.gone.empty() || !options.changes.attachments.empty();
  if (!changes && !has_output(options.target))
    return list_attachments(options);
  if (!check_changes(options.changes))
    return kExitFailed;
  return run_edit(options.target,
                  [&options](CPDFDoc& doc, const std::string& name) { return change_attachments(doc, name, options); });
}

const Registration kAttachments(
    "attachments", "Look", "The files that a document carries", [](Command& command) -> Run {
      auto options = std::make_shared<AttachmentsOptions>();
      add_edit_or_rewrite(command, options->target);
      auto* folder = command.add_option("-d,--directory", options->folder, "Write them into this folder");
      command.add_option("--name", options->names, "Only the file of this name")->one_at_a_time();
      command.add_option("--remove", options->gone, "Take the file of this name out")
          ->one_at_a_time()
          ->excludes(folder);
      command.add_option("--add", options->changes.attachments, "Embed a file, - for standard input")
          ->one_at_a_time()
          ->excludes(folder);
      command.add_flag("--json", options->json, "One JSON object");
      return [options] { return run_attachments(*options); };
    });

}  // namespace

}  // namespace sheaf::tool

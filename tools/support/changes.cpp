// The options --set and --attach, and what they do to a document.
#include "support/changes.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>

#include "support/command_line.h"
#include "support/inputs.h"
#include "support/tool_support.h"
#include "support/unnamed_file.h"

namespace sheaf::tool {

namespace {

const char* const kInfoKeys[] = {"Title", "Author", "Subject", "Keywords", "Creator", "Producer"};

// "KEY=TEXT" in its two parts. False, with a message, when the key is not one of the six.
bool split_setting(const std::string& setting, std::string& key, std::string& text) {
  const std::size_t at = setting.find('=');
  key = setting.substr(0, at);
  text = at != std::string::npos ? setting.substr(at + 1) : "";
  for (const char* known : kInfoKeys) {
    if (at != std::string::npos && key == known)
      return true;
  }
  complain("--set " + setting, "needs KEY=TEXT with Title, Author, Subject, Keywords, Creator or Producer as KEY");
  return false;
}

// False, with a message, when the file cannot be attached.
bool can_be_attached(const std::string& path) {
  struct stat info = {};
  if (stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) {
    complain(path, "is no file that could be attached; check the path. Nothing was written");
    return false;
  }
  if (info.st_size > INT32_MAX) {
    complain(path, "has 2 GiB or more, which no stream of a document can hold. Nothing was written");
    return false;
  }
  return true;
}

// Standard input under a name of its own: a link in a folder of its own, so that none of its bytes lies there.
class NamedInput {
public:
  NamedInput() = default;
  NamedInput(const NamedInput&) = delete;
  NamedInput& operator=(const NamedInput&) = delete;
  ~NamedInput() {
    if (link_.empty())
      return;
    unlink(link_.c_str());
    rmdir(folder_.c_str());
  }
  // The path of the link to standard input; empty, with a message, on failure.
  const std::string& open() {
    std::string path;
    std::string folder = temporary_folder() + "/sheaf-XXXXXX";
    if (!input_path("-", path))
      return link_;
    if (mkdtemp(folder.data()) == nullptr || symlink(path.c_str(), (folder + kName).c_str()) != 0) {
      complain("standard input", "cannot be given a name in " + temporary_folder());
      return link_;
    }
    folder_ = folder;
    link_ = folder + kName;
    return link_;
  }

private:
  static constexpr const char* kName = "/stdin";

  std::string folder_;
  std::string link_;
};

// False, with a message, on failure.
bool attach(CPDFDoc& doc, const std::string& file) {
  NamedInput input;
  const std::string path = file == "-" ? input.open() : file;
  if (path.empty())
    return false;
  if (doc.attach(path.c_str()))
    return true;
  complain(input_name(file), doc.table().file_too_large != 0 ? "has grown to 2 GiB or more; it cannot be attached"
                                                             : "could not be attached");
  return false;
}

}  // namespace

void add_changes(Command& command, ChangeOptions& changes) {
  command.add_option("--set", changes.settings, "KEY=TEXT of the document information")->one_at_a_time();
  command.add_option("--attach", changes.attachments, "Embed a file, - for standard input under the name stdin")
      ->one_at_a_time();
}

void add_pdfa(Command& command, bool& pdfa) {
  command.add_flag("--pdfa", pdfa,
                   "Add an output intent and metadata that claim PDF/A-1b; that the rest conforms is up to you");
}

bool ask_for_pdfa(CPDFDoc& doc, const std::string& name, bool encrypted) {
  if (encrypted) {
    complain(name, "PDF/A allows no encryption; take it off with sheaf rewrite --decrypt. Nothing was written");
    return false;
  }
  doc.set_frame(PDF_FRAME::kClaim);
  return true;
}

bool complain_of_metadata(const CPDFDoc& doc, const std::string& name) {
  if (doc.metadata_left_behind())
    complain(name, "its metadata packet is no XMP that can be read; it was left as it was");
  return doc.metadata_left_behind();
}

bool check_changes(const ChangeOptions& changes) {
  std::string key;
  std::string text;
  for (const std::string& setting : changes.settings) {
    if (!split_setting(setting, key, text))
      return false;
  }
  for (const std::string& path : changes.attachments) {
    if (!note_input(path) || (path != "-" && !can_be_attached(path)))
      return false;
  }
  return true;
}

bool apply_changes(CPDFDoc& doc, const ChangeOptions& changes) {
  std::string key;
  std::string text;
  if (!changes.attachments.empty() && doc.table().temp_stream.file == nullptr)
    doc.use_temp_file(nullptr);
  for (const std::string& setting : changes.settings) {
    split_setting(setting, key, text);
    if (!doc.set_info(key.c_str(), text.c_str())) {
      complain("--set " + setting, "the document information could not be changed");
      return false;
    }
  }
  for (const std::string& path : changes.attachments) {
    if (!attach(doc, path))
      return false;
  }
  return true;
}

}  // namespace sheaf::tool

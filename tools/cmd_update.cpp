// sheaf update, sheaf new and sheaf pdfa: changes saved behind the old content, new documents, and
// the verdict on the PDF/A frame.
#include <sys/stat.h>

#include <cstdio>

#include "image_pages.h"
#include "safe_output.h"
#include "tool_support.h"

namespace {

const char* const kInfoKeys[] = {"Title", "Author", "Subject", "Keywords", "Creator", "Producer"};

// "KEY=TEXT" in its two parts. False, with a message, when the key is none of the six.
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

bool is_regular_file(const std::string& path) {
  struct stat info = {};
  return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

// Looks at what is asked for ahead of any change.
bool check_changes(const ChangeOptions& changes) {
  std::string key;
  std::string text;
  for (const std::string& setting : changes.settings) {
    if (!split_setting(setting, key, text))
      return false;
  }
  for (const std::string& path : changes.attachments) {
    if (!is_regular_file(path)) {
      complain(path, "is no file that could be attached; check the path. Nothing was written");
      return false;
    }
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
    if (!doc.attach(path.c_str())) {
      complain(path, "could not be attached");
      return false;
    }
  }
  return true;
}

bool save_changes(CPDFDoc& doc, const UpdateOptions& options, const std::string& name) {
  const PDF_SAVE_FORM form = options.classic  ? PDF_SAVE_FORM::kClassic
                             : options.stream ? PDF_SAVE_FORM::kStream
                                              : PDF_SAVE_FORM::kAsFile;
  PDF_SIGN_DATA sign;
  for (int i = 0; i < options.saves; ++i) {
    const bool last = i + 1 == options.saves;
    if (!doc.save_update(form, last && options.seal ? &sign : nullptr)) {
      complain(name, "the update could not be written to its end; is the disk full?");
      return false;
    }
  }
  sign.dict.clear();
  return true;
}

int report(CPDFDoc& doc, const std::string& name, long long before, long long after) {
  std::printf("%s: %lld bytes before, %lld after\n", name.c_str(), before, after);
  return doc.status() == PDF_OPEN::kClean ? kExitClean : kExitProblems;
}

// Updates a private copy and gives it the name `target` when it is complete.
int update_copy(const UpdateOptions& options, const std::string& target) {
  SafeOutput output;
  if (!output.open(target) || !output.copy_of(options.file))
    return kExitFailed;
  CPDFDoc doc;
  if (!open_document_for_update(doc, output.path(), options.file, options.password) ||
      !apply_changes(doc, options.changes) || !save_changes(doc, options, target))
    return kExitFailed;
  const long long before = doc.file_size();
  const int code = report(doc, target, before, doc.table().stream->GetLen());
  doc.close();
  return output.commit() ? code : kExitFailed;
}

// Appends to the file itself. What is there stays; only the tail behind it is new.
int update_in_place(const UpdateOptions& options) {
  CPDFDoc doc;
  if (!open_document_for_update(doc, options.file, options.file, options.password) ||
      !apply_changes(doc, options.changes))
    return kExitFailed;
  const long long before = doc.file_size();
  if (!save_changes(doc, options, options.file)) {
    doc.truncate_to(before);
    return kExitFailed;
  }
  return report(doc, options.file, before, doc.table().stream->GetLen());
}

}  // namespace

int run_update(const UpdateOptions& options) {
  if (!check_changes(options.changes))
    return kExitFailed;
  if (options.in_place)
    return update_in_place(options);
  if (options.output.empty()) {
    complain(options.file, "is changed only when asked for: give -o OUT, or --in-place");
    return kExitFailed;
  }
  if (is_same_file(options.file, options.output)) {
    complain(options.output, "is the input itself; choose another name, or --in-place");
    return kExitFailed;
  }
  return update_copy(options, options.output);
}

int run_new(const NewOptions& options) {
  if (!check_changes(options.changes))
    return kExitFailed;
  SafeOutput output;
  if (!output.open(options.output))
    return kExitFailed;
  CPDFDoc doc;
  const bool created = doc.create(&output.stream());
  const int code = created && !options.text.file.empty() ? add_text_pages(doc, options.text) : int{kExitClean};
  if (code == kExitFailed || (created && !options.images.empty() && !append_image_pages(doc, options.images)))
    return kExitFailed;
  if (!created || !apply_changes(doc, options.changes) || !doc.save_update(PDF_SAVE_FORM::kStream, nullptr)) {
    complain(options.output, "could not be written to its end; is the disk full?");
    return kExitFailed;
  }
  doc.close();
  if (!output.commit())
    return kExitFailed;
  std::printf("%s: %lld bytes\n", options.output.c_str(), output.size());
  return code;
}

int run_pdfa(const PdfaOptions& options) {
  CPDFDoc doc;
  if (!open_document(doc, options.file, options.password, false))
    return kExitFailed;
  doc.table().drain_pending();
  switch (doc.table().pdfa_verify()) {
    case 0:
      std::printf("%s: header and trailer are as PDF/A-1 asks\n", options.file.c_str());
      return kExitClean;
    case 0x060102:
      std::printf("%s: the file header does not conform to PDF/A-1 (ISO 19005-1, 6.1.2)\n", options.file.c_str());
      return kExitProblems;
    default:
      std::printf("%s: the file trailer does not conform to PDF/A-1 (ISO 19005-1, 6.1.3): %s\n", options.file.c_str(),
                  doc.is_encrypted() ? "the document is encrypted" : "there is no file identifier");
      return kExitProblems;
  }
}

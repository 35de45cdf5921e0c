// Folders are opened when their turn comes.
#include "batch/file_queue.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <system_error>

#include "support/json_reader.h"
#include "support/messages.h"

namespace sheaf::tool {

namespace {

namespace fs = std::filesystem;

bool has_pdf_name(const fs::path& path) {
  std::string ending = path.extension().string();
  std::transform(ending.begin(), ending.end(), ending.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; });
  return ending == ".pdf";
}

// The name in a line of JSON; empty for a line that has none.
std::string name_in(const std::string& line) {
  JsonValue value;
  std::string trouble;
  if (!read_json(line, value, trouble))
    return "";
  const JsonValue* const name = value.member("file");
  const JsonValue* const bytes = value.member("file_bytes");
  if (bytes == nullptr)
    return name != nullptr ? name->text : "";
  std::string text;
  for (std::size_t i = 0; i + 1 < bytes->text.size(); i += 2)
    text += static_cast<char>(std::stoi(bytes->text.substr(i, 2), nullptr, 16));
  return text;
}

}  // namespace

bool is_folder(const std::string& path) {
  std::error_code none;
  return fs::is_directory(path, none);
}

bool FileQueue::open(const std::vector<std::string>& files, const std::string& list) {
  waiting_.assign(files.rbegin(), files.rend());
  if (list.empty())
    return true;
  if (list == "-") {
    names_ = &std::cin;
    return true;
  }
  list_.open(list);
  names_ = &list_;
  if (!list_.is_open() || is_folder(list)) {
    complain(list, "cannot be read as a list of files; give a text file with a name on each line");
    return false;
  }
  return true;
}

bool FileQueue::skip(const std::string& results) {
  std::error_code none;
  if (results.empty() || !fs::exists(results, none))
    return true;
  std::ifstream in(results);
  if (!in.is_open() || is_folder(results)) {
    complain(results, "cannot be read; --skip-done takes what an earlier run with --json printed");
    return false;
  }
  for (std::string line; std::getline(in, line);) {
    if (std::string name = name_in(line); !name.empty())
      done_.insert(std::move(name));
  }
  return true;
}

bool FileQueue::next(std::string& file) {
  while (next_named(file)) {
    if (file != "-" && is_folder(file))
      open_folder(file);
    else if (!done_.contains(file))
      return true;
  }
  return false;
}

bool FileQueue::next_named(std::string& file) {
  if (!waiting_.empty()) {
    file = std::move(waiting_.back());
    waiting_.pop_back();
    return true;
  }
  while (names_ != nullptr && std::getline(*names_, file)) {
    if (!file.empty() && file.back() == '\r')
      file.pop_back();
    if (!file.empty())
      return true;
  }
  return false;
}

void FileQueue::open_folder(const std::string& folder) {
  std::vector<std::string> found;
  std::error_code trouble;
  for (fs::directory_iterator entry(folder, trouble), end; !trouble && entry != end; entry.increment(trouble)) {
    std::error_code none;
    // A link to a folder could lead back to where it is.
    const bool is_link = entry->is_symlink(none);
    if (entry->is_directory(none) ? !is_link : entry->is_regular_file(none) && has_pdf_name(entry->path()))
      found.push_back(entry->path().string());
  }
  if (trouble)
    complain(folder, "could not be read to its end: " + trouble.message());
  std::sort(found.begin(), found.end(), std::greater<>());
  waiting_.insert(waiting_.end(), found.begin(), found.end());
}

}  // namespace sheaf::tool

// The document under test: kept in a file or in memory, opened, saved, given new keys.
#pragma once

#include <memory>
#include <string>

#include "sheaf/document/doc.h"
#include "sheaf/neighbours/security/encrypter.h"

namespace oracle {

enum class Encryption { kNone, kRC4, kAES128, kAES256, kAsBefore };

class Subject {
public:
  /// `path` empty: the document stays in memory. `temp_folder` null: new streams do too.
  Subject(std::string path, const char* temp_folder) : path_(std::move(path)), temp_folder_(temp_folder) {}
  Subject(const Subject&) = delete;
  Subject& operator=(const Subject&) = delete;

  CPDFDoc& doc() { return *doc_; }
  /// Puts other bytes into its place and opens them.
  bool replace(const std::string& bytes, const std::string& password);
  bool reopen(const std::string& password);
  /// The file as it is now.
  std::string bytes();
  /// A complete new file. False when the library says that it is not complete.
  bool save_complete(Encryption encryption, const std::string& password, std::string& made);

private:
  std::string path_;
  const char* temp_folder_;
  std::unique_ptr<CQVStreamMem> memory_;
  std::unique_ptr<CPDFDoc> doc_;  // goes before the stream that it reads
};

}  // namespace oracle

// The commands of the tool. Each returns the exit code: 0 done and clean, 1 done with problems
// reported, 2 could not be done. Data go to standard output, messages to standard error.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "new_text.h"

enum ExitCode : int { kExitClean = 0, kExitProblems = 1, kExitFailed = 2 };

/// How a document's password is given; at most one of the two.
struct PasswordOptions {
  std::string password;
  std::string password_file;  ///< "-" for standard input.
};

struct InfoOptions {
  std::string file;
  PasswordOptions password;
  bool json = false;
};
int run_info(const InfoOptions& options);

struct ShowOptions {
  std::string file;
  PasswordOptions password;
  std::int32_t num = 0;  ///< 0: the trailer values.
  std::int32_t gen = 0;
};
int run_show(const ShowOptions& options);

struct StreamOptions {
  std::string file;
  PasswordOptions password;
  std::int32_t num = 0;
  bool raw = false;
  std::string output;  ///< Empty: standard output.
};
int run_stream(const StreamOptions& options);

struct PagesOptions {
  std::string file;
  PasswordOptions password;
  bool json = false;
};
int run_pages(const PagesOptions& options);

struct CheckOptions {
  std::vector<std::string> files;
  PasswordOptions password;
  bool json = false;
};
int run_check(const CheckOptions& options);

struct RewriteOptions {
  std::string file;
  std::string output;
  PasswordOptions password;
  bool deterministic_id = false;
  bool decrypt = false;
  std::string encrypt;  ///< "aes256", "aes128", "rc4", or empty: as the source.
  std::string user_password;
  std::string owner_password;
  std::string permissions = "all";  ///< Names with commas between them.
  bool clear_metadata = false;
};
int run_rewrite(const RewriteOptions& options);
int run_repair(const RewriteOptions& options);

/// What is changed in a document.
struct ChangeOptions {
  std::vector<std::string> settings;  ///< "KEY=TEXT".
  std::vector<std::string> attachments;
};

struct UpdateOptions {
  std::string file;
  std::string output;
  PasswordOptions password;
  ChangeOptions changes;
  bool in_place = false;
  bool classic = false;
  bool stream = false;
  bool seal = false;
  int saves = 1;
};
int run_update(const UpdateOptions& options);

struct NewOptions {
  std::string output;
  std::vector<std::string> images;  ///< A page each.
  ChangeOptions changes;
  TextOptions text;
};
int run_new(const NewOptions& options);

struct PdfaOptions {
  std::string file;
  PasswordOptions password;
};
int run_pdfa(const PdfaOptions& options);

struct MergeOptions {
  std::string output;
  std::vector<std::string> inputs;     ///< "FILE" or "FILE:RANGES".
  std::vector<std::string> passwords;  ///< One for each input, in order; the last one for the rest.
};
int run_merge(const MergeOptions& options);

struct SplitOptions {
  std::string file;
  PasswordOptions password;
  std::string pattern;  ///< With %d for the number of the part.
  int every = 1;        ///< Pages a part.
};
int run_split(const SplitOptions& options);

struct ImagesOptions {
  std::string file;
  PasswordOptions password;
  std::string folder;  ///< Where they are written; empty: they are listed only.
  bool json = false;
};
int run_images(const ImagesOptions& options);

struct AnnotsOptions {
  std::string file;
  PasswordOptions password;
  bool json = false;
};
int run_annots(const AnnotsOptions& options);

struct FieldsOptions {
  std::string file;
  PasswordOptions password;
  bool json = false;
};
int run_fields(const FieldsOptions& options);

struct FontsOptions {
  std::string file;
  PasswordOptions password;
  bool json = false;
};
int run_fonts(const FontsOptions& options);

struct MapOptions {
  std::string file;
  PasswordOptions password;
  std::string output;  ///< Empty: standard output.
};
int run_map(const MapOptions& options);

// How a new file is to be written, as the command line says it.
#pragma once

#include <string>
#include <vector>

#include "sheaf/document/writer/doc_writer.h"

namespace sheaf::tool {

class Command;

struct WritingOptions {
  PDF_WRITE_OPTIONS write;
  std::string object_streams;
  std::string recompress;
  std::string min_version;
  std::vector<std::string> strip;
  int jobs = 1;  ///< Processes that pack.
  bool compress = false;
  bool uncompress = false;
};

/// Adds the options of the writer.
void add_writing(Command& command, WritingOptions& options);
/// Fills `options.write`. False, with a message, when what is asked for makes no sense.
bool read_writing(WritingOptions& options);
/// Whether anything is asked for that needs the writer.
bool needs_writer(const WritingOptions& options);

}  // namespace sheaf::tool

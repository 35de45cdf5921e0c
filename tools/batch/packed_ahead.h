// The slow part of making a file smaller, done by several processes before it is written.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <unordered_map>
#include <vector>

#include "sheaf/document/writer/doc_writer.h"

class CPDFDoc;

namespace sheaf::tool {

/// Whether a writer with these options packs streams.
bool packs(const PDF_WRITE_OPTIONS& options);

class PackedAhead : public CPDFPacker {
public:
  PackedAhead() = default;
  PackedAhead(const PackedAhead&) = delete;
  PackedAhead& operator=(const PackedAhead&) = delete;
  ~PackedAhead();

  /// Packs the streams of `doc`, which was opened by the name `file`, as a writer with `options` would, in so many
  /// processes. False, with a message, when that cannot be done.
  bool run(CPDFDoc& doc, const std::string& file, const PDF_WRITE_OPTIONS& options, int jobs);
  /// What was packed ahead; other data are packed here.
  unsigned char* pack(const unsigned char* data, std::size_t size, int level, std::size_t& packed) override;

private:
  struct Place {
    std::FILE* file;
    long at;
    std::size_t size;
  };

  void collect(std::FILE* file);

  std::vector<std::FILE*> files_;                        // without a name, one for each process
  std::unordered_multimap<std::uint64_t, Place> found_;  // by what the data look like
};

}  // namespace sheaf::tool

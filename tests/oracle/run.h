// One document through a sequence of operations, with a model of what it must be beside it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "oracle/source.h"

namespace oracle {

/// One operation. The numbers choose what it is done to, each by itself, so that any operation of a
/// sequence can be left out.
struct Operation {
  std::uint32_t kind = 0;
  std::uint32_t a = 0;
  std::uint32_t b = 0;
  std::uint32_t c = 0;
};

/// How the document is kept while it is worked on.
struct Setting {
  bool in_file = true;      ///< A file that is updated, else memory.
  bool independent = true;  ///< After each save another program reads the file.
  std::string folder;       ///< For files; needed unless neither of the two is asked for.
};

std::vector<Operation> make_operations(std::uint64_t seed, std::size_t count);

/// "kind:a:b:c,..." and back.
std::string to_text(const std::vector<Operation>& operations);
std::vector<Operation> from_text(const std::string& text);

/// What each operation does, a line each.
std::string described(const std::vector<Operation>& operations);

/// Goes through the sequence. Empty when all held; else what did not hold, and at which operation.
std::string run(const Source& source, const std::vector<Operation>& operations, const Setting& setting);

/// The shortest sequence that still fails, found by leaving operations out.
std::vector<Operation> shortest(const Source& source, std::vector<Operation> operations, const Setting& setting);

/// A source from a file of any origin, as the independent reader finds it. False when that cannot read it,
/// or the library cannot.
bool source_from_file(const std::string& path, const std::string& password, Source& source);

/// The sequences that give every stream a key and save, one for each way of saving.
std::vector<std::vector<Operation>> every_stream_and_every_save();

}  // namespace oracle

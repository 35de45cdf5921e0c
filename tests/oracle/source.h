// Documents to begin with, in all the forms that writers give them, and what they hold.
#pragma once

#include <string>

#include "oracle/model.h"

namespace oracle {

struct Source {
  std::string bytes;
  Model model;
  std::string form;  ///< In words, for reports.
};

/// A document made from the seed: classic tables, cross-reference streams with object streams, hybrid
/// files, one or two revisions, generations above 0, lengths of every form, damage that can be healed.
Source make_source(std::uint64_t seed);

}  // namespace oracle

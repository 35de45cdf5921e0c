// Files of one shape at any size, for the law of growth.
#pragma once

#include <string>
#include <vector>

struct GrowthShape {
  const char* name;
  std::string (*make)(int count);
  int least = 60;  ///< The smallest count. Where a limit on depth sets in, more than that.
};

/// Every kind of list, tree, chain, name and filter that a file can hold, sound and damaged.
const std::vector<GrowthShape>& growth_shapes();

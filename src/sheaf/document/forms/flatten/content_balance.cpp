// Follows q and Q over the operators of the decoded content.
#include "sheaf/document/forms/flatten/content_balance_internal.h"

#include <algorithm>

#include "sheaf/document/content/content_reader.h"
#include "sheaf/document/content/content_text.h"

namespace sheaf {

ContentBalance balance_of(CPDFXRefTable& table, const CPDFObj* contents) {
  ContentText content;
  content.load(table, contents);
  ContentBalance balance;
  ContentReader reader(content.text());
  while (reader.next()) {
    if (reader.is("q"))
      ++balance.depth;
    else if (reader.is("Q"))
      --balance.depth;
    balance.lowest = std::min(balance.lowest, balance.depth);
  }
  return balance;
}

}  // namespace sheaf

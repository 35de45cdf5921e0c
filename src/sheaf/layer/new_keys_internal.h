// How a complete new file is encrypted: anew, as the document is, or not at all.
#pragma once

#include <memory>

#include "sheaf/layer/document.h"
#include "sheaf/neighbours/security/encrypter.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf::layer {

class NewKeys {
public:
  /// `target` is the table of the new file, and gets its identifier where the keys depend on it. False when the keys
  /// cannot be made.
  bool make(CPDFDoc& doc, CPDFXRefTable& target, const SaveOptions& options);
  /// Null: the new file is in clear.
  CPDFEncrypt* encrypter() const { return enc_.get(); }

private:
  bool make_fresh(CPDFXRefTable& target, const Encryption& wanted);

  std::unique_ptr<CPDFStandardEncrypt> enc_;
};

}  // namespace sheaf::layer

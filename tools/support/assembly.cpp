#include "support/assembly.h"

#include <algorithm>
#include <cstring>

#include "sheaf/document/pages/page_arrange.h"
#include "support/messages.h"
#include "support/safe_output.h"
#include "support/whole_file.h"

namespace sheaf::tool {

Assembly::Assembly() {
  doc.create(&start);
  doc.use_temp_file(nullptr);
  merge = std::make_unique<CPDFDocMerge>(doc);
}

bool Assembly::write(const std::string& path, CPDFDoc* protection) {
  return write_by(path, [this, protection](CQVStream& out) { return save_whole_as(doc, out, protection); });
}

bool Assembly::write(const std::string& path, const EncryptionOptions& encryption) {
  if (encryption.algorithm.empty())
    return write(path, nullptr);
  CPDFXRefTable target;
  CPDFStandardEncrypt enc;
  return start_encryption(encryption, target.id, path, enc) && write_by(path, [&](CQVStream& out) {
           target.stream = &out;
           doc.save_complete(target, &enc);
           return target.write_failed == 0 && target.xref_items != nullptr;
         });
}

bool Assembly::write_by(const std::string& path, const std::function<bool(CQVStream& out)>& save) {
  SafeOutput output;
  PDF_ARRANGE_REPORT arranged;
  const bool complete =
      merge->finish() &&
      (order.empty() || arrange_pages(doc, order.data(), static_cast<std::int32_t>(order.size()), arranged)) &&
      doc.store_page_tree();
  if (!complete) {
    complain(path, "there is not enough memory for its catalogue; nothing was written");
    return false;
  }
  if (!output.open(path))
    return false;
  if (!save(output.stream())) {
    complain(path, "could not be written to its end; is the disk full? Nothing was changed");
    return false;
  }
  size = output.commit() ? output.size() : -1;
  return size >= 0;
}

bool Assembly::has_unreadable() const {
  const auto& records = merge->records();
  return std::any_of(records.begin(), records.end(), [](const PDF_MERGE_RECORD& record) {
    return std::strcmp(record.entry, "unreadable objects") == 0;
  });
}

}  // namespace sheaf::tool

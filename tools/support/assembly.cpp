#include "support/assembly.h"

#include <algorithm>
#include <cstring>

#include "sheaf/document/metadata/conformance_claims.h"
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
  return write_by(path, protection != nullptr && protection->is_encrypted(),
                  [this, protection](CQVStream& out) { return save_whole_as(doc, out, protection); });
}

bool Assembly::write(const std::string& path, const EncryptionOptions& encryption) {
  if (encryption.algorithm.empty())
    return write(path, nullptr);
  CPDFXRefTable target;
  CPDFStandardEncrypt enc;
  return start_encryption(encryption, target.id, path, enc) && write_by(path, true, [&](CQVStream& out) {
           target.stream = &out;
           doc.save_complete(target, &enc);
           return target.write_failed == 0 && target.xref_items != nullptr;
         });
}

bool Assembly::write_by(const std::string& path, bool encrypts, const std::function<bool(CQVStream& out)>& save) {
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
  if (has_record("conformance claims"))
    complain(output_name(path), "note: it claims no PDF/A, PDF/UA or the like, as not all documents claim the same");
  // PDF/A and PDF/X allow no encryption, so what is encrypted must not claim them.
  const int dropped = encrypts ? drop_conformance_claims(doc.table(), false) : 0;
  if (dropped > 0)
    complain(output_name(path), "note: it claims no PDF/A or PDF/X any more, as these allow no encryption");
  if (dropped < 0 || !output.open(path))
    return false;
  if (!save(output.stream())) {
    complain(path, "could not be written to its end; is the disk full? Nothing was changed");
    return false;
  }
  size = output.commit() ? output.size() : -1;
  return size >= 0;
}

bool Assembly::has_unreadable() const {
  return has_record("unreadable objects");
}

bool Assembly::has_record(const char* entry) const {
  const auto& records = merge->records();
  return std::any_of(records.begin(), records.end(),
                     [entry](const PDF_MERGE_RECORD& record) { return std::strcmp(record.entry, entry) == 0; });
}

}  // namespace sheaf::tool

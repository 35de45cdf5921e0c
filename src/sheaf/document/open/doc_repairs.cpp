// The list of what had to be healed in a document: its own records and those of its table.
#include "sheaf/document/doc.h"

using namespace sheaf;

void CPDFDoc::add_repair(const char* code, std::int32_t num, std::uint32_t offset, const char* action) {
  repairs_.push({code, num, offset, action});
}

const GrowArray<PDF_DOC_REPAIR>& CPDFDoc::repairs() {
  for (; table_repairs_taken_ < table_.repairs.size(); ++table_repairs_taken_) {
    const PDF_REPAIR& repair = table_.repairs[table_repairs_taken_];
    switch (repair.code) {
      case PDF_REPAIR::kEntryCorrected:
        add_repair("entry", repair.num, repair.offset, "object was not at its entry's offset; found elsewhere");
        break;
      case PDF_REPAIR::kSectionUnreadable:
        add_repair("section", repair.num, repair.offset, "cross-reference section cannot be read; passed over");
        break;
      case PDF_REPAIR::kLengthCorrected:
        add_repair("length", repair.num, repair.offset,
                   "a length or number that the stream states is false; its data are believed");
        break;
      case PDF_REPAIR::kContainerUnlisted:
        add_repair("container", repair.num, repair.offset,
                   "object stream has no entry of its own; its objects are read");
        break;
      case PDF_REPAIR::kTableRebuilt:
        add_repair("table", repair.num, repair.offset, "cross-reference table rebuilt by scanning");
        break;
    }
  }
  return repairs_;
}

// A build without JPEG 2000 takes none.
#include "xref/xref_table.h"

PDF_REF CPDFXRefTable::new_image_jpx(const char*) {
  return {0, 0};
}

// The XMP packet of a document (ISO 16684-1; ISO 19005-1, 6.7).
#pragma once

class CPDFXRefTable;
struct CPDFObj;

class CPDFXMP {
public:
  /// The packet with what the document information `info` (a reference or a dictionary) says, and with
  /// the identification as PDF/A-1b where `doc` claims that. `len` gets its size. The caller owns the block and
  /// releases it with QVFree; null when there is no memory.
  unsigned char* gen_xmp(CPDFXRefTable* doc, CPDFObj* info, unsigned int& len);
};

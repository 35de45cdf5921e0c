// The trailer as the file has it, where the document goes by some of its values only.
#pragma once

class CPDFDictionary;
class CPDFDoc;

namespace sheaf {

/// Puts into `others` what the trailer of the newest section that could be read holds besides the values that a
/// document goes by and those that belong to the section itself (ISO 32000-1, 7.5.5, 7.5.8.2). No save writes them.
void read_other_trailer_keys(CPDFDoc& doc, CPDFDictionary& others);

}  // namespace sheaf

// Content before and after that of a page, which itself stays as it is.
#pragma once

#include "sheaf/object/object.h"

class CPDFDictionary;
class CPDFXRefTable;

namespace sheaf {

class ContentWriter;

class PageContent {
public:
  explicit PageContent(CPDFXRefTable& table) : table_(table) {}
  PageContent(const PageContent&) = delete;
  PageContent& operator=(const PageContent&) = delete;

  /// Puts content before what `page` has. It must leave the graphics state as it was. False without memory.
  bool put_in_front(CPDFDictionary& page, const ContentWriter& content);
  /// Puts content after what `page` has, which is closed in operators that bring the graphics state back, however many
  /// of them it lacks. False without memory.
  bool put_behind(CPDFDictionary& page, const ContentWriter& content);

private:
  PDF_REF opening_stream(int count);

  CPDFXRefTable& table_;
  PDF_REF opening_{0, 0};  // content that saves the graphics state once
};

}  // namespace sheaf

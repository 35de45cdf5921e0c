// A one-page document with the form fields that a test names.
#pragma once

#include <string>
#include <vector>

#include "support/pdf_builder.h"

class FormMaker {
public:
  /// A field with one widget that is the field itself; its object number.
  int field(const std::string& name, const std::string& keys, const std::string& rect = "50 700 250 720") {
    const int num = next_++;
    builder_.obj(num, "<</Type/Annot/Subtype/Widget/F 4/P 3 0 R/T(" + name + ")/Rect[" + rect + "]" + keys + ">>");
    fields_ += std::to_string(num) + " 0 R ";
    annots_ += std::to_string(num) + " 0 R ";
    return num;
  }
  /// A field whose widgets are kids with these keys.
  int group(const std::string& name, const std::string& keys, const std::vector<std::string>& kids) {
    const int num = next_++;
    std::string list;
    for (std::size_t i = 0; i < kids.size(); ++i) {
      const int kid = next_++;
      const std::string x = std::to_string(50 + 30 * i);
      builder_.obj(kid, "<</Type/Annot/Subtype/Widget/F 4/Parent " + std::to_string(num) + " 0 R/Rect[" + x + " 600 " +
                            std::to_string(70 + 30 * i) + " 620]" + kids[i] + ">>");
      list += std::to_string(kid) + " 0 R ";
    }
    builder_.obj(num, "<</T(" + name + ")" + keys + "/Kids[" + list + "]>>");
    fields_ += std::to_string(num) + " 0 R ";
    annots_ += list;
    return num;
  }
  /// An annotation that is no field; its object number.
  int annotation(const std::string& keys) {
    const int num = next_++;
    builder_.obj(num, "<</Type/Annot" + keys + ">>");
    annots_ += std::to_string(num) + " 0 R ";
    return num;
  }
  PdfBuilder& builder() { return builder_; }
  int take_number() { return next_++; }
  std::string fonts;  ///< Further ones among the form's resources.
  /// Keys of the page, of the form's dictionary, and of the catalogue.
  std::string page_keys;
  std::string form_keys;
  std::string catalog_keys;
  std::string content = "BT /F 12 Tf 50 750 Td (Page) Tj ET";

  std::string str() {
    builder_.obj(1, "<</Type/Catalog/Pages 2 0 R/AcroForm<</Fields[" + fields_ +
                        "]/DA(/Helv 12 Tf 0 g)/DR<</Font<</Helv 6 0 R" + fonts + ">>>>" + form_keys + ">>" +
                        catalog_keys + ">>");
    builder_.obj(2, "<</Type/Pages/Kids[3 0 R]/Count 1/MediaBox[0 0 600 800]>>");
    builder_.obj(3, "<</Type/Page/Parent 2 0 R/Contents 5 0 R/Resources<</Font<</F 6 0 R>>>>/Annots[" + annots_ + "]" +
                        page_keys + ">>");
    builder_.stream(5, "", content);
    builder_.obj(6, "<</Type/Font/Subtype/Type1/BaseFont/Helvetica/Encoding/WinAnsiEncoding>>");
    return builder_.classic().str();
  }

private:
  PdfBuilder builder_;
  std::string fields_;
  std::string annots_;
  int next_ = 10;
};

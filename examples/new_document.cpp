// Makes a document with text, a photo, a drawing with transparent parts, and an outline.
//
//   new_document PHOTO.jpg [FONT-NAME]
#include <cstdio>
#include <string>
#include <vector>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/neighbours/fonts/environment.h"
#include "sheaf/neighbours/fonts/font.h"
#include "sheaf/neighbours/page/page.h"

namespace {

constexpr int kEmbed = 8;  // a font style: its used glyphs go into the file

// The text as the operand of a "Tj": two bytes a glyph, in hexadecimal.
std::string glyphs(CPDFFont& font, const std::wstring& text) {
  std::vector<unsigned char> codes(2 * text.size());
  font.encode(text.data(), static_cast<int>(text.size()), codes.data());
  std::string out = "<";
  char digits[3];
  for (const unsigned char code : codes) {
    std::snprintf(digits, sizeof(digits), "%02X", code);
    out += digits;
  }
  return out + "> Tj\n";
}

// A disc that fades towards its rim: four bytes a pixel, the last one its opacity.
PDF_REF new_disc(CPDFXRefTable& table) {
  constexpr int kSide = 128;
  std::vector<std::uint8_t> pixels;
  for (int y = 0; y < kSide; ++y) {
    for (int x = 0; x < kSide; ++x) {
      const int square = (2 * x - kSide) * (2 * x - kSide) + (2 * y - kSide) * (2 * y - kSide);
      const int alpha = 255 - 255 * square / (kSide * kSide);
      for (const int sample : {220, 40, 60, alpha > 0 ? alpha : 0})
        pixels.push_back(static_cast<std::uint8_t>(sample));
    }
  }
  CQVBmp32 bitmap;
  bitmap.pixels = pixels.data();
  bitmap.width = bitmap.height = kSide;
  bitmap.stride = 4 * kSide;
  return table.new_image_flate(&bitmap, 0, 1);
}

// A page of A4 size that draws `content`.
bool add_page(CPDFDoc& doc, std::string content, const CPDFDictionary& resources) {
  CPDFXRefTable& table = doc.table();
  sheaf::Cleared<CPDFDictionary> page;
  const _QVRECTF box{0, 0, sheaf::fix_from_int(595), sheaf::fix_from_int(842)};
  page.set_item_name(CPDFDictionary::sm_tag_type, "Page");
  page.set_item_rect("MediaBox", &box);
  page.set_item_dict(CPDFDictionary::sm_tag_res, &resources);
  page.set_item_ref("Contents", table.adv_new_stream_flate(reinterpret_cast<unsigned char*>(content.data()),
                                                           static_cast<int>(content.size())));
  const PDF_REF ref{table.alloc_obj_num(), 0};
  table.store_dict(ref, &page);
  return doc.insert_page(doc.page_count(), ref);
}

// An outline of one entry, which leads to the first page.
bool add_outline(CPDFDoc& doc) {
  CPDFXRefTable& table = doc.table();
  const PDF_REF none{0, 0};
  const PDF_REF top{table.alloc_obj_num(), 0};
  const PDF_REF entry = table.new_outline(L"The only page", top, none, none, doc.page_ref(0), sheaf::fix_from_int(842));
  sheaf::Cleared<CPDFDictionary> outline;
  outline.set_item_ref("First", entry);
  outline.set_item_ref("Last", entry);
  outline.set_item_int("Count", 1);
  table.store_dict(top, &outline);
  sheaf::Freed<CPDFObj> catalog;
  table.get_entity(catalog, table.root.as_ref());
  catalog.as_dict()->set_item_ref("Outlines", top);
  return table.store_object(table.root.as_ref(), catalog);
}

}  // namespace

int main(int argc, char** argv) {
  CQVStreamFile out;
  out.file = std::fopen("new_document.pdf", "w+b");
  CPDFDoc doc;
  if (argc < 2 || out.file == nullptr || !doc.create(&out))
    return 2;
  CPDFXRefTable& table = doc.table();

  // The environment knows the system's fonts; the table keeps a copy of its own.
  CPDFEnviroment* const fonts = new CPDFEnviroment;
  table.set_envirment(fonts, "demo");
  CPDFEnviroment::destroy(fonts);
  CPDFFont* const font = table.new_font_type0_h(argc > 2 ? argv[2] : "DejaVu Sans", kEmbed);
  const PDF_REF photo = table.new_image_jpeg(argv[1]);
  const PDF_REF disc = new_disc(table);
  if (font == nullptr || photo.num == 0 || disc.num == 0) {
    std::fprintf(stderr, "%s is missing\n", font == nullptr ? "the font" : "the photo");
    return 2;
  }

  sheaf::Cleared<CPDFDictionary> named_fonts;
  named_fonts.set_item_ref("F1", font->ref());
  sheaf::Cleared<CPDFDictionary> images;
  images.set_item_ref("Photo", photo);
  images.set_item_ref("Disc", disc);
  sheaf::Cleared<CPDFDictionary> resources;
  resources.set_item_dict(CPDFDictionary::sm_tag_font, &named_fonts);
  resources.set_item_dict(CPDFDictionary::sm_tag_xobj, &images);
  const std::string text = "BT /F1 24 Tf 72 760 Td " + glyphs(*font, L"Made by sheaf – Привет, Ελλάδα") + "ET\n";
  const std::string pictures = "q 320 0 0 200 72 520 cm /Photo Do Q\nq 160 0 0 160 320 460 cm /Disc Do Q\n";

  const bool good = add_page(doc, text + pictures, resources) && add_outline(doc) &&
                    doc.set_info("Title", "A new document") && doc.save_update(PDF_SAVE_FORM::kStream, nullptr);
  std::printf("new_document.pdf: %d page, %lld bytes\n", doc.page_count(), out.GetLen());
  return good ? 0 : 2;
}

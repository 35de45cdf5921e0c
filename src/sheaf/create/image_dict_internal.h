// The dictionary of an image made here (ISO 32000-1, 8.9.5).
#pragma once

#include <cstdint>

#include "sheaf/object/dictionary.h"

namespace sheaf {

struct ImageItems {
  std::int32_t width;
  std::int32_t height;
  const char* colour_space;  // null: the data carry their own
  const char* filter;
  std::int32_t length;  // bytes of the data as stored
};

/// Sets the items that every image has, at 8 bits a component.
inline void set_image_items(CPDFDictionary& dict, const ImageItems& items) {
  constexpr int kBitsPerComponent = 8;
  dict.set_item_name(CPDFDictionary::sm_tag_type, CPDFDictionary::sm_tag_xobj);
  dict.set_item_name(CPDFDictionary::sm_tag_subtype, "Image");
  dict.set_item_int(CPDFDictionary::sm_tag_width, items.width);
  dict.set_item_int(CPDFDictionary::sm_tag_height, items.height);
  if (items.colour_space != nullptr)
    dict.set_item_name(CPDFDictionary::sm_tag_cs, items.colour_space);
  dict.set_item_int(CPDFDictionary::sm_tag_bpc, kBitsPerComponent);
  dict.set_item_name(CPDFDictionary::sm_tag_filter, items.filter);
  dict.set_item_int(CPDFDictionary::sm_tag_length, items.length);
}

}  // namespace sheaf

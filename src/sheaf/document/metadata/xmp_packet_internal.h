// A packet of XMP (ISO 16684-1) that is there already: single properties of it are changed, and the
// rest is left as it was, comments and white space included.
#pragma once

#include <cstdint>
#include <pugixml.hpp>

#include "sheaf/base/grow_array.h"
#include "sheaf/neighbours/page/xmp_properties.h"

namespace sheaf {

class XmpPacket {
public:
  /// Reads the packet. False when it is no XML with an RDF element, or is nested beyond all reason.
  bool read(const void* data, std::size_t size);
  /// Gives a property its value, as UTF-8; an empty one removes it.
  void set(const XmpProperty& property, const char* value);
  /// Appends the value of a property as UTF-8: of alternatives the one for every language, of a sequence all members,
  /// parted by "; ".
  void get(const XmpProperty& property, GrowArray<char>& value) const;
  /// Sets the time at which the metadata were changed, where they say one.
  void set_metadata_date(const char* date);
  /// Identifies the document as PDF/A-1b. False when it says so already.
  bool claim_pdfa();
  /// Part and conformance that the packet claims, such as "1B"; "" when it claims none.
  void read_claim(char (&claim)[8]) const;
  /// What the packet says that the document conforms to (PDF/A, PDF/UA, PDF/X and the like), as a number that is the
  /// same for packets which claim the same; 0 when it claims nothing.
  std::uint64_t claims() const;
  /// Takes such claims out, those of PDF/UA only with `also_ua`. How many properties that were.
  int drop_claims(bool also_ua);
  /// The packet as bytes. False when there is no memory.
  bool print(GrowArray<char>& out) const;

private:
  struct Place {
    pugi::xml_node description;     // that has the property,
    pugi::xml_node element;         // as an element,
    pugi::xml_attribute attribute;  // or as an attribute
  };

  Place find(const char* name) const;
  pugi::xml_node description_for(const char* prefix);
  void set_text(const char* name, const char* value);
  void set_list(const XmpProperty& property, const char* value);

  pugi::xml_document document_;
  pugi::xml_node rdf_;
};

}  // namespace sheaf

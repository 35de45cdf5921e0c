// Names are compared by namespace, since any prefix may stand for one (Namespaces in XML 1.0, 2).
#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

#include "sheaf/document/metadata/xmp_packet_internal.h"

#include "sheaf/base/heap.h"

namespace sheaf {

namespace {

constexpr int kMostDepth = 256;  // elements inside one another; the XML library removes them recursively
// White space between the elements, and outside of the root, is a part of the packet: it is padding.
constexpr unsigned kEverything = pugi::parse_full | pugi::parse_ws_pcdata | pugi::parse_fragment;

std::string_view prefix_of(std::string_view name) {
  const std::size_t colon = name.find(':');
  return colon == std::string_view::npos ? std::string_view() : name.substr(0, colon);
}

std::string_view local_name(std::string_view name) {
  const std::size_t colon = name.find(':');
  return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

// What `prefix` stands for at `node`.
std::string_view namespace_at(pugi::xml_node node, std::string_view prefix) {
  for (; node.type() == pugi::node_element; node = node.parent()) {
    for (const pugi::xml_attribute& attribute : node.attributes()) {
      const std::string_view name = attribute.name();
      if (prefix.empty() ? name == "xmlns" : prefix_of(name) == "xmlns" && local_name(name) == prefix)
        return attribute.value();
    }
  }
  return {};
}

bool is_element(const pugi::xml_node& node, std::string_view uri, std::string_view name) {
  return node.type() == pugi::node_element && local_name(node.name()) == name &&
         namespace_at(node, prefix_of(node.name())) == uri;
}

std::string_view uri_of(std::string_view usual_prefix) {
  for (const XmpNamespace& space : kXmpNamespaces) {
    if (usual_prefix == space.prefix)
      return space.uri;
  }
  return {};
}

// The next node in the order of the text, `depth` following. Without recursion.
pugi::xml_node next_node(pugi::xml_node node, int& depth) {
  if (node.first_child()) {
    ++depth;
    return node.first_child();
  }
  while (node && !node.next_sibling()) {
    node = node.parent();
    --depth;
  }
  return node.next_sibling();
}

pugi::xml_node child_named(const pugi::xml_node& parent, std::string_view uri, std::string_view name) {
  for (const pugi::xml_node& child : parent.children()) {
    if (is_element(child, uri, name))
      return child;
  }
  return {};
}

void replace_text(pugi::xml_node node, const char* value) {
  while (node.first_child())
    node.remove_child(node.first_child());
  node.append_child(pugi::node_pcdata).set_value(value);
}

// A name with a prefix that stands for its namespace at `node`, declared there if need be.
class QualifiedName {
public:
  QualifiedName(pugi::xml_node node, std::string_view prefix, std::string_view uri, std::string_view local) {
    if (namespace_at(node, prefix) == uri) {
      join(prefix, local);
      return;
    }
    const std::string_view other = other_prefix(node, uri);
    if (!other.empty()) {
      join(other, local);
      return;
    }
    join("xmlns", prefix);
    node.append_attribute(text_).set_value(uri.data());
    join(prefix, local);
  }
  const char* text() const { return text_; }

private:
  // A prefix for the namespace there, other than the usual one.
  static std::string_view other_prefix(pugi::xml_node node, std::string_view uri) {
    for (pugi::xml_node at = node; at.type() == pugi::node_element; at = at.parent()) {
      for (const pugi::xml_attribute& attribute : at.attributes()) {
        const std::string_view name = attribute.name();
        if (prefix_of(name) == "xmlns" && attribute.value() == uri && namespace_at(node, local_name(name)) == uri)
          return local_name(name);
      }
    }
    return {};
  }
  void join(std::string_view prefix, std::string_view local) {
    const std::size_t room = sizeof(text_) - 2;
    const std::size_t head = prefix.size() < room / 2 ? prefix.size() : 0;
    std::memcpy(text_, prefix.data(), head);
    text_[head] = ':';
    const std::size_t tail = local.size() < room / 2 ? local.size() : room / 2;
    std::memcpy(text_ + head + 1, local.data(), tail);
    text_[head + 1 + tail] = 0;
  }
  char text_[160]{};
};

}  // namespace

bool XmpPacket::read(const void* data, std::size_t size) {
  const pugi::xml_parse_result result = document_.load_buffer(data, size, kEverything);
  if (result.status == pugi::status_out_of_memory)
    note_heap_refusal();
  if (!result)
    return false;
  int depth = 0;
  for (pugi::xml_node node = document_.first_child(); node; node = next_node(node, depth)) {
    if (depth > kMostDepth)
      return false;
    if (!rdf_ && is_element(node, kRdfNamespace, "RDF"))
      rdf_ = node;
  }
  return !rdf_.empty();
}

XmpPacket::Place XmpPacket::find(const char* name) const {
  const std::string_view uri = uri_of(prefix_of(name));
  const std::string_view local = local_name(name);
  for (const pugi::xml_node& description : rdf_.children()) {
    if (!is_element(description, kRdfNamespace, "Description"))
      continue;
    if (const pugi::xml_node element = child_named(description, uri, local))
      return {description, element, {}};
    for (const pugi::xml_attribute& attribute : description.attributes()) {
      const std::string_view prefix = prefix_of(attribute.name());
      if (!prefix.empty() && local_name(attribute.name()) == local && namespace_at(description, prefix) == uri)
        return {description, {}, attribute};
    }
  }
  return {};
}

// The description to which a new property goes: one that knows its namespace, else any.
pugi::xml_node XmpPacket::description_for(const char* prefix) {
  pugi::xml_node any;
  for (const pugi::xml_node& node : rdf_.children()) {
    if (!is_element(node, kRdfNamespace, "Description"))
      continue;
    if (namespace_at(node, prefix) == uri_of(prefix))
      return node;
    any = any ? any : node;
  }
  if (any)
    return any;
  const QualifiedName name(rdf_, "rdf", kRdfNamespace, "Description");
  pugi::xml_node made = rdf_.append_child(name.text());
  const QualifiedName about(made, "rdf", kRdfNamespace, "about");
  made.append_attribute(about.text()).set_value("");
  return made;
}

void XmpPacket::set_text(const char* name, const char* value) {
  Place place = find(name);
  if (place.attribute) {
    place.attribute.set_value(value);
    return;
  }
  if (!place.element) {
    char prefix[16]{};
    const std::string_view usual = prefix_of(name);
    std::memcpy(prefix, usual.data(), usual.size() < sizeof(prefix) ? usual.size() : 0);
    pugi::xml_node description = description_for(prefix);
    const QualifiedName qualified(description, usual, uri_of(usual), local_name(name));
    place.element = description.append_child(qualified.text());
  }
  replace_text(place.element, value);
}

// Of alternatives the one for every language is changed; a sequence gets this one member.
void XmpPacket::set_list(const XmpProperty& property, const char* value) {
  const bool alternatives = property.form == XmpForm::kAlternatives;
  Place place = find(property.name);
  if (place.attribute) {
    place.description.remove_attribute(place.attribute);
    place = {};
  }
  pugi::xml_node list = child_named(place.element, kRdfNamespace, alternatives ? "Alt" : "Seq");
  if (!list) {
    set_text(property.name, "");
    pugi::xml_node element = find(property.name).element;
    while (element.first_child())
      element.remove_child(element.first_child());
    list = element.append_child(QualifiedName(element, "rdf", kRdfNamespace, alternatives ? "Alt" : "Seq").text());
  }
  pugi::xml_node item;
  for (const pugi::xml_node& node : list.children()) {
    const bool fits = !alternatives || std::strcmp(node.attribute("xml:lang").value(), "x-default") == 0;
    if (!item && fits && is_element(node, kRdfNamespace, "li"))
      item = node;
  }
  if (!item) {
    item = list.prepend_child(QualifiedName(list, "rdf", kRdfNamespace, "li").text());
    if (alternatives)
      item.append_attribute("xml:lang").set_value("x-default");
  }
  replace_text(item, value);
  pugi::xml_node next = alternatives ? pugi::xml_node() : item.next_sibling();
  while (next) {
    const pugi::xml_node behind = next.next_sibling();
    list.remove_child(next);
    next = behind;
  }
}

void XmpPacket::set(const XmpProperty& property, const char* value) {
  if (*value == 0) {
    // It may be there more than once.
    for (Place place = find(property.name); place.description; place = find(property.name)) {
      if (place.attribute)
        place.description.remove_attribute(place.attribute);
      else
        place.description.remove_child(place.element);
    }
    return;
  }
  if (property.form == XmpForm::kAlternatives || property.form == XmpForm::kSequence)
    set_list(property, value);
  else
    set_text(property.name, value);
}

void XmpPacket::set_metadata_date(const char* date) {
  if (find("xmp:MetadataDate").description)
    set_text("xmp:MetadataDate", date);
}

namespace {

const char* text_of(const pugi::xml_node& element, const pugi::xml_attribute& attribute) {
  return attribute ? attribute.value() : element.child_value();
}

}  // namespace

void XmpPacket::get(const XmpProperty& property, GrowArray<char>& value) const {
  const auto put = [&value](const char* text) {
    for (; *text != 0; ++text)
      value.push(*text);
  };
  const Place place = find(property.name);
  const bool alternatives = property.form == XmpForm::kAlternatives;
  const pugi::xml_node list = child_named(place.element, kRdfNamespace, alternatives ? "Alt" : "Seq");
  if (!list)
    return put(text_of(place.element, place.attribute));
  pugi::xml_node chosen;
  bool first = true;
  for (const pugi::xml_node& item : list.children()) {
    if (!is_element(item, kRdfNamespace, "li"))
      continue;
    if (alternatives) {
      const bool for_all = std::strcmp(item.attribute("xml:lang").value(), "x-default") == 0;
      chosen = !chosen || for_all ? item : chosen;
      continue;
    }
    put(first ? "" : "; ");
    put(item.child_value());
    first = false;
  }
  put(chosen.child_value());
}

void XmpPacket::read_claim(char (&claim)[8]) const {
  claim[0] = 0;
  const Place part = find("pdfaid:part");
  const Place conformance = find("pdfaid:conformance");
  const std::string_view texts[] = {text_of(part.element, part.attribute),
                                    text_of(conformance.element, conformance.attribute)};
  std::size_t length = 0;
  for (const std::string_view& text : texts) {
    for (const char c : text) {
      if (static_cast<unsigned char>(c) > ' ' && length + 1 < sizeof(claim))
        claim[length++] = c;
    }
  }
  claim[length] = 0;
}

bool XmpPacket::claim_pdfa() {
  char claim[8];
  read_claim(claim);
  if (std::strcmp(claim, "1B") == 0 || std::strcmp(claim, "1A") == 0)
    return false;
  set_text("pdfaid:part", "1");
  set_text("pdfaid:conformance", "B");
  return true;
}

namespace {

// The standards by which a document says that it conforms to one of the family.
constexpr std::string_view kClaimNamespaces[] = {"http://www.aiim.org/pdfa/ns/id/", "http://www.aiim.org/pdfe/ns/id/",
                                                 "http://www.npes.org/pdfx/ns/id/", "http://www.npes.org/pdfvt/ns/id/"};
constexpr std::string_view kAccessibilityClaim = "http://www.aiim.org/pdfua/ns/id/";

bool is_claim(pugi::xml_node at, std::string_view name, bool also_ua) {
  const std::string_view prefix = prefix_of(name);
  if (prefix.empty() || prefix == "xmlns")
    return false;
  const std::string_view uri = namespace_at(at, prefix);
  return (also_ua && uri == kAccessibilityClaim) ||
         std::find(std::begin(kClaimNamespaces), std::end(kClaimNamespaces), uri) != std::end(kClaimNamespaces);
}

// FNV-1a over the words, so that the order of properties does not matter when numbers are added.
std::uint64_t mark_of(pugi::xml_node at, std::string_view name, std::string_view value) {
  std::uint64_t mark = 14695981039346656037u;
  for (const std::string_view word : {namespace_at(at, prefix_of(name)), local_name(name), value}) {
    for (const char c : word) {
      if (static_cast<unsigned char>(c) > ' ')
        mark = (mark ^ static_cast<unsigned char>(c)) * 1099511628211u;
    }
    mark = (mark ^ '=') * 1099511628211u;
  }
  return mark;
}

}  // namespace

std::uint64_t XmpPacket::claims() const {
  std::uint64_t sum = 0;
  for (const pugi::xml_node& description : rdf_.children()) {
    for (const pugi::xml_attribute& attribute : description.attributes()) {
      if (is_claim(description, attribute.name(), true))
        sum += mark_of(description, attribute.name(), attribute.value());
    }
    for (const pugi::xml_node& element : description.children()) {
      if (is_claim(element, element.name(), true))
        sum += mark_of(element, element.name(), element.child_value());
    }
  }
  return sum;
}

int XmpPacket::drop_claims(bool also_ua) {
  int dropped = 0;
  for (pugi::xml_node description : rdf_.children()) {
    for (pugi::xml_attribute attribute = description.first_attribute(); attribute;) {
      const pugi::xml_attribute next = attribute.next_attribute();
      if (is_claim(description, attribute.name(), also_ua))
        dropped += description.remove_attribute(attribute) ? 1 : 0;
      attribute = next;
    }
    for (pugi::xml_node element = description.first_child(); element;) {
      const pugi::xml_node next = element.next_sibling();
      if (is_claim(element, element.name(), also_ua))
        dropped += description.remove_child(element) ? 1 : 0;
      element = next;
    }
  }
  return dropped;
}

bool XmpPacket::print(GrowArray<char>& out) const {
  struct Writer : pugi::xml_writer {
    explicit Writer(GrowArray<char>& target) : bytes(target) {}
    void write(const void* data, std::size_t size) override {
      const std::size_t at = bytes.size();
      good = good && bytes.resize(at + size);
      if (good)
        std::memcpy(bytes.begin() + at, data, size);
    }
    GrowArray<char>& bytes;
    bool good = true;
  };
  Writer writer(out);
  document_.save(writer, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
  return writer.good;
}

}  // namespace sheaf

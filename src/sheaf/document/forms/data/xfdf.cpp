// XFDF: the same tree of fields in XML.
#include <pugixml.hpp>
#include <string_view>

#include "sheaf/base/heap.h"
#include "sheaf/base/heap_watch.h"
#include "sheaf/document/forms/data/name_path_internal.h"
#include "sheaf/document/forms/form_data.h"

using namespace sheaf;

namespace {

constexpr char kSpace[] = "http://ns.adobe.com/xfdf/";

// All text of a node, also where comments or sections part it.
bool add_value_of(const pugi::xml_node& node, CPDFFormData& data) {
  GrowArray<char> text;
  for (const pugi::xml_node& child : node.children()) {
    if (child.type() != pugi::node_pcdata && child.type() != pugi::node_cdata)
      continue;
    for (const char* c = child.value(); *c != 0; ++c)
      text.push(*c);
  }
  return text.push(0) && data.add_value(text.begin(), false);
}

void add_field_of(const pugi::xml_node& node, NamePath& path, CPDFFormData& data) {
  if (!node.child("value") || !data.add_field(path.full()))
    return;
  for (const pugi::xml_node& value : node.children("value"))
    add_value_of(value, data);
}

// Goes through the nodes in their order without a stack: every node knows its neighbours.
void read_fields(const pugi::xml_node& fields, CPDFFormData& data) {
  NamePath path;
  pugi::xml_node node = fields.child("field");
  while (node) {
    const bool good = path.push(node.attribute("name").value());
    if (good)
      add_field_of(node, path, data);
    const pugi::xml_node below = good ? node.child("field") : pugi::xml_node();
    if (below) {
      node = below;
      continue;
    }
    path.cut(path.levels() - (good ? 1 : 0));
    while (node != fields && !node.next_sibling("field")) {
      node = node.parent();
      path.cut(path.levels() - (node != fields ? 1 : 0));
    }
    node = node != fields ? node.next_sibling("field") : pugi::xml_node();
  }
}

class StreamWriter : public pugi::xml_writer {
public:
  explicit StreamWriter(CQVStream& out) : out_(out) {}
  void write(const void* bytes, std::size_t size) override {
    good_ = out_.Write(bytes, static_cast<unsigned>(size)) == size && good_;
  }
  bool good() const { return good_; }

private:
  CQVStream& out_;
  bool good_ = true;
};

// The node of a full name below `fields`: the open one as far as the names agree, new ones from there on.
pugi::xml_node open_field(pugi::xml_node fields, NamePath& path, const char* full) {
  std::string_view rest = full;
  bool more = true;
  std::size_t level = 0;
  pugi::xml_node node = fields;
  while (more) {
    const std::string_view partial = NamePath::split(rest, more);
    if (level < path.levels() && (path.level(level) != partial || !more))
      path.cut(level);
    if (level < path.levels()) {
      node = node.last_child();
    } else {
      node = node.append_child("field");
      GrowArray<char> name;
      for (const char c : partial)
        name.push(c);
      if (!name.push(0) || !path.push(partial))
        return {};
      node.append_attribute("name").set_value(name.begin());
    }
    ++level;
  }
  return node;
}

}  // namespace

bool CPDFFormData::read_xfdf(const char* bytes, std::size_t len) {
  const HeapWatch watch;
  pugi::xml_document document;
  constexpr unsigned kOptions = pugi::parse_default | pugi::parse_ws_pcdata_single;
  const pugi::xml_parse_result result = document.load_buffer(bytes, len, kOptions);
  if (result.status == pugi::status_out_of_memory)
    note_heap_refusal();
  if (!result)
    return false;
  const pugi::xml_node top = document.child("xfdf");
  if (!top)
    return false;
  has_annotations_ = has_annotations_ || top.child("annots").first_child();
  read_fields(top.child("fields"), *this);
  return watch.all_granted();
}

bool CPDFFormData::write_xfdf(CQVStream& out, const char* file) const {
  const HeapWatch watch;
  pugi::xml_document document;
  pugi::xml_node top = document.append_child("xfdf");
  top.append_attribute("xmlns").set_value(kSpace);
  top.append_attribute("xml:space").set_value("preserve");
  if (file != nullptr)
    top.append_child("f").append_attribute("href").set_value(file);
  pugi::xml_node fields = top.append_child("fields");
  NamePath path;
  for (std::int32_t i = 0; i < count(); ++i) {
    pugi::xml_node node = open_field(fields, path, name(i));
    for (std::int32_t k = 0; node && k < value_count(i); ++k)
      node.append_child("value").text().set(value(i, k));
  }
  StreamWriter writer(out);
  document.save(writer, "", pugi::format_raw, pugi::encoding_utf8);
  return writer.good() && watch.all_granted();
}

// sheaf annots: the annotations by page.
#include <cstdio>

#include "sheaf/base/scope_guard.h"
#include "sheaf/object/array.h"
#include "support/command_line.h"
#include "support/json_values.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct AnnotsOptions {
  std::string file;
  PasswordOptions password;
  bool json = false;
};

// Fields that are nested as deep as there are annotations would all be written with each of these.
constexpr std::int32_t kMostLevels = 32;

// Whether containers are nested `levels` deep, `value` being the first.
bool is_nested(const CPDFObj& value, int levels) {
  const CPDFArray* const array = value.as_array();
  const CPDFDictionary* const dict = value.as_dict();
  if (array == nullptr && dict == nullptr)
    return false;
  if (levels <= 1)
    return true;
  const std::int32_t count = array != nullptr ? array->count : dict->count;
  for (std::int32_t i = 0; i < count; ++i) {
    if (is_nested(array != nullptr ? array->items[i] : *dict->items[i], levels - 1))
      return true;
  }
  return false;
}

// The annotation itself is the first level. One that fills all of them may go on.
bool may_be_cut(const CPDFDictionary& flat) {
  for (std::int32_t i = 0; i < flat.count; ++i) {
    if (is_nested(*flat.items[i], kMostLevels - 1))
      return true;
  }
  return false;
}

// True when something of the annotation may be left out.
bool print_annotation(CPDFXRefTable& table, const CPDFObj& item, int page, JsonWriter* json) {
  Cleared<CPDFDictionary> flat;
  const PDF_REF ref = item.as_ref();
  if (item.tag == kTagRef ? table.export_annot(flat, ref) == 0 : item.as_dict() == nullptr)
    return false;
  if (item.tag != kTagRef)
    table.export_dict(flat, item.as_dict());
  if (json == nullptr) {
    const CPDFObj* kind = flat.get_item(CPDFDictionary::sm_tag_subtype);
    const CPDFObj* text = flat.get_item("Contents");
    std::printf("%6d %8d %-14s %s\n", page + 1, ref.num,
                kind != nullptr && kind->as_text() != nullptr ? shown(kind->as_text()).c_str() : "",
                text != nullptr ? shown(utf8_text(text->as_string())).c_str() : "");
    return false;
  }
  json->begin_object().key("object").number(ref.num).key("values").begin_object();
  for (std::int32_t i = 0; i < flat.count; ++i) {
    json->key(flat.items[i]->key());
    write_value(*json, *flat.items[i]);
  }
  json->end_object().end_object();
  return may_be_cut(flat);
}

int run_annots(const AnnotsOptions& options) {
  CPDFDoc doc;
  if (!open_document(doc, options.file, options.password))
    return kExitFailed;
  bool is_cut = false;
  doc.table().export_depth = kMostLevels;
  JsonWriter json;
  begin_report(json, options.file).key("pages").begin_array();
  if (!options.json)
    std::printf("%6s %8s %-14s %s\n", "page", "object", "kind", "contents");
  for (int i = 0; i < doc.page_count(); ++i) {
    CPDFPage page;
    doc.load_page_alone(i, page);  // what cannot be read has no entries
    const Freed<CPDFObj> annots = doc.table().value(&page.dict, "Annots");
    json.begin_object().key("page").number(i + 1).key("annotations").begin_array();
    for (std::int32_t k = 0; annots.as_array() != nullptr && k < annots.as_array()->count; ++k)
      is_cut |= print_annotation(doc.table(), annots.as_array()->items[k], i, options.json ? &json : nullptr);
    json.end_array().end_object();
  }
  json.end_array().end_object();
  if (options.json)
    std::printf("%s\n", json.str().c_str());
  if (is_cut)
    complain(options.file, "annotations are nested deeper than " + std::to_string(kMostLevels) +
                               " levels; what is below is left out, and sheaf show prints it by its object");
  return was_sound(doc, options.file) && !is_cut ? kExitClean : kExitProblems;
}

const Registration kAnnots("annots", "Look", "The annotations by page, references resolved",
                           [](Command& command) -> Run {
                             auto options = std::make_shared<AnnotsOptions>();
                             add_file(command, options->file);
                             add_password(command, options->password);
                             command.add_flag("--json", options->json, "One JSON object");
                             return [options] { return run_annots(*options); };
                           });

}  // namespace

}  // namespace sheaf::tool

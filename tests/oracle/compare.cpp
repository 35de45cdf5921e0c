// Values, streams and whole documents beside the model.
#include "oracle/compare.h"

#include <algorithm>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"

namespace oracle {

namespace {

using Kind = Value::Kind;

const Value* resolve(const Snapshot& found, const Value* value) {
  for (int step = 0; value != nullptr && value->kind == Kind::kRef && step < 20; ++step) {
    const auto target = found.objects.find(value->num);
    value = target != found.objects.end() && target->second.gen == value->gen ? &target->second.value : nullptr;
  }
  return value;
}

const Value* resolved_key(const Snapshot& found, const Value* dict, const std::string& key) {
  dict = resolve(found, dict);
  return dict != nullptr && dict->is_dict() ? resolve(found, dict->find(key)) : nullptr;
}

void list_marks(const Snapshot& found, const Value* node, int depth, std::vector<int>& marks) {
  node = resolve(found, node);
  if (node == nullptr || !node->is_dict() || depth > 30)
    return;
  const Value* kids = resolved_key(found, node, "Kids");
  if (kids == nullptr) {
    const Value* mark = node->find("Mark");
    marks.push_back(mark != nullptr ? static_cast<int>(mark->number) : 0);
    return;
  }
  for (const Value& kid : kids->items)
    list_marks(found, &kid, depth + 1, marks);
}

std::string marks_text(const std::vector<int>& marks) {
  std::string text;
  for (const int mark : marks)
    text += " " + std::to_string(mark);
  return text;
}

std::string page_difference(const Model& model, const Snapshot& found) {
  if (model.pages.empty())
    return "";
  std::vector<int> marks;
  list_marks(found, resolved_key(found, found.trailer.find("Root"), "Pages"), 0, marks);
  return marks == model.pages ? "" : "pages are" + marks_text(marks) + ", not" + marks_text(model.pages);
}

std::string info_difference(const Model& model, const Snapshot& found) {
  const Value* info = resolve(found, found.trailer.find("Info"));
  for (const auto& [key, text] : model.info) {
    const Value* value = resolved_key(found, info, key);
    std::string where;
    if (value == nullptr || !same(
                                Value::string(text), *value, [](int, int) { return true; }, where))
      return "the information " + key + " is not " + text;
  }
  return "";
}

std::string attachment_difference(const Model& model, const Snapshot& found) {
  for (const auto& [name, bytes] : model.attachments) {
    bool is_there = false;
    for (const auto& [num, object] : found.objects) {
      const Value* type = object.value.is_dict() ? object.value.find("Type") : nullptr;
      const Value* own = object.value.is_dict() ? object.value.find("F") : nullptr;
      const Value* files = object.value.is_dict() ? object.value.find("EF") : nullptr;
      if (type == nullptr || !type->is_name("Filespec") || own == nullptr || own->text != name || files == nullptr)
        continue;
      const Value* file = files->find("F");
      const auto data = file != nullptr ? found.objects.find(file->num) : found.objects.end();
      is_there = is_there || (data != found.objects.end() && data->second.body && *data->second.body == bytes);
    }
    if (!is_there)
      return "the attachment " + name + " is not there as it was";
  }
  return "";
}

// The keys that a save or an edit of pages moves about do not count.
Value without_loose_keys(const Model& model, int num, Value value) {
  if (!value.is_dict())
    return value;
  const Value* type = value.find("Type");
  const bool in_tree = type != nullptr && (type->is_name("Page") || type->is_name("Pages"));
  if (in_tree && model.pages_edited) {
    for (const std::string& key : kTreeKeys)
      value.keys.erase(key);
  }
  if (num == model.root()) {
    for (const char* key : {"Metadata", "OutputIntents", "Names", "Version", "Extensions", "AcroForm"})
      value.keys.erase(key);
  }
  return value;
}

// A crypt filter follows the keys of a new file; the body shows whether it does so rightly.
Value without_crypt_filter(Value value) {
  const Value* const filter = value.is_dict() ? value.find("Filter") : nullptr;
  if (filter == nullptr)
    return value;
  const bool has_one = filter->is_name("Crypt") || (!filter->items.empty() && filter->items[0].is_name("Crypt"));
  for (const char* key : {"Filter", "DecodeParms"}) {
    const auto found = value.keys.find(key);
    if (!has_one || found == value.keys.end())
      continue;
    std::vector<Value>& items = found->second.items;
    if (!items.empty())
      items.erase(items.begin());
    if (items.empty())
      value.keys.erase(found);
  }
  const auto parms = value.keys.find("DecodeParms");
  const auto is_null = [](const Value& item) { return item.kind == Kind::kNull; };
  if (parms != value.keys.end() && std::all_of(parms->second.items.begin(), parms->second.items.end(), is_null) &&
      !parms->second.is_dict())
    value.keys.erase(parms);
  return value;
}

std::string body_difference(const Object& wanted, const Object& found, bool open_ended) {
  if (wanted.body == nullptr || found.body == nullptr)
    return wanted.body == found.body ? "" : wanted.body != nullptr ? "is no stream any more" : "became a stream";
  if (*wanted.body == *found.body || (open_ended && *wanted.body + "\n" == *found.body))
    return "";
  std::size_t at = 0;
  while (at < wanted.body->size() && at < found.body->size() && (*wanted.body)[at] == (*found.body)[at])
    ++at;
  return "has " + std::to_string(found.body->size()) + " bytes instead of " + std::to_string(wanted.body->size()) +
         ", and differs from byte " + std::to_string(at) + " on";
}

std::string object_difference(const Model& model, int num, const Object& wanted, const Object& found) {
  const Exists exists = [&model](int n, int g) { return model.exists(n, g); };
  if (const std::string body = body_difference(wanted, found, model.open_ended.count(num) != 0); !body.empty())
    return body;
  std::string where;
  const Value a = without_crypt_filter(without_loose_keys(model, num, wanted.value));
  const Value b = without_crypt_filter(without_loose_keys(model, num, found.value));
  if (same(a, b, exists, where))
    return "";
  return "differs at \"" + where + "\": " + syntax(b).substr(0, 300) + " instead of " + syntax(a).substr(0, 300);
}

// What the catalogue, the information and the pages need.
std::set<int> needed(const Model& model) {
  std::set<int> reached;
  std::vector<int> waiting;
  const auto visit = [&](int num, int gen) {
    if (model.exists(num, gen) && reached.insert(num).second)
      waiting.push_back(num);
  };
  for (const char* key : {"Root", "Info"}) {
    if (const Value* value = model.trailer.find(key))
      each_reference(*value, visit);
  }
  while (!waiting.empty()) {
    const int num = waiting.back();
    waiting.pop_back();
    Value value = model.objects.at(num).value;
    if (model.pages_edited)
      value = without_loose_keys(model, num, value);
    each_reference(value, visit);
  }
  return reached;
}

}  // namespace

Snapshot read_by_library(CPDFDoc& doc, const Model& model) {
  Snapshot found;
  CPDFXRefTable& table = doc.table();
  table.drain_pending();
  std::set<int> numbers;
  for (std::uint32_t num = 1; num < table.xref_count; ++num) {
    if (table.xref_items[num].type != 0)
      numbers.insert(static_cast<int>(num));
  }
  for (const int num : numbers) {
    const auto known = model.objects.find(num);
    Object object;
    object.gen = known != model.objects.end() ? known->second.gen : 0;
    sheaf::Freed<CPDFObj> obj;
    table.get_stored(obj, {num, object.gen});
    object.value = from_library(obj);
    if (const CPDFStreamRec* rec = obj.as_stream()) {
      int len = 0;
      const sheaf::HeapBlock<unsigned char> bytes(table.load_raw_data(rec, len));
      object.body = std::make_shared<std::string>(reinterpret_cast<const char*>(bytes.get()),
                                                  static_cast<std::size_t>(bytes ? len : 0));
    }
    found.objects[num] = object;
  }
  found.trailer = Value::dict({{"Root", from_library(table.root)}, {"Info", from_library(table.info)}});
  return found;
}

std::set<int> differing(const Model& model, const Snapshot& found) {
  std::set<int> numbers;
  for (const auto& [num, wanted] : model.objects) {
    const auto hit = found.objects.find(num);
    if (hit == found.objects.end() || hit->second.gen != wanted.gen ||
        !object_difference(model, num, wanted, hit->second).empty())
      numbers.insert(num);
  }
  return numbers;
}

std::string difference(const Model& model, const Snapshot& found, bool complete, std::set<int>& dropped) {
  const std::set<int> reached = complete ? needed(model) : std::set<int>{};
  for (const auto& [num, wanted] : model.objects) {
    if (model.loose.count(num) != 0 || !model.exists(num, wanted.gen))
      continue;
    const auto hit = found.objects.find(num);
    const bool is_there = hit != found.objects.end() &&
                          (hit->second.body != nullptr || hit->second.value.kind != Kind::kNull) &&
                          hit->second.gen == wanted.gen;
    // What nothing needs is gone, and another object may have its number.
    if (complete && reached.count(num) == 0) {
      dropped.insert(num);
      continue;
    }
    const std::string name = "object " + std::to_string(num) + " " + std::to_string(wanted.gen) + " ";
    if (!is_there)
      return name + "is not there";
    if (const std::string what = object_difference(model, num, wanted, hit->second); !what.empty())
      return name + what;
  }
  for (const auto& check : {page_difference, info_difference, attachment_difference}) {
    if (const std::string what = check(model, found); !what.empty())
      return what;
  }
  return "";
}

}  // namespace oracle

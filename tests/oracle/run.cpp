// One sequence of operations, and the shortest one that still fails.
#include "oracle/run.h"

#include <zlib.h>

#include <cstdio>

#include "oracle/chance.h"
#include "oracle/compare.h"
#include "oracle/independent.h"
#include "oracle/subject.h"
#include "support/external_tool.h"
#include "support/full_disk.h"
#include "support/pdf_builder.h"
#include "support/test_table.h"

namespace oracle {

namespace {

using Kind = Value::Kind;

Value any_value(Chance& chance) {
  switch (chance.next(7)) {
    case 0:
      return Value::of(static_cast<double>(chance.next(1000)) - 500);
    case 1:
      return Value::of(chance.next(100000) / 8.0);
    case 2:
      return Value::of(3e9 + chance.next(1000));
    case 3:
      return Value::name("Name" + std::to_string(chance.next(10)));
    case 4:
      return Value::array({Value::of(chance.next(9)), Value::string(chance.bytes(chance.next(30)))});
    case 5:
      return Value::dict({{"In", Value::string(chance.bytes(chance.next(12)))}});
    default:
      return Value::string(chance.bytes(chance.next(60)));
  }
}

class Runner {
public:
  Runner(const Source& source, const Setting& setting)
      : model_(source.model),
        saved_(source.model),
        sealed_(source.model),
        setting_(setting),
        path_(setting.folder + "/subject.pdf"),
        subject_(setting.in_file ? path_ : "", setting.in_file ? setting.folder.c_str() : nullptr) {}

  std::string go(const Source& source, const std::vector<Operation>& operations) {
    if (!subject_.replace(source.bytes, model_.password))
      return "the source does not open";
    for (std::size_t i = 0; i < operations.size(); ++i) {
      const std::string what = apply(operations[i]);
      if (!what.empty())
        return "operation " + std::to_string(i) + ": " + what;
    }
    return "";
  }

  using Step = std::string (Runner::*)(const Operation&);
  struct Named {
    const char* name;
    Step step;
    std::uint32_t weight;
  };
  static const Named kSteps[];
  static const std::size_t kStepCount;

private:
  std::string apply(const Operation& op) { return (this->*kSteps[op.kind % kStepCount].step)(op); }

  CPDFXRefTable& table() { return subject_.doc().table(); }

  // ---- what can be changed ----

  template <class Wanted>
  int choose(std::uint32_t number, const Wanted& wanted) {
    std::vector<int> all;
    for (const auto& [num, object] : model_.objects) {
      if (model_.loose.count(num) == 0 && model_.exists(num, object.gen) && wanted(object))
        all.push_back(num);
    }
    return all.empty() ? 0 : all[number % all.size()];
  }

  static bool has_type(const Object& object, const char* type) {
    const Value* value = object.value.is_dict() ? object.value.find("Type") : nullptr;
    return value != nullptr && value->is_name(type);
  }

  // Nobody changes a cross-reference stream of the past, and the strings in it follow no rule of other
  // objects when the document is encrypted.
  static bool is_changeable_stream(const Object& object) { return object.body != nullptr && !has_type(object, "XRef"); }

  bool get(int num, CPDFObj& obj) {
    table().get_stored(obj, {num, model_.objects[num].gen});
    return !obj.is_null();
  }
  bool store(int num, CPDFObj& obj) {
    model_.open_ended.erase(num);
    return table().store_object({num, model_.objects[num].gen}, obj);
  }

  // Adds a reference to the list in the catalogue that keeps objects reachable.
  std::string hold(int num, int gen) {
    const int root = model_.root();
    if (root == 0)
      return "";  // it is in the trailer; nobody will miss the object
    Freed<CPDFObj> catalog;
    if (!get(root, catalog) || catalog.as_dict() == nullptr)
      return "the catalogue cannot be read";
    Value& held = model_.objects[root].value.keys["Held"];
    if (held.kind != Kind::kArray)
      held = Value::array();
    held.items.push_back(Value::ref(num, gen));
    Freed<CPDFObj> list;
    ::read_value(list, syntax(held));
    catalog.as_dict()->set_item("Held", &list);
    return store(root, catalog) ? "" : "the catalogue cannot be stored";
  }

  std::string set_key(const Operation& op) {
    const int num = choose(op.a, [](const Object& o) { return !o.body && o.value.is_dict() && !has_type(o, "Pages"); });
    Chance chance(op.b);
    return num != 0 ? set_key_of(num, "K" + std::to_string(op.c % 4), any_value(chance)) : "";
  }

  std::string set_stream_key(const Operation& op) {
    const int num = choose(op.a, is_changeable_stream);
    Chance chance(op.b);
    return num != 0 ? set_key_of(num, "K" + std::to_string(op.c % 4), any_value(chance)) : "";
  }

  std::string set_every_stream_key(const Operation&) {
    for (const auto& [num, object] : std::map<int, Object>(model_.objects)) {
      if (!is_changeable_stream(object) || model_.loose.count(num) != 0)
        continue;
      if (const std::string what = set_key_of(num, "Key", Value::of(num)); !what.empty())
        return what;
    }
    return "";
  }

  std::string set_key_of(int num, const std::string& key, const Value& value) {
    Freed<CPDFObj> obj;
    if (!get(num, obj) || obj.as_dict_or_stream() == nullptr)
      return "object " + std::to_string(num) + " cannot be read";
    Freed<CPDFObj> item;
    ::read_value(item, syntax(value));
    obj.as_dict_or_stream()->set_item(key.c_str(), &item);
    model_.objects[num].value.keys[key] = value;
    return store(num, obj) ? "" : "object " + std::to_string(num) + " cannot be stored";
  }

  std::string append_item(const Operation& op) {
    const int num = choose(op.a, [](const Object& o) { return !o.body && o.value.kind == Kind::kArray; });
    if (num == 0)
      return "";
    Chance chance(op.b);
    const Value value = any_value(chance);
    Freed<CPDFObj> obj;
    if (!get(num, obj) || obj.as_array() == nullptr)
      return "object " + std::to_string(num) + " cannot be read";
    Freed<CPDFObj> item;
    ::read_value(item, syntax(value));
    obj.as_array()->append_moved(item);
    model_.objects[num].value.items.push_back(value);
    return store(num, obj) ? "" : "an array cannot be stored";
  }

  std::string replace_object(const Operation& op) {
    const int num =
        choose(op.a, [](const Object& o) { return !o.body && !o.value.is_dict() && o.value.kind != Kind::kArray; });
    if (num == 0)
      return "";
    Chance chance(op.b);
    const Value value = any_value(chance);
    Freed<CPDFObj> obj;
    ::read_value(obj, syntax(value));
    model_.objects[num].value = value;
    return store(num, obj) ? "" : "an object cannot be stored";
  }

  std::string replace_body(const Operation& op) {
    const int num = choose(op.a, [](const Object& o) {
      return o.body != nullptr && !has_type(o, "XRef") && !has_type(o, "ObjStm") && !has_type(o, "Metadata");
    });
    if (num == 0)
      return "";
    Chance chance(op.b);
    const std::string data = chance.bytes(chance.size());
    Object& object = model_.objects[num];
    const std::string stored = (op.c & 1) != 0 ? PdfBuilder::deflated(data) : data;
    for (const char* key : {"Filter", "DecodeParms", "F", "FFilter", "FDecodeParms"})
      object.value.keys.erase(key);
    if ((op.c & 1) != 0)
      object.value.keys["Filter"] = Value::name("FlateDecode");
    object.body = std::make_shared<std::string>(stored);
    CPDFStreamRec rec;
    Freed<CPDFObj> dict;
    ::read_value(dict, syntax(object.value));
    rec.dict.copy_from(dict.as_dict());
    const PDF_REF ref{num, object.gen};
    model_.open_ended.erase(num);
    table().write_stream(ref, &rec, stored.data(), static_cast<unsigned>(stored.size()));
    table().store_stream(ref, rec);
    return "";
  }

  std::string new_object(const Operation& op) {
    Chance chance(op.a);
    const Value value = any_value(chance);
    Freed<CPDFObj> obj;
    ::read_value(obj, syntax(value));
    const int num = table().alloc_obj_num();
    model_.objects[num] = {0, value, nullptr};
    return store(num, obj) ? hold(num, 0) : "a new object cannot be stored";
  }

  std::string new_stream(const Operation& op) {
    Chance chance(op.a);
    std::string data = chance.bytes(chance.size());
    auto* const bytes = reinterpret_cast<unsigned char*>(data.data());
    const bool flate = (op.b & 1) != 0;
    const int size = static_cast<int>(data.size());
    const PDF_REF ref = flate ? table().adv_new_stream_flate(bytes, size) : table().adv_new_stream_raw(bytes, size);
    Object& object = model_.objects[ref.num];
    object.value = Value::dict();
    object.body = std::make_shared<std::string>(data);
    if (flate) {
      Freed<CPDFObj> obj;
      table().get_stored(obj, ref);
      int len = 0;
      const HeapBlock<unsigned char> stored(table().load_raw_data(obj.as_stream(), len));
      std::string again(data.size() + 1, '\0');
      uLongf count = again.size();
      if (uncompress(reinterpret_cast<Bytef*>(again.data()), &count, stored.get(), static_cast<uLong>(len)) != Z_OK ||
          again.substr(0, count) != data)
        return "a new stream does not decode to what was given";
      object.value.keys["Filter"] = Value::name("FlateDecode");
      object.body =
          std::make_shared<std::string>(reinterpret_cast<const char*>(stored.get()), static_cast<std::size_t>(len));
    }
    return hold(ref.num, 0);
  }

  // ---- pages, information, attachments ----

  std::string move_page(const Operation& op) {
    const std::size_t count = model_.pages.size();
    if (count == 0)
      return "";
    const std::size_t from = op.a % count;
    const std::size_t to = op.b % count;
    if (!subject_.doc().move_page(static_cast<int>(from), static_cast<int>(to)))
      return "a page cannot be moved";
    const int mark = model_.pages[from];
    model_.pages.erase(model_.pages.begin() + static_cast<std::ptrdiff_t>(from));
    model_.pages.insert(model_.pages.begin() + static_cast<std::ptrdiff_t>(to), mark);
    model_.pages_edited = true;
    return "";
  }

  std::string remove_page(const Operation& op) {
    const std::size_t count = model_.pages.size();
    if (count < 2)
      return "";
    const std::size_t at = op.a % count;
    if (!subject_.doc().remove_page(static_cast<int>(at)))
      return "a page cannot be removed";
    model_.pages.erase(model_.pages.begin() + static_cast<std::ptrdiff_t>(at));
    model_.pages_edited = true;
    return "";
  }

  std::string insert_page(const Operation& op) {
    if (model_.pages.empty())
      return "";
    const std::size_t at = op.a % (model_.pages.size() + 1);
    const int mark = 1000 + static_cast<int>(op.b % 1000);
    const Value page =
        Value::dict({{"Type", Value::name("Page")},
                     {"Mark", Value::of(mark)},
                     {"MediaBox", Value::array({Value::of(0), Value::of(0), Value::of(100), Value::of(100)})}});
    Freed<CPDFObj> obj;
    ::read_value(obj, syntax(page));
    const int num = table().alloc_obj_num();
    model_.objects[num] = {0, page, nullptr};
    if (!store(num, obj) || !subject_.doc().insert_page(static_cast<int>(at), {num, 0}))
      return "a page cannot be inserted";
    model_.pages.insert(model_.pages.begin() + static_cast<std::ptrdiff_t>(at), mark);
    model_.pages_edited = true;
    return "";
  }

  void loosen_below(const char* key) {
    const auto root = model_.objects.find(model_.root());
    const Value* value = root != model_.objects.end() ? root->second.value.find(key) : nullptr;
    std::vector<const Value*> waiting;
    if (value != nullptr)
      waiting.push_back(value);
    while (!waiting.empty()) {
      const Value* next = waiting.back();
      waiting.pop_back();
      each_reference(*next, [&](int num, int) {
        const auto found = model_.objects.find(num);
        if (found != model_.objects.end() && model_.loose.insert(num).second)
          waiting.push_back(&found->second.value);
      });
    }
  }

  std::string set_info(const Operation& op) {
    static constexpr const char* kKeys[] = {"Title", "Subject", "Keywords"};
    const char* const key = kKeys[op.a % 3];
    const std::string text = "text " + std::to_string(op.b % 1000);
    if (!subject_.doc().set_info(key, text.c_str()))
      return "the information cannot be set";
    const int num = table().info.as_ref().num;
    model_.info[key] = text;
    model_.trailer.keys["Info"] = Value::ref(num, model_.objects.count(num) != 0 ? model_.objects[num].gen : 0);
    model_.loose.insert(num);  // its date changes too
    loosen_below("Metadata");
    return "";
  }

  std::string attach(const Operation& op) {
    if (setting_.folder.empty())
      return "";
    Chance chance(op.a);
    const std::string data = chance.bytes(chance.size());
    const std::string name = "attached" + std::to_string(op.b % 5) + ".bin";
    if (model_.attachments.count(name) != 0)
      return "";
    write_file(setting_.folder + "/" + name, data);
    if (!subject_.doc().attach((setting_.folder + "/" + name).c_str()))
      return "a file cannot be attached";
    model_.attachments[name] = data;
    loosen_below("Names");
    return "";
  }

  // ---- copies ----

  // A copy that the library made of `original`, number `copy`, becomes a part of the model when it is one.
  std::string adopt(const Snapshot& from, const Model& source, int original, int copy) {
    std::vector<std::pair<int, int>> waiting{{original, copy}};
    std::set<int> seen{copy};
    while (!waiting.empty()) {
      const auto [old_num, num] = waiting.back();
      waiting.pop_back();
      const Object& wanted = from.objects.at(old_num);
      Freed<CPDFObj> obj;
      table().get_stored(obj, {num, 0});
      Object made;
      made.value = from_library(obj);
      made.body = wanted.body;
      std::string stored;
      if (const CPDFStreamRec* rec = obj.as_stream()) {
        int len = 0;
        const HeapBlock<unsigned char> bytes(table().load_raw_data(rec, len));
        stored.assign(reinterpret_cast<const char*>(bytes.get()), static_cast<std::size_t>(bytes ? len : 0));
      }
      if ((obj.as_stream() != nullptr) != (wanted.body != nullptr) || (wanted.body && stored != *wanted.body))
        return "the copy of object " + std::to_string(old_num) + " has another body";
      const std::function<bool(const Value&, const Value&)> matches = [&](const Value& a, const Value& b) {
        if (a.kind == Kind::kRef) {
          if (!source.exists(a.num, a.gen))
            return true;
          if (b.kind != Kind::kRef || b.num <= 0)
            return false;
          if (seen.insert(b.num).second)
            waiting.push_back({a.num, b.num});
          return true;
        }
        if (a.kind != b.kind || a.items.size() != b.items.size())
          return false;
        for (std::size_t i = 0; i < a.items.size(); ++i) {
          if (!matches(a.items[i], b.items[i]))
            return false;
        }
        for (const auto& [key, value] : a.keys) {
          const Value* other = b.find(key);
          if (other == nullptr ? value.kind != Kind::kNull : !matches(value, *other))
            return false;
        }
        std::string where;
        return !a.items.empty() || !a.keys.empty() ||
               same(
                   a, b, [](int, int) { return true; }, where);
      };
      if (!matches(wanted.value, made.value))
        return "the copy of object " + std::to_string(old_num) + " is " + syntax(made.value).substr(0, 200);
      model_.objects[num] = made;
    }
    return hold(copy, 0);
  }

  std::string import(const Operation& op) {
    const Source other = make_source(op.a % 4096);
    const Value* held = other.model.objects.at(1).value.find("Held");
    const Value& wanted = held->items[op.b % held->items.size()];
    CQVStreamMem file;
    file.Write(other.bytes.data(), static_cast<unsigned>(other.bytes.size()));
    CPDFDoc doc;
    if (!doc.open(&file))
      return "the document to import from does not open";
    Model model = other.model;
    // One of its streams was replaced and is not in its file yet.
    Object& object = model.objects[wanted.num];
    if (object.body != nullptr && (op.c & 1) != 0) {
      object.body = std::make_shared<std::string>("held in memory, never saved");
      CPDFStreamRec rec;
      Freed<CPDFObj> dict;
      ::read_value(dict, syntax(object.value));
      rec.dict.copy_from(dict.as_dict());
      doc.table().write_stream({wanted.num, wanted.gen}, &rec, object.body->data(),
                               static_cast<unsigned>(object.body->size()));
      doc.table().store_stream({wanted.num, wanted.gen}, rec);
    }
    CPDFMergeContext* const context = table().import_start(&subject_.doc(), &doc.table());
    const PDF_REF copy = table().clone_obj(&doc.table(), context, {wanted.num, wanted.gen});
    table().import_end(context);
    return copy.num > 0 ? adopt(model, model, wanted.num, copy.num) : "nothing was imported";
  }

  // Whether an object can be come back to: its copy then names a null object in the place of itself.
  bool leads_back(int num) {
    std::set<int> open;
    std::set<int> done;
    const std::function<bool(int, int)> visit = [&](int at, int gen) {
      if (!model_.exists(at, gen) || done.count(at) != 0)
        return false;
      if (!open.insert(at).second)
        return true;
      bool back = false;
      each_reference(model_.objects.at(at).value, [&](int next, int g) { back = back || visit(next, g); });
      open.erase(at);
      done.insert(at);
      return back;
    };
    return visit(num, model_.objects[num].gen);
  }

  std::string clone(const Operation& op) {
    if (model_.pages.empty() || model_.pages_edited)
      return "";
    const int num = choose(op.a, [](const Object& o) { return o.body != nullptr; });
    if (num == 0 || leads_back(num))
      return "";
    const Snapshot before = model_;
    const Model source = model_;
    CPDFCloneMap map{nullptr, 0};
    const PDF_REF copy = table().clone_obj(map, {num, model_.objects[num].gen});
    QVFree(map.entries);
    return copy.num > 0 ? adopt(before, source, num, copy.num) : "nothing was copied";
  }

  // ---- saves ----

  std::string update(PDF_SAVE_FORM form, bool sealed) {
    PDF_SIGN_DATA sign;
    const bool good = subject_.doc().save_update(form, sealed ? &sign : nullptr);
    sign.dict.clear();
    if (!good)
      return "the update says that it failed";
    if (sealed)
      sealed_ = model_;
    return check(false);
  }

  static PDF_SAVE_FORM form_of(const Operation& op) {
    constexpr PDF_SAVE_FORM kForms[] = {PDF_SAVE_FORM::kAsFile, PDF_SAVE_FORM::kClassic, PDF_SAVE_FORM::kStream};
    return kForms[op.a % 3];
  }
  std::string save_plain(const Operation& op) { return update(form_of(op), false); }
  std::string save_sealed(const Operation& op) { return update(form_of(op), true); }

  // On a disk that is full. What the last sealed save left, and all changes since, must outlive it.
  std::string save_in_vain(const Operation& op) {
    if (!setting_.in_file)
      return "";
    CPDFDoc& doc = subject_.doc();
    const auto sound_end = static_cast<std::size_t>(doc.sound_end());
    const std::string sound = subject_.bytes().substr(0, sound_end);
    PDF_SIGN_DATA sign;
    bool good = false;
    {
      const FullDisk disk(static_cast<long long>(sound_end + op.b % 3000));
      good = doc.save_update(form_of(op), (op.c & 1) != 0 ? &sign : nullptr);
    }
    sign.dict.clear();
    if (good) {
      if ((op.c & 1) != 0)
        sealed_ = model_;
      return check(false);
    }
    if (doc.last_save() != PDF_SAVE::kShort)
      return "a save on a full disk fails for another reason";
    if (!doc.undo_failed_save())
      return "a failed save cannot be taken back";
    if (subject_.bytes() != sound || doc.file_size() != static_cast<long long>(sound_end))
      return "a failed save that was taken back has left its mark";
    saved_ = sealed_;
    return "";
  }

  std::string save_complete(const Operation& op) {
    const auto encryption = static_cast<Encryption>(op.a % 5);
    std::string password = (op.b & 1) != 0 ? "user" : "";
    if (encryption == Encryption::kNone)
      password.clear();
    if (encryption == Encryption::kAsBefore)
      password = subject_.doc().is_encrypted() ? model_.password : "";
    std::string made;
    if (!subject_.save_complete(encryption, password, made))
      return "the new file says that it failed";
    model_.password = password;
    model_.open_ended.clear();
    if (!subject_.replace(made, password))
      return "the new file does not open";
    const std::string what = check(true);
    sealed_ = model_;
    return what;
  }

  std::string reopen(const Operation&) {
    model_ = sealed_ = saved_;
    return subject_.reopen(model_.password) ? "" : "the saved document does not open again";
  }

  std::string check(bool complete) {
    std::set<int> dropped;
    std::set<int> ignored;
    std::string what = difference(model_, read_by_library(subject_.doc(), model_), complete, dropped);
    if (!what.empty())
      return "in hand: " + what;
    what = check_reopened(complete, ignored);
    model_.is_for_library_only = model_.is_for_library_only && !complete;
    if (what.empty() && setting_.independent && !model_.is_for_library_only)
      what = check_independently(complete, ignored);
    for (const int num : dropped)
      model_.objects.erase(num);
    saved_ = model_;
    return what;
  }

  std::string check_reopened(bool complete, std::set<int>& dropped) {
    const std::string bytes = subject_.bytes();
    CQVStreamMem file;
    file.Write(bytes.data(), static_cast<unsigned>(bytes.size()));
    CPDFDoc again;
    again.set_password(model_.password.c_str());
    if (!again.open(&file) || !again.is_readable())
      return "what was saved does not open";
    const std::string what = difference(model_, read_by_library(again, model_), complete, dropped);
    return what.empty() ? "" : "reopened: " + what;
  }

  std::string check_independently(bool complete, std::set<int>& dropped) {
    if (!setting_.in_file)
      write_file(path_, subject_.bytes());
    Snapshot found;
    std::set<std::string> warnings;
    if (!read_independently(path_, model_.password, found, warnings))
      return "the other program cannot read what was saved";
    for (const std::string& kind : warnings) {
      // Of an object that was changed and then given up; its old state is in an object stream that stays.
      if (complete && kind.find("unexpected xref entry type") != std::string::npos)
        continue;
      if (model_.warnings.count(kind) == 0)
        return "the other program complains" + kind;
    }
    std::set<int> named;  // what is referred to is listed by the other program, whether it is there or not
    for (const auto& [num, object] : read_by_library(subject_.doc(), model_).objects)
      each_reference(object.value, [&named](int target, int) { named.insert(target); });
    for (const auto& [num, object] : found.objects) {
      if (complete && named.count(num) == 0 && !object.body && object.value.kind == Kind::kNull &&
          model_.objects.count(num) == 0)
        return "the new file lists object " + std::to_string(num) + ", which is nowhere";
    }
    const std::string what = difference(model_, found, complete, dropped);
    return what.empty() ? "" : "the other program finds: " + what;
  }

  Model model_;
  Model saved_;   // as the file is
  Model sealed_;  // and as it is up to its last sound end
  Setting setting_;
  std::string path_;
  Subject subject_;
};

// Places in the list below.
constexpr std::uint32_t kPlain = 14;
constexpr std::uint32_t kSealed = 15;
constexpr std::uint32_t kComplete = 16;
constexpr std::uint32_t kEveryStream = 18;

const Runner::Named Runner::kSteps[] = {
    {"set a key of a dictionary", &Runner::set_key, 8},
    {"set a key of a stream", &Runner::set_stream_key, 10},
    {"append to an array", &Runner::append_item, 4},
    {"replace an object", &Runner::replace_object, 4},
    {"replace the body of a stream", &Runner::replace_body, 6},
    {"make an object", &Runner::new_object, 4},
    {"make a stream", &Runner::new_stream, 5},
    {"move a page", &Runner::move_page, 2},
    {"remove a page", &Runner::remove_page, 1},
    {"insert a page", &Runner::insert_page, 2},
    {"set the information", &Runner::set_info, 3},
    {"attach a file", &Runner::attach, 2},
    {"import an object", &Runner::import, 4},
    {"copy an object", &Runner::clone, 3},
    {"save (plain)", &Runner::save_plain, 6},
    {"save (sealed)", &Runner::save_sealed, 4},
    {"save as a new file", &Runner::save_complete, 4},
    {"close and open again", &Runner::reopen, 2},
    {"set a key of every stream", &Runner::set_every_stream_key, 1},
    {"save on a full disk", &Runner::save_in_vain, 3},
};
const std::size_t Runner::kStepCount = sizeof(kSteps) / sizeof(kSteps[0]);

// What the two readers find different in the source itself says nothing about a save: it is left alone.
bool loosen_where_readers_differ(Source& source) {
  Subject subject("", nullptr);
  if (!subject.replace(source.bytes, source.model.password))
    return false;
  Model& model = source.model;
  const Snapshot own = read_by_library(subject.doc(), model);
  model.loose = differing(model, own);
  for (const auto& [num, object] : own.objects) {
    // A reference to nothing may come to mean a new object; a cross-reference stream of the past is no
    // part of the document.
    each_reference(object.value, [&model, at = num](int target, int gen) {
      if (!model.exists(target, gen))
        model.loose.insert(at);
    });
    const Value* const type = object.value.is_dict() ? object.value.find("Type") : nullptr;
    if (type != nullptr && type->is_name("XRef"))
      model.loose.insert(num);
  }
  const Value* const root = own.trailer.find("Root");
  return subject.doc().page_count() > 0 && root->num == model.root() && model.loose.count(model.root()) == 0;
}

}  // namespace

std::vector<Operation> make_operations(std::uint64_t seed, std::size_t count) {
  Chance chance(seed);
  std::uint32_t total = 0;
  for (std::size_t i = 0; i < Runner::kStepCount; ++i)
    total += Runner::kSteps[i].weight;
  std::vector<Operation> operations;
  for (std::size_t i = 0; i < count; ++i) {
    std::uint32_t at = chance.next(total);
    std::uint32_t kind = 0;
    while (at >= Runner::kSteps[kind].weight)
      at -= Runner::kSteps[kind++].weight;
    operations.push_back({kind, chance.next(1u << 30), chance.next(1u << 30), chance.next(1u << 30)});
  }
  // What came last is looked at too.
  operations.push_back({kPlain, 0, 0, 0});
  return operations;
}

std::string to_text(const std::vector<Operation>& operations) {
  std::string text;
  for (const Operation& op : operations) {
    text += text.empty() ? "" : ",";
    text +=
        std::to_string(op.kind) + ":" + std::to_string(op.a) + ":" + std::to_string(op.b) + ":" + std::to_string(op.c);
  }
  return text;
}

std::vector<Operation> from_text(const std::string& text) {
  std::vector<Operation> operations;
  const char* at = text.c_str();
  Operation op;
  int used = 0;
  while (std::sscanf(at, "%u:%u:%u:%u%n", &op.kind, &op.a, &op.b, &op.c, &used) == 4) {
    operations.push_back(op);
    at += used;
    if (*at == ',')
      ++at;
  }
  return operations;
}

std::string described(const std::vector<Operation>& operations) {
  std::string text;
  for (std::size_t i = 0; i < operations.size(); ++i)
    text += "  " + std::to_string(i) + " " + Runner::kSteps[operations[i].kind % Runner::kStepCount].name + "\n";
  return text;
}

std::string run(const Source& source, const std::vector<Operation>& operations, const Setting& setting) {
  return Runner(source, setting).go(source, operations);
}

std::vector<Operation> shortest(const Source& source, std::vector<Operation> operations, const Setting& setting) {
  for (std::size_t step = operations.size() / 2; step > 0; step /= 2) {
    for (std::size_t at = 0; at + step <= operations.size();) {
      std::vector<Operation> fewer = operations;
      fewer.erase(fewer.begin() + static_cast<std::ptrdiff_t>(at),
                  fewer.begin() + static_cast<std::ptrdiff_t>(at + step));
      if (run(source, fewer, setting).empty())
        at += step;
      else
        operations = fewer;
    }
  }
  return operations;
}

bool source_from_file(const std::string& path, const std::string& password, Source& source) {
  source.bytes = read_file(path);
  source.form = "file";
  source.model.password = password;
  return read_independently(path, password, source.model, source.model.warnings) && loosen_where_readers_differ(source);
}

std::vector<std::vector<Operation>> every_stream_and_every_save() {
  const Operation every{kEveryStream, 0, 0, 0};
  return {{every, {kPlain, 1, 0, 0}},    {every, {kPlain, 2, 0, 0}},    {every, {kSealed, 0, 0, 0}},
          {every, {kComplete, 0, 0, 0}}, {every, {kComplete, 3, 0, 0}}, {every, {kComplete, 4, 0, 0}}};
}

}  // namespace oracle

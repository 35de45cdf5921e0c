// Pages and their content in Python.
#include "shared.h"

namespace {

// Content that was read, and the operators in it by their places.
struct Operation {
  std::shared_ptr<sheaf::Content> content;
  py::object name;
  std::size_t begin;
  std::size_t end;

  std::string_view source() const { return content->text().substr(begin, end - begin); }
};

py::object operand_to_python(const CPDFObj& value) {
  switch (value.tag) {
    case kTagBool:
      return py::bool_(value.as_bool());
    case kTagInt:
      return py::int_(value.as_int());
    case kTagReal:
      return py::float_(sheaf::to_double(value.as_real()));
    case kTagString:
      return py::bytes(value.data, static_cast<std::size_t>(value.as_string().len));
    case kTagName: {
      PyObject* const text = PyUnicode_DecodeUTF8(
          value.as_name(), static_cast<Py_ssize_t>(std::strlen(value.as_name())), "surrogateescape");
      return py::module_::import("sheaf").attr("Name")(py::reinterpret_steal<py::object>(text));
    }
    case kTagArray: {
      py::list list;
      for (std::int32_t i = 0; i < value.as_array()->count; ++i)
        list.append(operand_to_python(value.as_array()->items[i]));
      return list;
    }
    case kTagDict: {
      py::dict dict;
      for (std::int32_t i = 0; i < value.as_dict()->count; ++i)
        dict[py::str(value.as_dict()->items[i]->key())] = operand_to_python(*value.as_dict()->items[i]);
      return dict;
    }
    default:
      return py::none();
  }
}

py::list operands_of(const Operation& self) {
  py::list all;
  sheaf::ContentReader reader(self.source());
  if (reader.next()) {
    for (std::int32_t i = 0; i < reader.operands().count; ++i)
      all.append(operand_to_python(reader.operands().items[i]));
  }
  return all;
}

// Names of operators recur: each is made once.
class Names {
public:
  py::object get(std::string_view name) {
    const auto found = made_.find(name);
    if (found != made_.end())
      return found->second;
    py::object text = py::str(name.data(), name.size());
    return made_.emplace(name, std::move(text)).first->second;
  }

private:
  std::map<std::string_view, py::object> made_;  // of the content's own text
};

py::list operators_of(sheaf::Content content) {
  const auto shared = std::make_shared<sheaf::Content>(std::move(content));
  py::list all;
  Names names;
  for (const sheaf::Operator& op : *shared) {
    const std::size_t begin = op.offset();
    all.append(py::cast(Operation{shared, names.get(op.name()), begin, begin + op.source().size()}));
  }
  return all;
}

void put(std::string& text, const py::handle& item) {
  if (py::isinstance<Operation>(item)) {
    text.append(py::cast<const Operation&>(item).source());
  } else if (py::isinstance<py::bytes>(item)) {
    text.append(py::cast<std::string_view>(item));
  } else {
    const auto pair = py::cast<std::pair<std::string, py::sequence>>(item);
    for (const py::handle& operand : pair.second)
      text.append(from_python(operand).print()) += ' ';
    text += pair.first;
  }
  text += '\n';
}

py::bytes write_content(const py::iterable& operators) {
  std::string text;
  for (const py::handle& item : operators)
    put(text, item);
  return text;
}

std::int32_t checked_index(const sheaf::Pages& pages, std::int32_t index) {
  const std::int32_t size = pages.size();
  const std::int32_t from_start = index < 0 ? index + size : index;
  if (from_start < 0 || from_start >= size)
    throw py::index_error("there is no such page");
  return from_start;
}

py::tuple tuple_of(const sheaf::Rect& rect) {
  return py::make_tuple(rect.left, rect.bottom, rect.right, rect.top);
}

sheaf::Rect rect_of(const std::array<double, 4>& box) {
  return {box[0], box[1], box[2], box[3]};
}

HeldPages slice_of(HeldPages& self, const py::slice& slice) {
  py::ssize_t start = 0;
  py::ssize_t stop = 0;
  py::ssize_t step = 0;
  py::ssize_t length = 0;
  if (!slice.compute(self.get().size(), &start, &stop, &step, &length))
    throw py::error_already_set();
  if (step != 1)
    throw py::value_error("pages are sliced without a step");
  return {self.owner(), self.get().slice(static_cast<std::int32_t>(start), static_cast<std::int32_t>(start + length))};
}

void extend(HeldPages& self, HeldPages& other, const std::string& title) {
  sheaf::Pages& mine = self.get();
  const sheaf::Pages theirs = other.get();
  if (self.owner() == other.owner())
    check(mine.append(theirs), self.owner());
  other.owner()->busy = true;  // its pages are read meanwhile
  bool good = false;
  {
    const py::object reset =
        py::capsule(other.owner().get(), [](void* owner) { static_cast<Owner*>(owner)->busy = false; });
    good = work(self.owner(), [&](sheaf::Document&) { return mine.append(theirs, title); });
  }
  other.owner()->dropped.clear();
  check(good, self.owner());
}

void add_content(py::module_& module) {
  py::class_<Operation>(module, "Operator", "One operator of a content stream.")
      .def_property_readonly("name", [](const Operation& self) { return self.name; })
      .def_property_readonly("operands", &operands_of)
      .def_property_readonly("source", [](const Operation& self) { return py::bytes(std::string(self.source())); })
      .def("__repr__", [](const Operation& self) { return py::repr(py::bytes(std::string(self.source()))); });
  module.def("write_content", &write_content, py::arg("operators"),
             "Content of operators, of pairs of a name and operands, and of bytes.");
  module.def(
      "read_content",
      [](const py::buffer& data) {
        const std::string_view text = BytesView(data).text();
        auto* const block = static_cast<std::uint8_t*>(QVAlloc(text.size()));
        if (block == nullptr)
          throw std::bad_alloc();
        std::copy(text.begin(), text.end(), block);
        return operators_of(sheaf::Content(sheaf::Data(block, text.size())));
      },
      py::arg("data"), "The operators of decoded content.");
}

void add_page(py::class_<HeldPage>& type) {
  type.def_property_readonly("number", [](HeldPage& self) { return self.get().number(); })
      .def_property_readonly(
          "object", [](HeldPage& self) { return HeldValue(self.owner(), self.get().object()); },
          "The page's own dictionary.")
      .def_property_readonly("resources",
                             [](HeldPage& self) { return to_python(self.owner(), self.get().resources()); })
      .def_property(
          "media_box", [](HeldPage& self) { return tuple_of(self.get().media_box()); },
          [](HeldPage& self, const std::array<double, 4>& box) {
            check(self.get().set_media_box(rect_of(box)), self.owner());
          })
      .def_property(
          "crop_box", [](HeldPage& self) { return tuple_of(self.get().crop_box()); },
          [](HeldPage& self, const std::array<double, 4>& box) {
            check(self.get().set_crop_box(rect_of(box)), self.owner());
          })
      .def_property_readonly("rotation", [](HeldPage& self) { return self.get().rotation(); })
      .def(
          "rotate", [](HeldPage& self, int degrees) { check(self.get().rotate(degrees), self.owner()); },
          "Turns the page clockwise by a multiple of 90 degrees.");
}

void add_page_content(py::class_<HeldPage>& type) {
  type.def(
          "content_data",
          [](HeldPage& self) {
            const sheaf::Page page = self.get();
            return memory_of(
                std::move(work(self.owner(), [&](sheaf::Document&) { return page.content_data(); }).value()));
          },
          "The decoded content of the page.")
      .def(
          "content", [](HeldPage& self) { return operators_of(std::move(self.get().content().value())); },
          "The operators of the page's content.")
      .def(
          "set_content",
          [](HeldPage& self, const py::object& content) {
            const py::object data = py::isinstance<py::buffer>(content) ? content : write_content(content);
            const BytesView view(data);
            sheaf::Page page = self.get();
            check(work(self.owner(), [&](sheaf::Document&) { return page.set_content(view.text()); }), self.owner());
          },
          py::arg("content"), "Replaces all content, by bytes or operators.")
      .def(
          "add_content",
          [](HeldPage& self, const py::object& content) {
            const py::object data = py::isinstance<py::buffer>(content) ? content : write_content(content);
            check(self.get().add_content(BytesView(data).text()), self.owner());
          },
          py::arg("content"), "Draws behind what is there, in the page's own coordinates.")
      .def(
          "add_resource",
          [](HeldPage& self, const std::string& category, HeldValue& resource) {
            const std::string name = self.get().add_resource(category.c_str(), resource.get());
            check(!name.empty(), self.owner());
            return name;
          },
          py::arg("category"), py::arg("resource"), "The name under which the page then has the resource.");
}

void add_page_list(py::module_& module) {
  py::class_<HeldPages>(module, "Pages", "The pages of a document, or a slice of them.")
      .def("__len__", [](HeldPages& self) { return self.get().size(); })
      .def("__getitem__",
           [](HeldPages& self, std::int32_t index) {
             return HeldPage(self.owner(), self.get()[checked_index(self.get(), index)]);
           })
      .def("__getitem__", &slice_of)
      .def("__delitem__",
           [](HeldPages& self, std::int32_t index) {
             check(self.get().remove(checked_index(self.get(), index)), self.owner());
           })
      .def("extend", &extend, py::arg("pages"), py::arg("title") = "", "Appends pages of another document.")
      .def(
          "insert",
          [](HeldPages& self, std::int32_t index, HeldPages& pages) {
            check(self.get().insert(index, pages.get()), self.owner());
          },
          py::arg("index"), py::arg("pages"))
      .def(
          "add",
          [](HeldPages& self, double width, double height) {
            const sheaf::Page page = self.get().add(width, height);
            check(static_cast<bool>(page), self.owner());
            return HeldPage(self.owner(), page);
          },
          py::arg("width"), py::arg("height"), "A new page without content, behind the last one.")
      .def(
          "move",
          [](HeldPages& self, std::int32_t from, std::int32_t to) {
            check(self.get().move(checked_index(self.get(), from), checked_index(self.get(), to)), self.owner());
          },
          py::arg("from_index"), py::arg("to_index"));
}

}  // namespace

void add_pages(py::module_& module) {
  add_content(module);
  py::class_<HeldPage> page(module, "Page", "A page of a document.");
  add_page(page);
  add_page_content(page);
  add_page_list(module);
}

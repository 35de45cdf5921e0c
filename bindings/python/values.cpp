// Values and bytes in Python.
#include "shared.h"

namespace {

py::object name_class() {
  return py::module_::import("sheaf").attr("Name");
}

sheaf::Object from_dict(const py::dict& dict) {
  sheaf::Object made = sheaf::Object::dictionary();
  for (const auto& [key, value] : dict) {
    const auto text = py::cast<std::string>(py::str(key));
    made.set(text.starts_with('/') ? text.substr(1) : text, from_python(value));
  }
  return made;
}

std::string key_of(const std::string& key) {
  return key.starts_with('/') ? key.substr(1) : key;
}

bool has_entries(const sheaf::Value& value) {
  return value.is_dictionary() || value.is_stream();
}

// The index of an element, counted from the end where it is below 0.
std::int32_t index_in(const sheaf::Value& array, std::int32_t index) {
  const std::int32_t size = array.is_array() ? array.size() : 0;
  const std::int32_t from_start = index < 0 ? index + size : index;
  if (from_start < 0 || from_start >= size)
    throw py::index_error("the array has no such element");
  return from_start;
}

void set_item(HeldValue& self, const std::string& key, const py::handle& value) {
  sheaf::Value& target = self.get();
  const bool good = py::isinstance<HeldValue>(value) ? target.set(key_of(key), py::cast<HeldValue&>(value).get())
                                                     : target.set(key_of(key), from_python(value));
  check(good, self.owner());
}

void set_element(HeldValue& self, std::int32_t index, const py::handle& value) {
  sheaf::Value& target = self.get();
  index = index_in(target, index);
  const bool good = py::isinstance<HeldValue>(value) ? target.set(index, py::cast<HeldValue&>(value).get())
                                                     : target.set(index, from_python(value));
  check(good, self.owner());
}

void append(HeldValue& self, const py::handle& value) {
  sheaf::Value& target = self.get();
  const bool good = py::isinstance<HeldValue>(value) ? target.append(py::cast<HeldValue&>(value).get())
                                                     : target.append(from_python(value));
  check(good, self.owner());
}

py::object element(HeldValue& self, std::int32_t index) {
  return to_python(self.owner(), self.get()[index_in(self.get(), index)]);
}

py::list keys(HeldValue& self) {
  py::list all;
  for (const sheaf::Entry& entry : self.get().entries())
    all.append(py::str(std::string(entry.key)));
  return all;
}

py::list items(HeldValue& self) {
  py::list all;
  for (const sheaf::Entry& entry : self.get().entries())
    all.append(py::make_tuple(py::str(std::string(entry.key)), to_python(self.owner(), entry.value)));
  return all;
}

// Keys of a dictionary, elements of an array.
py::iterator iterate(HeldValue& self) {
  if (has_entries(self.get()))
    return py::iter(keys(self));
  py::list all;
  for (const sheaf::Value& value : self.get().elements())
    all.append(to_python(self.owner(), value));
  return py::iter(all);
}

template <class Read>
py::object read_stream(HeldValue& self, const Read& read) {
  const sheaf::Value value = self.get();
  auto data = work(self.owner(), [&](sheaf::Document&) { return read(value); });
  return memory_of(std::move(data.value()));
}

}  // namespace

py::object to_python(const OwnerRef& owner, const sheaf::Value& value) {
  switch (value.kind()) {
    case sheaf::Kind::kNull:
      return py::none();
    case sheaf::Kind::kBool:
      return py::bool_(value.as<bool>());
    case sheaf::Kind::kInteger:
      return py::int_(value.as<std::int32_t>());
    case sheaf::Kind::kReal:
      return py::float_(value.as<double>());
    case sheaf::Kind::kString: {
      const std::string text = value.text();
      PyObject* const made = PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "replace");
      return py::reinterpret_steal<py::object>(made);
    }
    case sheaf::Kind::kName: {
      const std::string_view name = value.bytes();
      PyObject* const made = PyUnicode_DecodeUTF8(name.data(), static_cast<Py_ssize_t>(name.size()), "surrogateescape");
      return name_class()(py::reinterpret_steal<py::object>(made));
    }
    default:
      return py::cast(HeldValue(owner, value));
  }
}

sheaf::Object from_python(const py::handle& value) {
  if (value.is_none())
    return {};
  if (py::isinstance<py::bool_>(value))
    return py::cast<bool>(value);
  if (py::isinstance<py::int_>(value))
    return py::cast<std::int64_t>(value);
  if (py::isinstance<py::float_>(value))
    return py::cast<double>(value);
  if (py::isinstance(value, name_class()))
    return sheaf::Name(py::cast<std::string>(value));
  if (py::isinstance<py::str>(value))
    return py::cast<std::string>(value);
  if (py::isinstance<py::bytes>(value))
    return sheaf::Bytes(py::cast<std::string_view>(value));
  if (py::isinstance<HeldValue>(value)) {
    const sheaf::Value& held = py::cast<HeldValue&>(value).get();
    return held.is_object() ? sheaf::Object::reference(held.number()) : sheaf::Object(held);
  }
  if (py::isinstance<py::dict>(value))
    return from_dict(py::reinterpret_borrow<py::dict>(value));
  if (!py::isinstance<py::sequence>(value))
    throw py::type_error("no value of PDF can be made of this");
  sheaf::Object made = sheaf::Object::array();
  for (const py::handle& item : py::reinterpret_borrow<py::sequence>(value))
    made.append(from_python(item));
  return made;
}

py::object memory_of(sheaf::Data data) {
  const py::object holder = py::cast(std::move(data));
  return py::reinterpret_steal<py::object>(PyMemoryView_FromObject(holder.ptr()));
}

namespace {

void add_data(py::module_& module) {
  py::class_<sheaf::Data>(module, "Data", py::buffer_protocol(), "Bytes that the library made; memoryviews keep them.")
      .def_buffer([](sheaf::Data& data) {
        static std::uint8_t nothing = 0;
        const auto* const bytes = data.data() != nullptr ? data.data() : &nothing;
        return py::buffer_info(const_cast<std::uint8_t*>(bytes), 1, py::format_descriptor<std::uint8_t>::format(), 1,
                               {static_cast<py::ssize_t>(data.size())}, {1}, true);
      });
}

void add_value_access(py::class_<HeldValue>& type) {
  type.def_property_readonly(
          "number", [](HeldValue& self) { return self.get().number(); },
          "Number of the object that the value is, or that holds it.")
      .def_property_readonly("is_object", [](HeldValue& self) { return self.get().is_object(); })
      .def_property_readonly("is_array", [](HeldValue& self) { return self.get().is_array(); })
      .def_property_readonly("is_dictionary", [](HeldValue& self) { return self.get().is_dictionary(); })
      .def_property_readonly("is_stream", [](HeldValue& self) { return self.get().is_stream(); })
      .def("__len__", [](HeldValue& self) { return self.get().size(); })
      .def("__bool__", [](HeldValue&) { return true; })
      .def("__iter__", &iterate)
      .def("keys", &keys)
      .def("items", &items)
      .def("__contains__", [](HeldValue& self, const std::string& key) { return self.get().has(key_of(key)); })
      .def("__getitem__", &element)
      .def("__getitem__",
           [](HeldValue& self, const std::string& key) {
             const sheaf::Value found = self.get()[std::string_view(key_of(key))];
             if (found.is_null())
               throw py::key_error(key);
             return to_python(self.owner(), found);
           })
      .def(
          "get",
          [](HeldValue& self, const std::string& key, const py::object& otherwise) {
            const sheaf::Value found = self.get()[std::string_view(key_of(key))];
            return found.is_null() ? otherwise : to_python(self.owner(), found);
          },
          py::arg("key"), py::arg("default") = py::none())
      .def(
          "get_bytes",
          [](HeldValue& self, const std::string& key) {
            return py::bytes(std::string(self.get()[std::string_view(key_of(key))].bytes()));
          },
          "The bytes of a string or a name, as they are.")
      .def("__eq__", [](HeldValue& self, HeldValue& other) { return self.get() == other.get(); })
      .def("__repr__", [](HeldValue& self) { return py::bytes(self.get().print()).attr("decode")("latin-1"); });
}

void add_value_changes(py::class_<HeldValue>& type) {
  type.def("__setitem__", &set_element)
      .def("__setitem__", &set_item)
      .def("__delitem__",
           [](HeldValue& self, std::int32_t index) {
             check(self.get().remove(index_in(self.get(), index)), self.owner());
           })
      .def("__delitem__",
           [](HeldValue& self, const std::string& key) { check(self.get().remove(key_of(key)), self.owner()); })
      .def("append", &append);
}

void add_value_data(py::class_<HeldValue>& type) {
  type.def(
          "decoded",
          [](HeldValue& self) { return read_stream(self, [](const sheaf::Value& v) { return v.decoded(); }); },
          "The data of a stream with all filters taken off, as a memoryview without a copy.")
      .def(
          "stored", [](HeldValue& self) { return read_stream(self, [](const sheaf::Value& v) { return v.stored(); }); },
          "The data of a stream as they are stored, decryption taken off, as a memoryview.")
      .def(
          "write",
          [](HeldValue& self, const py::buffer& data, bool compress) {
            const BytesView view(data);
            check(self.get().write(view.text(), compress ? sheaf::Coding::kFlate : sheaf::Coding::kPlain),
                  self.owner());
          },
          py::arg("data"), py::arg("compress") = true, "Gives a stream, or a dictionary that is an object, new data.");
}

}  // namespace

void add_values(py::module_& module) {
  add_data(module);
  py::class_<HeldValue> value(module, "Value", "A dictionary, array or stream of a document.");
  add_value_access(value);
  add_value_changes(value);
  add_value_data(value);
}

// The module: documents and errors.
#include "shared.h"

#include <algorithm>
#include <array>

namespace {

struct Handle {
  OwnerRef owner;
  sheaf::Document& get() const {
    sheaf::Document& document = idle(owner).document;
    if (!document.is_open())
      throw_error(sheaf::Code::kClosed, "the document is closed");
    return document;
  }
};

PyObject* error_class = nullptr;

void raise(const sheaf::Error& error) {
  const py::object value = py::reinterpret_borrow<py::object>(error_class)(error.message);
  value.attr("message") = error.message;
  value.attr("code") = py::cast(error.code);
  value.attr("object") = error.object;
  value.attr("offset") = error.offset >= 0 ? py::object(py::int_(error.offset)) : py::object(py::none());
  PyErr_SetObject(error_class, value.ptr());
}

sheaf::ProgressFunction progress_of(const py::object& function) {
  if (function.is_none())
    return {};
  const std::shared_ptr<py::object> held(new py::object(function), [](py::object* held_function) {
    const py::gil_scoped_acquire locked;
    delete held_function;
  });
  return [held](const sheaf::Progress& state) {
    const py::gil_scoped_acquire locked;
    try {
      const py::object answer = (*held)(state.what, state.done, state.total);
      return answer.is_none() || py::cast<bool>(answer);
    } catch (py::error_already_set& failure) {
      failure.discard_as_unraisable("the progress function of a document");
      return false;
    }
  };
}

// A file object of Python as storage. What it raises counts as the end of the data.
sheaf::Storage storage_of(const py::object& file, bool for_writing) {
  const auto guarded = [](auto task) {
    const py::gil_scoped_acquire locked;
    try {
      return task();
    } catch (py::error_already_set& failure) {
      failure.discard_as_unraisable("a file object given as a document");
      return decltype(task()){};
    }
  };
  sheaf::Storage storage;
  const py::handle held = file;  // the document keeps it
  storage.size = [=] {
    return guarded([&] {
      held.attr("seek")(0, 2);
      return py::cast<std::uint64_t>(held.attr("tell")());
    });
  };
  storage.read = [=](std::uint64_t at, std::uint8_t* to, std::size_t size) {
    return guarded([&] {
      held.attr("seek")(at);
      const py::bytes data = held.attr("read")(size);
      const auto view = py::cast<std::string_view>(data);
      std::copy(view.begin(), view.end(), to);
      return view.size();
    });
  };
  if (for_writing) {
    storage.write = [=](std::uint64_t at, const std::uint8_t* from, std::size_t size) {
      return guarded([&] {
        held.attr("seek")(at);
        held.attr("write")(py::bytes(reinterpret_cast<const char*>(from), size));
        return size;
      });
    };
  }
  return storage;
}

bool has_method(const py::object& source, const char* name) {
  return py::hasattr(source, name) && py::cast<bool>(source.attr(name)());
}

sheaf::Expected<sheaf::Document> open_source(const py::object& source, const sheaf::OpenOptions& options) {
  if (py::isinstance<py::buffer>(source)) {
    const BytesView view{py::reinterpret_borrow<py::buffer>(source)};
    const py::gil_scoped_release released;
    return sheaf::Document::open(view.bytes(), options);
  }
  if (py::hasattr(source, "read")) {
    const sheaf::Storage storage = storage_of(source, has_method(source, "writable"));
    const py::gil_scoped_release released;
    return sheaf::Document::open(storage, options);
  }
  const auto path = py::cast<std::string>(py::module_::import("os").attr("fspath")(source));
  const py::gil_scoped_release released;
  return sheaf::Document::open(path, options);
}

Handle open(const py::object& source, const std::string& password, const py::object& progress) {
  auto document = open_source(source, {.password = password, .progress = progress_of(progress)});
  Handle handle{std::make_shared<Owner>(std::move(document.value()))};
  handle.owner->source = source;
  return handle;
}

// The place of a word in a list of them, which is the value of an enumeration.
template <class Choice>
Choice choice_of(const std::string& name, const py::handle& word, const std::array<const char*, 3>& words) {
  const auto text = py::cast<std::string>(word);
  const auto found = std::find(words.begin(), words.end(), text);
  if (found == words.end())
    throw py::value_error(name + " is " + words[0] + ", " + words[1] + " or " + words[2] + ", not " + text);
  return static_cast<Choice>(found - words.begin());
}

void take_option(sheaf::SaveOptions& options, const std::string& name, const py::handle& value) {
  if (name == "encrypt" && !value.is_none())
    options.encrypt = py::cast<sheaf::Encryption>(value);
  else if (name == "decrypt")
    options.decrypt = py::cast<bool>(value);
  else if (name == "object_streams")
    options.object_streams = choice_of<sheaf::ObjectStreams>(name, value, {"preserve", "generate", "disable"});
  else if (name == "streams")
    options.streams = choice_of<sheaf::StreamData>(name, value, {"preserve", "compress", "uncompress"});
  else if (name == "recompress")
    options.recompress = py::cast<int>(value);
  else if (name == "linearize")
    options.linearize = py::cast<bool>(value);
  else if (name == "share_equals")
    options.share_equals = py::cast<bool>(value);
  else if (name == "remove_unused_resources")
    options.remove_unused_resources = py::cast<bool>(value);
  else if (name == "renumber")
    options.renumber = py::cast<bool>(value);
  else if (name == "min_version")
    options.min_version = py::cast<std::string>(value);
  else if (name != "encrypt")
    throw py::type_error("a save has no option " + name);
}

sheaf::SaveOptions save_options(const py::kwargs& given) {
  sheaf::SaveOptions options;
  for (const auto& [name, value] : given)
    take_option(options, py::cast<std::string>(name), value);
  return options;
}

void save(const Handle& self, const py::object& target, const py::kwargs& given) {
  const sheaf::SaveOptions options = save_options(given);
  if (py::hasattr(target, "write")) {
    const sheaf::Storage storage = storage_of(target, true);
    work(self.owner, [&](sheaf::Document& document) { return document.save_as(storage, options); }).value();
    return;
  }
  const auto path = py::cast<std::string>(py::module_::import("os").attr("fspath")(target));
  work(self.owner, [&](sheaf::Document& document) { return document.save_as(path, options); }).value();
}

// Every object that there is, in the order of their numbers.
struct ObjectsOf {
  OwnerRef owner;
  sheaf::Objects objects;
  std::int32_t next = 1;
};

py::object next_object(ObjectsOf& self) {
  idle(self.owner);
  while (self.next < self.objects.size()) {
    const sheaf::Value value = self.objects.at(self.next++);
    if (!value.is_null())
      return to_python(self.owner, value);
  }
  throw py::stop_iteration();
}

void add_encryption(py::module_& module) {
  py::class_<sheaf::Encryption>(module, "Encryption", "How a new file is encrypted.")
      .def(py::init([](const std::string& user, const std::string& owner, std::uint32_t permissions,
                       const std::string& cipher, bool clear_metadata) {
             const auto kind = cipher == "aes128"   ? sheaf::Cipher::kAes128
                               : cipher == "rc4"    ? sheaf::Cipher::kRc4
                               : cipher == "aes256" ? sheaf::Cipher::kAes256
                                                    : throw py::value_error("a cipher is aes256, aes128 or rc4");
             return sheaf::Encryption{user, owner, permissions, kind, clear_metadata};
           }),
           py::arg("user") = "", py::arg("owner") = "", py::arg("permissions") = UINT32_MAX,
           py::arg("cipher") = "aes256", py::arg("clear_metadata") = false);
}

void add_objects(py::module_& module) {
  py::class_<Owner, OwnerRef>(module, "_Owner");
  py::class_<ObjectsOf>(module, "Objects")
      .def("__iter__",
           [](ObjectsOf& self) {
             return ObjectsOf{self.owner, self.objects};
           })
      .def("__next__", &next_object);
}

void add_document_parts(py::class_<Handle>& type) {
  type.def_property_readonly("_owner", [](const Handle& self) { return self.owner; })
      .def_property_readonly("pages", [](const Handle& self) { return HeldPages(self.owner, self.get().pages()); })
      .def_property_readonly("root", [](const Handle& self) { return HeldValue(self.owner, self.get().root()); })
      .def_property_readonly("objects",
                             [](const Handle& self) {
                               return ObjectsOf{self.owner, self.get().objects()};
                             })
      .def(
          "object",
          [](const Handle& self, std::int32_t number) { return to_python(self.owner, self.get().object(number)); },
          py::arg("number"))
      .def(
          "add",
          [](const Handle& self, const py::object& value) {
            const sheaf::Value made = self.get().add(from_python(value));
            check(!made.is_null(), self.owner);
            return HeldValue(self.owner, made);
          },
          py::arg("value"), "A new object of a Python value.")
      .def(
          "add_stream",
          [](const Handle& self, const py::buffer& data, const py::dict& dictionary, bool compress) {
            const BytesView view(data);
            const sheaf::Value made = self.get().add_stream(view.text(), from_python(dictionary),
                                                            compress ? sheaf::Coding::kFlate : sheaf::Coding::kPlain);
            check(made.is_stream(), self.owner);
            return HeldValue(self.owner, made);
          },
          py::arg("data"), py::arg("dictionary") = py::dict(), py::arg("compress") = true)
      .def_property_readonly("version", [](const Handle& self) { return self.get().version(); })
      .def_property_readonly("is_encrypted", [](const Handle& self) { return self.get().is_encrypted(); })
      .def_property_readonly("signature_count", [](const Handle& self) { return self.get().signature_count(); })
      .def_property_readonly(
          "repairs",
          [](const Handle& self) {
            py::list all;
            for (const sheaf::Repair& repair : self.get().repairs())
              all.append(py::make_tuple(repair.code, repair.object, repair.offset, repair.action));
            return all;
          },
          "What had to be healed: code, object, offset and action of each.");
}

void add_document_work(py::class_<Handle>& type) {
  type.def(
          "flatten",
          [](const Handle& self, bool all) {
            const auto report = work(self.owner, [&](sheaf::Document& document) {
              return document.flatten(all ? sheaf::Flatten::kAnnotations : sheaf::Flatten::kForm);
            });
            return report.value().drawn;
          },
          py::arg("all") = false, "Draws the form, or all annotations but links, into the pages; how many.")
      .def("save", &save, py::arg("target"),
           "Writes a complete new file to a path or a file object. Options by name: encrypt, decrypt, object_streams, "
           "streams, recompress, linearize, share_equals, remove_unused_resources, renumber, min_version.")
      .def(
          "save_bytes",
          [](const Handle& self, const py::kwargs& given) {
            const sheaf::SaveOptions options = save_options(given);
            auto data = work(self.owner, [&](sheaf::Document& document) { return document.save_to_memory(options); });
            return memory_of(std::move(data.value()));
          },
          "A complete new file as a memoryview, with the options of save.")
      .def(
          "save_update",
          [](const Handle& self) {
            work(self.owner, [](sheaf::Document& document) { return document.save_update(); }).value();
          },
          "Writes all changes behind the content of the file.")
      .def("close", [](const Handle& self) { idle(self.owner).document.close(); })
      .def("__enter__", [](const py::object& self) { return self; })
      .def("__exit__", [](const Handle& self, const py::args&) { idle(self.owner).document.close(); });
}

void add_documents(py::module_& module) {
  add_encryption(module);
  add_objects(module);
  py::class_<Handle> document(module, "Document", "A document. To be closed, or used in a `with` statement.");
  add_document_parts(document);
  add_document_work(document);
  module.def("open", &open, py::arg("source"), py::arg("password") = "", py::arg("progress") = py::none(),
             "Opens a path, bytes or a file object, however damaged.");
  module.def(
      "new", [] { return Handle{std::make_shared<Owner>(std::move(sheaf::Document::create().value()))}; },
      "A new document without pages.");
}

}  // namespace

PYBIND11_MODULE(_sheaf, module) {
  module.doc() = "Documents in the Portable Document Format.";
  py::enum_<sheaf::Code>(module, "Code", "What went wrong.")
      .value("NO_FILE", sheaf::Code::kNoFile)
      .value("EMPTY", sheaf::Code::kEmpty)
      .value("DAMAGED", sheaf::Code::kDamaged)
      .value("TOO_LARGE", sheaf::Code::kTooLarge)
      .value("NO_MEMORY", sheaf::Code::kNoMemory)
      .value("NEEDS_PASSWORD", sheaf::Code::kNeedsPassword)
      .value("WRONG_PASSWORD", sheaf::Code::kWrongPassword)
      .value("UNSUPPORTED", sheaf::Code::kUnsupported)
      .value("NOT_FOUND", sheaf::Code::kNotFound)
      .value("WRONG_KIND", sheaf::Code::kWrongKind)
      .value("STALE", sheaf::Code::kStale)
      .value("OTHER_DOCUMENT", sheaf::Code::kOtherDocument)
      .value("NOT_ALLOWED", sheaf::Code::kNotAllowed)
      .value("BAD_VALUE", sheaf::Code::kBadValue)
      .value("FILE_CHANGED", sheaf::Code::kFileChanged)
      .value("NOT_WRITTEN", sheaf::Code::kNotWritten)
      .value("CANCELLED", sheaf::Code::kCancelled)
      .value("CLOSED", sheaf::Code::kClosed);
  error_class = PyErr_NewExceptionWithDoc("sheaf.Error", "Why an operation failed: code, object, offset and message.",
                                          nullptr, nullptr);
  module.attr("Error") = py::handle(error_class);
  py::register_exception_translator([](std::exception_ptr pointer) {
    try {
      if (pointer)
        std::rethrow_exception(pointer);
    } catch (const sheaf::Failure& failure) {
      raise(failure.error());
    }
  });
  add_values(module);
  add_pages(module);
  add_parts(module);
  add_documents(module);
}

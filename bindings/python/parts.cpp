// Information, form, attachments, images and signatures in Python.
#include "shared.h"

namespace {

using HeldImage = Held<std::shared_ptr<sheaf::Image>>;

// A part of a document that is made anew for each question.
struct InfoOf {
  OwnerRef owner;
  sheaf::Info get() const { return idle(owner).document.info(); }
};
struct FormOf {
  OwnerRef owner;
  sheaf::Form get() const { return idle(owner).document.form(); }
};
struct AttachmentsOf {
  OwnerRef owner;
  sheaf::Attachments get() const { return idle(owner).document.attachments(); }
};
struct ImagesOf {
  OwnerRef owner;
  std::shared_ptr<sheaf::Images> images;
  std::optional<sheaf::Images::iterator> at;
};
struct SealOf {
  OwnerRef owner;
  std::shared_ptr<sheaf::Seal> seal;
};

sheaf::FieldState state_of(const FormOf& self, const std::string& name) {
  auto state = self.get().field(name).state();
  if (!state && state.error().code == sheaf::Code::kNotFound)
    throw py::key_error(name);
  return std::move(state.value());
}

py::object field_value(const FormOf& self, const std::string& name) {
  const sheaf::FieldState state = state_of(self, name);
  if (state.values.size() > 1)
    return py::cast(state.values);
  return py::str(state.values.empty() ? std::string() : state.values.front());
}

py::dict describe_field(const FormOf& self, const std::string& name) {
  using namespace py::literals;
  const sheaf::FieldState state = state_of(self, name);
  return py::dict("kind"_a = state.kind, "values"_a = state.values, "offers"_a = state.offers,
                  "read_only"_a = state.read_only, "required"_a = state.required, "locked"_a = state.locked,
                  "max_length"_a = state.max_length);
}

void set_field(const FormOf& self, const std::string& name, const py::object& value) {
  sheaf::Field field = self.get().field(name);
  if (py::isinstance<py::str>(value))
    field.set(py::cast<std::string>(value)).value();
  else if (py::isinstance<py::bool_>(value))
    field.set(py::cast<bool>(value) ? "true" : "Off").value();
  else
    field.set(py::cast<std::vector<std::string>>(value)).value();
}

std::vector<std::string> field_names(const FormOf& self) {
  std::vector<std::string> names;
  for (const sheaf::Field& field : self.get().fields())
    names.push_back(field.name());
  return names;
}

std::vector<std::string> attachment_names(const AttachmentsOf& self) {
  std::vector<std::string> names;
  for (const sheaf::Attachment& file : self.get())
    names.push_back(file.name());
  return names;
}

py::object attachment_data(const AttachmentsOf& self, const std::string& name) {
  const sheaf::Attachments files = self.get();
  const sheaf::Attachment* const file = files.find(name);
  if (file == nullptr)
    throw py::key_error(name);
  return memory_of(std::move(work(self.owner, [&](sheaf::Document&) { return file->data(); }).value()));
}

HeldImage next_image(ImagesOf& self) {
  work(self.owner, [&](sheaf::Document& document) {
    if (self.images == nullptr) {
      self.images = std::make_shared<sheaf::Images>(document.images());
      self.at.emplace(self.images->begin());
    } else if (!(*self.at == self.images->end())) {
      ++*self.at;
    }
    return 0;
  });
  if (*self.at == self.images->end())
    throw py::stop_iteration();
  return {self.owner, std::make_shared<sheaf::Image>(self.images->take())};
}

// Size, mode, bits, rows and palette, of which the package makes an image of Pillow.
py::dict pixels_of(HeldImage& self) {
  using namespace py::literals;
  const auto image = self.get();
  auto result = work(self.owner(), [&](sheaf::Document&) { return image->pixels(); });
  sheaf::Pixels pixels = std::move(result.value());
  return py::dict("width"_a = pixels.width, "height"_a = pixels.height, "components"_a = pixels.components,
                  "bits"_a = pixels.bits, "row_bytes"_a = pixels.row_bytes, "is_whole"_a = pixels.is_whole,
                  "palette"_a = py::bytes(reinterpret_cast<const char*>(pixels.palette.data()), pixels.palette.size()),
                  "profile"_a = py::bytes(reinterpret_cast<const char*>(pixels.profile.data()), pixels.profile.size()),
                  "rows"_a = memory_of(std::move(pixels.rows)), "opacity"_a = memory_of(std::move(pixels.opacity)));
}

SealOf seal_signature(const OwnerRef& owner, std::int32_t page, std::int32_t room, const std::string& field,
                      const std::array<double, 4>& rect, const std::string& name, const std::string& reason,
                      const std::string& location, const std::string& sub_filter) {
  const sheaf::SignatureOptions options{page, room,   field,    {rect[0], rect[1], rect[2], rect[3]},
                                        name, reason, location, sub_filter};
  auto sealed = work(owner, [&](sheaf::Document& document) { return document.seal_signature(options); });
  return {owner, std::make_shared<sheaf::Seal>(std::move(sealed.value()))};
}

py::bytes signed_bytes(const SealOf& self) {
  std::string all;
  work(self.owner, [&](sheaf::Document&) {
    return self.seal->digest([&all](std::span<const std::uint8_t> piece) { all.append(piece.begin(), piece.end()); });
  }).value();
  return all;
}

py::bytes digest_of(const SealOf& self) {
  const auto digest = work(self.owner, [&](sheaf::Document&) { return self.seal->sha256(); });
  return {reinterpret_cast<const char*>(digest.value().data()), digest.value().size()};
}

void add_info_and_form(py::module_& module) {
  py::class_<InfoOf>(module, "Info", "The document information, by key.")
      .def(py::init([](const OwnerRef& owner) { return InfoOf{owner}; }))
      .def("__getitem__", [](const InfoOf& self, const std::string& key) { return self.get().get(key.c_str()); })
      .def("__setitem__", [](const InfoOf& self, const std::string& key, const std::string& text) {
        check(self.get().set(key.c_str(), text), self.owner);
      });

  py::class_<FormOf>(module, "Form", "The fields of the form by their full names.")
      .def(py::init([](const OwnerRef& owner) { return FormOf{owner}; }))
      .def("__len__", [](const FormOf& self) { return self.get().fields().size(); })
      .def("__iter__", [](const FormOf& self) { return py::iter(py::cast(field_names(self))); })
      .def("__getitem__", &field_value, "The value of a field, a list where there are several.")
      .def("__setitem__", &set_field, "Sets a value and makes the appearances that show it.")
      .def("describe", &describe_field, py::arg("name"), "What a field is and takes.");
}

void add_attachments(py::module_& module) {
  py::class_<AttachmentsOf>(module, "Attachments", "Embedded files by their names.")
      .def(py::init([](const OwnerRef& owner) { return AttachmentsOf{owner}; }))
      .def("__len__", [](const AttachmentsOf& self) { return self.get().size(); })
      .def("__iter__", [](const AttachmentsOf& self) { return py::iter(py::cast(attachment_names(self))); })
      .def("__contains__",
           [](const AttachmentsOf& self, const std::string& name) { return self.get().find(name) != nullptr; })
      .def("__getitem__", &attachment_data, "The data of a file, as a memoryview.")
      .def("__setitem__", [](const AttachmentsOf& self, const std::string& name,
                             const py::buffer& data) { self.get().add(name, BytesView(data).bytes()).value(); })
      .def(
          "__delitem__", [](const AttachmentsOf& self, const std::string& name) { self.get().remove(name).value(); },
          "Takes a file out of all places where the document has it.")
      .def(
          "add_file", [](const AttachmentsOf& self, const std::string& path) { self.get().add(path).value(); },
          py::arg("path"), "Embeds a file under its base name.");
}

void add_images(py::module_& module) {
  py::class_<HeldImage>(module, "RawImage", "An image of a document.")
      .def_property_readonly("number", [](HeldImage& self) { return self.get()->number(); })
      .def_property_readonly("width", [](HeldImage& self) { return self.get()->width(); })
      .def_property_readonly("height", [](HeldImage& self) { return self.get()->height(); })
      .def_property_readonly("bits", [](HeldImage& self) { return self.get()->bits(); })
      .def_property_readonly("filter", [](HeldImage& self) { return self.get()->filter(); })
      .def_property_readonly("is_mask", [](HeldImage& self) { return self.get()->is_mask(); })
      .def_property_readonly("object", [](HeldImage& self) { return HeldValue(self.owner(), self.get()->object()); })
      .def(
          "encoded",
          [](HeldImage& self) {
            const auto image = self.get();
            return memory_of(std::move(work(self.owner(), [&](sheaf::Document&) { return image->encoded(); }).value()));
          },
          "The data with all filters but the last one taken off, as a memoryview.")
      .def("pixels", &pixels_of, "Rows of samples with what they mean.")
      .def(
          "save",
          [](HeldImage& self, const std::string& folder) {
            const auto image = self.get();
            return work(self.owner(), [&](sheaf::Document&) { return image->save(folder); }).value();
          },
          py::arg("folder"), "Writes a JPEG, JPEG 2000 or PNG file into the folder; its path.");
  py::class_<ImagesOf>(module, "Images")
      .def(py::init([](const OwnerRef& owner) {
        return ImagesOf{owner, nullptr, {}};
      }))
      .def("__iter__",
           [](const ImagesOf& self) {
             return ImagesOf{self.owner, nullptr, {}};
           })
      .def("__next__", &next_image);
}

void add_seal(py::module_& module) {
  py::class_<SealOf>(module, "Seal", "A section that is sealed and waits for its signature.")
      .def_property_readonly("byte_range", [](const SealOf& self) { return self.seal->byte_range(); })
      .def("signed_bytes", &signed_bytes, "The bytes that the signature covers.")
      .def("sha256", &digest_of, "Their SHA-256 digest.")
      .def(
          "write",
          [](const SealOf& self, const py::buffer& signature) {
            idle(self.owner);
            self.seal->write(BytesView(signature).bytes()).value();
          },
          py::arg("signature"), "Puts the signature (DER) into its place.");
  module.def("_seal_signature", &seal_signature);
}

}  // namespace

void add_parts(py::module_& module) {
  add_info_and_form(module);
  add_attachments(module);
  add_images(module);
  add_seal(module);
}

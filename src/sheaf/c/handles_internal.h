// What is behind the handles of the C interface, and how its functions report.
#pragma once

#include <algorithm>
#include <cstring>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "sheaf/sheaf.h"
#include "sheaf/sheaf.hpp"

struct sheaf_document {
  sheaf::Document document;
};
struct sheaf_value {
  sheaf::Value value;
};
struct sheaf_data {
  std::string text;
  sheaf::Data data;  // where it is not empty, in place of the text
};
struct sheaf_content {
  sheaf::Content content;
  sheaf::Content::iterator at;
  bool begun = false;
  std::string name;
  explicit sheaf_content(sheaf::Content all) : content(std::move(all)), at(content.begin()) {}
};
struct sheaf_writer {
  sheaf::ContentAppender writer;
};
struct sheaf_seal {
  sheaf::Seal seal;
};
struct sheaf_images {
  sheaf::Images images;
  std::optional<sheaf::Images::iterator> at;
  explicit sheaf_images(sheaf::Images all) : images(std::move(all)) {}
};

namespace sheaf::c {

/// Keeps why the present call failed. Its code.
sheaf_code fail(const Error& error);
sheaf_code fail(Code code, const char* message);
/// The present call did not fail.
sheaf_code done();
inline sheaf_code missing_argument() {
  return fail(Code::kBadValue, "an argument that must not be NULL is NULL");
}

inline sheaf_code report(const Expected<void>& result) {
  return result ? done() : fail(result.error());
}
/// Of an operation whose failures the document keeps.
inline sheaf_code report(bool good, const Document& document) {
  return good ? done() : fail(document.failure());
}

/// A handle for what was made.
template <class Handle, class... Made>
sheaf_code hand_out(Handle** out, Made&&... made) {
  *out = new (std::nothrow) Handle{std::forward<Made>(made)...};
  return *out != nullptr ? done() : fail(Code::kNoMemory, "there is no memory for a handle");
}
inline sheaf_code hand_out_text(sheaf_data** out, std::string text) {
  return hand_out(out, std::move(text), Data());
}
inline sheaf_code hand_out_data(sheaf_data** out, Expected<Data> data) {
  return data ? hand_out(out, std::string(), std::move(*data)) : fail(data.error());
}

/// A structure as this version knows it: members that the caller's lacks are zero.
template <class Options>
Options known_part(const Options* given) {
  Options all{};
  if (given != nullptr)
    std::memcpy(&all, given, std::min(given->size, sizeof(Options)));
  return all;
}

inline std::string text_of(const char* text) {
  return text != nullptr ? text : "";
}

}  // namespace sheaf::c

// Pages and their content for C.
#include "sheaf/c/handles_internal.h"

using namespace sheaf;
using namespace sheaf::c;

namespace {

Page page_of(sheaf_document* doc, std::int32_t page) {
  return doc != nullptr ? doc->document.pages()[page] : Page();
}

sheaf_code no_page() {
  return fail(Code::kNotFound, "there is no such page");
}

std::string_view view_of(const void* bytes, std::size_t count) {
  return bytes != nullptr ? std::string_view(static_cast<const char*>(bytes), count) : std::string_view();
}

sheaf_rect rect_of(const Rect& rect) {
  return {rect.left, rect.bottom, rect.right, rect.top};
}

sheaf_code hand_out_content(sheaf_content** out, Expected<Data>&& data) {
  if (!data)
    return fail(data.error());
  *out = new (std::nothrow) sheaf_content(Content(std::move(*data)));
  return *out != nullptr ? done() : fail(Code::kNoMemory, "there is no memory for a handle");
}

}  // namespace

extern "C" {

int32_t sheaf_page_count(sheaf_document* doc) {
  return doc != nullptr ? doc->document.pages().size() : 0;
}

sheaf_code sheaf_page(sheaf_document* doc, int32_t page, sheaf_value** out) {
  if (out == nullptr)
    return missing_argument();
  const Page found = page_of(doc, page);
  return found ? hand_out(out, found.object()) : no_page();
}

sheaf_code sheaf_page_media_box(sheaf_document* doc, int32_t page, sheaf_rect* out) {
  const Page found = page_of(doc, page);
  if (!found || out == nullptr)
    return out != nullptr ? no_page() : missing_argument();
  *out = rect_of(found.media_box());
  return done();
}

sheaf_code sheaf_page_crop_box(sheaf_document* doc, int32_t page, sheaf_rect* out) {
  const Page found = page_of(doc, page);
  if (!found || out == nullptr)
    return out != nullptr ? no_page() : missing_argument();
  *out = rect_of(found.crop_box());
  return done();
}

int32_t sheaf_page_rotation(sheaf_document* doc, int32_t page) {
  return page_of(doc, page).rotation();
}

sheaf_code sheaf_page_rotate(sheaf_document* doc, int32_t page, int32_t degrees) {
  Page found = page_of(doc, page);
  return found ? report(found.rotate(degrees), doc->document) : no_page();
}

sheaf_code sheaf_pages_insert(sheaf_document* doc, int32_t at, sheaf_document* from, int32_t first, int32_t end) {
  if (doc == nullptr || from == nullptr)
    return missing_argument();
  Pages pages = doc->document.pages();
  const Pages wanted = from->document.pages(first, end);
  return report(at < 0 ? pages.append(wanted) : pages.insert(at, wanted), doc->document);
}

sheaf_code sheaf_page_add(sheaf_document* doc, double width, double height) {
  return doc != nullptr ? report(static_cast<bool>(doc->document.pages().add(width, height)), doc->document)
                        : missing_argument();
}

sheaf_code sheaf_page_remove(sheaf_document* doc, int32_t page) {
  return page_of(doc, page) ? report(doc->document.pages().remove(page), doc->document) : no_page();
}

sheaf_code sheaf_page_move(sheaf_document* doc, int32_t from, int32_t to) {
  return page_of(doc, from) && page_of(doc, to) ? report(doc->document.pages().move(from, to), doc->document)
                                                : no_page();
}

sheaf_code sheaf_page_resources(sheaf_document* doc, int32_t page, sheaf_value** out) {
  if (out == nullptr)
    return missing_argument();
  const Page found = page_of(doc, page);
  return found ? hand_out(out, found.resources()) : no_page();
}

sheaf_code sheaf_page_add_resource(sheaf_document* doc, int32_t page, const char* category, const sheaf_value* resource,
                                   sheaf_data** out) {
  if (category == nullptr || *category == 0 || resource == nullptr || out == nullptr)
    return missing_argument();
  Page found = page_of(doc, page);
  if (!found)
    return no_page();
  const std::string name = found.add_resource(category, resource->value);
  return name.empty() ? fail(doc->document.failure()) : hand_out_text(out, name);
}

// ---- content ----

sheaf_code sheaf_page_content(sheaf_document* doc, int32_t page, sheaf_content** out) {
  if (out == nullptr)
    return missing_argument();
  const Page found = page_of(doc, page);
  return found ? hand_out_content(out, found.content_data()) : no_page();
}

sheaf_code sheaf_value_content(const sheaf_value* stream, sheaf_content** out) {
  return stream != nullptr && out != nullptr ? hand_out_content(out, stream->value.decoded()) : missing_argument();
}

sheaf_code sheaf_page_set_content(sheaf_document* doc, int32_t page, const void* bytes, size_t count) {
  Page found = page_of(doc, page);
  return found ? report(found.set_content(view_of(bytes, count)), doc->document) : no_page();
}

sheaf_code sheaf_page_add_content(sheaf_document* doc, int32_t page, const void* bytes, size_t count) {
  Page found = page_of(doc, page);
  return found ? report(found.add_content(view_of(bytes, count)), doc->document) : no_page();
}

int32_t sheaf_content_next(sheaf_content* content) {
  if (content == nullptr || content->at == content->content.end())
    return 0;
  if (content->begun)
    ++content->at;
  content->begun = true;
  if (content->at == content->content.end())
    return 0;
  content->name = (*content->at).name();
  return 1;
}

const char* sheaf_content_name(const sheaf_content* content) {
  return content != nullptr ? content->name.c_str() : "";
}

int32_t sheaf_content_size(const sheaf_content* content) {
  return content != nullptr ? (*content->at).size() : 0;
}

sheaf_kind sheaf_content_kind(const sheaf_content* content, int32_t operand) {
  return content != nullptr ? static_cast<sheaf_kind>((*content->at).operand(operand).tag) : SHEAF_NULL;
}

double sheaf_content_number(const sheaf_content* content, int32_t operand) {
  return content != nullptr ? (*content->at).number(operand) : 0;
}

const char* sheaf_content_bytes(const sheaf_content* content, int32_t operand, size_t* count) {
  const std::string_view bytes = content != nullptr ? (*content->at).bytes(operand) : std::string_view();
  if (count != nullptr)
    *count = bytes.size();
  return bytes.data();
}

const char* sheaf_content_source(const sheaf_content* content, size_t* count) {
  const std::string_view source = content != nullptr ? (*content->at).source() : std::string_view();
  if (count != nullptr)
    *count = source.size();
  return source.data();
}

void sheaf_content_free(sheaf_content* content) {
  delete content;
}

sheaf_code sheaf_writer_new(sheaf_writer** out) {
  return out != nullptr ? hand_out(out) : missing_argument();
}

sheaf_code sheaf_writer_add(sheaf_writer* writer, const sheaf_content* content) {
  if (writer == nullptr || content == nullptr || !content->begun)
    return missing_argument();
  writer->writer.add(*content->at);
  return done();
}

sheaf_code sheaf_writer_add_text(sheaf_writer* writer, const char* text) {
  if (writer == nullptr || text == nullptr)
    return missing_argument();
  writer->writer.add_raw(text);
  return done();
}

sheaf_code sheaf_page_write(sheaf_document* doc, int32_t page, const sheaf_writer* writer) {
  if (writer == nullptr)
    return missing_argument();
  return sheaf_page_set_content(doc, page, writer->writer.data().data(), writer->writer.data().size());
}

void sheaf_writer_free(sheaf_writer* writer) {
  delete writer;
}

}  // extern "C"

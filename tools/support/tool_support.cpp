// Messages, passwords, opening, and conversion of text for output.
#include "support/tool_support.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <memory>
#include <vector>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/filters/ccitt.h"
#include "sheaf/neighbours/security/standard_handler.h"
#include "sheaf/object/text_utf8.h"
#include "support/inputs.h"

namespace sheaf::tool {

namespace {

// Standard input gives its bytes once, but a password may serve several documents.
bool read_lines_once(const std::string& file, std::vector<std::string>& lines) {
  static std::map<std::string, std::vector<std::string>> known;
  if (const auto found = known.find(file); found != known.end()) {
    lines = found->second;
    return true;
  }
  std::string path;
  if (!input_path(file, path))
    return false;
  std::ifstream in(path, std::ios::binary);
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line.back() == '\r')
      line.pop_back();
    lines.push_back(line);
  }
  if (!in.eof()) {
    complain(input_name(file), "the password file cannot be read; check the path and its permissions");
    return false;
  }
  known[file] = lines;
  return true;
}

// The password of the options. False, with a message, when its file cannot be read.
bool read_password(const std::string& document, const PasswordOptions& options, std::string& password) {
  password = options.password;
  if (options.password_file.empty())
    return true;
  if (options.password_file == "-" && document == "-") {
    complain("--password-file -", "standard input is the document already; put the password into a file");
    return false;
  }
  std::vector<std::string> lines;
  if (!read_lines_once(options.password_file, lines))
    return false;
  password = lines.empty() ? "" : lines.front();
  return true;
}

}  // namespace

bool read_password_lines(const std::string& file, std::vector<std::string>& passwords) {
  return read_lines_once(file, passwords);
}

bool fix_password(PasswordOptions& options) {
  std::string password;
  if (!read_password("", options, password))
    return false;
  options = {password, ""};
  return true;
}

std::string password_trouble(const CPDFDoc& doc) {
  switch (doc.handler().outcome()) {
    case CPDFStandardSecHand::Outcome::kWrongPassword:
      return "the password is wrong; give the user or the owner password";
    case CPDFStandardSecHand::Outcome::kUnsupported:
      return "is encrypted in a way that is not supported; only password encryption is";
    case CPDFStandardSecHand::Outcome::kNoCipher:
      return "is encrypted by AES, and libcrypto, which has that, cannot be loaded; install it (libssl3)";
    case CPDFStandardSecHand::Outcome::kDamagedDictionary:
      return "its encryption dictionary is damaged; the contents cannot be decrypted";
    default:
      return "is encrypted and needs a password; give it with --password or --password-file";
  }
}

namespace {

// Says why a document did not open.
bool refuse(const CPDFDoc& doc, const std::string& file) {
  switch (doc.status()) {
    case PDF_OPEN::kNoFile:
      complain(file, "cannot be opened; check the path and its permissions");
      break;
    case PDF_OPEN::kEmpty:
      complain(file, "is empty; there is nothing to read");
      break;
    case PDF_OPEN::kTooLarge:
      complain(file, "has 4 GiB or more, and offsets are counted in 32 bits here; nothing was read or written");
      break;
    default:
      complain(file, "no document catalogue with pages could be found, not by scanning either; is it a PDF?");
      break;
  }
  return false;
}

bool accept(const CPDFDoc& doc, const std::string& file, bool needs_password) {
  if (!needs_password || doc.is_readable())
    return true;
  complain(file, password_trouble(doc));
  return false;
}

}  // namespace

bool find_reference(CPDFDoc& doc, const std::string& file, std::int32_t num, std::int32_t gen, PDF_REF& ref) {
  ref = doc.reference_to(num);
  if (gen < 0 || gen == ref.gen)
    return true;
  complain(file, "object " + std::to_string(num) + " has generation " + std::to_string(ref.gen) + ", not " +
                     std::to_string(gen));
  return false;
}

bool was_sound(CPDFDoc& doc, const std::string& file) {
  const auto& repairs = doc.repairs();
  if (doc.status() == PDF_OPEN::kClean && repairs.empty())
    return true;
  std::string what = "is damaged, and was healed while it was read";
  if (!repairs.empty())
    what += std::string(": ") + repairs[0].action;
  if (repairs.size() > 1)
    what += ", and " + std::to_string(repairs.size() - 1) + " more";
  complain(input_name(file), what + "; sheaf check lists it all");
  return false;
}

void put_repairs(JsonWriter& json, CPDFDoc& doc) {
  json.key("repairs").begin_array();
  for (const PDF_DOC_REPAIR& repair : doc.repairs()) {
    json.begin_object().key("code").text(repair.code).key("object").number(repair.num);
    json.key("offset").number(repair.offset).key("action").text(repair.action).end_object();
  }
  json.end_array();
}

bool open_document(CPDFDoc& doc, const std::string& file, const PasswordOptions& options, bool needs_password) {
  std::string password;
  if (!read_password(file, options, password))
    return false;
  doc.set_password(password.c_str());
  std::string path;
  if (!input_path(file, path))
    return false;
  const std::string name = input_name(file);
  return doc.open(path.c_str()) ? accept(doc, name, needs_password) : refuse(doc, name);
}

bool open_document_stream(CPDFDoc& doc, CQVStream& stream, const std::string& name, const PasswordOptions& options) {
  std::string password;
  if (!read_password(name, options, password))
    return false;
  doc.set_password(password.c_str());
  return doc.open(&stream) ? accept(doc, name, true) : refuse(doc, name);
}

bool open_document_for_update(CPDFDoc& doc, const std::string& path, const std::string& shown_name,
                              const PasswordOptions& options) {
  std::string password;
  if (!read_password(shown_name, options, password))
    return false;
  doc.set_password(password.c_str());
  return doc.open_for_update(path.c_str()) ? accept(doc, shown_name, true) : refuse(doc, shown_name);
}

namespace {

// Neither the end of the data nor the height ends the rows of CCITT data. Behind their end rows are made of nothing,
// for pictures that are cut.
bool justifies_row(CPDFStream& decoder, std::int64_t row, std::int64_t total) {
  constexpr std::int64_t kRowsPerByte = 64;  // a row takes a bit at least
  constexpr std::int64_t kBaseRows = 4096;
  constexpr std::int64_t kBase = 1 << 20;
  constexpr std::int64_t kBytesPerByte = 32 * 1024;
  if (decoder.filter_type != kFilterCCITTFax)
    return true;
  auto& fax = static_cast<CPDFStreamFAX&>(decoder);
  const bool is_over = fax.byte_pos >= fax.left;
  if (total <= kBase + kBytesPerByte * fax.left && row < kBaseRows + kRowsPerByte * fax.left)
    return true;
  decoder.flaw = is_over ? kFlawEarlyEnd : kFlawLimit;
  return false;
}

}  // namespace

std::int64_t drain(CPDFXRefTable& table, const CPDFStreamRec& rec, CPDFStream& decoder,
                   const std::function<bool(const unsigned char*, int)>& sink) {
  constexpr int kBlock = 64 * 1024;
  constexpr std::size_t kMostWhole = 1 << 20;
  decoder.decode_whole(kMostWhole);
  int piece = kBlock;
  std::int64_t rows = INT64_MAX;
  if (decoder.filter_type == kFilterCCITTFax) {
    const auto& fax = static_cast<const CPDFStreamFAX&>(decoder);
    Freed<CPDFObj> height = table.value(&rec.dict, CPDFDictionary::sm_tag_height);
    rows = height.to_int() > 0 ? height.to_int() : std::max(fax.rows, 0);
    piece = (fax.columns + 7) / 8;
  }
  // Not filled: most streams need little of it.
  const auto block = std::make_unique_for_overwrite<unsigned char[]>(static_cast<std::size_t>(std::max(piece, 1)));
  std::int64_t total = 0;
  for (std::int64_t row = 0; row < rows && total < kMostDecoded && justifies_row(decoder, row, total); ++row) {
    const int got = decoder.read_block(block.get(), piece);
    if (got <= 0)
      break;
    if (!sink(block.get(), got))
      return -1;
    total += got;
  }
  return total;
}

std::string utf8_text(const PDF_String& text) {
  std::size_t len = 0;
  char* block = text_to_utf8(text, len);
  std::string out(block != nullptr ? block : "", len);
  QVFree(block);
  return out;
}

std::string hex_text(const PDF_String& text) {
  static const char digits[] = "0123456789abcdef";
  std::string out;
  for (std::int32_t i = 0; i < text.len; ++i) {
    const auto byte = static_cast<unsigned char>(text.data[i]);
    out += digits[byte >> 4];
    out += digits[byte & 15];
  }
  return out;
}

std::string syntax_text(const CPDFObj& value) {
  CQVStreamMem out;
  value.write(&out, nullptr);
  return std::string(reinterpret_cast<const char*>(out.data), out.len);
}

}  // namespace sheaf::tool

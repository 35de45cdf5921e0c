// Any encryption dictionary in a document with strings, streams and an object stream. The input is
// the password, the identifier in hexadecimal and the dictionary, a line each. A document that
// opens must save with the keys that it has, and open again the same.
#include "../tests/support/pdf_builder.h"
#include "../tests/support/same_value.h"
#include "../tests/support/test_table.h"
#include "document_walk.h"
#include "sheaf/neighbours/security/encrypter.h"

using namespace sheaf;

namespace {

constexpr std::size_t kMostBytes = 1 << 13;

std::string next_line(std::string& text) {
  const std::size_t end = std::min(text.find('\n'), text.size());
  std::string line = text.substr(0, end);
  text.erase(0, std::min(end + 1, text.size()));
  return line;
}

std::string encrypted_file(const std::string& id, const std::string& settings) {
  PdfBuilder builder;
  builder.pages(1).obj(4,
                       "[(sixteen bytes of text) <00112233445566778899AABBCCDDEEFF00112233445566778899AABBCCDDEEFF>]");
  builder.stream(5, "/Type/Metadata", std::string(48, 'm')).stream(6, "/Filter/Crypt", std::string(64, 'c'));
  builder.stream(7, "/Filter[/Crypt/FlateDecode]/DecodeParms[<</Name/StdCF>>null]", std::string(33, 'x'));
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R/Metadata 5 0 R/Items[4 0 R 6 0 R 7 0 R]>>").obj(8, settings);
  return builder.classic("/Root 1 0 R/Encrypt 8 0 R/ID[<" + id + "><" + id + ">]").str();
}

void check_again(CPDFDoc& doc, const std::string& password) {
  Freed<CPDFObj> settings;
  CPDFXRefTable& table = doc.table();
  CPDFSecHand* const hand = table.sec_hand;
  table.sec_hand = nullptr;  // the dictionary's own strings are in clear
  table.resolve(settings, &table.encrypt);
  table.sec_hand = hand;
  if (settings.as_dict() == nullptr || table.sec_filter[0] == 0)
    return;
  CPDFStandardEncrypt enc;
  if (!enc.continue_with(doc.handler(), *settings.as_dict()))
    return;
  CQVStreamMem out;
  {
    CPDFXRefTable target;
    target.stream = &out;
    doc.keep_identifier(target.id);
    doc.save_complete(target, &enc);
  }
  CPDFDoc again;
  again.set_password(password.c_str());
  expect(again.open(&out) && again.is_readable());
  expect(again.handler().outcome() == doc.handler().outcome());
  Freed<CPDFObj> before;
  Freed<CPDFObj> after;
  table.get_entity(before, {4, 0});
  again.table().get_entity(after, {4, 0});
  expect(same_value(before, after));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kMostBytes)
    return 0;
  std::string text(reinterpret_cast<const char*>(data), size);
  const std::string password = next_line(text);
  const std::string id = next_line(text);
  MemStream file(encrypted_file(id, text));
  CPDFDoc doc;
  doc.set_password(password.c_str());
  if (!doc.open(&file) || !doc.is_readable())
    return 0;
  read_objects(doc.table());
  if (doc.is_encrypted())
    check_again(doc, password);
  return 0;
}

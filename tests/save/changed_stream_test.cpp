// Streams of a file that are changed and saved: read, given a key, stored again. Their bodies still lie
// in the file that is written, may be encrypted there, and their "Length" may be of any form.
#include <gtest/gtest.h>

#include "sheaf/document/doc.h"
#include "sheaf/neighbours/security/encrypter.h"
#include "support/pdf_builder.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

using Algorithm = CPDFStandardEncrypt::Algorithm;

enum class Save { kClassic, kStream, kSealed, kComplete };

constexpr int kStream = 10;
constexpr std::size_t kStored = 100016;  // bytes of the body in the file: six digits, as all tests rely on

std::string pattern(std::size_t size) {
  std::string bytes(size, '\0');
  std::uint32_t seed = 12345;
  for (char& c : bytes)
    c = static_cast<char>((seed = seed * 1664525u + 1013904223u) >> 24);
  return bytes;
}

// A document with the stream, encrypted when `algorithm` is not null, and its body in clear.
std::string make_document(const Algorithm* algorithm, std::string& body) {
  const bool aes = algorithm != nullptr && *algorithm != Algorithm::kRC4;
  body = pattern(aes ? kStored - 17 : kStored);  // an initialisation vector and a byte of padding
  PdfBuilder builder;
  builder.pages(1).stream(kStream, "/Keep(kept)/Length 1", body);
  builder.obj(11, std::to_string(kStored)).classic("/Root 1 0 R/ID[(a)(b)]/Info 11 0 R");
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R/Held[10 0 R 11 0 R]>>").classic("/Root 1 0 R/ID[(a)(b)]");
  MemStream file(builder.str());
  CPDFDoc doc;
  EXPECT_TRUE(doc.open(&file));
  CPDFStandardEncrypt encrypter;
  CPDFXRefTable target;
  CQVStreamMem out;
  target.stream = &out;
  doc.keep_identifier(target.id);
  if (algorithm != nullptr) {
    CPDFStandardEncrypt::Settings settings;
    settings.algorithm = *algorithm;
    EXPECT_TRUE(encrypter.create(settings, target.id.as_array()->get(0)->as_string()));
  }
  doc.save_complete(target, algorithm != nullptr ? &encrypter : nullptr);
  return std::string(reinterpret_cast<const char*>(out.data), out.len);
}

// Gives the length of the stream another form of as many characters.
std::string with_length(std::string file, const std::string& form) {
  const std::string stated = "/Length " + std::to_string(kStored);
  EXPECT_EQ(stated.size(), form.size());
  const std::size_t at = file.find(stated);
  EXPECT_NE(at, std::string::npos);
  return file.replace(at, stated.size(), form);
}

std::string stored_bytes(CPDFDoc& doc, int num) {
  Freed<CPDFObj> obj;
  doc.table().get_entity(obj, {num, 0});
  int len = 0;
  const HeapBlock<unsigned char> bytes(doc.table().load_raw_data(obj.as_stream(), len));
  return std::string(reinterpret_cast<const char*>(bytes.get()), static_cast<std::size_t>(len));
}

void give_key(CPDFDoc& doc, int num) {
  Freed<CPDFObj> obj;
  doc.table().get_entity(obj, {num, 0});
  ASSERT_NE(obj.as_stream(), nullptr);
  obj.as_stream()->dict.set_item_int("New", 1);
  ASSERT_TRUE(doc.table().store_object({num, 0}, obj));
}

// The file after a save of that kind.
std::string saved(CPDFDoc& doc, MemStream& file, Save kind) {
  PDF_SIGN_DATA sign;
  sign.num = 0;
  CQVStreamMem out;
  CPDFXRefTable target;
  switch (kind) {
    case Save::kClassic:
      EXPECT_TRUE(doc.save_update(PDF_SAVE_FORM::kClassic, nullptr));
      return file.str();
    case Save::kStream:
      EXPECT_TRUE(doc.save_update(PDF_SAVE_FORM::kStream, nullptr));
      return file.str();
    case Save::kSealed:
      EXPECT_TRUE(doc.save_update(PDF_SAVE_FORM::kStream, &sign));
      return file.str();
    case Save::kComplete:
      break;
  }
  target.stream = &out;
  doc.save_complete(target, nullptr);
  EXPECT_EQ(target.write_failed, 0);
  return std::string(reinterpret_cast<const char*>(out.data), out.len);
}

TEST(ChangedStream, KeepsItsBodyThroughEverySave) {
  struct Row {
    const char* label;
    const Algorithm* algorithm;
  };
  const Algorithm rc4 = Algorithm::kRC4;
  const Algorithm aes128 = Algorithm::kAES128;
  const Algorithm aes256 = Algorithm::kAES256;
  const Row rows[] = {{"clear", nullptr}, {"RC4", &rc4}, {"AES-128", &aes128}, {"AES-256", &aes256}};
  for (const Row& row : rows) {
    std::string body;
    const std::string direct = make_document(row.algorithm, body);
    for (const char* length : {"/Length 100016", "/Length 11 0 R", "/Length 100.16", "/Lengti 100016"}) {
      const std::string source = with_length(direct, length);
      for (const Save kind : {Save::kClassic, Save::kStream, Save::kSealed, Save::kComplete}) {
        SCOPED_TRACE(std::string(row.label) + " " + length + " save " + std::to_string(static_cast<int>(kind)));
        MemStream file(source);
        CPDFDoc doc;
        ASSERT_TRUE(doc.open(&file));
        give_key(doc, kStream);
        MemStream result(saved(doc, file, kind));
        EXPECT_TRUE(stored_bytes(doc, kStream) == body);  // and the document in hand is as before
        CPDFDoc again;
        ASSERT_TRUE(again.open(&result));
        EXPECT_EQ(again.status(), PDF_OPEN::kClean);
        EXPECT_EQ(again.is_encrypted(), row.algorithm != nullptr && kind != Save::kComplete);
        EXPECT_TRUE(stored_bytes(again, kStream) == body);
        Freed<CPDFObj> obj;
        again.table().get_entity(obj, {kStream, 0});
        const CPDFDictionary& dict = *obj.as_dict_or_stream();
        EXPECT_EQ(TestTable::syntax(*dict.get_item("New")), "1");
        EXPECT_EQ(TestTable::syntax(*dict.get_item("Keep")), "(kept)");
        const std::size_t size = again.is_encrypted() ? kStored : body.size();
        EXPECT_EQ(TestTable::syntax(*dict.get_item("Length")), std::to_string(size));
      }
    }
  }
}

// A writer between the printer and the file may be any: here one that only passes on.
struct Relay : CQVStream {
  explicit Relay(CQVStream& to) : target(to) {}
  long long GetLen() const override { return target.GetLen(); }
  long long GetPos() const override { return target.GetPos(); }
  int SetPos(STR_SEEK whence, long long offset) override { return target.SetPos(whence, offset); }
  unsigned int Read(void* dst, unsigned int size) override { return target.Read(dst, size); }
  unsigned int Write(const void* src, unsigned int size) override { return target.Write(src, size); }
  void Flush() override { target.Flush(); }
  void Close() override {}
  CQVStream& target;
};

TEST(ChangedStream, StringsOfACrossReferenceStreamStayInClear) {
  const Algorithm aes256 = Algorithm::kAES256;
  std::string body;
  MemStream file(make_document(&aes256, body));
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&file));
  give_key(doc, kStream);
  saved(doc, file, Save::kSealed);  // lists its cross-reference stream
  CPDFXRefTable& table = doc.table();
  PDF_REF section{0, 0};
  Freed<CPDFObj> obj;
  for (std::uint32_t num = 1; num < table.xref_count && section.num == 0; ++num) {
    table.get_stored(obj, {static_cast<std::int32_t>(num), 0});
    const CPDFObj* const type = obj.as_stream() != nullptr ? obj.as_stream()->dict.get_item("Type") : nullptr;
    if (type != nullptr && type->is_name("XRef"))
      section.num = static_cast<std::int32_t>(num);
  }
  ASSERT_NE(section.num, 0);
  const std::string before = TestTable::syntax(*obj.as_stream()->dict.get_item("ID"));
  ASSERT_TRUE(table.store_object(section, obj));
  MemStream result(saved(doc, file, Save::kStream));
  CPDFDoc again;
  ASSERT_TRUE(again.open(&result));
  again.table().get_stored(obj, section);
  ASSERT_NE(obj.as_stream(), nullptr);
  EXPECT_EQ(TestTable::syntax(*obj.as_stream()->dict.get_item("ID")), before);
}

TEST(ChangedStream, IsPrintedWithoutATableAsLongAsItIs) {
  const std::string body = pattern(300'000);
  for (const char* length : {"/Length 300000", "/Length 7 0 R", "/Length 300000.0", ""}) {
    MemStream file("4 0 obj\n<<" + std::string(length) + ">>\nstream\n" + body + "\nendstream\nendobj\n");
    CPDFBufBase buf;
    buf.buf_init(&file);
    Freed<CPDFObj> obj;
    obj.read(&buf, nullptr);
    PDF_ENC_PARA para{4, 0, 1, nullptr};
    file.SetPos(CQVStream::STR_SEEK_END, 0);
    const std::size_t before = file.len;
    Relay relay(file);
    obj.write(&relay, &para);
    EXPECT_EQ(file.str().substr(before), "4 0 obj\n<</Length 300000>>\nstream\n" + body + "\nendstream\nendobj\n");
  }
}

TEST(ChangedStream, AnEmptyHeldBodyStaysEmpty) {
  MemStream file("");
  CPDFDoc doc;
  ASSERT_TRUE(doc.create(&file));
  ASSERT_TRUE(doc.use_temp_file(nullptr));
  const PDF_REF empty{doc.table().alloc_obj_num(), 0};
  CPDFStreamRec rec;
  doc.table().write_stream(empty, &rec, "", 0);
  rec.dict.set_item(CPDFDictionary::sm_tag_length, nullptr);
  doc.table().store_stream(empty, rec);
  unsigned char other[] = "bytes of another stream";
  doc.table().adv_new_stream_raw(other, sizeof(other));
  ASSERT_TRUE(doc.save_update(PDF_SAVE_FORM::kStream, nullptr));
  const std::string at = "\n" + std::to_string(empty.num) + " 0 obj\n";
  EXPECT_NE(file.str().find(at + "<</Length 0>>\nstream\n\nendstream"), std::string::npos);
}

// Streams that were made or replaced since the document was opened, and that no save has put into the
// file yet, are copied as they are.
TEST(HeldStream, IsCopiedInsideAndAcrossDocuments) {
  const Algorithm aes = Algorithm::kAES128;
  for (const Algorithm* algorithm : {static_cast<const Algorithm*>(nullptr), &aes}) {
    for (const bool in_temp_file : {false, true}) {
      std::string body;
      MemStream file(make_document(algorithm, body));
      CPDFDoc doc;
      ASSERT_TRUE(doc.open(&file));
      if (in_temp_file) {
        ASSERT_TRUE(doc.use_temp_file(nullptr));
      }
      CPDFXRefTable& table = doc.table();
      std::string data = "what was made since";
      const PDF_REF flate =
          table.adv_new_stream_flate(reinterpret_cast<unsigned char*>(data.data()), static_cast<int>(data.size()));
      const PDF_REF raw =
          table.adv_new_stream_raw(reinterpret_cast<unsigned char*>(data.data()), static_cast<int>(data.size()));
      CPDFStreamRec rec;
      table.write_stream({kStream, 0}, &rec, data.data(), static_cast<unsigned>(data.size()));
      table.store_stream({kStream, 0}, rec);

      MemStream empty("");
      CPDFDoc other;
      ASSERT_TRUE(other.create(&empty));
      CPDFMergeContext* const context = other.table().import_start(&other, &table);
      for (const PDF_REF& made : {flate, raw, PDF_REF{kStream, 0}}) {
        const std::string held = stored_bytes(doc, made.num);
        CPDFCloneMap map{nullptr, 0};
        EXPECT_EQ(stored_bytes(doc, table.clone_obj(map, made).num), held);
        QVFree(map.entries);
        EXPECT_EQ(stored_bytes(other, other.table().clone_obj(&table, context, made).num), held);
      }
      other.table().import_end(context);
    }
  }
}

// By default the walks read the table's own file, whatever the record says.
TEST(HeldStream, IsReadFromTheFileUnlessTheTableAsksForIt) {
  MemStream file("the first bytes of the file");
  CPDFXRefTable table;
  table.stream = &file;
  table.next_obj_num = 1;
  unsigned char data[] = {'h', 'e', 'l', 'd'};
  const PDF_REF made = table.adv_new_stream_raw(data, sizeof(data));
  for (const bool own : {false, true}) {
    table.copies_own_source = own ? 1 : 0;
    CPDFCloneMap map{nullptr, 0};
    Freed<CPDFObj> copy;
    table.get_entity(copy, table.clone_obj(map, made));
    QVFree(map.entries);
    int len = 0;
    const HeapBlock<unsigned char> bytes(table.load_raw_data(copy.as_stream(), len));
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(bytes.get()), 4), own ? "held" : "the ");
  }
}

}  // namespace

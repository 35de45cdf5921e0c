// Keys, ciphers and the standard security handler, both ways.
#include <gtest/gtest.h>

#include <memory>

#include "sheaf/document/doc.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/neighbours/security/digests.h"
#include "sheaf/neighbours/security/encrypter.h"
#include "sheaf/neighbours/security/key_material.h"
#include "sheaf/neighbours/security/rc4.h"
#include "support/external_tool.h"
#include "support/pdf_builder.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

using Outcome = CPDFStandardSecHand::Outcome;
using Algorithm = CPDFStandardEncrypt::Algorithm;

std::string hex(const unsigned char* bytes, std::size_t size) {
  std::string out;
  char pair[3];
  for (std::size_t i = 0; i < size; ++i) {
    std::snprintf(pair, sizeof(pair), "%02x", bytes[i]);
    out += pair;
  }
  return out;
}

TEST(Ciphers, PublishedVectorsHold) {
  struct Row {
    const char* key;
    const char* plain;
    const char* coded;
  };
  const Row rows[] = {{"Key", "Plaintext", "bbf316e8d940af0ad3"},
                      {"Wiki", "pedia", "1021bf0420"},
                      {"Secret", "Attack at dawn", "45a01f645fc35b383552544b9bf5"}};
  for (const Row& row : rows) {
    unsigned char out[32];
    const std::string plain = row.plain;
    CQVSecRC4 cipher(reinterpret_cast<const unsigned char*>(row.key), std::string(row.key).size());
    cipher.crypt(reinterpret_cast<const unsigned char*>(row.plain), plain.size(), out);
    EXPECT_EQ(hex(out, plain.size()), row.coded);
  }
  unsigned char digest[20];
  CQVSecMD5 md5;
  md5.init();
  md5.update(reinterpret_cast<const unsigned char*>("abc"), 3);
  md5.end(digest);
  EXPECT_EQ(hex(digest, 16), "900150983cd24fb0d6963f7d28e17f72");
  CQVSecSHA1 sha1;
  sha1.init();
  sha1.update(reinterpret_cast<const unsigned char*>("abc"), 3);
  sha1.end(digest);
  EXPECT_EQ(hex(digest, 20), "a9993e364706816aba3e25717850c26c9cd0d89d");
}

const PDF_String kId{4, const_cast<char*>("id-0")};

// What `password` makes of a dictionary that `settings` made.
Outcome open_with(const CPDFStandardEncrypt& enc, const char* password, CPDFStandardSecHand& hand) {
  hand.set_password(password);
  hand.authorize(&kId, &enc.encrypt_dict);
  return hand.outcome();
}

TEST(Handler, OpensWhatTheEncrypterMakes) {
  for (const Algorithm algorithm : {Algorithm::kAES256, Algorithm::kAES128, Algorithm::kRC4}) {
    CPDFStandardEncrypt::Settings settings;
    settings.algorithm = algorithm;
    settings.user_password = "\xC3\xBCser";
    settings.owner_password = "owner";
    settings.permissions = 1u << 2;
    CPDFStandardEncrypt enc;
    ASSERT_TRUE(enc.create(settings, kId));
    CPDFStandardSecHand hand;
    EXPECT_EQ(open_with(enc, "", hand), Outcome::kNeedsPassword);
    EXPECT_EQ(open_with(enc, "wrong", hand), Outcome::kWrongPassword);
    EXPECT_EQ(open_with(enc, "owner", hand), Outcome::kOpenedAsOwner);
    EXPECT_EQ(hand.get_permissions(), UINT32_MAX);
    EXPECT_EQ(open_with(enc, "\xC3\xBCser", hand), Outcome::kOpenedAsUser);
    EXPECT_EQ(hand.get_permissions() & 0xF3Cu, 1u << 2);

    for (const std::size_t size : {0u, 1u, 15u, 16u, 17u, 1000u}) {
      const std::string plain(size, 'p');
      std::vector<unsigned char> coded(static_cast<std::size_t>(enc.get_enc_size(static_cast<int>(size))) + 32);
      std::vector<unsigned char> again(coded.size() + 32);
      int coded_len = 0;
      int len = 0;
      enc.encrypt_string(12, 3, reinterpret_cast<const unsigned char*>(plain.data()), static_cast<int>(size),
                         coded.data(), &coded_len);
      EXPECT_EQ(coded_len, enc.get_enc_size(static_cast<int>(size)));
      hand.decrypt_string(12, 3, coded.data(), coded_len, again.data(), &len);
      EXPECT_EQ(std::string(again.begin(), again.begin() + len), plain);
    }
  }
}

TEST(Handler, NormalisedPasswordsAreTheSame) {
  CPDFStandardEncrypt::Settings settings;
  settings.user_password = "I\xC2\xADX \xE2\x85\xA8 e\xCC\x81";  // soft hyphen, roman nine, combining accent
  CPDFStandardEncrypt enc;
  ASSERT_TRUE(enc.create(settings, kId));
  CPDFStandardSecHand hand;
  EXPECT_EQ(open_with(enc, "IX IX \xC3\xA9", hand), Outcome::kOpenedAsOwner);
}

// Writers that do not prepare passwords take the bytes as they are typed.
TEST(Handler, APasswordOfBytesAsTypedOpensToo) {
  const char* const typed = "\xEF\xAC\x81x\xC2\xA0";  // a ligature and a no-break space
  KeyParameters para;
  para.version = 5;
  para.revision = 6;
  FileKey key;
  ASSERT_TRUE(make_aes256_entries(para, typed_password(typed), typed_password("other"), key));
  CPDFStandardSecHand hand;
  CPDFStandardEncrypt enc;
  ASSERT_TRUE(enc.create({}, kId));
  const auto set = [&enc](const char* name, const unsigned char* bytes, int size) {
    enc.encrypt_dict.set_item_str(name, reinterpret_cast<const char*>(bytes), size);
  };
  set("U", para.user, 48);
  set("UE", para.user_key, 32);
  set("O", para.owner, 48);
  set("OE", para.owner_key, 32);
  EXPECT_EQ(open_with(enc, typed, hand), Outcome::kOpenedAsUser);
  EXPECT_EQ(open_with(enc, "fix ", hand), Outcome::kWrongPassword);
}

TEST(Handler, AKeyLengthThatIsMissingOrFalseIsFound) {
  CPDFStandardEncrypt::Settings settings;
  settings.algorithm = Algorithm::kRC4;
  settings.user_password = "user";
  settings.owner_password = "owner";
  CPDFStandardEncrypt enc;
  ASSERT_TRUE(enc.create(settings, kId));
  for (const int stated : {0, 40, 56, 99999}) {
    enc.encrypt_dict.set_item_int("Length", stated);
    CPDFStandardSecHand hand;
    EXPECT_EQ(open_with(enc, "wrong", hand), Outcome::kWrongPassword);
    EXPECT_EQ(open_with(enc, "owner", hand), Outcome::kOpenedAsOwner);
    EXPECT_EQ(open_with(enc, "user", hand), Outcome::kOpenedAsUser);
    // Other readers find it in what is written from here on.
    CPDFStandardEncrypt next;
    ASSERT_TRUE(next.continue_with(hand, enc.encrypt_dict));
    EXPECT_EQ(next.encrypt_dict.get_item("Length")->as_int(), 128);
  }
}

TEST(Handler, DamagedDictionariesAreDistinguished) {
  struct Row {
    const char* dict;
    Outcome outcome;
  };
  const Row rows[] = {
      {"<</Filter/Other/V 1/R 2>>", Outcome::kUnsupported},
      {"<</Filter/Standard>>", Outcome::kDamagedDictionary},
      {"<</Filter/Standard/V 9/R 2>>", Outcome::kUnsupported},
      {"<</Filter/Standard/V 1/R 2/P -4>>", Outcome::kDamagedDictionary},
      {"<</Filter/Standard/V 1/R 2/P -4/O 5/U(x)>>", Outcome::kDamagedDictionary},
      {"<</Filter/Standard/V 1/R 2/P -4/O()/U()>>", Outcome::kNeedsPassword},
      {"<</Filter/Standard/V 2/R 3/Length 99999/P(x)/O(short)/U(short)>>", Outcome::kNeedsPassword},
      {"<</Filter/Standard/V 4/R 4/CF 5/O(a)/U(b)>>", Outcome::kNeedsPassword},
      {"<</Filter/Standard/V 4/R 4/CF<</StdCF<</CFM/Unknown>>>>/O(a)/U(b)>>", Outcome::kUnsupported},
      {"<</Filter/Standard/V 4/R 4/CF<</StdCF<</CFM/V2>>>>/StmF/Other/O(a)/U(b)>>", Outcome::kUnsupported},
      {"<</Filter/Standard/V 4/R 4/CF<</StdCF<</CFM/V2>>>>/StmF/StdCF/StrF 7/O(a)/U(b)>>", Outcome::kUnsupported},
      {"<</Filter/Standard/V 5/R 6/O(a)/U(b)>>", Outcome::kDamagedDictionary},
      {"<</Filter/Standard/V 5/R 6/O(a)/U(b)/OE()/UE(x)>>", Outcome::kNeedsPassword},
  };
  for (const Row& row : rows) {
    Freed<CPDFObj> dict;
    read_value(dict, row.dict);
    CPDFStandardSecHand hand;
    EXPECT_EQ(hand.authorize(nullptr, dict.as_dict()), 0) << row.dict;
    EXPECT_EQ(hand.outcome(), row.outcome) << row.dict;
  }
}

TEST(Handler, CodedDataThatCannotBeAreShort) {
  CPDFStandardEncrypt::Settings settings;
  CPDFStandardEncrypt enc;
  ASSERT_TRUE(enc.create(settings, kId));
  CPDFStandardSecHand hand;
  ASSERT_EQ(open_with(enc, "", hand), Outcome::kOpenedAsOwner);
  const std::vector<unsigned char> junk(100, 0x5A);
  unsigned char out[200];
  for (int len = 0; len <= 100; ++len) {
    int out_len = -1;
    hand.decrypt_data(1, 0, junk.data(), len, out, &out_len);
    EXPECT_GE(out_len, 0);
    EXPECT_LE(out_len, std::max(len - 16, 0)) << len;
  }
}

// A document with strings and a stream, written with `settings`.
std::string encrypted_document(const CPDFStandardEncrypt::Settings& settings) {
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R/Metadata 5 0 R/Items[4 0 R 6 0 R]>>")
      .obj(2, "<</Type/Pages/Kids[3 0 R]>>");
  builder.obj(3, "<</Type/Page>>").obj(4, "<</Text(secret text)/Type/Sig/ByteRange[0 1]/Contents(in clear)>>");
  builder.stream(5, "/Type/Metadata", "metadata in clear?").stream(6, "", "secret stream").classic();
  MemStream file(builder.str());
  CPDFDoc doc;
  doc.open(&file);
  MemStream out("");
  CPDFXRefTable target;
  target.stream = &out;
  auto* pair = new CPDFArray;
  pair->append_str(kId.data, kId.len);
  pair->append_str(kId.data, kId.len);
  target.id.take_array(pair);
  CPDFStandardEncrypt enc;
  enc.create(settings, kId);
  doc.save_complete(target, &enc);
  return out.str();
}

TEST(Encrypted, OnlyWhatShouldBeIsEncrypted) {
  for (const Algorithm algorithm : {Algorithm::kAES256, Algorithm::kAES128, Algorithm::kRC4}) {
    CPDFStandardEncrypt::Settings settings;
    settings.algorithm = algorithm;
    settings.user_password = "user";
    settings.clear_metadata = true;
    const std::string bytes = encrypted_document(settings);
    EXPECT_EQ(bytes.find("secret"), std::string::npos);
    EXPECT_NE(bytes.find("(in clear)"), std::string::npos);
    EXPECT_EQ(bytes.find("metadata in clear?") != std::string::npos, algorithm != Algorithm::kRC4);

    MemStream file(bytes);
    CPDFDoc doc;
    doc.set_password("user");
    ASSERT_TRUE(doc.open(&file));
    ASSERT_TRUE(doc.is_readable());
    Freed<CPDFObj> obj;
    doc.table().get_entity(obj, {4, 0});
    EXPECT_EQ(TestTable::syntax(obj), "<</ByteRange[0 1]/Contents(in clear)/Text(secret text)/Type/Sig>>");
    for (const auto& [num, text] : {std::pair{5, "metadata in clear?"}, std::pair{6, "secret stream"}}) {
      doc.table().get_entity(obj, {num, 0});
      const std::unique_ptr<CPDFStream> stream(doc.table().make_stream(obj.as_stream()));
      char data[64] = {};
      stream->read_block(data, 64);
      EXPECT_STREQ(data, text);
    }
  }
}

// A caller may keep a stream and read it after any number of others.
TEST(Handler, RemembersTheMethodOfEveryStream) {
  CPDFStandardEncrypt::Settings settings;
  settings.algorithm = Algorithm::kAES128;
  CPDFStandardEncrypt enc;
  ASSERT_TRUE(enc.create(settings, kId));
  enc.encrypt_dict.set_item_name("StmF", "Identity");
  CPDFStandardSecHand hand;
  ASSERT_EQ(open_with(enc, "", hand), Outcome::kOpenedAsUser);
  Freed<CPDFObj> named;
  read_value(named, "<</Filter[/Crypt]/DecodeParms[<</Name/StdCF>>]>>");
  Freed<CPDFObj> bare;
  read_value(bare, "<<>>");
  const auto decrypted = [&hand](int num) {
    unsigned char out[80];
    int len = 0;
    const unsigned char coded[48] = {};
    hand.decrypt_data(num, 0, coded, sizeof(coded), out, &len);
    return std::string(out, out + len) != std::string(coded, coded + sizeof(coded));
  };
  for (int num = 1; num <= 1000; ++num)
    EXPECT_EQ(hand.prepare_stream(num, 0, named.as_dict()), 0);
  for (int num = 1; num <= 1000; ++num)
    EXPECT_TRUE(decrypted(num)) << num;
  EXPECT_EQ(hand.prepare_stream(7, 0, bare.as_dict()), 1);  // its newer revision names no filter
  EXPECT_FALSE(decrypted(7));
}

// "CF" and what is in it may be indirect; an update then is no less encrypted, and a new file takes
// the whole dictionary over.
TEST(Encrypted, CryptFiltersMayBeReferences) {
  for (const Algorithm algorithm : {Algorithm::kAES256, Algorithm::kAES128}) {
    CPDFStandardEncrypt::Settings settings;
    settings.algorithm = algorithm;
    settings.user_password = "user";
    CPDFStandardEncrypt enc;
    ASSERT_TRUE(enc.create(settings, kId));
    Freed<CPDFObj> dict;
    dict.take_dict(new CPDFDictionary);
    dict.as_dict()->copy_from(&enc.encrypt_dict);
    dict.as_dict()->set_item_ref("CF", {11, 0});
    dict.as_dict()->set_item_ref("StmF", {13, 0});
    unsigned char coded[64];
    int len = 0;
    const CPDFDictionary plain_stream;
    ASSERT_TRUE(enc.encrypts_stream(6, 0, &plain_stream));
    enc.encrypt_data(6, 0, reinterpret_cast<const unsigned char*>("secret"), 6, coded, &len);
    PdfBuilder builder;
    builder.obj(1, "<</Type/Catalog/Pages 2 0 R/Data 6 0 R>>").obj(2, "<</Type/Pages/Kids[3 0 R]/Count 1>>");
    builder.obj(3, "<</Type/Page>>").obj(10, TestTable::syntax(dict)).obj(11, "<</StdCF 12 0 R>>");
    builder.obj(12, TestTable::syntax(*enc.encrypt_dict.get_item("CF")->as_dict()->get_item("StdCF")));
    builder.obj(13, "/StdCF")
        .stream(6, "", std::string(reinterpret_cast<const char*>(coded), static_cast<std::size_t>(len)));
    MemStream file(builder.classic("/Root 1 0 R/Encrypt 10 0 R/ID[(id-0)(id-0)]").str());
    const auto has_secret = [](CPDFDoc& doc) {
      Freed<CPDFObj> obj;
      doc.table().get_entity(obj, {6, 0});
      int plain_len = 0;
      const HeapBlock<unsigned char> plain(doc.table().load_raw_data(obj.as_stream(), plain_len));
      return plain &&
             std::string(reinterpret_cast<const char*>(plain.get()), static_cast<std::size_t>(plain_len)) == "secret";
    };
    CPDFDoc doc;
    doc.set_password("user");
    ASSERT_TRUE(doc.open(&file));
    ASSERT_TRUE(doc.is_readable());
    EXPECT_TRUE(has_secret(doc));
    MemStream out("");
    CPDFXRefTable target;
    target.stream = &out;
    Freed<CPDFObj> whole;
    doc.table().get_encryption(whole);
    CPDFStandardEncrypt same;
    ASSERT_TRUE(same.continue_with(doc.handler(), *whole.as_dict()));
    doc.keep_identifier(target.id);
    doc.save_complete(target, &same);
    CPDFDoc copy;
    copy.set_password("user");
    ASSERT_TRUE(copy.open(&out));
    EXPECT_TRUE(has_secret(copy));

    ASSERT_TRUE(doc.set_info("Title", "hidden title"));
    ASSERT_TRUE(doc.save_update(PDF_SAVE_FORM::kAsFile, nullptr));
    EXPECT_EQ(file.str().find("hidden title"), std::string::npos);
  }
}

// Where the dictionary is lost, nobody knows the key, and nothing may be written in clear.
TEST(Encrypted, NoUpdateWithoutAKey) {
  PdfBuilder builder;
  MemStream file(builder.pages(1).classic("/Root 1 0 R/Encrypt 99 0 R").str());
  const std::string before = file.str();
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&file));
  ASSERT_TRUE(doc.set_info("Title", "clear title"));
  EXPECT_FALSE(doc.save_update(PDF_SAVE_FORM::kAsFile, nullptr));
  EXPECT_EQ(file.str(), before);
}

TEST(Encrypted, AnUpdateGoesOnWithTheSameKeys) {
  for (const PDF_SAVE_FORM form : {PDF_SAVE_FORM::kClassic, PDF_SAVE_FORM::kStream}) {
    CPDFStandardEncrypt::Settings settings;
    settings.user_password = "user";
    MemStream file(encrypted_document(settings));
    CPDFDoc doc;
    doc.set_password("user");
    ASSERT_TRUE(doc.open(&file));
    ASSERT_TRUE(doc.set_info("Title", "hidden title"));
    ASSERT_TRUE(doc.save_update(form, nullptr));
    doc.close();
    EXPECT_EQ(file.str().find("hidden title"), std::string::npos);
    doc.set_password("user");
    ASSERT_TRUE(doc.open(&file));
    EXPECT_EQ(doc.status(), PDF_OPEN::kClean);
    Freed<CPDFObj> info;
    doc.table().resolve(info, &doc.table().info);
    EXPECT_STREQ(info.as_dict()->get_item("Title")->as_text(), "hidden title");
  }
}

// A filter that a stream names must be there in the new file, or go; its data are coded accordingly.
TEST(Encrypted, NamedCryptFiltersFollowTheNewEncryption) {
  const auto data_of = [](CPDFDoc& doc, int num) {
    Freed<CPDFObj> obj;
    doc.table().get_entity(obj, {num, 0});
    const std::unique_ptr<CPDFStream> stream(doc.table().make_stream(obj.as_stream()));
    char data[64] = {};
    if (stream != nullptr)
      stream->read_block(data, 63);
    return std::string(data);
  };
  const auto rewritten = [](CPDFDoc& doc, CPDFStandardEncrypt* enc) {
    MemStream out("");
    CPDFXRefTable target;
    target.stream = &out;
    auto* pair = new CPDFArray;
    pair->append_str(kId.data, kId.len);
    pair->append_str(kId.data, kId.len);
    target.id.take_array(pair);
    doc.save_complete(target, enc);
    return out.str();
  };
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R/Data[4 0 R 5 0 R 6 0 R]>>").obj(2, "<</Type/Pages/Kids[3 0 R]>>");
  builder.obj(3, "<</Type/Page>>").stream(4, "/Filter/Crypt/DecodeParms<</Name/StdCF>>", "secret four");
  builder.stream(5, "/Filter[/Crypt]/DecodeParms[<</Name/Identity>>]", "clear five");
  builder.stream(6, "/Filter[/Crypt/ASCIIHexDecode]/DecodeParms[<</Name/Other>>null]", "736978>").classic();
  for (const Algorithm algorithm : {Algorithm::kAES256, Algorithm::kAES128, Algorithm::kRC4}) {
    MemStream file(builder.str());
    CPDFDoc doc;
    ASSERT_TRUE(doc.open(&file));
    CPDFStandardEncrypt::Settings settings;
    settings.algorithm = algorithm;
    CPDFStandardEncrypt enc;
    ASSERT_TRUE(enc.create(settings, kId));
    MemStream coded(rewritten(doc, &enc));
    EXPECT_EQ(coded.str().find("secret four"), std::string::npos);
    EXPECT_EQ(coded.str().find("clear five") != std::string::npos, algorithm != Algorithm::kRC4);
    CPDFDoc again;
    ASSERT_TRUE(again.open(&coded));
    EXPECT_EQ(data_of(again, 4) + data_of(again, 5) + data_of(again, 6), "secret fourclear fivesix");
    MemStream plain(rewritten(again, nullptr));
    EXPECT_EQ(plain.str().find("/Crypt"), std::string::npos);
    CPDFDoc decoded;
    ASSERT_TRUE(decoded.open(&plain));
    EXPECT_EQ(data_of(decoded, 4) + data_of(decoded, 5) + data_of(decoded, 6), "secret fourclear fivesix");
  }
}

TEST(Encrypted, WhatQpdfEncryptsReadsAsThePlainFile) {
  if (!has_program("qpdf"))
    GTEST_SKIP() << "qpdf is not installed";
  const TestFolder folder;
  PdfBuilder builder;
  builder.pages(2).obj(7, "<</Deep[(one)<</S(two)>>]>>").stream(8, "/Type/Metadata/Subtype/XML", "<x/>");
  builder.stream(9, "/Filter/FlateDecode/Refs[7 0 R 8 0 R]", PdfBuilder::deflated(std::string(5000, 'd')));
  std::string bytes = builder.classic("/Root 1 0 R/Info 9 0 R/ID[(0123456789abcdef)(0123456789abcdef)]").str();
  write_file(folder / "plain.pdf", bytes);
  const char* const kinds[] = {
      "40 --",  "128 --use-aes=n --",          "128 --use-aes=y --", "128 --use-aes=y --cleartext-metadata --",
      "256 --", "256 --cleartext-metadata --", "256 --force-R5 --"};
  const std::string stem =
      "qpdf --allow-weak-crypto --static-id --object-streams=preserve --encrypt 'us\xC3\xA9r' 'own\xC3\xA9r' ";
  CPDFDoc plain;
  ASSERT_TRUE(plain.open((folder / "plain.pdf").c_str()));
  for (const char* kind : kinds) {
    const std::string out = folder / "coded.pdf";
    ASSERT_EQ(run_command(stem + kind + " " + (folder / "plain.pdf") + " " + out + " 2>&1").code, 0) << kind;
    for (const char* password : {"us\xC3\xA9r", "own\xC3\xA9r"}) {
      CPDFDoc doc;
      doc.set_password(password);
      ASSERT_TRUE(doc.open(out.c_str())) << kind;
      ASSERT_TRUE(doc.is_readable()) << kind << " " << password;
      EXPECT_EQ(doc.page_count(), 2);
      int strings = 0;
      for (std::uint32_t num = 1; num < doc.table().xref_count; ++num) {
        Freed<CPDFObj> obj;
        doc.table().get_entity(obj, {static_cast<std::int32_t>(num), 0});
        strings += TestTable::syntax(obj) == "<</Deep[(one)<</S(two)>>]>>" ? 1 : 0;
        const std::unique_ptr<CPDFStream> stream(obj.as_stream() != nullptr ? doc.table().make_stream(obj.as_stream())
                                                                            : nullptr);
        char data[8] = {};
        if (stream != nullptr && stream->read_block(data, 7) > 0)
          strings += std::string(data, 4) == "dddd" || std::string(data, 4) == "<x/>" ? 1 : 0;
      }
      EXPECT_EQ(strings, 3) << kind << " " << password;
    }
    CPDFDoc refused;
    refused.set_password("other");
    refused.open(out.c_str());
    EXPECT_FALSE(refused.is_readable()) << kind;
  }
}

}  // namespace

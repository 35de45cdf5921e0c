// Signatures that OpenSSL's own program made, verified, then spoilt in the ways that attackers try.
#include <gtest/gtest.h>
#include <openssl/cms.h>

#include <memory>

#include "support/external_tool.h"
#include "support/pdf_builder.h"

namespace {

constexpr std::size_t kRoom = 4096;  // bytes of a signature

// A document with a signature's place, its byte range filled in.
std::string unsigned_document(std::size_t& gap, const std::string& coding) {
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R/AcroForm<</SigFlags 3/Fields[4 0 R]>>>>")
      .obj(2, "<</Type/Pages/Count 1/Kids[3 0 R]>>")
      .obj(3, "<</Type/Page/Parent 2 0 R/MediaBox[0 0 99 99]/Annots[4 0 R]>>")
      .obj(4, "<</Type/Annot/Subtype/Widget/FT/Sig/T(Seal)/Rect[0 0 0 0]/V 5 0 R>>")
      .obj(5, "<</Type/Sig/Filter/Adobe.PPKLite/SubFilter/" + coding +
                  "/Name(A. Signer)"
                  "/Reference[<</Type/SigRef/TransformMethod/DocMDP/TransformParams<</P 2>>>>]"
                  "/ByteRange[0000000000 0000000000 0000000000 0000000000]/Contents<" +
                  std::string(2 * kRoom, '0') + ">>>");
  std::string out = builder.classic().str();
  gap = out.find("/Contents<") + 9;
  const std::size_t behind = gap + 2 * kRoom + 2;
  char range[48];
  std::snprintf(range, sizeof(range), "%010zu %010zu %010zu %010zu", std::size_t{0}, gap, behind, out.size() - behind);
  return out.replace(out.find("/ByteRange[") + 11, 43, range);
}

struct Signatures : testing::Test {
  RunResult run(const std::string& command) { return run_command("cd " + folder.str() + " && " + command + " 2>&1"); }
  RunResult sheaf(const std::string& arguments) { return run(SHEAF_TOOL + (" " + arguments)); }
  static bool contains(const RunResult& result, const std::string& text) {
    return result.output.find(text) != std::string::npos;
  }
  // False where the program that signs is missing.
  bool sign() {
    return sign(
        "adbe.pkcs7.detached",
        "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -keyout key.pem -out cert.pem -subj "
        "'/CN=A. Signer/O=Tests' "
        "-days 3 && openssl cms -sign -binary -md sha256 -in covered -signer cert.pem -inkey key.pem -outform "
        "DER -out signature");
  }
  // `command` makes the file "signature" of the file "covered".
  bool sign(const std::string& coding, const std::string& command) {
    if (!has_program("openssl"))
      return false;
    std::size_t gap = 0;
    document = unsigned_document(gap, coding);
    write_file(folder / "covered", document.substr(0, gap) + document.substr(gap + 2 * kRoom + 2));
    const RunResult made = run(command);
    EXPECT_EQ(made.code, 0) << made.output;
    place();
    return true;
  }
  // Puts the file "signature" into the document.
  void place() {
    const std::string signature = read_file(folder / "signature");
    EXPECT_TRUE(!signature.empty() && signature.size() <= kRoom);
    const std::size_t gap = document.find("/Contents<") + 9;
    for (std::size_t i = 0; i < signature.size() && i < kRoom; ++i) {
      char digits[3];
      std::snprintf(digits, sizeof(digits), "%02x", static_cast<unsigned char>(signature[i]));
      document.replace(gap + 1 + 2 * i, 2, digits);
    }
    write_file(folder / "in.pdf", document);
  }
  // What `openssl ts` needs to give stamps with "clock.pem".
  void set_up_clock() {
    write_file(folder / "serial", "01");
    write_file(folder / "stamp.cnf",
               "[req]\ndistinguished_name=dn\nx509_extensions=v3\nprompt=no\n[dn]\nCN=Clock\n[v3]\n"
               "extendedKeyUsage=critical,timeStamping\n[tsa]\ndefault_tsa=t\n[t]\nserial=serial\n"
               "signer_cert=clock.pem\nsigner_key=clock.key\nsigner_digest=sha256\ndefault_policy=1.2.3\n"
               "digests=sha256\n");
  }
  // Stamps the file "value" where `of_value`, or something else, among the unsigned attributes of "signature".
  void stamp(bool of_value);

  TestFolder folder;
  std::string document;
};

constexpr char kStamp[] =
    "openssl ts -query -data %s -sha256 -cert -out query && openssl ts -reply -config stamp.cnf -queryfile query "
    "-token_out -out token";
constexpr char kClock[] =
    "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -keyout clock.key -out clock.pem -days 3 "
    "-config stamp.cnf";

std::string stamp_command(const char* data) {
  char text[sizeof(kStamp) + 32];
  std::snprintf(text, sizeof(text), kStamp, data);
  return text;
}

void Signatures::stamp(bool of_value) {
  const std::string bytes = read_file(folder / "signature");
  const auto* at = reinterpret_cast<const unsigned char*>(bytes.data());
  const std::unique_ptr<CMS_ContentInfo, decltype(&CMS_ContentInfo_free)> cms(
      d2i_CMS_ContentInfo(nullptr, &at, static_cast<long>(bytes.size())), &CMS_ContentInfo_free);
  ASSERT_NE(cms, nullptr);
  CMS_SignerInfo* const signer = sk_CMS_SignerInfo_value(CMS_get0_SignerInfos(cms.get()), 0);
  const ASN1_OCTET_STRING* const value = CMS_SignerInfo_get0_signature(signer);
  write_file(folder / "value", std::string(reinterpret_cast<const char*>(ASN1_STRING_get0_data(value)),
                                           static_cast<std::size_t>(ASN1_STRING_length(value))));
  const RunResult made = run(stamp_command(of_value ? "value" : "covered"));
  ASSERT_EQ(made.code, 0) << made.output;
  const std::string token = read_file(folder / "token");
  ASSERT_EQ(CMS_unsigned_add1_attr_by_NID(signer, NID_id_smime_aa_timeStampToken, V_ASN1_SEQUENCE, token.data(),
                                          static_cast<int>(token.size())),
            1);
  std::string stamped(static_cast<std::size_t>(i2d_CMS_ContentInfo(cms.get(), nullptr)), 0);
  auto* to = reinterpret_cast<unsigned char*>(stamped.data());
  i2d_CMS_ContentInfo(cms.get(), &to);
  write_file(folder / "signature", stamped);
  place();
}

TEST_F(Signatures, HoldUntilACoveredByteChanges) {
  if (!sign())
    GTEST_SKIP() << "openssl is not installed";
  const RunResult plain = sheaf("signatures in.pdf");
  EXPECT_EQ(plain.code, 0);
  EXPECT_TRUE(contains(plain, "Seal: valid, certificate not checked") && contains(plain, "A. Signer") &&
              contains(plain, "the whole file") && contains(plain, "permits filling in"))
      << plain.output;
  EXPECT_TRUE(contains(sheaf("signatures in.pdf --trust cert.pem"), "certificate trusted"));
  run("openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -keyout k2.pem -out other.pem -subj "
      "/CN=Other -days 3");
  EXPECT_TRUE(contains(sheaf("signatures in.pdf --trust other.pem"), "certificate unknown"));
  std::string spoilt = document;
  spoilt[spoilt.find("99 99")] = '8';
  write_file(folder / "spoilt.pdf", spoilt);
  const RunResult changed = sheaf("signatures spoilt.pdf");
  EXPECT_TRUE(changed.code == 1 && contains(changed, "Seal: changed")) << changed.output;
  // The range leaves out more than the signature: what is there could be anything.
  std::string wide = document;
  wide.replace(wide.find("/ByteRange[") + 11, 10, "0000000001");
  write_file(folder / "wide.pdf", wide);
  EXPECT_TRUE(contains(sheaf("signatures wide.pdf"), "unreadable"));
  if (!has_program("pdfsig"))
    GTEST_SKIP() << "pdfsig is not installed";
  EXPECT_TRUE(contains(run("pdfsig in.pdf"), "Signature is Valid"));
  EXPECT_TRUE(contains(run("pdfsig spoilt.pdf"), "Digest Mismatch"));
}

TEST_F(Signatures, TimeStampsOfADocumentHoldUntilAByteChanges) {
  set_up_clock();
  if (!sign("ETSI.RFC3161", std::string(kClock) + " && " + stamp_command("covered") + " && mv token signature"))
    GTEST_SKIP() << "openssl is not installed";
  const RunResult sound = sheaf("signatures in.pdf --trust clock.pem");
  EXPECT_TRUE(sound.code == 0 && contains(sound, "Seal: valid, certificate trusted") && contains(sound, "Clock"))
      << sound.output;
  document[document.find("99 99")] = '8';
  write_file(folder / "spoilt.pdf", document);
  EXPECT_TRUE(contains(sheaf("signatures spoilt.pdf"), "Seal: changed"));
}

// The stamp of a signature is beside what was signed, and says when there was this signature and no other.
TEST_F(Signatures, AStampAmongTheUnsignedAttributesIsOfItsOwnSignature) {
  for (const bool of_value : {true, false}) {
    set_up_clock();
    if (!sign())
      GTEST_SKIP() << "openssl is not installed";
    ASSERT_EQ(run(kClock).code, 0);
    stamp(of_value);
    const RunResult said = sheaf("signatures in.pdf");
    EXPECT_TRUE(contains(said, "Seal: valid")) << said.output;
    EXPECT_TRUE(contains(said, of_value ? "Z, valid" : "Z, changed")) << said.output;
    EXPECT_EQ(said.code, of_value ? 0 : 1);
  }
}

TEST_F(Signatures, WhatChangedAfterThemIsNamed) {
  if (!sign())
    GTEST_SKIP() << "openssl is not installed";
  ASSERT_NE(sheaf("rotate in.pdf +90 --in-place").code, 2);
  const RunResult later = sheaf("signatures in.pdf");
  EXPECT_EQ(later.code, 0);
  EXPECT_TRUE(contains(later, "Seal: valid") && contains(later, "the whole revision") &&
              contains(later, "changed Page"))
      << later.output;
}

}  // namespace

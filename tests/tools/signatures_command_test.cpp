// Signatures that OpenSSL's own program made, verified, then spoilt in the ways that attackers try.
#include <gtest/gtest.h>

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
    const std::string signature = read_file(folder / "signature");
    EXPECT_TRUE(made.code == 0 && !signature.empty() && signature.size() <= kRoom) << made.output;
    for (std::size_t i = 0; i < signature.size() && i < kRoom; ++i) {
      char digits[3];
      std::snprintf(digits, sizeof(digits), "%02x", static_cast<unsigned char>(signature[i]));
      document.replace(gap + 1 + 2 * i, 2, digits);
    }
    write_file(folder / "in.pdf", document);
    return true;
  }

  TestFolder folder;
  std::string document;
};

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
  write_file(folder / "serial", "01");
  write_file(folder / "stamp.cnf",
             "[req]\ndistinguished_name=dn\nx509_extensions=v3\nprompt=no\n[dn]\nCN=Clock\n[v3]\n"
             "extendedKeyUsage=critical,timeStamping\n[tsa]\ndefault_tsa=t\n[t]\nserial=serial\n"
             "signer_cert=cert.pem\nsigner_key=key.pem\nsigner_digest=sha256\ndefault_policy=1.2.3\n"
             "digests=sha256\n");
  if (!sign(
          "ETSI.RFC3161",
          "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -keyout key.pem -out cert.pem -days 3 "
          "-config stamp.cnf && openssl ts -query -data covered -sha256 -cert -out query && openssl ts -reply -config "
          "stamp.cnf -queryfile query -token_out -out signature"))
    GTEST_SKIP() << "openssl is not installed";
  const RunResult sound = sheaf("signatures in.pdf --trust cert.pem");
  EXPECT_TRUE(sound.code == 0 && contains(sound, "Seal: valid, certificate trusted") && contains(sound, "Clock"))
      << sound.output;
  document[document.find("99 99")] = '8';
  write_file(folder / "spoilt.pdf", document);
  EXPECT_TRUE(contains(sheaf("signatures spoilt.pdf"), "Seal: changed"));
}

TEST_F(Signatures, WhatChangedBehindThemIsNamed) {
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

// Form data: FDF and XFDF, written and read.
#include "sheaf/document/forms/form_data.h"

#include <gtest/gtest.h>

#include "filled_form.h"

namespace {

// "name=value|value;" for every field; states with a slash.
std::string listed(const CPDFFormData& data) {
  std::string out;
  for (std::int32_t i = 0; i < data.count(); ++i) {
    out += data.name(i);
    for (std::int32_t k = 0; k < data.value_count(i); ++k)
      out += std::string(k == 0 ? "=" : "|") + (data.is_state(i, k) ? "/" : "") + data.value(i, k);
    out += ";";
  }
  return out;
}

std::string read_fdf(const std::string& bytes) {
  MemStream in(bytes);
  CPDFFormData data;
  return data.read_fdf(in) ? listed(data) : "no FDF";
}

std::string read_xfdf(const std::string& bytes) {
  CPDFFormData data;
  return data.read_xfdf(bytes.data(), bytes.size()) ? listed(data) : "no XFDF";
}

TEST(FormData, ReadsFdfWithKidsReferencesAndLoops) {
  EXPECT_EQ(read_fdf("%FDF-1.2\n1 0 obj\n<</FDF<</Fields[<</T(a)/V(text)>> <</T(b)/Kids[<</T(c)/V/On>> 2 0 R]>> "
                     "<</T(m)/V[(x)(y)]>>]>>>>\nendobj\n2 0 obj\n<</T(\xFE\xFF\x04\x16)/V 3 0 R/Kids[2 0 R]>>\nendobj\n"
                     "3 0 obj\n(there)\nendobj\ntrailer\n<</Root 1 0 R>>\n%%EOF\n"),
            "a=text;b.c=/On;b.\xD0\x96=there;m=x|y;");
  EXPECT_EQ(read_fdf("%PDF-1.4\n1 0 obj\n<</Type/Catalog>>\nendobj\ntrailer\n<</Root 1 0 R>>\n"), "no FDF");
  EXPECT_EQ(read_fdf(""), "no FDF");
}

TEST(FormData, ReadsXfdf) {
  EXPECT_EQ(read_xfdf("<?xml version=\"1.0\"?><xfdf xmlns=\"http://ns.adobe.com/xfdf/\"><fields>"
                      "<field name=\"a\"><value> text </value></field>"
                      "<field name=\"b\"><field name=\"c\"><value>1 &lt; 2</value></field>"
                      "<field name=\"d\"><field name=\"e\"><value/></field></field></field>"
                      "<field name=\"m\"><value>x</value><value>y</value></field></fields></xfdf>"),
            "a= text ;b.c=1 < 2;b.d.e=;m=x|y;");
  EXPECT_EQ(read_xfdf("<fields/>"), "no XFDF");
  EXPECT_EQ(read_xfdf("<xfdf"), "no XFDF");
}

TEST(FormData, WhatIsWrittenIsReadAlike) {
  CPDFFormData data;
  const char* const names[] = {"a", "a.b", "a.b.c", "a.d", "x.y", "x.z", "x", "q"};
  for (const char* name : names) {
    data.add_field(name);
    data.add_value("V\xC3\xA4lue (1) \xE4\xB8\xAD", false);
  }
  data.add_value("second", false);
  CQVStreamMem fdf;
  CQVStreamMem xfdf;
  EXPECT_TRUE(data.write_fdf(fdf, "form.pdf"));
  EXPECT_TRUE(data.write_xfdf(xfdf, "form.pdf"));
  const std::string fdf_text(reinterpret_cast<const char*>(fdf.data), fdf.len);
  const std::string xfdf_text(reinterpret_cast<const char*>(xfdf.data), xfdf.len);
  EXPECT_EQ(read_fdf(fdf_text), listed(data)) << fdf_text;
  EXPECT_EQ(read_xfdf(xfdf_text), listed(data)) << xfdf_text;
  EXPECT_NE(xfdf_text.find("<f href=\"form.pdf\""), std::string::npos) << xfdf_text;
  EXPECT_NE(fdf_text.find("/F(form.pdf)"), std::string::npos) << fdf_text;
}

TEST(FormData, EveryPrefixOfFdfIsReadWithoutHarm) {
  const std::string whole =
      "%FDF-1.2\n1 0 obj\n<</FDF<</Fields[<</T(b)/Kids[<</T(c)/V/On>>]>>]>>>>\nendobj\ntrailer\n<</Root 1 0 R>>\n";
  for (std::size_t len = 0; len <= whole.size(); ++len) {
    read_fdf(whole.substr(0, len));
    read_xfdf(whole.substr(0, len));
  }
  EXPECT_EQ(read_fdf(whole), "b.c=/On;");
}

TEST(FormData, DeepAndLongNamesEnd) {
  std::string kids;
  std::string nodes;
  for (int i = 0; i < 400; ++i) {
    kids += "<</T(" + std::string(300, 'n') + ")/V(v)/Kids[";
    nodes += "<field name=\"n\"><value>v</value>";
  }
  CPDFFormData data;
  const std::string xml = "<xfdf><fields>" + nodes + "</fields></xfdf>";
  data.read_xfdf(xml.data(), xml.size());
  read_fdf("%FDF-1.2\n1 0 obj\n<</FDF<</Fields[" + kids + "]>>>>\nendobj\ntrailer\n<</Root 1 0 R>>\n");
  EXPECT_LE(data.count(), 256);
}

TEST(FormData, TakesTheValuesOfAForm) {
  FormMaker maker;
  maker.field("t", "/FT/Tx/V(text)");
  maker.field("none", "/FT/Tx");
  maker.field("c", "/FT/Btn/V/On");
  maker.field("l", "/FT/Ch/V[(x)(y)]");
  maker.field("s", "/FT/Sig/V<</Type/Sig>>");
  FilledForm form(maker.str());
  CPDFFormData data;
  EXPECT_TRUE(data.read_form(form.doc));
  EXPECT_EQ(listed(data), "t=text;c=/On;l=x|y;");
}

}  // namespace

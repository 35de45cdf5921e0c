// The structure tree of documents that are joined or split.
#include "support/merged.h"

using namespace sheaf;

namespace {

// Two tagged pages: a table cell by a form on the first, a link on the second, and an empty cell.
std::string tagged(const std::string& role, const std::string& language) {
  PdfBuilder builder;
  builder.pages(2)
      .obj(1, "<</Type/Catalog/Pages 2 0 R/StructTreeRoot 10 0 R/MarkInfo<</Marked true/UserProperties true>>/Lang(" +
                  language + ")>>")
      .obj(3, "<</Type/Page/Parent 2 0 R/StructParents 0/Resources<</XObject<</F 20 0 R>>>>/Contents 22 0 R>>")
      .obj(4, "<</Type/Page/Parent 2 0 R/StructParents 1/Annots[21 0 R]>>")
      .obj(10,
           "<</Type/StructTreeRoot/K 11 0 R/ParentTree<</Nums[0[12 0 R]1[15 0 R]2[13 0 R]3 16 0 R]>>/RoleMap<</Role/" +
               role + ">>/ClassMap<</C<</O/Layout/TextAlign/" + role + ">>>>>>")
      .obj(11, "<</S/Document/P 10 0 R/K[12 0 R 13 0 R 14 0 R 15 0 R 16 0 R]>>")
      .obj(12, "<</S/Role/P 11 0 R/Pg 3 0 R/K 0/ID(id)/C/C>>")
      .obj(13, "<</S/TD/P 11 0 R/K<</Type/MCR/Pg 3 0 R/Stm 20 0 R/MCID 0>>/A<</O/Table/Headers[(id)]>>>>")
      .obj(14, "<</S/Sect/P 11 0 R/K[17 0 R 18 0 R]>>")
      .obj(15, "<</S/P/P 11 0 R/Pg 4 0 R/K[0 2]/Ref[12 0 R 16 0 R]>>")
      .obj(16, "<</S/Link/P 11 0 R/K<</Type/OBJR/Pg 4 0 R/Obj 21 0 R>>>>")
      .obj(17, "<</S/TD/P 14 0 R/Pg 3 0 R/K[3]>>")
      .obj(18, "<</S/TD/P 14 0 R>>")
      .stream(20, "/Subtype/Form/StructParents 2/BBox[0 0 1 1]", "q Q")
      .obj(21, "<</Subtype/Link/StructParent 3/A<</S/URI/URI(u)>>>>")
      .stream(22, "", "/P<</MCID 0>>BDC EMC")
      .classic();
  return builder.str();
}

// The value of `key` in the parent tree of the merged document.
std::string parent_of(Merged& merged, int key) {
  for (int i = 0;; i += 2) {
    const std::string at =
        merged.path({"StructTreeRoot", "ParentTree", "Kids", "0", "Nums", std::to_string(i).c_str()});
    if (at == "null")
      return "none";
    if (at == std::to_string(key))
      return merged.path({"StructTreeRoot", "ParentTree", "Kids", "0", "Nums", std::to_string(i + 1).c_str()});
  }
}

// The role of an element given by its reference as text.
std::string role_of(Merged& merged, const std::string& ref) {
  return merged.at({std::atoi(ref.c_str()), 0}, "S");
}

TEST(DocMergeStructure, APartKeepsTheElementsOfItsPages) {
  Merged merged;
  ASSERT_EQ(merged.append(tagged("P", "en"), {0}), 1);
  CPDFDoc& doc = merged.saved();
  EXPECT_EQ(merged.path({"MarkInfo", "Marked"}), "true");
  EXPECT_EQ(merged.path({"MarkInfo", "UserProperties"}), "true");
  const char* const kept[] = {"/Role", "/TD", "/Sect"};
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(merged.path({"StructTreeRoot", "K", "0", "K", std::to_string(i).c_str(), "S"}), kept[i]);
  EXPECT_EQ(merged.path({"StructTreeRoot", "K", "0", "K", "3"}), "null");
  EXPECT_EQ(merged.path({"StructTreeRoot", "K", "0", "K", "2", "K", "1", "S"}), "/TD");  // the empty cell
  // Page and form find their elements by their keys.
  const std::string key = merged.at(doc.page_ref(0), "StructParents");
  const std::string list = parent_of(merged, std::atoi(key.c_str()));
  EXPECT_EQ(role_of(merged, list.substr(1)), "/Role") << list;
  EXPECT_EQ(merged.path({"StructTreeRoot", "ParentTreeNextKey"}), "2");
  CPDFPage page;
  ASSERT_TRUE(doc.load_page(0, page));
  Freed<CPDFObj> forms;
  doc.table().resolve(forms, page.dict.get_item("Resources"));
  const PDF_REF form = forms.as_dict()->get_item("XObject")->as_dict()->get_item("F")->as_ref();
  Freed<CPDFObj> stream;
  doc.table().get_entity(stream, form);
  const std::string below = parent_of(merged, stream.as_dict_or_stream()->get_item("StructParents")->as_int());
  EXPECT_EQ(role_of(merged, below.substr(1)), "/TD") << below;
}

// Of a long document, the parent tree says what belongs to a page.
TEST(DocMergeStructure, AShortPartOfALongDocumentIsFoundByTheParentTree) {
  constexpr int kPages = 20;
  PdfBuilder builder;
  std::string numbers;
  std::string sections;
  builder.pages(kPages).obj(1, "<</Type/Catalog/Pages 2 0 R/StructTreeRoot 50 0 R/MarkInfo<</Marked true>>>>");
  for (int i = 0; i < kPages; ++i) {
    const int row = 100 + 10 * i;
    builder.obj(3 + i, "<</Type/Page/Parent 2 0 R/StructParents " + std::to_string(i) + ">>")
        .obj(row, "<</S/TR/P 51 0 R/K[" + ref(row + 1) + " " + ref(row + 2) + "]>>")
        .obj(row + 1, "<</S/TD/P " + ref(row) + "/Pg " + ref(3 + i) + "/K 0/T(" + std::to_string(i) + ")>>")
        .obj(row + 2, "<</S/TD/P " + ref(row) + ">>");
    numbers += std::to_string(i) + "[" + ref(row + 1) + "]";
    sections += ref(row) + " ";
  }
  builder.obj(50, "<</Type/StructTreeRoot/K 51 0 R/ParentTree<</Nums[" + numbers + "]>>>>")
      .obj(51, "<</S/Table/P 50 0 R/K[" + sections + "]>>")
      .classic();
  Merged merged;
  ASSERT_EQ(merged.append(builder.str(), {7}), 1);
  merged.saved();
  EXPECT_EQ(merged.path({"StructTreeRoot", "K", "0", "S"}), "/Table");
  EXPECT_EQ(merged.path({"StructTreeRoot", "K", "0", "K", "K", "0", "T"}), "(7)");
  EXPECT_EQ(merged.path({"StructTreeRoot", "K", "0", "K", "K", "1", "S"}), "/TD");  // the empty cell
  EXPECT_EQ(merged.count(PDF_MERGE_FATE::kJoined, "structure elements"), 4);
}

// Parts of one document, some by the parent tree, and some, whose pages have no key, by the whole tree: what an
// index holds of one part gives the next ones theirs, in their order.
TEST(DocMergeStructure, PartsThatShareAnIndexHaveWhatTheyHadAlone) {
  constexpr int kPages = 90;
  PdfBuilder builder;
  std::string numbers;
  std::string kids;
  builder.pages(kPages).obj(1, "<</Type/Catalog/Pages 2 0 R/StructTreeRoot 150 0 R/MarkInfo<</Marked true>>>>");
  for (int i = 0; i < kPages; ++i) {
    const std::string page = ref(3 + i);
    const std::string key = i % 3 != 0 ? "/StructParents " + std::to_string(i) : "";
    const std::string number = std::to_string(i);
    builder.obj(3 + i, "<</Type/Page/Parent 2 0 R" + key + ">>")
        .obj(200 + i, "<</S/H/P 151 0 R/Pg " + page + "/K 0/T(h" + number + ")>>")
        .obj(300 + i, "<</S/P/P 151 0 R/Pg " + page + "/K 1/T(p" + number + ")>>")
        .obj(400 + i, "<</Type/MCR/Pg " + page + "/MCID 3>>");
    numbers += number + "[" + ref(200 + i) + " " + ref(300 + i) + " 151 0 R 151 0 R]";
    kids += ref(300 + i) + " <</Type/MCR/Pg " + page + "/MCID 2>>" + ref(400 + i) + " " + ref(200 + i) + " ";
  }
  builder.obj(150, "<</Type/StructTreeRoot/K[151 0 R]/ParentTree<</Nums[" + numbers + "]>>>>")
      .obj(151, "<</S/Document/P 150 0 R/K[" + kids + "]>>")
      .classic();
  CPDFMergeIndex index;
  MemStream source(builder.str());
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&source));
  for (int i = 0; i < kPages; ++i) {
    Merged merged;
    merged.merge.set_options({PDF_MERGE_FILES::kAll, true, false, &index});
    ASSERT_EQ(merged.merge.append(doc, &i, 1, nullptr), 1);
    merged.saved();
    const auto kid = [&](const char* at, const char* key) {
      return merged.path({"StructTreeRoot", "K", "0", "K", at, key});
    };
    EXPECT_EQ(kid("0", "T"), "(p" + std::to_string(i) + ")");
    EXPECT_EQ(kid("1", "MCID"), "2") << i;
    EXPECT_EQ(kid("2", "MCID"), "3") << i;
    EXPECT_EQ(kid("3", "T"), "(h" + std::to_string(i) + ")");
    EXPECT_EQ(merged.path({"StructTreeRoot", "K", "0", "K", "4"}), "null") << i;
  }
}

TEST(DocMergeStructure, ObjectsAndRelatedElementsOfAPart) {
  Merged merged;
  ASSERT_EQ(merged.append(tagged("P", "en"), {1}), 1);
  CPDFDoc& doc = merged.saved();
  EXPECT_EQ(merged.path({"StructTreeRoot", "K", "0", "K", "0", "S"}), "/P");
  EXPECT_EQ(merged.path({"StructTreeRoot", "K", "0", "K", "0", "Ref", "1"}), "null");  // the other stayed behind
  CPDFPage page;
  ASSERT_TRUE(doc.load_page(0, page));
  const PDF_REF link = page.dict.get_item("Annots")->as_array()->items[0].as_ref();
  const std::string element = parent_of(merged, std::atoi(merged.at(link, "StructParent").c_str()));
  EXPECT_NE(element.find("/S/Link"), std::string::npos) << element;
  const std::string own = parent_of(merged, std::atoi(merged.at(doc.page_ref(0), "StructParents").c_str()));
  EXPECT_NE(own.find(" null "), std::string::npos) << own;  // of the sequences 0 and 2
}

TEST(DocMergeStructure, SourcesStandBelowOneDocumentWithNamesOfTheirOwn) {
  Merged merged;
  ASSERT_EQ(merged.append(tagged("P", "en"), {0, 1}), 2);
  ASSERT_EQ(merged.append(tagged("H1", "de"), {0, 1}), 2);
  CPDFDoc& doc = merged.saved();
  EXPECT_EQ(merged.path({"StructTreeRoot", "K", "0", "S"}), "/Document");
  EXPECT_EQ(merged.path({"StructTreeRoot", "K", "0", "K", "0", "Lang"}), "null");
  EXPECT_EQ(merged.path({"StructTreeRoot", "K", "0", "K", "1", "Lang"}), "(de)");
  EXPECT_EQ(merged.path({"StructTreeRoot", "RoleMap"}), "<</Role/P/Role-2/H1>>");
  EXPECT_EQ(merged.path({"StructTreeRoot", "ClassMap", "C-2", "TextAlign"}), "/H1");
  EXPECT_EQ(merged.path({"StructTreeRoot", "K", "0", "K", "1", "K", "0", "S"}), "/Role-2");
  EXPECT_EQ(merged.path({"StructTreeRoot", "K", "0", "K", "1", "K", "0", "C"}), "/C-2");
  EXPECT_EQ(merged.path({"StructTreeRoot", "K", "0", "K", "1", "K", "0", "ID"}), "(id-2)");
  EXPECT_EQ(merged.path({"StructTreeRoot", "K", "0", "K", "1", "K", "1", "A", "Headers"}), "[(id-2)]");
  EXPECT_EQ(merged.path({"StructTreeRoot", "K", "0", "K", "0", "K", "1", "A", "Headers"}), "[(id)]");
  EXPECT_EQ(merged.path({"StructTreeRoot", "IDTree", "Names", "2"}), "(id-2)");
  EXPECT_NE(merged.at(doc.page_ref(0), "StructParents"), merged.at(doc.page_ref(2), "StructParents"));
}

TEST(DocMergeStructure, ATaggedDocumentKeepsItsTreeAndGetsAnotherAfterIt) {
  Merged merged(tagged("P", "en"));
  ASSERT_EQ(merged.append(tagged("P", "en"), {0, 1}), 2);
  CPDFDoc& doc = merged.saved();
  EXPECT_EQ(merged.path({"StructTreeRoot", "K", "0", "K", "0", "S"}), "/Role");
  EXPECT_EQ(merged.path({"StructTreeRoot", "K", "1", "K", "0", "S"}), "/Role");
  EXPECT_EQ(merged.at(doc.page_ref(0), "StructParents"), "0");
  EXPECT_EQ(merged.at(doc.page_ref(2), "StructParents"), "4");
  EXPECT_EQ(merged.path({"StructTreeRoot", "ParentTree", "Kids", "0", "Limits"}), "[0 3]");
  EXPECT_EQ(merged.path({"StructTreeRoot", "ParentTree", "Kids", "1", "Limits"}), "[4 7]");
  EXPECT_EQ(merged.path({"StructTreeRoot", "ParentTreeNextKey"}), "8");
}

// A page taken twice, whose link is tagged too: each copy finds elements of its own, below the one top element.
TEST(DocMergeStructure, EachCopyOfAPageHasTags) {
  Merged merged;
  ASSERT_EQ(merged.append(tagged("P", "en"), {0, 1, 1}), 3);
  CPDFDoc& doc = merged.saved();
  EXPECT_EQ(merged.path({"StructTreeRoot", "K", "1"}), "null");
  EXPECT_EQ(merged.path({"StructTreeRoot", "K", "0", "K", "5", "S"}), "/P");
  EXPECT_EQ(merged.path({"StructTreeRoot", "K", "0", "K", "5", "Pg", "Type"}), "/Page");
  for (int i = 1; i < 3; ++i) {
    const std::string page = merged.page(i);
    const PDF_REF place = doc.page_ref(i);
    const std::string list = parent_of(merged, std::atoi(merged.at(place, "StructParents").c_str()));
    EXPECT_EQ(merged.at({std::atoi(list.c_str() + 1), 0}, "Pg").find("/Type/Page") != std::string::npos, true) << list;
    EXPECT_EQ(ref(merged.go({std::atoi(list.c_str() + 1), 0}, "Pg").num), page);
    CPDFPage loaded;
    ASSERT_TRUE(doc.load_page(i, loaded));
    const PDF_REF link = loaded.dict.get_item("Annots")->as_array()->items[0].as_ref();
    const std::string element = parent_of(merged, std::atoi(merged.at(link, "StructParent").c_str()));
    EXPECT_NE(element.find("/Obj " + ref(link.num)), std::string::npos) << element;
  }
}

// The cells of a copy are headed by cells of the same copy, also where their attributes are shared.
TEST(DocMergeStructure, CellsOfACopyNameTheHeadersOfTheCopy) {
  PdfBuilder builder;
  builder.pages(1)
      .obj(1, "<</Type/Catalog/Pages 2 0 R/StructTreeRoot 10 0 R>>")
      .obj(3, "<</Type/Page/Parent 2 0 R/StructParents 0>>")
      .obj(10, "<</Type/StructTreeRoot/K 11 0 R>>")
      .obj(11, "<</S/Table/P 10 0 R/K[12 0 R 13 0 R 14 0 R]>>")
      .obj(12, "<</S/TH/P 11 0 R/Pg 3 0 R/K 0/ID(head)>>")
      .obj(13, "<</S/TD/P 11 0 R/Pg 3 0 R/K 1/A<</O/Table/Headers[(head)]>>>>")
      .obj(14, "<</S/TD/P 11 0 R/Pg 3 0 R/K 2/A[15 0 R 0]>>")
      .obj(15, "<</O/Table/Headers[(head)]>>")
      .classic();
  Merged merged;
  ASSERT_EQ(merged.append(builder.str(), {0, 0}), 2);
  merged.saved();
  const auto cell = [&](const char* index, const char* key) {
    return merged.path({"StructTreeRoot", "K", "0", "K", index, key});
  };
  EXPECT_EQ(cell("0", "ID"), "(head)");
  EXPECT_EQ(cell("1", "A"), "<</Headers[(head)]/O/Table>>");
  EXPECT_EQ(merged.path({"StructTreeRoot", "K", "0", "K", "2", "A", "0"}), "<</Headers[(head)]/O/Table>>");
  EXPECT_EQ(cell("3", "ID"), "(head-2)");
  EXPECT_EQ(cell("4", "A"), "<</Headers[(head-2)]/O/Table>>");
  EXPECT_EQ(cell("5", "A"), "[<</Headers[(head-2)]/O/Table>>0]");
}

// Elements that stand in their parent, which no reference can name, keep their place and get a number.
TEST(DocMergeStructure, ElementsInsideTheirParentsAreTaken) {
  PdfBuilder builder;
  builder.pages(1)
      .obj(1, "<</Type/Catalog/Pages 2 0 R/StructTreeRoot 10 0 R>>")
      .obj(3, "<</Type/Page/Parent 2 0 R/StructParents 0>>")
      .obj(10, "<</Type/StructTreeRoot/K[<</S/Document/K[<</S/P/Pg 3 0 R/K 0>> 11 0 R<</S/H1/Pg 3 0 R/K[2]>>]>>]>>")
      .obj(11, "<</S/Span/Pg 3 0 R/K 1>>")
      .classic();
  Merged merged;
  ASSERT_EQ(merged.append(builder.str(), {0}), 1);
  merged.saved();
  const char* const roles[] = {"/P", "/Span", "/H1"};
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(merged.path({"StructTreeRoot", "K", "0", "K", std::to_string(i).c_str(), "S"}), roles[i]);
  EXPECT_EQ(
      merged.path({"StructTreeRoot", "ParentTree", "Kids", "0", "Nums", "1", "2"}).find("/S/H1") != std::string::npos,
      true);
}

}  // namespace

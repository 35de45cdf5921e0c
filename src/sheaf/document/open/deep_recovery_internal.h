// One deep recovery of a document; see deep_recovery.cpp.
#pragma once

#include "sheaf/base/grow_array.h"
#include "sheaf/base/number_text.h"
#include "sheaf/document/open/document_opener_internal.h"
#include "sheaf/document/open/object_scan_internal.h"

namespace sheaf {

class DeepRecovery {
public:
  explicit DeepRecovery(DocumentOpener& opener) : opener_(opener), doc_(opener.doc()), table_(opener.table()) {}

  void run();
  /// Whether there are objects that are pages by their type.
  bool found_pages() const { return !pages_.empty(); }
  void make_page_tree();

private:
  struct FoundStream {
    std::int32_t num;  ///< From -1 downwards for those whose header bears no usable number.
    std::uint32_t pos;
  };

  static std::uint32_t nameless_index(std::int32_t num) { return static_cast<std::uint32_t>(-1 - num); }

  bool take_object(std::int32_t num, std::uint32_t pos);
  void classify(const ObjectScan& scan, const ObjectScan::Object& object);
  /// Keeps a catalogue, a page or the top of a page tree. False for other objects.
  bool note_by_type(const PDF_REF& ref, const CPDFDictionary& dict);
  void enter_objects(const ObjectScan& scan);
  void load_trailers();
  bool is_catalog(const CPDFObj& root);
  void read_found_stream(CPDFObj& out, const FoundStream& found);
  void name_object_streams();
  void load_object_stream(const FoundStream& found);
  void enter_compressed(std::int32_t num, const FoundStream& found, std::int32_t index);
  void search_compressed();
  void find_root();

  DocumentOpener& opener_;
  CPDFDoc& doc_;
  CPDFXRefTable& table_;
  GrowArray<std::uint32_t> trailers_;
  GrowArray<FoundStream> object_streams_;
  GrowArray<PDF_REF> pages_;
  std::int32_t last_nameless_ = 0;
  PDF_REF catalog_{0, 0};
  PDF_REF tree_{0, 0};
  PDF_REF encryption_{0, 0};
};

}  // namespace sheaf

// The parts of a document, and the operations of CPDFDoc that are theirs.
#include "sheaf/document/doc.h"

#include <new>

#include "sheaf/base/stream_blocks.h"
#include "sheaf/base/stream_update.h"
#include "sheaf/document/metadata/doc_metadata.h"
#include "sheaf/document/pages/page_list.h"
#include "sheaf/document/save/doc_saver.h"
#include "sheaf/neighbours/security/standard_handler.h"

using namespace sheaf;

struct CPDFDoc::Parts {
  // cppcheck-suppress uninitMemberVar ; its own constructor sets what is read before it is written
  explicit Parts(CPDFDoc& doc) : pages(doc.table_), metadata(doc.table_), saver(doc, file, metadata) {}

  CPDFStandardSecHand handler;
  CQVStreamBlocks blocks;
  CQVStreamUpdate file;
  PageList pages;
  DocMetadata metadata;
  DocSaver saver;
};

CPDFDoc::CPDFDoc()
    : parts_(*new (room_) Parts(*this)),
      handler_(parts_.handler),
      blocks_(parts_.blocks),
      file_(parts_.file),
      pages_(parts_.pages),
      metadata_(parts_.metadata),
      saver_(parts_.saver) {
  static_assert(sizeof(Parts) <= kRoom);
}

CPDFDoc::~CPDFDoc() {
  close();
  parts_.~Parts();
}

void CPDFDoc::set_password(const char* utf8) {
  handler_.set_password(utf8);
}

bool CPDFDoc::has_pages_by_count() const {
  return pages_.is_by_count();
}

int CPDFDoc::page_tree_strays() {
  return pages_.strays();
}

void CPDFDoc::read_direct_resources(CPDFObj& resources, std::int32_t holder) {
  pages_.nodes.read_direct_resources(resources, holder);
}

bool CPDFDoc::is_absent(const CPDFObj* item) {
  return pages_.nodes.is_absent(item);
}

bool CPDFDoc::insert_page(int index, const PDF_REF& page) {
  return pages_.insert(index, page);
}

bool CPDFDoc::remove_page(int index) {
  return pages_.remove(index);
}

bool CPDFDoc::move_page(int from, int to) {
  return pages_.move(from, to);
}

bool CPDFDoc::store_page_tree() {
  return pages_.store_tree();
}

bool CPDFDoc::set_info(const char* key, const char* utf8) {
  return metadata_.set_info(key, utf8);
}

void CPDFDoc::set_save_safety(PDF_SAVE_SAFETY safety) {
  saver_.set_safety(safety);
}

void CPDFDoc::set_frame(PDF_FRAME frame) {
  metadata_.set_frame(frame);
}

void CPDFDoc::read_frame(PDF_FRAME_FOUND& found) {
  metadata_.read_frame(found);
}

bool CPDFDoc::metadata_left_behind() const {
  return metadata_.packet_left_behind();
}

bool CPDFDoc::save_update(PDF_SAVE_FORM form, PDF_SIGN_DATA* sign) {
  return saver_.save_update(form, sign);
}

PDF_SAVE CPDFDoc::last_save() const {
  return saver_.last_save();
}

long long CPDFDoc::sound_end() const {
  return saver_.sound_end();
}

bool CPDFDoc::undo_failed_save() {
  return saver_.undo_failed_save();
}

void CPDFDoc::save_complete(CPDFXRefTable& target, CPDFEncrypt* enc) {
  saver_.save_complete(target, enc);
}

bool CPDFDoc::prepare_complete(CPDFObj& id, const CPDFEncrypt* enc) {
  return saver_.prepare_complete(id, enc);
}

bool CPDFDoc::rebuild_page_tree() {
  return pages_.rebuild_tree();
}

void CPDFDoc::get_without_inheritance(CPDFObj& out, std::int32_t num) {
  table_.get_stored(out, reference_to(num));
  if (CPDFDictionary* const dict = out.as_dict())
    pages_.nodes.complete(*dict, num);
}

bool CPDFDoc::truncate_to(long long size) {
  return saver_.truncate_to(size);
}

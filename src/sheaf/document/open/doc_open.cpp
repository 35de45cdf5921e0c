// Opening and closing, as callers see them. The ways into a file are those of DocumentOpener.
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/stream_blocks.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/metadata/doc_metadata.h"
#include "sheaf/document/open/document_opener_internal.h"
#include "sheaf/document/open/object_rescue_internal.h"
#include "sheaf/document/pages/page_list.h"
#include "sheaf/document/save/doc_saver.h"

using namespace sheaf;

bool CPDFDoc::open(const char* path) {
  close();
  if (!blocks_.Open(path)) {
    status_ = PDF_OPEN::kNoFile;
    return false;
  }
  stream_ = &blocks_;
  return open_stream();
}

bool CPDFDoc::open(CQVStream* stream) {
  close();
  stream_ = stream;
  return open_stream();
}

bool CPDFDoc::open_stream() {
  return DocumentOpener(*this).run();
}

void CPDFDoc::close() {
  saver_.finish();
  metadata_.forget();
  table_.XRefFree();
  reset_table();
  table_.stream = nullptr;
  table_.finder = nullptr;
  delete rescue_;
  rescue_ = nullptr;
  if (stream_ != nullptr)
    stream_->base_offset = storage_base_;
  stream_ = nullptr;
  file_.Close();
  blocks_.Close();
  pages_.reset();
  repairs_.reset();
  table_repairs_taken_ = 0;
  status_ = PDF_OPEN::kClosed;
  linearized_ = authorised_ = false;
  version_[0] = 0;
  file_size_ = header_offset_ = 0;
}

// A fresh table over the present stream.
void CPDFDoc::reset_table() {
  table_.XRefFree();
  table_.xref_kinds = table_.first_xref_kind = 0;
  table_.last_xref_offset = table_.linearized_length = 0;
  table_.next_obj_num = 0;
  table_.keeps_generations = 1;
  table_.omits_frame = 1;  // the document gives one to those who ask for it
  table_.sec_filter[0] = 0;
  table_.stream = stream_;
  table_.copies_own_source = 1;
  table_.frees_lost_members = 1;
  table_.reads_hybrid_first = 1;
  table_.finder = rescue_;
  if (rescue_ != nullptr)
    rescue_->begin_anew();
  table_.append_offset = stream_ != nullptr ? static_cast<std::uint32_t>(stream_->GetLen()) : 0;
  table_repairs_taken_ = 0;
}

// Also those after one that cannot be read.
void CPDFDoc::read_all_sections() {
  CPDFSecHand* const hand = table_.sec_hand;
  while (table_.pending_count > 0)
    table_.pop_pending();
  table_.sec_hand = hand;
}

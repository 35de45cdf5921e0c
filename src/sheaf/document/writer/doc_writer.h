// Writes a complete new file of a document: one copy of every object that can still be reached, as the options ask.
// What is kept in memory is a few words for each object, one object at a time, and one object stream.
//
//   what is to go is stripped -> objects are found -> equals are joined -> numbers and places are planned -> written
#pragma once

#include "sheaf/document/doc.h"
#include "sheaf/document/writer/write_options.h"

namespace sheaf {
class ObjectSurvey;
}

class CPDFDocWriter {
public:
  explicit CPDFDocWriter(CPDFDoc& doc) : doc_(doc) {}
  CPDFDocWriter(const CPDFDocWriter&) = delete;
  CPDFDocWriter& operator=(const CPDFDocWriter&) = delete;
  ~CPDFDocWriter() { id_.free(); }

  /// The identifier that the new file gets; copied. Without one a new identifier is made.
  void set_id(const CPDFObj& id) { id_.copy_from(&id); }
  /// Writes the new file to `out`, from its present position on, encrypted by `enc` unless it is null. The options that
  /// leave something out change the document in memory; the file that it came from stays as it is. False when the
  /// output came short or there was no memory: what was written is then no document.
  bool write(CQVStream& out, CPDFEncrypt* enc, const PDF_WRITE_OPTIONS& options);
  /// What the last `write` did.
  const PDF_WRITE_RESULT& result() const { return result_; }

private:
  bool edit(const PDF_WRITE_OPTIONS& options);
  bool join_equals(sheaf::ObjectSurvey& survey, const PDF_WRITE_OPTIONS& options);
  bool write_plainly(CQVStream& out, CPDFEncrypt* enc, const PDF_WRITE_OPTIONS& options);
  bool write_linearized(CQVStream& out, CPDFEncrypt* enc, const PDF_WRITE_OPTIONS& options);
  void count_left_out();

  CPDFDoc& doc_;
  CPDFObj id_{};
  PDF_WRITE_RESULT result_{};
};

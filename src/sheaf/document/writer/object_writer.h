// Takes objects from the document to the new file: reads each, gives its stream other data and its references their new
// numbers, and prints it by itself or as a member of an object stream.
#pragma once

#include "sheaf/base/visited_set.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/writer/object_stream_maker.h"
#include "sheaf/document/writer/stream_coder.h"
#include "sheaf/document/writer/target_file.h"
#include "sheaf/document/writer/write_plan.h"

namespace sheaf {

class ObjectWriter {
public:
  ObjectWriter(CPDFDoc& doc, const WritePlan& plan, TargetFile& file, const PDF_WRITE_OPTIONS& options,
               PDF_WRITE_RESULT& result);

  /// Writes object `num` of the document by itself.
  void write(std::int32_t num);
  /// Writes it as the next member of an object stream, which is begun as `holder` unless that is 0.
  void write_member(std::int32_t num, std::int32_t holder);
  /// Ends the object stream that is open.
  void end_stream() { streams_.finish(); }
  std::int64_t streams_left_alone() const { return coder_.left_alone(); }
  /// From here on the streams in `contents`, forms and patterns are laid out for people.
  void lay_out(const VisitedSet& contents) { contents_ = &contents; }
  /// Gives the references in `value` the numbers of the new file.
  void renumber(CPDFObj& value);

private:
  bool read(CPDFObj& obj, std::int32_t num);
  void lay_out(CPDFStreamRec& stream, std::int32_t num);

  CPDFDoc& doc_;
  const WritePlan& plan_;
  TargetFile& file_;
  PDF_WRITE_RESULT& result_;
  bool packs_images_;
  StreamCoder coder_;
  ObjectStreamMaker streams_;
  GrowArray<CPDFObj*> waiting_;
  const VisitedSet* contents_ = nullptr;
};

/// Adds the streams that pages and Type 3 fonts name as their content to `contents`.
void find_contents(CPDFDoc& doc, const ObjectSurvey& survey, VisitedSet& contents);

}  // namespace sheaf

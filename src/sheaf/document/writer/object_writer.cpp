// One object is in memory at a time.
#include "sheaf/document/writer/object_writer.h"

#include "sheaf/object/reference_walk.h"

namespace sheaf {

namespace {

constexpr int kStreamLevel = 7;

int level_of_streams(const PDF_WRITE_OPTIONS& options) {
  if (options.stream_data == PDF_STREAM_DATA::kUncompress)
    return 0;
  return options.recompress != 0 ? 9 : kStreamLevel;
}

}  // namespace

ObjectWriter::ObjectWriter(CPDFDoc& doc, const WritePlan& plan, TargetFile& file, const PDF_WRITE_OPTIONS& options,
                           PDF_WRITE_RESULT& result)
    : doc_(doc),
      plan_(plan),
      file_(file),
      result_(result),
      coder_(doc.table(), options),
      streams_(file, level_of_streams(options)) {}

void ObjectWriter::renumber(CPDFObj& value) {
  each_reference(value, waiting_, [this](CPDFObj& ref) {
    const std::int32_t number = plan_.number(ref.as_ref().num);
    if (number != 0)
      ref.set_ref({number, 0});
    else
      ref.free();
  });
}

bool ObjectWriter::read(CPDFObj& obj, std::int32_t num) {
  doc_.table().get_stored(obj, doc_.reference_to(num));
  if (obj.is_null())
    return false;
  if (CPDFStreamRec* const stream = obj.as_stream())
    result_.streams_changed += coder_.recode(*stream) ? 1 : 0;
  renumber(obj);
  ++result_.objects;
  return true;
}

void ObjectWriter::write(std::int32_t num) {
  Freed<CPDFObj> obj;
  if (!read(obj, num) || !file_.put(doc_.table(), obj, plan_.number(num)))
    ++result_.unreadable;
}

void ObjectWriter::write_member(std::int32_t num, std::int32_t holder) {
  if (holder != 0) {
    streams_.finish();
    streams_.begin(holder);
  }
  Freed<CPDFObj> obj;
  if (!read(obj, num))
    ++result_.unreadable;
  else
    streams_.add(obj, plan_.number(num));
}

}  // namespace sheaf

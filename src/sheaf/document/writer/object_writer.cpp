// One object is in memory at a time.
#include "sheaf/document/writer/object_writer.h"

#include <cstring>

#include "sheaf/document/writer/bilevel_images.h"
#include "sheaf/document/writer/content_layout.h"
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
      packs_images_(options.pack_bilevel_images),
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

void ObjectWriter::lay_out(CPDFStreamRec& stream, std::int32_t num) {
  const CPDFObj* const subtype = stream.dict.get_item(CPDFDictionary::sm_tag_subtype);
  const CPDFObj* const pattern = stream.dict.get_item("PatternType");
  const bool is_content = contents_->has(num) || (subtype != nullptr && subtype->is_name("Form")) ||
                          (pattern != nullptr && pattern->as_int() == 1);
  if (!is_content || stream.dict.get_item(CPDFDictionary::sm_tag_filter) != nullptr)
    return;
  int len = 0;
  const HeapBlock<unsigned char> data(doc_.table().load_raw_data(&stream, len));
  CQVStreamMem text;
  if (!data)
    return;
  lay_out_content({reinterpret_cast<const char*>(data.get()), static_cast<std::size_t>(len)}, text);
  const std::uint32_t size = text.len;
  auto* const block = static_cast<unsigned char*>(QVAlloc(std::size_t{size} + 1));
  if (block == nullptr)
    return;
  std::memcpy(block, text.data, size);
  coder_.set_data(stream, block, size);
}

bool ObjectWriter::read(CPDFObj& obj, std::int32_t num) {
  plan_.read(obj, num);
  if (obj.is_null())
    return false;
  if (CPDFStreamRec* const stream = obj.as_stream()) {
    const bool packed = packs_images_ && pack_bilevel_image(doc_.table(), coder_, *stream);
    result_.images += packed ? 1 : 0;
    result_.streams_changed += !packed && coder_.recode(*stream) ? 1 : 0;
    if (contents_ != nullptr)
      lay_out(*stream, num);
  }
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

void find_contents(CPDFDoc& doc, const ObjectSurvey& survey, VisitedSet& contents) {
  CPDFXRefTable& table = doc.table();
  ReferenceList found;
  for (const std::int32_t num : survey.objects()) {
    if (survey.kind(num) == ObjectSurvey::kStream)
      continue;
    const Freed<CPDFObj> value = table.object(doc.reference_to(num));
    const CPDFDictionary* const dict = value.as_dict();
    if (dict == nullptr)
      continue;
    const CPDFObj* const subtype = dict->get_item(CPDFDictionary::sm_tag_subtype);
    const bool type3 = subtype != nullptr && subtype->is_name("Type3");
    const char* const key = survey.kind(num) == ObjectSurvey::kPage ? "Contents" : "CharProcs";
    const CPDFObj* const item = survey.kind(num) == ObjectSurvey::kPage || type3 ? dict->get_item(key) : nullptr;
    if (item == nullptr)
      continue;
    collect_references(*item, found);
    if (item->tag == kTagRef)
      collect_references(table.value(item), found);
    for (const std::int32_t to : found)
      contents.visit(survey.standing_for(to));
    found.clear();
  }
}

}  // namespace sheaf

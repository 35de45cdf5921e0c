// Numbers and bodies grow apart, and are deflated one after the other.
#include "sheaf/document/writer/object_stream_maker.h"

#include <cstdio>

#include "sheaf/base/scope_guard.h"

namespace sheaf {

void ObjectStreamMaker::add(const CPDFObj& obj, std::int32_t num) {
  char pair[32];
  const int len = std::snprintf(pair, sizeof(pair), "%d %u ", num, bodies_.len);
  const std::uint32_t before = numbers_.len + bodies_.len;
  bool good = numbers_.Write(pair, static_cast<unsigned>(len)) == static_cast<unsigned>(len);
  obj.write(&bodies_, nullptr);
  good = bodies_.Write("\n", 1) == 1 && numbers_.len + bodies_.len > before && good;
  if (!good)
    file_.fail();
  file_.set_member(num, holder_, count_++);
}

void ObjectStreamMaker::finish() {
  if (!is_open())
    return;
  Cleared<CPDFDictionary> dict;
  dict.set_item_name(CPDFDictionary::sm_tag_type, "ObjStm");
  dict.set_item_int("N", count_);
  dict.set_item_int(CPDFDictionary::sm_tag_first, static_cast<int>(numbers_.len));
  if (level_ > 0) {
    dict.set_item_name(CPDFDictionary::sm_tag_filter, CPDFDictionary::sm_tag_fdec);
    if (deflater_)
      deflater_->restart();
    else
      deflater_.emplace(level_);
    deflater_->add(numbers_.data, numbers_.len);
    deflater_->add(bodies_.data, bodies_.len);
    if (!deflater_->finish())
      file_.fail();
    file_.put_stream(dict, deflater_->data(), deflater_->size(), holder_);
  } else {
    numbers_.Write(bodies_.data, bodies_.len);
    file_.put_stream(dict, numbers_.data, numbers_.len, holder_);
  }
  numbers_.SetPos(CQVStream::STR_SEEK_SET, 0);
  bodies_.SetPos(CQVStream::STR_SEEK_SET, 0);
  numbers_.len = bodies_.len = 0;
  holder_ = count_ = 0;
}

}  // namespace sheaf

// The update section that ends in a classic table and trailer (ISO 32000-1, 7.5.4 to 7.5.6), for
// readers of the PDF 1.4 generation. No number is reserved and no older section is read for it.
#include <cstdio>
#include <new>

#include "sheaf/base/scope_guard.h"
#include "sheaf/save/update_internal.h"

using namespace sheaf;

namespace {

constexpr std::uint32_t kPositionStep = 256;
constexpr unsigned kLineSize = 20;  // ten digits, blank, five digits, blank, keyword, CR LF

// The table follows the objects, so their positions have to be kept.
class Positions {
public:
  Positions() = default;
  Positions(const Positions&) = delete;
  Positions& operator=(const Positions&) = delete;
  ~Positions() { QVFree(items_); }

  bool append(std::uint32_t pos) {
    if (count_ == capacity_) {
      const std::uint32_t capacity = capacity_ + (capacity_ < 64 * kPositionStep ? kPositionStep : capacity_ / 2);
      void* grown = QVRealloc(items_, std::size_t{capacity} * sizeof(std::uint32_t));
      if (grown == nullptr)
        return false;
      items_ = static_cast<std::uint32_t*>(grown);
      capacity_ = capacity;
    }
    items_[count_++] = pos;
    return true;
  }
  std::uint32_t operator[](std::uint32_t index) const { return index < count_ ? items_[index] : 0; }

private:
  std::uint32_t* items_ = nullptr;
  std::uint32_t count_ = 0;
  std::uint32_t capacity_ = 0;
};

bool put_objects(UpdateSection& section, Positions& positions) {
  for (const PDF_RUN& run : section.runs) {
    for (std::int32_t num = run.first; num < run.first + run.count; ++num) {
      if (!positions.append(section.put_object(num, false)))
        return false;
    }
  }
  return true;
}

void put_table(UpdateSection& section, const Positions& positions) {
  BlockWriter& out = section.out();
  out.text("xref\r\n");
  std::uint32_t at = 0;
  char line[2 * kLineSize];
  for (const PDF_RUN& run : section.runs) {
    const int length = std::snprintf(line, sizeof(line), "%d %d\r\n", run.first, run.count);
    out.Write(line, static_cast<unsigned>(length));
    for (std::int32_t i = 0; i < run.count; ++i) {
      std::snprintf(line, sizeof(line), "%010u %05d n\r\n", positions[at++], section.generation(run.first + i));
      out.Write(line, kLineSize);
    }
  }
}

}  // namespace

int CPDFXRefTable::save_14(CPDFEncrypt* enc, PDF_SIGN_DATA* sign) {
  if (new_obj_count == 0)
    return 1;
  UpdateSection section(*this, enc, sign);
  section.prepare();
  section.confirm_positions();
  if (!section.scan())
    return 0;
  section.begin();
  Positions positions;
  if (!put_objects(section, positions))
    return 0;
  const auto start = static_cast<std::uint32_t>(section.out().GetPos());
  put_table(section, positions);
  section.out().text("trailer\r\n");

  Freed<CPDFObj> trailer;
  auto* dict = new (std::nothrow) CPDFDictionary;
  if (dict == nullptr)
    return 0;
  dict->set_item_int("Size", section.runs.size_value());
  section.set_trailer_values(*dict);
  trailer.take_dict(dict);
  PDF_ENC_PARA para{0, 0, 0, nullptr};
  trailer.write(&section.out(), &para);
  section.finish(start);
  return 1;
}

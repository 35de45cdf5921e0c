// An object stream that is being filled (ISO 32000-1, 7.5.7).
#pragma once

#include <cstdint>
#include <optional>

#include "sheaf/base/stream.h"
#include "sheaf/document/writer/deflater.h"
#include "sheaf/document/writer/target_file.h"

namespace sheaf {

class ObjectStreamMaker {
public:
  /// `level`: how hard its data are deflated; 0: not at all.
  ObjectStreamMaker(TargetFile& file, int level) : file_(file), level_(level) {}

  bool is_open() const { return holder_ != 0; }
  /// Begins the object stream that will have the number `holder`.
  void begin(std::int32_t holder) { holder_ = holder; }
  /// Adds an object, whose references are those of the new file.
  void add(const CPDFObj& obj, std::int32_t num);
  /// Writes the object stream that is open, if one is.
  void finish();

private:
  TargetFile& file_;
  int level_;
  std::int32_t holder_ = 0;
  std::int32_t count_ = 0;
  CQVStreamMem numbers_;
  CQVStreamMem bodies_;
  std::optional<Deflater> deflater_;  // once there is something to deflate
};

}  // namespace sheaf

// Operands of operators, and operators as text.
#include "sheaf/layer/content.h"

#include "sheaf/base/fixed.h"
#include "sheaf/base/stream.h"

namespace sheaf {

const CPDFObj& Operator::operand(std::int32_t index) const {
  static constexpr CPDFObj kNull{};
  const CPDFObj* const item = reader_->operands().get(index);
  return item != nullptr ? *item : kNull;
}

double Operator::number(std::int32_t index, double fallback) const {
  const CPDFObj& value = operand(index);
  return value.is_number() ? to_double(value.to_real()) : fallback;
}

std::string_view Operator::bytes(std::int32_t index) const {
  const CPDFObj& value = operand(index);
  if (value.tag == kTagString)
    return {value.data, static_cast<std::size_t>(value.as_string().len)};
  return value.as_name() != nullptr ? std::string_view(value.as_name()) : std::string_view();
}

Object Operator::copy(std::int32_t index) const {
  Object made;
  made.raw().copy_from(&operand(index));
  return made;
}

void ContentAppender::put(const Object& operand) {
  text_ += operand.print();
  text_ += ' ';
}

}  // namespace sheaf

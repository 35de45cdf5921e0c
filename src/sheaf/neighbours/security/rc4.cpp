// Key schedule and stream of RC4. Libcrypto has it only as a legacy module, which may be missing.
#include "sheaf/neighbours/security/rc4.h"

#include <cstring>
#include <utility>

using namespace sheaf;

CQVSecRC4::CQVSecRC4(const unsigned char* key, std::size_t size) {
  for (std::size_t i = 0; i < state_.size(); ++i)
    state_[i] = static_cast<std::uint8_t>(i);
  std::uint8_t j = 0;
  for (std::size_t i = 0; i < state_.size() && size > 0; ++i) {
    j = static_cast<std::uint8_t>(j + state_[i] + key[i % size]);
    std::swap(state_[i], state_[j]);
  }
}

CQVSecRC4::~CQVSecRC4() {
  explicit_bzero(state_.data(), state_.size());
}

void CQVSecRC4::crypt(const unsigned char* src, std::size_t size, unsigned char* dst) {
  for (std::size_t k = 0; k < size; ++k) {
    ++i_;
    j_ = static_cast<std::uint8_t>(j_ + state_[i_]);
    std::swap(state_[i_], state_[j_]);
    dst[k] = src[k] ^ state_[static_cast<std::uint8_t>(state_[i_] + state_[j_])];
  }
}

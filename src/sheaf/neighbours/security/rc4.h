// The RC4 stream cipher, which old encrypted documents use.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "sheaf/base/heap.h"

class CQVSecRC4 : public QVHeapObject<CQVSecRC4> {
public:
  CQVSecRC4(const unsigned char* key, std::size_t size);
  ~CQVSecRC4();
  CQVSecRC4(const CQVSecRC4&) = delete;
  CQVSecRC4& operator=(const CQVSecRC4&) = delete;

  /// Encrypts or decrypts; `dst` may be `src`.
  void crypt(const unsigned char* src, std::size_t size, unsigned char* dst);

private:
  std::array<std::uint8_t, 256> state_;
  std::uint8_t i_ = 0;
  std::uint8_t j_ = 0;
};

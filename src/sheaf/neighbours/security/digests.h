// The digests that every new file may need: MD5 (RFC 1321) for identifiers and old keys, SHA-1 (FIPS 180-4). They are
// libmd's, so that no start waits for a large library.
#pragma once

#include <cstddef>
#include <cstdint>

/// One running digest. `init` comes first, and may be called again after `end`.
class CQVSecMD5 {
public:
  static constexpr int kSize = 16;

  void init();
  void update(const unsigned char* data, unsigned int size);
  /// Writes the digest, kSize bytes.
  void end(unsigned char* digest);

private:
  static constexpr std::size_t kRoom = 88;
  alignas(std::uint64_t) unsigned char state_[kRoom] = {};
};

/// The same for SHA-1.
class CQVSecSHA1 {
public:
  static constexpr int kSize = 20;

  void init();
  void update(const unsigned char* data, unsigned int size);
  void end(unsigned char* digest);

private:
  static constexpr std::size_t kRoom = 96;
  alignas(std::uint64_t) unsigned char state_[kRoom] = {};
};

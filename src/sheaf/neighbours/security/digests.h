// The digests of PDF, on libcrypto: MD5 (RFC 1321) for identifiers and old keys, SHA-1 (FIPS 180-4).
#pragma once

struct evp_md_ctx_st;
struct evp_md_st;

/// One running digest. `init` may be called again after `end`.
class CQVSecDigest {
public:
  CQVSecDigest(const CQVSecDigest&) = delete;
  CQVSecDigest& operator=(const CQVSecDigest&) = delete;
  ~CQVSecDigest();

  void init();
  void update(const unsigned char* data, unsigned int size);
  /// Writes the digest; `digest` has room for its size.
  void end(unsigned char* digest);

protected:
  explicit CQVSecDigest(const evp_md_st* kind);

private:
  const evp_md_st* kind_;
  evp_md_ctx_st* context_;
};

class CQVSecMD5 : public CQVSecDigest {
public:
  static constexpr int kSize = 16;
  CQVSecMD5();
};

class CQVSecSHA1 : public CQVSecDigest {
public:
  static constexpr int kSize = 20;
  CQVSecSHA1();
};

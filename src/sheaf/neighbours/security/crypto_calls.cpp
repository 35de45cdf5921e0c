// The calls are found once, at the first question whether there are any.
#include "sheaf/neighbours/security/crypto_calls.h"

#ifdef SHEAF_LOADS_LIBRARIES

#include "sheaf/base/lazy_library.h"

#define SHEAF_TEXT_OF(number) #number
#define SHEAF_LIBRARY_OF(release) "libcrypto.so." SHEAF_TEXT_OF(release)

namespace sheaf {

#define SHEAF_CRYPTO_CALL(name) decltype(&::name) name = nullptr;
SHEAF_CRYPTO_CALLS(SHEAF_CRYPTO_CALL)
#undef SHEAF_CRYPTO_CALL

namespace {

bool find_calls() {
  void* const library = load_library(SHEAF_LIBRARY_OF(OPENSSL_VERSION_MAJOR));
  bool complete = library != nullptr;
#define SHEAF_CRYPTO_CALL(name) complete = complete && find_call(library, #name, name);
  SHEAF_CRYPTO_CALLS(SHEAF_CRYPTO_CALL)
#undef SHEAF_CRYPTO_CALL
  return complete;
}

}  // namespace

bool has_crypto() {
  static const bool found = find_calls();
  return found;
}

}  // namespace sheaf

#endif

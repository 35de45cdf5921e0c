// The version that the build states.
#include "sheaf/version.h"

const char* sheaf_version() {
  return SHEAF_VERSION;
}

// Shared libraries that few programs need are loaded when they are first called, where the build
// says so: a viewer that only reads starts faster and smaller without them.
#pragma once

#ifdef SHEAF_LOADS_LIBRARIES
#include <dlfcn.h>
#endif

namespace sheaf {

#ifdef SHEAF_LOADS_LIBRARIES

/// The library of this name, loaded for good; null when it is not there.
inline void* load_library(const char* name) {
  return dlopen(name, RTLD_NOW | RTLD_LOCAL);
}

/// Whether `library` has the function, which `call` then points at.
template <class Call>
bool find_call(void* library, const char* name, Call& call) {
  call = library != nullptr ? reinterpret_cast<Call>(dlsym(library, name)) : nullptr;
  return call != nullptr;
}

#define SHEAF_CALL(library, call, function) find_call(library, #function, call)

#else

inline void* load_library(const char*) {
  return nullptr;
}

#define SHEAF_CALL(library, call, function) (((call) = &(function)) != nullptr)

#endif

}  // namespace sheaf

#include "neighbours/fonts/environment.h"

#include <unistd.h>

namespace {

constexpr useconds_t kRetryMicroseconds = 10;

}  // namespace

CPDFEnviroment::CPDFEnviroment() {
  pthread_mutex_init(&mutex, nullptr);
}

CPDFEnviroment::CPDFEnviroment(const CPDFEnviroment& other) : maps_(other.maps_) {
  pthread_mutex_init(&mutex, nullptr);
}

// Without fonts and resources no name is known.
void* CPDFEnviroment::new_face(const char*) {
  return nullptr;
}

CQVFTFont* CPDFEnviroment::new_face(const char*, int) {
  return nullptr;
}

void CPDFEnviroment::release_face(const char*) {}

void CPDFEnviroment::unload() {}

void CPDFEnviroment::destroy(CPDFEnviroment* env) {
  while (pthread_mutex_destroy(&env->mutex) != 0)
    usleep(kRetryMicroseconds);
  delete env;
}

// Copies share the shelf of fonts and the list of maps, and count references to them.
#include "sheaf/neighbours/fonts/environment.h"

#include <unistd.h>

#include "sheaf/base/heap.h"
#include "sheaf/neighbours/fonts/cmap_resources.h"
#include "sheaf/neighbours/fonts/environment_fonts_internal.h"
#include "sheaf/neighbours/fonts/mutex_lock_internal.h"
#include "sheaf/neighbours/fonts/programs/font_shelf_internal.h"

using namespace sheaf;

namespace {

constexpr useconds_t kRetryMicroseconds = 10;

}  // namespace

CPDFEnviroment::CPDFEnviroment()
    : fonts_(FontShelf::create()), font_uses_(FontUses::create()), maps_(CPDFCMapResources::create()) {
  pthread_mutex_init(&mutex, nullptr);
}

CPDFEnviroment::CPDFEnviroment(const CPDFEnviroment& other)
    : fonts_(other.fonts_), font_uses_(FontUses::create()), maps_(other.maps_) {
  pthread_mutex_init(&mutex, nullptr);
  if (fonts_ != nullptr)
    fonts_->hold();
  if (maps_ != nullptr)
    maps_->join();
}

// The mutex is destroyed before: nobody else knows the copy any more.
CPDFEnviroment::~CPDFEnviroment() {
  give_back_faces();
  QVFree(font_uses_);
  if (fonts_ != nullptr)
    fonts_->drop();
  CPDFCMapResources::leave(maps_);
}

void CPDFEnviroment::unload() {
  const MutexLock lock(mutex);
  give_back_faces();
}

void CPDFEnviroment::destroy(CPDFEnviroment* env) {
  while (pthread_mutex_destroy(&env->mutex) != 0)
    usleep(kRetryMicroseconds);
  delete env;
}

// Holds a mutex to the end of the scope.
#pragma once

#include <pthread.h>

namespace sheaf {

class MutexLock {
public:
  explicit MutexLock(pthread_mutex_t& mutex) : mutex_(mutex) { pthread_mutex_lock(&mutex_); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;
  ~MutexLock() { pthread_mutex_unlock(&mutex_); }

private:
  pthread_mutex_t& mutex_;
};

}  // namespace sheaf

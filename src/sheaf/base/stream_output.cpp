// Writes by pwrite, so that no position of the file handle has to be kept in step.
#include "sheaf/base/stream_output.h"

#include <sys/stat.h>
#include <unistd.h>

#include "sheaf/base/seek.h"

using namespace sheaf;

CQVStreamOutput::~CQVStreamOutput() {
  CQVStreamOutput::Close();
}

void CQVStreamOutput::Open(int handle) {
  Close();
  handle_ = handle;
}

std::uint32_t CQVStreamOutput::length() const {
  struct stat info = {};
  return handle_ >= 0 && fstat(handle_, &info) == 0 ? static_cast<std::uint32_t>(info.st_size) : 0;
}

long long CQVStreamOutput::GetLen() const {
  return static_cast<long long>(length()) - base_offset;
}

int CQVStreamOutput::SetPos(STR_SEEK whence, long long offset) {
  pos_ = seek_target(whence, offset, base_offset, pos_, whence == STR_SEEK_END ? length() : 0);
  return 1;
}

unsigned int CQVStreamOutput::Read(void* dst, unsigned int size) {
  unsigned total = 0;
  while (handle_ >= 0 && total < size) {
    const ssize_t got = pread(handle_, static_cast<char*>(dst) + total, size - total, pos_);
    if (got <= 0)
      break;
    total += static_cast<unsigned>(got);
    pos_ += got;
  }
  return total;
}

unsigned int CQVStreamOutput::Write(const void* src, unsigned int size) {
  unsigned total = 0;
  while (handle_ >= 0 && total < size) {
    const ssize_t put = pwrite(handle_, static_cast<const char*>(src) + total, size - total, pos_);
    if (put <= 0)
      break;
    total += static_cast<unsigned>(put);
    pos_ += put;
  }
  return total;
}

void CQVStreamOutput::Close() {
  if (handle_ >= 0)
    close(handle_);
  handle_ = -1;
  pos_ = 0;
  base_offset = 0;
}

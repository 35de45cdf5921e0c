// The stream over a C library FILE. It adds no buffering to the C library's, and leaves no bytes in it
// that were written: a disk that is full would refuse them when nobody asks any more.
#include <stdio_ext.h>
#include <sys/stat.h>

#include <cstring>

#include "sheaf/base/heap.h"
#include "sheaf/base/stream.h"

using namespace sheaf;

namespace {

// Asked of the system where that can be: a seek to the end and back would make the C library read anew what it
// holds already.
long long length_of(std::FILE* file) {
  if (__fpending(file) != 0)
    std::fflush(file);
  struct stat info = {};
  if (fstat(fileno(file), &info) == 0 && S_ISREG(info.st_mode))
    return info.st_size;
  const long kept = std::ftell(file);
  std::fseek(file, 0, SEEK_END);
  const long length = std::ftell(file);
  std::fseek(file, kept, SEEK_SET);
  return length;
}

}  // namespace

CQVStreamFile::~CQVStreamFile() {
  CQVStreamFile::Close();
}

void CQVStreamFile::Open(const char* name) {
  const std::size_t size = std::strlen(name) + 1;
  path = static_cast<char*>(QVAlloc(size));
  if (path != nullptr)
    std::memcpy(path, name, size);
  file = std::fopen(name, "rb");
}

long long CQVStreamFile::GetLen() const {
  if (file == nullptr)
    return 0 - base_offset;
  // Cut to 32 bits: offsets in the table have no more, and a longer file shows here as what it is to the
  // rest of the library.
  return static_cast<long long>(static_cast<std::uint32_t>(length_of(file))) - base_offset;
}

long long CQVStreamFile::GetPos() const {
  if (file == nullptr)
    return 0 - base_offset;
  return std::ftell(file) - base_offset;
}

int CQVStreamFile::SetPos(STR_SEEK whence, long long offset) {
  if (file == nullptr)
    return 1;
  switch (static_cast<int>(whence)) {
    case STR_SEEK_SET: {
      long long target = 0;
      if (!__builtin_add_overflow(base_offset, offset, &target))
        std::fseek(file, target, SEEK_SET);
      break;
    }
    case STR_SEEK_CUR:
      std::fseek(file, offset, SEEK_CUR);
      break;
    case STR_SEEK_END:
      std::fseek(file, offset, SEEK_END);
      break;
    default:
      break;
  }
  return 1;
}

unsigned int CQVStreamFile::Read(void* dst, unsigned int size) {
  return file == nullptr ? 0 : static_cast<unsigned int>(std::fread(dst, 1, size, file));
}

unsigned int CQVStreamFile::Write(const void* src, unsigned int size) {
  if (file == nullptr)
    return 0;
  const std::size_t count = std::fwrite(src, 1, size, file);
  return std::fflush(file) == 0 ? static_cast<unsigned int>(count) : 0;
}

void CQVStreamFile::Flush() {
  std::fflush(file);
}

void CQVStreamFile::Close() {
  if (file != nullptr)
    std::fclose(file);
  QVFree(path);
  file = nullptr;
  path = nullptr;
  base_offset = 0;
}

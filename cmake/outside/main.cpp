// A program of its own, built against the installed library: makes a document over a stream of its
// own kind, saves it, and reads it again.
#include <cstdio>
#include <cstring>
#include <vector>

#include <sheaf/version.h>

#include "sheaf/document/doc.h"

namespace {

class VectorStream : public CQVStream {
public:
  long long GetLen() const override { return static_cast<long long>(bytes_.size()) - base_offset; }
  long long GetPos() const override { return pos_ - base_offset; }
  int SetPos(STR_SEEK whence, long long offset) override {
    const long long size = static_cast<long long>(bytes_.size());
    pos_ = offset + (whence == STR_SEEK_SET ? base_offset : whence == STR_SEEK_CUR ? pos_ : size);
    return 1;
  }
  unsigned int Read(void* dst, unsigned int size) override {
    const auto at = static_cast<std::size_t>(pos_);
    const std::size_t left = at < bytes_.size() ? bytes_.size() - at : 0;
    const std::size_t count = size < left ? size : left;
    if (count > 0)
      std::memcpy(dst, bytes_.data() + at, count);
    pos_ += static_cast<long long>(count);
    return static_cast<unsigned>(count);
  }
  unsigned int Write(const void* src, unsigned int size) override {
    const auto at = static_cast<std::size_t>(pos_);
    if (bytes_.size() < at + size)
      bytes_.resize(at + size);
    std::memcpy(bytes_.data() + at, src, size);
    pos_ += size;
    return size;
  }
  void Close() override {}

private:
  std::vector<char> bytes_;
  long long pos_ = 0;
};

}  // namespace

int main() {
  if (std::strcmp(sheaf_version(), SHEAF_VERSION) != 0)
    return 1;
  VectorStream file;
  CPDFDoc doc;
  if (!doc.create(&file) || !doc.save_update(PDF_SAVE_FORM::kStream, nullptr))
    return 2;
  doc.close();
  CPDFDoc again;
  if (!again.open(&file) || !again.is_readable())
    return 3;
  std::printf("sheaf %s: %lld bytes, %d pages\n", sheaf_version(), again.file_size(), again.page_count());
  return 0;
}

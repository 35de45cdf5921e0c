// Each process goes through all objects and packs a share of the streams into a file, after a line that says which
// data it is of. Data are known by a hash, so what is found is unpacked and compared before it is used.
#include "batch/packed_ahead.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <string_view>

#include "batch/parts.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/temporary_file.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/writer/deflater.h"
#include "sheaf/document/writer/stream_coder.h"
#include "sheaf/filters/stream_filter.h"
#include "support/exit_codes.h"
#include "support/messages.h"

namespace sheaf::tool {

namespace {

struct Header {
  std::uint64_t key;
  std::uint64_t size;  // of the packed data that follow
};

std::uint64_t key_of(const unsigned char* data, std::size_t size, int level) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  return std::hash<std::string_view>()(bytes) + static_cast<std::uint64_t>(level);
}

// Packs, and keeps what came out.
class Recorder : public CPDFPacker {
public:
  explicit Recorder(std::FILE* file) : file_(file) {}

  unsigned char* pack(const unsigned char* data, std::size_t size, int level, std::size_t& packed) override {
    unsigned char* const block = deflate_block(data, size, level, packed);
    const Header header{key_of(data, size, level), packed};
    if (block != nullptr)
      failed_ = failed_ || std::fwrite(&header, sizeof(header), 1, file_) != 1 ||
                std::fwrite(block, 1, packed, file_) != packed;
    return block;
  }
  bool finish() { return std::fflush(file_) == 0 && !failed_; }

private:
  std::FILE* file_;
  bool failed_ = false;
};

bool is_packed_elsewhere(const CPDFStreamRec& rec) {
  const CPDFObj* const type = rec.dict.get_item(CPDFDictionary::sm_tag_type);
  return type != nullptr && (type->is_name("ObjStm") || type->is_name("XRef"));
}

// Which streams a part packs: each goes to the part that has the fewest bytes so far, by the count of all parts alike.
class Shares {
public:
  Shares(int part, int count) : part_(part), bytes_(static_cast<std::size_t>(count)) {}

  bool take(std::int32_t size) {
    const auto least = std::min_element(bytes_.begin(), bytes_.end());
    *least += 1 + std::max(size, 0);
    return least - bytes_.begin() == part_;
  }

private:
  int part_;
  std::vector<std::int64_t> bytes_;
};

int pack_share(CPDFXRefTable& table, PDF_WRITE_OPTIONS options, std::FILE* file, int part, int count) {
  Recorder recorder(file);
  options.packer = &recorder;
  StreamCoder coder(table, options);
  Shares shares(part, count);
  for (std::uint32_t num = 1; num < table.xref_count; ++num) {
    if (table.xref_items[num].is_compressed())
      continue;  // no stream
    Freed<CPDFObj> obj;
    table.get_stored(obj, PDF_REF::at(num));
    CPDFStreamRec* const rec = obj.as_stream();
    if (rec == nullptr || is_packed_elsewhere(*rec) || !shares.take(rec->length))
      continue;
    coder.recode(*rec);
    rec->source = nullptr;  // the coder has the data
  }
  return recorder.finish() ? int{kExitClean} : int{kExitFailed};
}

// Whether `packed`, which this takes over, are those of the data.
bool unpacks_to(unsigned char* packed, std::size_t packed_size, const unsigned char* data, std::size_t size) {
  constexpr int kPiece = 64 * 1024;
  const std::unique_ptr<CPDFStream> decoder(CPDFXRefTable::make_stream2(nullptr, packed, static_cast<int>(packed_size),
                                                                        CPDFDictionary::sm_tag_fdec, nullptr));
  if (decoder == nullptr)
    return false;
  decoder->decode_whole(size);
  unsigned char piece[kPiece];
  std::size_t done = 0;
  for (int got = decoder->read_block(piece, kPiece); got > 0; got = decoder->read_block(piece, kPiece)) {
    const auto count = static_cast<std::size_t>(got);
    if (count > size - done || std::memcmp(piece, data + done, count) != 0)
      return false;
    done += count;
  }
  return done == size;
}

// The decoder takes over what it reads.
unsigned char* copy_of(const unsigned char* data, std::size_t size) {
  auto* const copy = static_cast<unsigned char*>(QVAlloc(size));
  if (copy != nullptr)
    std::memcpy(copy, data, size);
  return copy;
}

}  // namespace

bool packs(const PDF_WRITE_OPTIONS& options) {
  return options.recompress != 0 || options.stream_data == PDF_STREAM_DATA::kCompress;
}

PackedAhead::~PackedAhead() {
  for (std::FILE* const file : files_)
    std::fclose(file);
}

bool PackedAhead::run(CPDFDoc& doc, const std::string& file, const PDF_WRITE_OPTIONS& options, int jobs) {
  CPDFXRefTable& table = doc.table();
  table.drain_pending();
  for (int i = 0; i < jobs; ++i) {
    std::FILE* const made = open_unnamed_file(nullptr);
    if (made == nullptr) {
      complain(input_name(file), "there is no room for temporary files; see TMPDIR");
      return false;
    }
    files_.push_back(made);
  }
  std::vector<PartResult> results;
  const auto pack_part = [&](int part) {
    return pack_share(table, options, files_[static_cast<std::size_t>(part)], part, jobs);
  };
  if (!run_parts(file, jobs, pack_part, results))
    return false;
  for (std::FILE* const made : files_)
    collect(made);
  return true;
}

void PackedAhead::collect(std::FILE* file) {
  std::rewind(file);
  Header header{};
  while (std::fread(&header, sizeof(header), 1, file) == 1) {
    const long at = std::ftell(file);
    found_.emplace(header.key, Place{file, at, static_cast<std::size_t>(header.size)});
    if (at < 0 || std::fseek(file, static_cast<long>(header.size), SEEK_CUR) != 0)
      return;
  }
}

unsigned char* PackedAhead::pack(const unsigned char* data, std::size_t size, int level, std::size_t& packed) {
  const auto [first, last] = found_.equal_range(key_of(data, size, level));
  for (auto at = first; at != last; ++at) {
    const Place& place = at->second;
    HeapBlock<unsigned char> block(static_cast<unsigned char*>(QVAlloc(place.size)));
    if (!block || std::fseek(place.file, place.at, SEEK_SET) != 0 ||
        std::fread(block.get(), 1, place.size, place.file) != place.size)
      continue;
    unsigned char* const copy = copy_of(block.get(), place.size);
    if (copy != nullptr && unpacks_to(copy, place.size, data, size)) {
      packed = place.size;
      return block.release();
    }
  }
  return deflate_block(data, size, level, packed);
}

}  // namespace sheaf::tool

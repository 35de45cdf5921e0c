// Walks from part to part; a stream's end is where its length says, or else the next endstream.
#include "map/file_scan.h"

#include <algorithm>

#include "map/byte_window.h"
#include "map/part_kinds.h"
#include "sheaf/base/chars.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/object/array.h"
#include "sheaf/object/object_header.h"
#include "sheaf/object/parse_buf.h"

namespace sheaf::tool {

namespace {

constexpr std::int64_t kMostLineEnd = 2;

class Scanner {
public:
  Scanner(CPDFXRefTable& table, std::uint32_t first_end)
      : table_(table), bytes_(*table.stream), first_end_(first_end), kinds_(table, scan_) {}

  FileScan run();

private:
  std::int64_t take_part(std::int64_t pos);
  std::int64_t take_header(std::int64_t pos);
  std::int64_t take_object(std::int64_t pos, const ObjectHeader<std::int64_t>& header);
  std::int64_t take_table(std::int64_t pos);
  std::int64_t take_trailer(std::int64_t pos);
  std::int64_t take_end_marker(std::int64_t pos);
  bool at_object(std::int64_t pos, ObjectHeader<std::int64_t>& header);
  std::int64_t end_of_stream(const CPDFStreamRec& rec);
  std::int64_t pass_line(std::int64_t pos);
  std::int64_t pass_line_end(std::int64_t pos);
  std::int64_t pass_space(std::int64_t pos);
  std::int64_t pass_unknown(std::int64_t pos);
  void add(std::int64_t start, std::int64_t end, PartKind kind, FrameKind frame);
  bool is_token_start(std::int64_t pos) { return pos == 0 || !is_regular(bytes_.at(pos - 1)); }

  CPDFXRefTable& table_;
  ByteWindow bytes_;
  std::uint32_t first_end_;
  FileScan scan_;
  PartClassifier kinds_;
  Freed<CPDFObj> obj_;
};

FileScan Scanner::run() {
  scan_.filters.emplace_back();
  std::int64_t pos = take_header(0);
  while (pos < bytes_.size()) {
    const std::int64_t next = take_part(pos);
    pos = next > pos ? next : pass_unknown(pos);
  }
  const auto size = static_cast<std::uint32_t>(bytes_.size());
  const std::uint32_t last = scan_.revisions.empty() ? 0 : scan_.revisions.back().end;
  // What follows the last end marker belongs to the last save, unless it has objects of its own.
  const bool has_objects = std::any_of(scan_.parts.begin(), scan_.parts.end(),
                                       [last](const FilePart& part) { return part.start >= last && part.num != 0; });
  if (scan_.revisions.empty() || has_objects)
    scan_.revisions.push_back({last, size, 0, 0});
  else
    scan_.revisions.back().end = size;
  return std::move(scan_);
}

// The part that begins at `pos` is stored; the result is its end, or `pos` when none begins there.
std::int64_t Scanner::take_part(std::int64_t pos) {
  const char c = bytes_.at(pos);
  ObjectHeader<std::int64_t> header;
  if (is_wide_space(c))
    return pass_space(pos);
  if (is_digit(c) && is_token_start(pos) && at_object(pos, header))
    return take_object(pos, header);
  if (c == 'x' && bytes_.has(pos, "xref"))
    return take_table(pos);
  if (c == 't' && bytes_.has(pos, "trailer"))
    return take_trailer(pos);
  if (c == 's' && bytes_.has(pos, "startxref"))
    return take_end_marker(pos);
  if (c == '%') {
    const std::int64_t end = pass_line(pos);
    const bool is_marker = bytes_.has(pos, "%%EOF");
    add(pos, end, is_marker ? PartKind::kFrame : PartKind::kFiller,
        is_marker ? FrameKind::kEndMarker : FrameKind::kNone);
    return end;
  }
  return pos;
}

// The line of the version, with the comment that marks the file as binary.
std::int64_t Scanner::take_header(std::int64_t pos) {
  if (!bytes_.has(pos, "%PDF-"))
    return pos;
  std::int64_t end = pass_line(pos);
  if (bytes_.at(end) == '%' && !bytes_.has(end, "%%EOF"))
    end = pass_line(end);
  add(pos, end, PartKind::kFrame, FrameKind::kHeader);
  return end;
}

bool Scanner::at_object(std::int64_t pos, ObjectHeader<std::int64_t>& header) {
  return read_object_header(bytes_, pos, header) && !is_digit(bytes_.at(header.end));
}

std::int64_t Scanner::take_object(std::int64_t pos, const ObjectHeader<std::int64_t>& header) {
  CPDFBufBase buf;
  table_.stream->SetPos(CQVStream::STR_SEEK_SET, pos);
  buf.buf_init(table_.stream);
  obj_.read(&buf, nullptr);
  FilePart part;
  part.start = static_cast<std::uint32_t>(pos);
  part.num = header.num;
  std::int64_t end = std::max<std::int64_t>(buf.position(), header.end);
  if (const CPDFStreamRec* rec = obj_.as_stream())
    end = end_of_stream(*rec);
  end = std::min(std::max(end, header.end), bytes_.size());
  const std::int64_t keyword = bytes_.skip_space(end);
  if (bytes_.has(keyword, "endobj"))
    end = pass_line_end(keyword + 6);
  part.end = static_cast<std::uint32_t>(end);
  kinds_.classify(obj_, part);
  scan_.parts.push_back(part);
  return end;
}

// After "endstream", which is where "Length" says or else is searched for.
std::int64_t Scanner::end_of_stream(const CPDFStreamRec& rec) {
  constexpr std::int64_t kKeyword = 9;
  Freed<CPDFObj> length = table_.value(&rec.dict, CPDFDictionary::sm_tag_length);
  const std::int64_t stated = std::int64_t{rec.offset} + std::max(length.to_int(), 0);
  const std::int64_t place = bytes_.skip_space(std::min(stated, bytes_.size()));
  if (bytes_.has(place, "endstream"))
    return place + kKeyword;
  const std::int64_t found = bytes_.find("endstream", rec.offset, bytes_.size());
  return found >= 0 ? found + kKeyword : bytes_.size();
}

// Lines of a table hold digits, blanks, n and f only.
std::int64_t Scanner::take_table(std::int64_t pos) {
  std::int64_t end = pos + 4;
  for (char c = bytes_.at(end); end < bytes_.size() && (is_digit(c) || is_wide_space(c) || c == 'n' || c == 'f');)
    c = bytes_.at(++end);
  add(pos, std::min(end, bytes_.size()), PartKind::kFrame, FrameKind::kTable);
  return std::min(end, bytes_.size());
}

std::int64_t Scanner::take_trailer(std::int64_t pos) {
  CPDFBufBase buf;
  table_.stream->SetPos(CQVStream::STR_SEEK_SET, pos + 7);
  buf.buf_init(table_.stream);
  obj_.read(&buf, nullptr);
  std::int64_t end = pos + 7;
  if (obj_.as_dict() != nullptr)
    end = pass_line_end(std::min<std::int64_t>(buf.position(), bytes_.size()));
  add(pos, end, PartKind::kFrame, FrameKind::kTrailer);
  return end;
}

// A save ends with its end marker. The first part of a linearized file has one too.
std::int64_t Scanner::take_end_marker(std::int64_t pos) {
  std::int64_t at = bytes_.skip_space(pos + 9);
  std::int64_t offset = 0;
  read_digits(bytes_, at, offset);
  const std::int64_t marker = bytes_.skip_space(at);
  const bool complete = bytes_.has(marker, "%%EOF");
  const std::int64_t end = complete ? pass_line_end(marker + 5) : at;
  add(pos, end, PartKind::kFrame, FrameKind::kEndMarker);
  if (complete && offset != 0 && end + kMostLineEnd >= first_end_) {
    const std::uint32_t start = scan_.revisions.empty() ? 0 : scan_.revisions.back().end;
    scan_.revisions.push_back({start, static_cast<std::uint32_t>(end), 0, 0});
  }
  return end;
}

// After the line that contains `pos`.
std::int64_t Scanner::pass_line(std::int64_t pos) {
  while (pos < bytes_.size() && bytes_.at(pos) != '\r' && bytes_.at(pos) != '\n')
    ++pos;
  return pass_line_end(pos);
}

// After the line end at `pos`, blanks before it allowed.
std::int64_t Scanner::pass_line_end(std::int64_t pos) {
  while (bytes_.at(pos) == ' ')
    ++pos;
  if (bytes_.at(pos) == '\r')
    ++pos;
  if (bytes_.at(pos) == '\n')
    ++pos;
  return std::min(pos, bytes_.size());
}

std::int64_t Scanner::pass_space(std::int64_t pos) {
  const std::int64_t end = bytes_.skip_space(pos);
  // A line end or two belong to what precedes them.
  if (end - pos <= 2 * kMostLineEnd && !scan_.parts.empty())
    scan_.parts.back().end = static_cast<std::uint32_t>(end);
  else
    add(pos, end, PartKind::kFiller, FrameKind::kNone);
  return end;
}

// Up to the next place at which a part can begin.
std::int64_t Scanner::pass_unknown(std::int64_t pos) {
  std::int64_t end = pos;
  ObjectHeader<std::int64_t> header;
  do {
    ++end;
    const char c = bytes_.at(end);
    if (is_digit(c) && is_token_start(end) && at_object(end, header))
      break;
    if (((c == 'x' || c == 't' || c == 's') && is_token_start(end) &&
         (bytes_.has(end, "xref") || bytes_.has(end, "trailer") || bytes_.has(end, "startxref"))) ||
        (c == '%' && (bytes_.has(end, "%%EOF") || (scan_.parts.empty() && bytes_.has(end, "%PDF-")))))
      break;
  } while (end < bytes_.size());
  const bool had_parts = !scan_.parts.empty();
  add(pos, end, PartKind::kUnknown, FrameKind::kNone);
  return had_parts ? end : take_header(end);
}

void Scanner::add(std::int64_t start, std::int64_t end, PartKind kind, FrameKind frame) {
  FilePart part;
  part.start = static_cast<std::uint32_t>(start);
  part.end = static_cast<std::uint32_t>(end);
  part.kind = kind;
  part.frame = frame;
  scan_.parts.push_back(part);
}

}  // namespace

FileScan scan_file(CPDFXRefTable& table, std::uint32_t first_end) {
  return Scanner(table, first_end).run();
}

}  // namespace sheaf::tool

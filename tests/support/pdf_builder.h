// Builds small PDFs in memory. The builder knows every offset, so that no test counts bytes.
#pragma once

#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

class PdfBuilder {
public:
  explicit PdfBuilder(const std::string& header = "%PDF-1.7\n%\xE2\xE3\xCF\xD3\n") : out_(header) {}

  /// An indirect object with the given body.
  PdfBuilder& obj(int num, const std::string& body, int gen = 0) {
    offsets_[num] = out_.size();
    generations_[num] = gen;
    out_ += std::to_string(num) + " " + std::to_string(gen) + " obj\n" + body + "\nendobj\n";
    return *this;
  }
  /// A stream object; `keys` stand before "Length".
  PdfBuilder& stream(int num, const std::string& keys, const std::string& data) {
    return obj(num, "<<" + keys + "/Length " + std::to_string(data.size()) + ">>\nstream\n" + data + "\nendstream");
  }
  /// A catalogue 1, a page tree 2 and `count` pages from object 3 on.
  PdfBuilder& pages(int count) {
    std::string kids;
    for (int i = 0; i < count; ++i)
      kids += std::to_string(3 + i) + " 0 R ";
    obj(1, "<</Type/Catalog/Pages 2 0 R>>");
    obj(2, "<</Type/Pages/Count " + std::to_string(count) + "/Kids[" + kids + "]/MediaBox[0 0 612 792]>>");
    for (int i = 0; i < count; ++i)
      obj(3 + i, "<</Type/Page/Parent 2 0 R>>");
    return *this;
  }
  /// Objects in an object stream, in the order given.
  PdfBuilder& object_stream(int num, const std::vector<std::pair<int, std::string>>& objects) {
    std::string numbers;
    std::string bodies;
    for (const auto& [member, body] : objects) {
      numbers += std::to_string(member) + " " + std::to_string(bodies.size()) + " ";
      bodies += body + "\n";
    }
    int index = 0;
    for (const auto& member : objects)
      compressed_[member.first] = {num, index++};
    return stream(num, "/Type/ObjStm/N " + std::to_string(objects.size()) + "/First " + std::to_string(numbers.size()),
                  numbers + bodies);
  }
  PdfBuilder& raw(const std::string& bytes) {
    out_ += bytes;
    return *this;
  }

  /// A classic section over the objects since the last one; `extra` goes into the trailer.
  PdfBuilder& classic(const std::string& extra = "/Root 1 0 R") {
    const std::size_t start = out_.size();
    out_ += "xref\n";
    if (!has_section_)
      out_ += "0 1\n0000000000 65535 f \n";
    for (const auto& [num, offset] : offsets_) {
      char line[40];
      std::snprintf(line, sizeof(line), "%d 1\n%010zu %05d n \n", num, offset, generations_[num]);
      out_ += line;
    }
    out_ += "trailer\n<</Size " + std::to_string(next_number()) + extra + prev() + ">>\n";
    finish(start);
    return *this;
  }
  /// A cross-reference stream, object `num`, over the objects since the last section.
  PdfBuilder& xref_stream(int num, const std::string& extra = "/Root 1 0 R") {
    const std::size_t start = out_.size();
    offsets_[num] = start;
    std::string index;
    std::string rows;
    std::map<int, std::string> entries;
    for (const auto& [member, offset] : offsets_)
      entries[member] = row(1, offset, 0);
    for (const auto& [member, place] : compressed_)
      entries[member] = row(2, static_cast<std::size_t>(place.first), place.second);
    for (const auto& [member, entry] : entries) {
      index += std::to_string(member) + " 1 ";
      rows += entry;
    }
    stream(num, "/Type/XRef/Size " + std::to_string(next_number()) + "/W[1 4 1]/Index[" + index + "]" + extra + prev(),
           rows);
    finish(start);
    return *this;
  }
  std::size_t offset_of(int num) const { return all_offsets_.count(num) ? all_offsets_.at(num) : offsets_.at(num); }
  std::size_t last_section() const { return last_section_; }
  const std::string& str() const { return out_; }

  static std::string deflated(const std::string& data) {
    uLongf size = compressBound(static_cast<uLong>(data.size()));
    std::string out(size, '\0');
    compress(reinterpret_cast<Bytef*>(out.data()), &size, reinterpret_cast<const Bytef*>(data.data()),
             static_cast<uLong>(data.size()));
    out.resize(size);
    return out;
  }

private:
  static std::string row(int type, std::size_t second, int third) {
    std::string bytes(1, static_cast<char>(type));
    for (int shift = 24; shift >= 0; shift -= 8)
      bytes += static_cast<char>(second >> shift);
    return bytes + static_cast<char>(third);
  }
  int next_number() const {
    int last = 0;
    for (const auto& [num, offset] : offsets_)
      last = std::max(last, num);
    for (const auto& [num, offset] : all_offsets_)
      last = std::max(last, num);
    for (const auto& [num, place] : compressed_)
      last = std::max(last, num);
    return last + 1;
  }
  std::string prev() const { return has_section_ ? "/Prev " + std::to_string(last_section_) : ""; }
  void finish(std::size_t start) {
    out_ += "startxref\n" + std::to_string(start) + "\n%%EOF\n";
    last_section_ = start;
    has_section_ = true;
    for (const auto& [num, offset] : offsets_)
      all_offsets_[num] = offset;
    offsets_.clear();
    compressed_.clear();
  }

  std::string out_;
  std::map<int, std::size_t> offsets_;
  std::map<int, int> generations_;
  std::map<int, std::size_t> all_offsets_;
  std::map<int, std::pair<int, int>> compressed_;
  std::size_t last_section_ = 0;
  bool has_section_ = false;
};

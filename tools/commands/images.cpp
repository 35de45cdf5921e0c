// sheaf images: the images of a document, listed or written as files: JPEG and JPEG 2000 byte for
// byte, CCITT data too when TIFF files are asked for, all others as PNG; opacity inside of JPEG 2000 data as a PNG of
// its own.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "batch/batch.h"
#include "batch/file_queue.h"
#include "batch/parts.h"
#include "image/image_placements.h"
#include "image/image_writer.h"
#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/images/image.h"
#include "sheaf/document/images/image_colours.h"
#include "support/command_line.h"
#include "support/json_values.h"
#include "support/progress.h"
#include "support/safe_names.h"
#include "support/safe_output.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct ImagesOptions {
  BatchOptions batch;
  std::string file;  ///< The one of these that is looked at.
  PasswordOptions password;
  std::string folder;  ///< Where they are written; empty: they are listed only.
  bool json = false;
  bool tiff = false;  ///< CCITT data go into TIFF files as they are, where TIFF has their coding.
};

bool is_jpeg(const CPDFImage& image) {
  return std::strcmp(image.filter, "DCTDecode") == 0;
}

bool is_jpx(const CPDFImage& image) {
  return std::strcmp(image.filter, "JPXDecode") == 0;
}

bool is_fax(const CPDFImage& image) {
  return std::strcmp(image.filter, "CCITTFaxDecode") == 0;
}

// Names of files; empty for those not written.
struct Written {
  std::string picture;
  std::string opacity;
};

// Writes the images of a document as files.
class ImageFiles {
public:
  ImageFiles(CPDFDoc& doc, const ImagesOptions& options) : doc_(doc), options_(options) {}

  int code() const { return code_; }

  /// The files that the image was written to.
  Written write(std::int32_t num, const CPDFImage& image) {
    Written written{extract(num, image), ""};
    if (!written.picture.empty())
      written.opacity = extract_opacity(num, image);
    return written;
  }

private:
  void problem(std::int32_t num, const char* what) {
    complain(options_.file, "object " + std::to_string(num) + ": " + what);
    code_ = kExitProblems;
  }

  // The name of the file written; empty, with a message, when none was written.
  std::string extract(std::int32_t num, const CPDFImage& image) {
    std::int32_t len = 0;
    const bool as_it_is = is_jpeg(image) || is_jpx(image);
    const bool may_be_tiff = options_.tiff && is_fax(image);
    const HeapBlock<std::uint8_t> encoded(as_it_is || may_be_tiff ? image.load_encoded(len) : nullptr);
    if (as_it_is && !encoded) {
      problem(num, "its data cannot be read");
      return "";
    }
    const FaxTiff tiff = may_be_tiff && encoded ? fax_tiff_of(doc_.table(), image, encoded.get(), len) : FaxTiff{};
    const char* kind = is_jpeg(image)                  ? ".jpg"
                       : tiff.compression != 0         ? ".tif"
                       : !is_jpx(image)                ? ".png"
                       : len > 0 && encoded[0] == 0xFF ? ".j2k"
                                                       : ".jp2";
    const std::string path = path_of(num, kind);
    SafeOutput output;
    if (!output.open(path)) {
      code_ = kExitProblems;
      return "";
    }
    CQVStream* const out = &output.stream();
    if (as_it_is)
      return commit(num, output, path, write_whole(out, encoded.get(), len));
    const Dots dots = placements().dots_of(num, image.width, image.height);
    if (tiff.compression != 0)
      return commit(num, output, path, write_fax_tiff(out, tiff, image, dots, encoded.get(), len) ? nullptr : kShort);
    bool is_whole = true;
    const char* const trouble = write_png(out, doc_.table(), image, dots, is_whole);
    if (trouble == nullptr && !is_whole)
      problem(num, "its data end early; the rest of the picture is empty");
    return commit(num, output, path, trouble);
  }

  // A soft mask is an image of its own; so is what stands for one.
  std::string extract_opacity(std::int32_t num, const CPDFImage& image) {
    if (!is_jpx(image) || image.opacity_in_data == 0)
      return "";
    const std::string path = path_of(num, "-opacity.png");
    SafeOutput output;
    if (!output.open(path)) {
      code_ = kExitProblems;
      return "";
    }
    bool has_opacity = false;
    const Dots dots = placements().dots_of(num, image.width, image.height);
    const char* const trouble = write_opacity_png(&output.stream(), doc_.table(), image, dots, has_opacity);
    return trouble != nullptr || has_opacity ? commit(num, output, path, trouble) : "";
  }

  std::string path_of(std::int32_t num, const char* ending) const {
    return options_.folder + "/image-" + std::to_string(num) + ending;
  }

  static const char* write_whole(CQVStream* out, const std::uint8_t* data, std::int32_t len) {
    const auto size = static_cast<unsigned>(len);
    return out->Write(data, size) == size ? nullptr : kShort;
  }

  std::string commit(std::int32_t num, SafeOutput& output, const std::string& path, const char* trouble) {
    if (trouble != nullptr) {
      problem(num, trouble);
      return "";
    }
    return output.commit() ? path : "";
  }

  // Only pictures that can bear a resolution make it worth reading the pages.
  const ImagePlacements& placements() {
    if (!placements_)
      placements_.emplace(doc_);
    return *placements_;
  }

  static constexpr const char* kShort = "could not be written to its end";

  CPDFDoc& doc_;
  const ImagesOptions& options_;
  std::optional<ImagePlacements> placements_;
  int code_ = kExitClean;
};

class ImageList {
public:
  ImageList(CPDFDoc& doc, const ImagesOptions& options) : doc_(doc), options_(options) {
    if (options_.json)
      begin_report(json_, options_.file).key("images").begin_array();
    else
      std::printf("%8s %7s %7s %5s %-20s %-16s %10s%s\n", "object", "width", "height", "bits", "colours", "filter",
                  "bytes", options_.folder.empty() ? "" : " written");
  }

  void add(std::int32_t num, const CPDFImage& image, const Written& written) {
    const std::string colours = image.is_mask ? "mask" : colour_space_name(doc_.table(), image.colour_space);
    if (!options_.json) {
      std::printf("%8d %7d %7d %5d %-20s %-16s %10d %s%s%s\n", num, image.width, image.height, image.bits,
                  shown(colours).c_str(), image.filter[0] != 0 ? shown(image.filter).c_str() : "-", image.stored_length,
                  shown(written.picture).c_str(), written.opacity.empty() ? "" : " ", shown(written.opacity).c_str());
      return;
    }
    json_.begin_object().key("object").number(num).key("width").number(image.width);
    json_.key("height").number(image.height).key("bits").number(image.bits).key("colours").text(colours);
    json_.key("filter").text(image.filter).key("bytes").number(image.stored_length);
    if (!options_.folder.empty())
      write_file_name(json_, "written", written.picture);
    if (!written.opacity.empty())
      write_file_name(json_, "opacity", written.opacity);
    json_.end_object();
  }

  /// `code` is that of the files.
  int finish(int code) {
    if (options_.json)
      std::printf("%s\n", json_.end_array().end_object().str().c_str());
    return was_sound(doc_, options_.file) ? code : int{kExitProblems};
  }

private:
  CPDFDoc& doc_;
  const ImagesOptions& options_;
  JsonWriter json_;
};

// Calls `use` with each image of the document and its number.
template <class Use>
void for_each_image(CPDFXRefTable& table, const char* what, const Use& use) {
  table.drain_pending();
  Progress progress(what, table.xref_count);
  for (std::uint32_t num = 1; num < table.xref_count; ++num) {
    Freed<CPDFObj> obj;
    CPDFImage image;
    progress.show(num);
    table.get_stored(obj, PDF_REF::at(num));
    if (obj.tag == kTagStream && image.load(table, obj))
      use(object_num(num), image);
  }
}

// The images written by several processes, each of which has those in a row that come to its share of the bytes.
class ParallelFiles {
public:
  ParallelFiles(CPDFDoc& doc, const ImagesOptions& options) : doc_(doc), options_(options) {}

  bool write() {
    for_each_image(doc_.table(), "objects looked at", [this](std::int32_t num, const CPDFImage& image) {
      images_.push_back({num, bytes_});
      bytes_ += kLeastCost + image.stored_length;
    });
    const int count = std::min(options_.batch.jobs, static_cast<int>(images_.size()));
    std::vector<PartResult> results;
    if (!run_parts(
            options_.file, count, [this, count](int part) { return write_part(part, count); }, results))
      return false;
    for (const PartResult& result : results) {
      code_ = std::max(code_, result.code);
      for (std::size_t at = 0; at < result.printed.size();) {
        Written& written = written_.emplace_back();
        for (std::string* const name : {&written.picture, &written.opacity}) {
          *name = result.printed.c_str() + at;
          at += name->size() + 1;
        }
      }
    }
    return true;
  }
  int code() const { return code_; }
  /// The files of the image at `index` of the document.
  Written written(std::size_t index) const { return index < written_.size() ? written_[index] : Written{}; }

private:
  static constexpr std::int64_t kLeastCost = 1024;  // of an image, in bytes

  struct Place {
    std::int32_t num;
    std::int64_t before;  // bytes of the images before it
  };

  int write_part(int part, int count) {
    ImageFiles files(doc_, options_);
    CPDFXRefTable& table = doc_.table();
    for (const Place& place : images_) {
      if (place.before * count / bytes_ != part)
        continue;
      Freed<CPDFObj> obj;
      CPDFImage image;
      table.get_stored(obj, {place.num, 0});
      const Written written = image.load(table, obj) ? files.write(place.num, image) : Written{};
      for (const std::string* const name : {&written.picture, &written.opacity})
        std::fwrite(name->c_str(), 1, name->size() + 1, stdout);
    }
    return files.code();
  }

  CPDFDoc& doc_;
  const ImagesOptions& options_;
  std::vector<Place> images_;
  std::vector<Written> written_;
  std::int64_t bytes_ = 0;
  int code_ = kExitClean;
};

int look_at_images(const ImagesOptions& options) {
  CPDFDoc doc;
  if (!open_document(doc, options.file, options.password) || !make_folder(options.folder))
    return kExitFailed;
  const bool writes = !options.folder.empty();
  // Limits are those of one process.
  const WorkerLimits& limits = options.batch.limits;
  const bool in_parts = writes && options.batch.jobs > 1 && limits.seconds <= 0 && limits.memory == 0;
  ParallelFiles parts(doc, options);
  if (in_parts && !parts.write())
    return kExitFailed;
  ImageFiles files(doc, options);
  ImageList list(doc, options);
  std::size_t index = 0;
  for_each_image(doc.table(), "objects looked at", [&](std::int32_t num, const CPDFImage& image) {
    list.add(num, image, in_parts ? parts.written(index++) : writes ? files.write(num, image) : Written{});
  });
  return list.finish(std::max(parts.code(), files.code()));
}

int run_images(const ImagesOptions& options) {
  if (!options.folder.empty() && (options.batch.files.size() != 1 || is_folder(options.batch.files.front()))) {
    complain(options.folder, "would get images of several documents under the same names; give one FILE with -d");
    return kExitFailed;
  }
  // One file in the folder's place has all the jobs for itself.
  BatchOptions batch = options.batch;
  if (!options.folder.empty())
    batch.jobs = 1;
  const bool many = is_many(batch);
  return run_batch(batch, options.json, [&options, many](const std::string& file) {
    ImagesOptions one = options;
    one.file = file;
    if (!one.json && many)
      std::printf("%s:\n", shown(input_name(file)).c_str());
    return look_at_images(one);
  });
}

const Registration kImages("images", "Look", "The images of a document", [](Command& command) -> Run {
  auto options = std::make_shared<ImagesOptions>();
  add_batch(command, options->batch, "Files at a time; with -d, images");
  add_password(command, options->password);
  command.add_option("-d,--directory", options->folder, "Write them into this folder");
  command.add_flag("--tiff", options->tiff, "With -d: CCITT images as TIFF files, as they are coded");
  command.add_flag("--json", options->json, "One JSON object");
  return [options] { return run_images(*options); };
});

}  // namespace

}  // namespace sheaf::tool

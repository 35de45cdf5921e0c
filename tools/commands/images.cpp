// sheaf images: the images of a document, listed or written as files: JPEG and JPEG 2000 byte for
// byte, CCITT data too when TIFF files are asked for, all others as PNG; opacity inside of JPEG 2000 data as a PNG of
// its own.
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>

#include "batch/batch.h"
#include "batch/file_queue.h"
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

class ImageList {
public:
  ImageList(CPDFDoc& doc, const ImagesOptions& options) : doc_(doc), options_(options) {
    if (options_.json)
      begin_report(json_, options_.file).key("images").begin_array();
    else
      std::printf("%8s %7s %7s %5s %-20s %-16s %10s%s\n", "object", "width", "height", "bits", "colours", "filter",
                  "bytes", options_.folder.empty() ? "" : " written");
  }

  void add(std::int32_t num, const CPDFImage& image) {
    const std::string written = options_.folder.empty() ? "" : extract(num, image);
    const std::string opacity = written.empty() ? "" : extract_opacity(num, image);
    const std::string colours = image.is_mask ? "mask" : colour_space_name(doc_.table(), image.colour_space);
    if (!options_.json) {
      std::printf("%8d %7d %7d %5d %-20s %-16s %10d %s%s%s\n", num, image.width, image.height, image.bits,
                  shown(colours).c_str(), image.filter[0] != 0 ? shown(image.filter).c_str() : "-", image.stored_length,
                  shown(written).c_str(), opacity.empty() ? "" : " ", shown(opacity).c_str());
      return;
    }
    json_.begin_object().key("object").number(num).key("width").number(image.width);
    json_.key("height").number(image.height).key("bits").number(image.bits).key("colours").text(colours);
    json_.key("filter").text(image.filter).key("bytes").number(image.stored_length);
    if (!options_.folder.empty())
      write_file_name(json_, "written", written);
    if (!opacity.empty())
      write_file_name(json_, "opacity", opacity);
    json_.end_object();
  }

  int finish() {
    if (options_.json)
      std::printf("%s\n", json_.end_array().end_object().str().c_str());
    return was_sound(doc_, options_.file) ? code_ : int{kExitProblems};
  }

private:
  void problem(std::int32_t num, const char* what) {
    complain(options_.file, "object " + std::to_string(num) + ": " + what);
    code_ = kExitProblems;
  }

  // The name of the file written; empty, with a message, when there is none.
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
  JsonWriter json_;
  std::optional<ImagePlacements> placements_;
  int code_ = kExitClean;
};

int look_at_images(const ImagesOptions& options) {
  CPDFDoc doc;
  if (!open_document(doc, options.file, options.password) || !make_folder(options.folder))
    return kExitFailed;
  CPDFXRefTable& table = doc.table();
  table.drain_pending();
  ImageList list(doc, options);
  Progress progress("objects looked at", table.xref_count);
  for (std::uint32_t num = 1; num < table.xref_count; ++num) {
    Freed<CPDFObj> obj;
    CPDFImage image;
    progress.show(num);
    table.get_stored(obj, {static_cast<std::int32_t>(num), 0});
    if (obj.tag == kTagStream && image.load(table, obj))
      list.add(static_cast<std::int32_t>(num), image);
  }
  return list.finish();
}

int run_images(const ImagesOptions& options) {
  if (!options.folder.empty() && (options.batch.files.size() != 1 || is_folder(options.batch.files.front()))) {
    complain(options.folder, "would get images of several documents under the same names; give one FILE with -d");
    return kExitFailed;
  }
  return run_batch(options.batch, options.json, [&options](const std::string& file) {
    ImagesOptions one = options;
    one.file = file;
    if (!one.json && is_many(one.batch))
      std::printf("%s:\n", shown(input_name(file)).c_str());
    return look_at_images(one);
  });
}

const Registration kImages("images", "Look", "The images of a document", [](Command& command) -> Run {
  auto options = std::make_shared<ImagesOptions>();
  add_batch(command, options->batch);
  add_password(command, options->password);
  command.add_option("-d,--directory", options->folder, "Write them into this folder");
  command.add_flag("--tiff", options->tiff, "With -d: CCITT images as TIFF files, as they are coded");
  command.add_flag("--json", options->json, "One JSON object");
  return [options] { return run_images(*options); };
});

}  // namespace

}  // namespace sheaf::tool

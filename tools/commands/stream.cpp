// sheaf stream: the data of a stream, decoded or as stored.
#include <cstdio>
#include <memory>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/filters/stream_filter.h"
#include "support/command_line.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct StreamOptions {
  std::string file;
  PasswordOptions password;
  std::int32_t num = 0;
  std::int32_t gen = -1;  ///< -1: whichever it has.
  bool raw = false;
  std::string output;  ///< Empty: standard output.
};

struct FileCloser {
  void operator()(std::FILE* file) const {
    if (file != stdout)
      std::fclose(file);
  }
};

bool put(std::FILE* out, const void* data, std::size_t size) {
  return std::fwrite(data, 1, size, out) == size;
}

bool put_decoded(CPDFXRefTable& table, const CPDFStreamRec& rec, CPDFStream& decoder, std::FILE* out) {
  return drain(table, rec, decoder, [out](const unsigned char* data, int size) {
           return put(out, data, static_cast<std::size_t>(size));
         }) >= 0;
}

int run_stream(const StreamOptions& options) {
  CPDFDoc doc;
  if (!open_document(doc, options.file, options.password))
    return kExitFailed;
  CPDFXRefTable& table = doc.table();
  const std::string name = "object " + std::to_string(options.num);
  Freed<CPDFObj> obj;
  PDF_REF ref{0, 0};
  if (!find_reference(doc, options.file, options.num, options.gen, ref))
    return kExitFailed;
  table.get_entity(obj, ref);
  const CPDFStreamRec* rec = obj.as_stream();
  if (rec == nullptr) {
    complain(options.file, name + " is no stream; `sheaf show` tells what it is");
    return kExitFailed;
  }
  int raw_len = 0;
  const HeapBlock<unsigned char> raw(options.raw ? table.load_raw_data(rec, raw_len) : nullptr);
  const std::unique_ptr<CPDFStream> decoder(options.raw ? nullptr : table.make_stream(rec));
  if (!options.raw && decoder == nullptr) {
    complain(options.file, name + " cannot be decoded; --raw gives its bytes as they are stored");
    return kExitFailed;
  }
  const std::unique_ptr<std::FILE, FileCloser> out(options.output.empty() ? stdout
                                                                          : std::fopen(options.output.c_str(), "wb"));
  if (out == nullptr) {
    complain(options.output, "cannot be written; check the folder and its permissions");
    return kExitFailed;
  }
  const bool done = options.raw ? put(out.get(), raw.get(), static_cast<std::size_t>(raw_len))
                                : put_decoded(table, *rec, *decoder, out.get());
  if (!done || std::fflush(out.get()) != 0) {
    complain(options.output.empty() ? "standard output" : options.output, "could not be written to its end");
    return kExitFailed;
  }
  return kExitClean;
}

const Registration kStream("stream", "Look", "The data of a stream", [](CLI::App& command) -> Run {
  auto options = std::make_shared<StreamOptions>();
  add_file(command, options->file);
  add_password(command, options->password);
  command.add_option("NUM", options->num, "Object number")->required()->check(CLI::Range(1, INT32_MAX));
  command.add_option("GEN", options->gen, "Generation")->check(CLI::Range(0, INT32_MAX));
  command.add_flag("--raw", options->raw, "As stored, the filters still on");
  command.add_option("-o,--output", options->output, "Write to this file");
  return [options] { return run_stream(*options); };
});

}  // namespace

}  // namespace sheaf::tool

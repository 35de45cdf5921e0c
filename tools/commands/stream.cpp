// sheaf stream: the data of a stream, decoded or as stored.
#include <memory>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/filters/stream_filter.h"
#include "support/command_line.h"
#include "support/safe_output.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct StreamOptions {
  std::string file;
  PasswordOptions password;
  std::int32_t num = 0;
  std::int32_t gen = -1;  ///< -1: whichever it has.
  bool raw = false;
  std::string output = "-";
};

// A terminal would obey what data hold; it gets them in a form that it shows.
bool put(SafeOutput& output, const void* data, std::size_t size) {
  if (!output.is_terminal())
    return output.put(data, size);
  const std::string text = shown_lines({static_cast<const char*>(data), size});
  return output.put(text.data(), text.size());
}

bool put_decoded(CPDFXRefTable& table, const CPDFStreamRec& rec, CPDFStream& decoder, SafeOutput& output) {
  return drain(table, rec, decoder, [&output](const unsigned char* data, int size) {
           return put(output, data, static_cast<std::size_t>(size));
         }) >= 0;
}

int run_stream(const StreamOptions& options) {
  CPDFDoc doc;
  if (!open_document(doc, options.file, options.password))
    return kExitFailed;
  CPDFXRefTable& table = doc.table();
  const std::string name = "object " + std::to_string(options.num);
  PDF_REF ref{0, 0};
  if (!find_reference(doc, options.file, options.num, options.gen, ref))
    return kExitFailed;
  Freed<CPDFObj> obj = table.object(ref);
  const CPDFStreamRec* rec = obj.as_stream();
  if (rec == nullptr) {
    complain(options.file, name + " is no stream; `sheaf show` shows what it is");
    return kExitFailed;
  }
  int raw_len = 0;
  const HeapBlock<unsigned char> raw(options.raw ? table.load_raw_data(rec, raw_len) : nullptr);
  const std::unique_ptr<CPDFStream> decoder(options.raw ? nullptr : table.make_stream(rec));
  if (!options.raw && decoder == nullptr) {
    complain(options.file, name + " cannot be decoded; --raw gives its bytes as they are stored");
    return kExitFailed;
  }
  SafeOutput output;
  if (!output.open_for_data(options.output))
    return kExitFailed;
  const bool done = options.raw ? put(output, raw.get(), static_cast<std::size_t>(raw_len))
                                : put_decoded(table, *rec, *decoder, output);
  if (!done) {
    complain(output_name(options.output), "could not be written to its end; is its reader gone, or the disk full?");
    return kExitFailed;
  }
  return output.commit() ? kExitClean : kExitFailed;
}

const Registration kStream("stream", "Look", "The data of a stream", [](Command& command) -> Run {
  auto options = std::make_shared<StreamOptions>();
  add_file(command, options->file);
  add_password(command, options->password);
  command.add_option("NUM", options->num, "Object number")->required()->check(Range{1, INT32_MAX});
  command.add_option("GEN", options->gen, "Generation")->check(Range{0, INT32_MAX});
  command.add_flag("--raw", options->raw, "As stored, the filters still on");
  command.add_option("-o,--output", options->output, "Write to this file");
  return [options] { return run_stream(*options); };
});

}  // namespace

}  // namespace sheaf::tool

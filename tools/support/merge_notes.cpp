// Words for each fate of a part, and the columns of the table.
#include "support/merge_notes.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct Loss {
  const char* entry;
  const char* line;
};

// What is lost by joining or splitting as such. What a part of a document leaves behind with its pages
// is no loss, and what a second document would have to say about the whole is in the table.
constexpr Loss kLosses[] = {
    {"signatures", "its signatures end, since the file that they signed ends; their appearances stay"},
    {"certification", "its certification ends with the file that it certifies"},
    {"usage rights", "its usage rights end with the file that they were granted to"},
    {"encryption", "it is encrypted and the result is not; sheaf --encrypt protects it"},
    {"XFA form", "its XFA form stays behind; the fields of its AcroForm are kept"},
    {"validation data", "the data for validating its signatures stay behind"},
    {"articles", "its articles stay behind"},
    {"document parts", "its hierarchy of document parts stays behind"},
    {"web capture", "its web capture information stays behind"},
    {"legal attestation", "its legal attestation stays behind"},
    {"layer configurations", "its alternate layer configurations stay behind"},
    {"output intents", "its output intents differ from those of the others, and none is kept"},
    {"unreadable objects", "streams that could not be read were left out"},
};

const char* fate_word(PDF_MERGE_FATE fate) {
  switch (fate) {
    case PDF_MERGE_FATE::kKept:
      return "kept";
    case PDF_MERGE_FATE::kJoined:
      return "joined";
    case PDF_MERGE_FATE::kRenamed:
      return "renamed";
    case PDF_MERGE_FATE::kDropped:
      break;
  }
  return "dropped";
}

}  // namespace

namespace {

const Loss* loss_of(const char* entry) {
  const Loss* const found = std::find_if(std::begin(kLosses), std::end(kLosses),
                                         [entry](const Loss& loss) { return std::strcmp(loss.entry, entry) == 0; });
  return found != std::end(kLosses) ? found : nullptr;
}

}  // namespace

void complain_about_losses(const CPDFDocMerge& merge, std::int32_t index, const std::string& file, bool encrypts) {
  for (const PDF_MERGE_RECORD& record : merge.records()) {
    if (record.source != index || record.fate != PDF_MERGE_FATE::kDropped)
      continue;
    if (encrypts && std::strcmp(record.entry, "encryption") == 0)
      continue;
    if (const Loss* const loss = loss_of(record.entry))
      complain(file, std::string("note: ") + loss->line);
    else
      remark(file, std::string("left out: ") + record.entry + ": " + std::to_string(record.count));
  }
}

std::string merge_table(const CPDFDocMerge& merge, const std::vector<std::string>& files) {
  std::string text;
  for (const PDF_MERGE_RECORD& record : merge.records()) {
    const auto source = static_cast<std::size_t>(record.source);
    text += (source < files.size() ? files[source] : "") + ": " + record.entry + ": " + fate_word(record.fate) + ": " +
            std::to_string(record.count) + "\n";
  }
  return text;
}

}  // namespace sheaf::tool

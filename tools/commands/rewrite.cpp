// sheaf rewrite and sheaf repair: a complete new file of what the document still uses.
#include <unistd.h>

#include <cstdio>
#include <memory>

#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/security/digests.h"
#include "sheaf/neighbours/security/encrypter.h"
#include "sheaf/object/array.h"
#include "support/command_line.h"
#include "support/safe_output.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct RewriteOptions {
  std::string file;
  std::string output;
  PasswordOptions password;
  bool deterministic_id = false;
  bool decrypt = false;
  std::string encrypt;  ///< "aes256", "aes128", "rc4", or empty: as the source.
  std::string user_password;
  std::string owner_password;
  std::string permissions = "all";  ///< Names with commas between them.
  bool clear_metadata = false;
};

// A line on a terminal that tells how many bytes have been written so far.
class ProgressStream : public CQVStream {
public:
  ProgressStream(CQVStream& target, bool shown) : target_(target), shown_(shown) {}
  ~ProgressStream() override {
    if (told_ != 0)
      std::fprintf(stderr, "\r\033[K");
  }
  long long GetLen() const override { return target_.GetLen(); }
  long long GetPos() const override { return target_.GetPos(); }
  int SetPos(STR_SEEK whence, long long offset) override { return target_.SetPos(whence, offset); }
  unsigned int Read(void* dst, unsigned int size) override { return target_.Read(dst, size); }
  unsigned int Write(const void* src, unsigned int size) override {
    written_ += size;
    if (shown_ && written_ - told_ >= kStep) {
      told_ = written_;
      std::fprintf(stderr, "\rwriting: %lld MiB", written_ / (1024 * 1024));
    }
    return target_.Write(src, size);
  }
  void Flush() override { target_.Flush(); }

private:
  static constexpr long long kStep = 8 * 1024 * 1024;
  CQVStream& target_;
  bool shown_;
  long long written_ = 0;
  long long told_ = 0;
};

void set_pair(CPDFObj& id, const unsigned char* digest) {
  auto* pair = new CPDFArray;
  pair->append_str(reinterpret_cast<const char*>(digest), CQVSecMD5::kSize);
  pair->append_str(reinterpret_cast<const char*>(digest), CQVSecMD5::kSize);
  id.take_array(pair);
}

// An identifier that follows from the source alone, so that two runs give the same bytes.
void set_content_id(CQVStream& source, CPDFObj& id) {
  CQVSecMD5 digest;
  unsigned char block[16 * 1024];
  digest.init();
  source.SetPos(CQVStream::STR_SEEK_SET, 0);
  for (unsigned got = source.Read(block, sizeof(block)); got != 0; got = source.Read(block, sizeof(block)))
    digest.update(block, got);
  digest.end(block);
  set_pair(id, block);
}

PDF_String first_id(CPDFXRefTable& table, const CPDFObj& id, CPDFObj& scratch) {
  table.resolve(scratch, &id);
  const CPDFObj* first = scratch.as_array() != nullptr ? scratch.as_array()->get(0) : nullptr;
  return first != nullptr ? first->as_string() : PDF_String{0, nullptr};
}

std::uint32_t permission_bits(const std::string& names) {
  struct Row {
    const char* name;
    std::uint32_t bits;
  };
  const Row rows[] = {{"print", 1u << 2}, {"modify", 1u << 3}, {"copy", 1u << 4},      {"annotate", 1u << 5},
                      {"fill", 1u << 8},  {"access", 1u << 9}, {"assemble", 1u << 10}, {"print-high", 1u << 11},
                      {"all", 0xF3Cu},    {"none", 0}};
  std::uint32_t bits = 0;
  for (const Row& row : rows) {
    const std::string wrapped = "," + names + ",";
    if (wrapped.find("," + std::string(row.name) + ",") != std::string::npos)
      bits |= row.bits;
  }
  return bits;
}

// The encryption of the new file; null for none. False, with a message, when it cannot be made.
bool make_encryption(CPDFDoc& doc, CPDFXRefTable& target, const RewriteOptions& options,
                     std::unique_ptr<CPDFStandardEncrypt>& enc) {
  CPDFXRefTable& table = doc.table();
  Freed<CPDFObj> scratch;
  if (!options.encrypt.empty()) {
    using Algorithm = CPDFStandardEncrypt::Algorithm;
    CPDFStandardEncrypt::Settings settings;
    settings.algorithm = options.encrypt == "aes256"   ? Algorithm::kAES256
                         : options.encrypt == "aes128" ? Algorithm::kAES128
                                                       : Algorithm::kRC4;
    if (settings.algorithm == Algorithm::kRC4)
      complain(options.output, "warning: RC4 is broken; use aes256 unless an old reader needs it");
    settings.user_password = options.user_password.c_str();
    settings.owner_password = options.owner_password.c_str();
    settings.permissions = permission_bits(options.permissions);
    settings.clear_metadata = options.clear_metadata;
    if (target.id.is_null()) {
      unsigned char digest[CQVSecMD5::kSize];
      secure_random(digest, sizeof(digest));
      set_pair(target.id, digest);
    }
    enc = std::make_unique<CPDFStandardEncrypt>();
    if (enc->create(settings, first_id(target, target.id, scratch)))
      return true;
    complain(options.output, "the system gives no random numbers; nothing was written");
    return false;
  }
  if (options.decrypt || !doc.is_encrypted() || table.sec_filter[0] == 0)
    return true;
  // Protection is never dropped silently: keys, passwords and the identifier that they hang on stay.
  CPDFSecHand* const hand = table.sec_hand;
  table.sec_hand = nullptr;
  table.resolve(scratch, &table.encrypt);
  table.sec_hand = hand;
  if (scratch.as_dict() == nullptr)
    return true;
  enc = std::make_unique<CPDFStandardEncrypt>();
  enc->continue_with(doc.handler(), *scratch.as_dict());
  doc.keep_identifier(target.id);
  return true;
}

// The first half of an identifier stays with a document, the second tells its versions apart (ISO
// 32000-1, 14.4). Made here, it costs no pass over the new file.
void set_version_id(CPDFXRefTable& table, CPDFObj& id) {
  unsigned char fresh[CQVSecMD5::kSize];
  Freed<CPDFObj> scratch;
  const PDF_String first = first_id(table, table.id, scratch);
  if (!secure_random(fresh, sizeof(fresh)))
    return;
  set_pair(id, fresh);
  if (first.data != nullptr && first.len > 0)
    id.as_array()->items[0].set_string(first.data, first.len);
}

struct Counts {
  std::int64_t kept = 0;
  std::int64_t dropped = 0;
};

Counts count_objects(const CPDFXRefTable& before, const CPDFXRefTable& after) {
  Counts counts;
  for (std::uint32_t num = 1; num < after.xref_count; ++num) {
    const bool was = num < before.xref_count && before.xref_items[num].type != 0;
    const bool is = after.xref_items[num].type != 0;
    counts.kept += is ? 1 : 0;
    counts.dropped += was && !is ? 1 : 0;
  }
  return counts;
}

void report_repairs(CPDFDoc& doc) {
  for (const PDF_DOC_REPAIR& repair : doc.repairs())
    report(std::string("healed (") + repair.code + "): object " + std::to_string(repair.num) + ", offset " +
           std::to_string(repair.offset) + ": " + repair.action);
}

int rewrite(const RewriteOptions& options, bool repair) {
  CPDFDoc doc;
  if (!open_document(doc, options.file, options.password))
    return kExitFailed;
  SafeOutput output;
  if (!output.open(options.output))
    return kExitFailed;
  Counts counts;
  {
    ProgressStream progress(output.stream(), isatty(2) != 0);
    CPDFXRefTable target;
    target.stream = &progress;
    if (options.deterministic_id)
      set_content_id(*doc.table().stream, target.id);
    std::unique_ptr<CPDFStandardEncrypt> enc;
    if (!make_encryption(doc, target, options, enc))
      return kExitFailed;
    if (target.id.is_null())
      set_version_id(doc.table(), target.id);
    doc.save_complete(target, enc.get());
    if (target.write_failed != 0 || target.xref_items == nullptr) {
      complain(options.output, "could not be written to its end; is the disk full? Nothing was changed");
      return kExitFailed;
    }
    counts = count_objects(doc.table(), target);
  }
  if (!output.commit())
    return kExitFailed;
  if (repair)
    report_repairs(doc);
  report(output_name(options.output) + ": " + std::to_string(counts.kept) + " objects kept, " +
         std::to_string(counts.dropped) + " dropped, " + std::to_string(doc.file_size()) + " bytes before, " +
         std::to_string(output.size()) + " after");
  const bool clean = doc.status() == PDF_OPEN::kClean && doc.repairs().empty();
  return clean || repair ? kExitClean : kExitProblems;
}

int run_rewrite(const RewriteOptions& options) {
  return rewrite(options, false);
}

int run_repair(const RewriteOptions& options) {
  return rewrite(options, true);
}

void add_output(CLI::App& command, RewriteOptions& options) {
  command.add_option("OUT", options.output, "The file to write")->required();
  command.add_flag("--deterministic-id", options.deterministic_id, "The same input gives the same bytes");
}

const Registration kRewrite(
    "rewrite", "Make", "A complete new file of what is still used", [](CLI::App& command) -> Run {
      auto options = std::make_shared<RewriteOptions>();
      add_file(command, options->file);
      add_password(command, options->password);
      add_output(command, *options);
      auto* decrypt = command.add_flag("--decrypt", options->decrypt, "Take the encryption off");
      auto* encrypt = command.add_option("--encrypt", options->encrypt, "Encrypt anew")
                          ->check(CLI::IsMember({"aes256", "aes128", "rc4"}))
                          ->excludes(decrypt);
      command.add_option("--user-password", options->user_password, "Opens the new file")->needs(encrypt);
      command.add_option("--owner-password", options->owner_password, "Grants everything")->needs(encrypt);
      command
          .add_option(
              "--permissions", options->permissions,
              "Names with commas: print, modify, copy, annotate, fill, access, assemble, print-high, all or none")
          ->needs(encrypt);
      command.add_flag("--clear-metadata", options->clear_metadata, "Leave metadata readable")->needs(encrypt);
      return [options] { return run_rewrite(*options); };
    });

const Registration kRepair("repair", "Make", "A sound new file of a damaged one", [](CLI::App& command) -> Run {
  auto options = std::make_shared<RewriteOptions>();
  add_file(command, options->file);
  add_password(command, options->password);
  add_output(command, *options);
  return [options] { return run_repair(*options); };
});

}  // namespace

}  // namespace sheaf::tool

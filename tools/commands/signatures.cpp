// sheaf signatures: who signed what, whether the signatures hold, and what was changed after them.
#include <cstdio>
#include <map>

#include "sheaf/document/diff/doc_diff.h"
#include "sheaf/document/signatures/signatures.h"
#include "support/command_line.h"
#include "support/inputs.h"
#include "support/json_values.h"
#include "support/revision_documents.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

constexpr char kNoLibrary[] = "libcrypto, which checks signatures, cannot be loaded; install it (libssl3)";

struct SignaturesOptions {
  std::string file;
  PasswordOptions password;
  std::vector<std::string> trusted;
  bool json = false;
};

const char* state_text(PDF_SIGNATURE_STATE state) {
  switch (state) {
    case PDF_SIGNATURE_STATE::kValid:
      return "valid";
    case PDF_SIGNATURE_STATE::kChanged:
      return "changed";
    case PDF_SIGNATURE_STATE::kInvalid:
      return "invalid";
    case PDF_SIGNATURE_STATE::kUnsupported:
      return "unsupported";
    default:
      return "unreadable";
  }
}

const char* trust_text(PDF_SIGNER_TRUST trust) {
  switch (trust) {
    case PDF_SIGNER_TRUST::kTrusted:
      return "trusted";
    case PDF_SIGNER_TRUST::kUnknown:
      return "unknown";
    case PDF_SIGNER_TRUST::kExpired:
      return "expired";
    case PDF_SIGNER_TRUST::kRejected:
      return "rejected";
    default:
      return "not checked";
  }
}

// Objects that differ after a signature, counted by kind.
class Changes : public CPDFDiffSink {
public:
  struct Change {
    std::int32_t object;
    std::string kind;
    const char* what;
  };

  void page(std::int32_t, std::int32_t, std::uint32_t) override {}
  void value(std::string_view, const CPDFObj*, const CPDFObj*) override {}
  void object(std::int32_t num, std::string_view kind, const CPDFObj& a, const CPDFObj& b) override {
    list.push_back({num, std::string(kind), a.is_null() ? "added" : b.is_null() ? "removed" : "changed"});
  }

  std::vector<Change> list;
};

class SignatureReport {
public:
  SignatureReport(CPDFDoc& doc, const SignaturesOptions& options, const CPDFSignatureChecker& checker)
      : doc_(doc), options_(options), checker_(checker) {
    if (options_.json)
      begin_report(json_, options_.file).key("signatures").begin_array();
  }

  void add(const PDF_SIGNATURE& signature) {
    PDF_SIGNATURE_CHECK check;
    Changes changes;
    checker_.check(doc_, signature, check);
    if (signature.range_is_sound && !signature.covers_file)
      list_changes(signature.range[2] + signature.range[3], changes);
    const bool trusted = check.trust == PDF_SIGNER_TRUST::kNotChecked || check.trust == PDF_SIGNER_TRUST::kTrusted;
    sound_ = sound_ && (!check.has_stamp || check.stamp == PDF_SIGNATURE_STATE::kValid);
    sound_ = sound_ && check.state == PDF_SIGNATURE_STATE::kValid && signature.covers_revision && trusted;
    options_.json ? put(signature, check, changes) : print(signature, check, changes);
  }

  int finish() {
    if (options_.json)
      std::printf("%s\n", json_.end_array().end_object().str().c_str());
    return was_sound(doc_, options_.file) && sound_ ? kExitClean : kExitProblems;
  }

private:
  static std::string text_of(const char* text) { return text != nullptr ? text : ""; }

  void list_changes(long long end, Changes& changes) {
    RevisionDocument before;
    const std::string name = input_name(options_.file) + ", as it was signed";
    if (before.open(options_.file, end, name, options_.password))
      CPDFDocDiff(before.doc(), doc_, changes).objects();
    else
      sound_ = false;
  }

  void put(const PDF_SIGNATURE& signature, const PDF_SIGNATURE_CHECK& check, const Changes& changes) {
    json_.begin_object().key("field").text(text_of(signature.field_name)).key("object").number(signature.value.num);
    json_.key("state").text(state_text(check.state)).key("trust").text(trust_text(check.trust));
    json_.key("signer").text(check.signer).key("subject").text(check.subject).key("issuer").text(check.issuer);
    json_.key("digest").text(check.digest).key("signed_time").text(check.signed_time);
    json_.key("timestamp").flag(check.is_timestamp).key("coding").text(text_of(signature.sub_filter));
    if (check.has_stamp)
      json_.key("stamp")
          .begin_object()
          .key("state")
          .text(state_text(check.stamp))
          .key("time")
          .text(check.stamp_time)
          .end_object();
    json_.key("name").text(text_of(signature.name)).key("reason").text(text_of(signature.reason));
    json_.key("location").text(text_of(signature.location)).key("time").text(text_of(signature.time));
    json_.key("byte_range").begin_array();
    for (const long long number : signature.range)
      json_.number(number);
    json_.end_array().key("range_is_sound").flag(signature.range_is_sound);
    json_.key("covers_revision").flag(signature.covers_revision).key("covers_file").flag(signature.covers_file);
    json_.key("certifies").number(signature.certifies).key("changes").begin_array();
    for (const Changes::Change& change : changes.list)
      json_.begin_object()
          .key("object")
          .number(change.object)
          .key("kind")
          .text(change.kind)
          .key("what")
          .text(change.what)
          .end_object();
    json_.end_array().end_object();
  }

  static void line(const char* label, const std::string& text) {
    if (!text.empty())
      std::printf("  %-10s %s\n", label, shown(text).c_str());
  }

  void print(const PDF_SIGNATURE& signature, const PDF_SIGNATURE_CHECK& check, const Changes& changes) {
    std::printf("%s: %s, certificate %s\n", shown(text_of(signature.field_name)).c_str(), state_text(check.state),
                trust_text(check.trust));
    line("signer", check.signer);
    line("subject", check.subject);
    line("issuer", check.issuer);
    line("states", text_of(signature.name));
    line("reason", text_of(signature.reason));
    line("location", text_of(signature.location));
    line("time", check.signed_time[0] != 0 ? check.signed_time : text_of(signature.time));
    if (check.has_stamp)
      line("stamped", std::string(check.stamp_time) + ", " + state_text(check.stamp));
    line("coding", text_of(signature.sub_filter) + (check.digest[0] != 0 ? ", " + std::string(check.digest) : ""));
    line("covers", !signature.range_is_sound   ? "no sound range of bytes"
                   : signature.covers_file     ? "the whole file"
                   : signature.covers_revision ? "the whole revision, after which the file goes on"
                                               : "part of a revision");
    static constexpr const char* kPermits[] = {"", "no changes", "filling in and signing",
                                               "filling in, signing and annotations"};
    line("certifies", signature.certifies > 0 ? std::string("permits ") + kPermits[signature.certifies] : "");
    std::map<std::string, int> kinds;
    for (const Changes::Change& change : changes.list)
      ++kinds[std::string(change.what) + " " + change.kind];
    for (const auto& [kind, count] : kinds)
      line("since then", kind + (count > 1 ? " (" + std::to_string(count) + ")" : ""));
  }

  CPDFDoc& doc_;
  const SignaturesOptions& options_;
  const CPDFSignatureChecker& checker_;
  JsonWriter json_;
  bool sound_ = true;
};

bool read_trusted(const SignaturesOptions& options, CPDFSignatureChecker& checker) {
  for (const std::string& file : options.trusted) {
    std::string bytes;
    if (!read_input(file, bytes))
      return false;
    if (checker.trust(bytes.data(), bytes.size()) == 0) {
      complain(file, "holds no certificate; PEM and DER are understood");
      return false;
    }
  }
  return true;
}

int run_signatures(SignaturesOptions& options) {
  CPDFSignatureChecker checker;
  CPDFDoc doc;
  CPDFSignatures list;
  if (!options.trusted.empty() && !CPDFSignatureChecker::can_check()) {
    complain(options.file, kNoLibrary);
    return kExitFailed;
  }
  if (!fix_password(options.password) || !read_trusted(options, checker) ||
      !open_document(doc, options.file, options.password))
    return kExitFailed;
  if (!list.load(doc)) {
    complain(options.file, "there is not enough memory");
    return kExitFailed;
  }
  if (list.size() != 0 && !CPDFSignatureChecker::can_check()) {
    complain(options.file, kNoLibrary);
    return kExitFailed;
  }
  SignatureReport report(doc, options, checker);
  for (std::int32_t i = 0; i < list.size(); ++i)
    report.add(list.at(i));
  if (list.size() == 0)
    remark(options.file, "has no signatures");
  return report.finish();
}

const Registration kSignatures(
    "signatures", "Look", "Who signed what, and whether it holds", [](Command& command) -> Run {
      auto options = std::make_shared<SignaturesOptions>();
      add_file(command, options->file);
      add_password(command, options->password);
      command.add_option("--trust", options->trusted, "File with certificates to trust")->one_at_a_time();
      command.add_flag("--json", options->json, "One JSON object");
      return [options] { return run_signatures(*options); };
    });

}  // namespace

}  // namespace sheaf::tool

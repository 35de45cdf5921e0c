// Signing a document: the field, its widget and the signature dictionary are made and the section is sealed; the
// signature itself is the application's.
//
//   auto seal = doc.seal_signature({.page = 0, .field = "Author"});
//   seal->write(sign_somewhere(seal->sha256()));
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include "sheaf/layer/core_ref.h"
#include "sheaf/layer/pages.h"
#include "sheaf/layer/result.h"

class CPDFSignatureWriter;

namespace sheaf {

struct SignatureOptions {
  std::int32_t page = 0;      ///< On which page the field's widget is.
  std::int32_t room = 8192;   ///< Bytes set aside for the signature.
  std::string field = {};     ///< The field's name; one of this name that is not signed yet is used. "": a new name.
  Rect rect = {};             ///< Where the widget is; empty: nowhere to be seen.
  std::string name = {};      ///< Of who signs,
  std::string reason = {};    ///< why,
  std::string location = {};  ///< and where; "" for what is not said.
  std::string sub_filter = "ETSI.CAdES.detached";  ///< What `write` will get, as "SubFilter" names it.
};

/// A section that is sealed and waits for its signature. Moves and does not copy.
class Seal {
public:
  Seal(layer::CoreRef core, std::unique_ptr<CPDFSignatureWriter> writer);
  Seal(Seal&&) noexcept;
  Seal& operator=(Seal&&) noexcept;
  ~Seal();

  /// Four numbers: start and length of the bytes before the signature and of those after it.
  std::array<std::int64_t, 4> byte_range() const;
  /// Hands the bytes to be signed to `take`, piece by piece.
  Expected<void> digest(const std::function<void(std::span<const std::uint8_t>)>& take) const;
  /// Their SHA-256 digest.
  Expected<std::array<std::uint8_t, 32>> sha256() const;
  /// Puts the signature (DER) into its place.
  Expected<void> write(std::span<const std::uint8_t> signature);

private:
  layer::CoreRef core_;
  std::unique_ptr<CPDFSignatureWriter> writer_;
};

}  // namespace sheaf

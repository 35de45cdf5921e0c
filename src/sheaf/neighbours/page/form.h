// Form XObjects: content of its own with a box, a matrix and resources (ISO 32000-1, 8.10).
#pragma once

#include <cstdint>

#include "sheaf/base/fixed.h"
#include "sheaf/base/heap.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/object.h"

class CPDFXRefTable;

/// What a CPDFForm's first member says: who owns the content.
enum CPDFContentKind : std::int32_t { kContentPage = 1, kContentForm = 2 };

/// One form: `pre_load` reads what its dictionary says, `load` decodes its content. Independent of
/// the table's storage: the stream object is copied; the data are read from the table's streams.
class CPDFForm : public QVHeapObject<CPDFForm> {
public:
  CPDFForm() = default;
  CPDFForm(const CPDFForm&) = delete;
  CPDFForm& operator=(const CPDFForm&) = delete;
  ~CPDFForm();

  std::int32_t kind = kContentForm;
  QVFIX matrix[6] = {sheaf::kFixOne, 0, 0, sheaf::kFixOne, 0, 0};  ///< "Matrix": form space to user space.
  _QVRECTF box{sheaf::fix_from_int(INT32_MAX), sheaf::fix_from_int(INT32_MAX), sheaf::fix_from_int(INT32_MIN),
               sheaf::fix_from_int(INT32_MIN)};  ///< "BBox"; inside out when there is none.
  std::int32_t is_bare = 1;                      ///< Not 0 until `load` has content.
  CPDFXRefTable* table = nullptr;                ///< Borrowed from `pre_load`.
  CPDFObj stream{};                              ///< Copy of the stream object.
  PDF_REF resources_ref{0, 0};                   ///< "Resources" when it is a reference; number 0: it is not.
  CPDFDictionary resources;                      ///< Copy of the resource dictionary, the reference followed.
  std::uint8_t* content = nullptr;               ///< Decoded content, a NUL behind it; null when there is none.
  std::int32_t content_len = 0;                  ///< Its bytes without the NUL.

  /// Takes a form's stream object, or a reference to one, and reads box, matrix and resources. What
  /// an earlier form left is released. False when `obj` is no stream.
  bool pre_load(CPDFXRefTable* from, const CPDFObj* obj);
  /// Decodes the content. False when it cannot be decoded or `pre_load` gave false.
  bool load();
  /// Releases everything and returns to the state of a new form.
  void clear();

private:
  void read_matrix(const CPDFObj* item);
};

// Objects that are equal in all they hold, and for which it makes no difference that they are two: streams, and the
// dictionaries and arrays of fonts, colour spaces, functions and graphics states. Pages, annotations, fields, layers
// and parts of the structure are what they are by their number, and stay apart.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/writer/object_survey.h"
#include "sheaf/neighbours/security/digests.h"

namespace sheaf {

class EqualObjects {
public:
  EqualObjects(CPDFDoc& doc, ObjectSurvey& survey) : doc_(doc), survey_(survey) {}
  EqualObjects(const EqualObjects&) = delete;
  EqualObjects& operator=(const EqualObjects&) = delete;

  /// Lets the first of equal objects stand for the others in the survey. `joined` counts those. False when there is no
  /// memory.
  bool join(std::int64_t& joined);

private:
  struct Digest {
    unsigned char bytes[CQVSecSHA1::kSize];
  };
  struct Candidate {
    std::int32_t num;
    bool has_data;
    Digest data;    // of the bytes of a stream
    Digest digest;  // of everything
  };

  bool find_candidates();
  bool read(CPDFObj& value, std::int32_t num);
  bool digest_data(Candidate& candidate, const CPDFObj& value);
  bool digest_all(Candidate& candidate);
  bool is_same(std::int32_t a, std::int32_t b);
  bool join_round(std::int64_t& joined);

  CPDFDoc& doc_;
  ObjectSurvey& survey_;
  GrowArray<Candidate> candidates_;
  GrowArray<CPDFObj*> waiting_;
};

}  // namespace sheaf

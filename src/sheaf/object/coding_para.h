// Parameter blocks of CPDFObj::read and CPDFObj::write.
#pragma once

#include <cstdint>

#include "sheaf/object/object.h"

class CPDFEncrypt;
class CPDFSecHand;

/// For CPDFObj::read: the object being read and the handler that decrypts its strings.
struct PDF_DEC_PARA {
  PDF_REF ref;
  CPDFSecHand* sec_hand;
};

/// For CPDFObj::write.
struct PDF_ENC_PARA {
  std::int32_t obj_num;  ///< For the object header and the key of the object.
  std::int32_t gen;      ///< The same.
  std::int32_t mode;     ///< 1 indirect object with header, 0 bare value.
  CPDFEncrypt* encrypt;  ///< Borrowed; null prints strings and bodies as they are.
};

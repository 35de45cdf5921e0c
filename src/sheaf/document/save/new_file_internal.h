// What is done to the objects of a document before a complete new file, which the walk from the
// catalogue would lose or nobody could read.
#pragma once

#include "sheaf/document/doc.h"

namespace sheaf {

/// Makes objects of the members of object streams that a new file cannot have.
void free_members_of_lost_streams(CPDFXRefTable& table);

/// Takes crypt filters off streams where `enc`, null for none, has no such filter, and names the others.
void fit_crypt_filters(CPDFDoc& doc, const CPDFEncrypt* enc);

}  // namespace sheaf

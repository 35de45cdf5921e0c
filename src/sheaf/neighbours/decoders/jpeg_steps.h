// libjpeg in steps that can fail. Its fatal errors do not return, so each step is left by a jump; all
// setjmp and longjmp of the library are in these few functions, in which no object with a
// destructor lives. A step that failed leaves a state that can only be closed.
#pragma once

#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include <jpeglib.h>

#include "sheaf/base/heap.h"

namespace sheaf {

/// The error manager with what a failed step needs.
struct JpegErrors : jpeg_error_mgr {
  std::jmp_buf way_back;    ///< Out of the running step.
  std::int32_t known_rows;  ///< Rows for which there are data; INT32_MAX while they have not run out.
};

/// One image being read. Plain; value-initialise it.
struct JpegSteps : QVHeapObject<JpegSteps> {
  jpeg_decompress_struct cinfo;
  JpegErrors errors;
  jpeg_progress_mgr progress;
  bool failed;
};

/// Leaves the running step; for callbacks that serve as `error_exit`.
[[noreturn]] void jpeg_give_up(j_common_ptr cinfo);

/// Reads the header of the image at `data`, which must stay until the close. `error_exit` must call
/// jpeg_give_up; `client` becomes the client data. False when there is no image.
bool jpeg_open(JpegSteps& steps, const std::uint8_t* data, std::size_t len, void (*error_exit)(j_common_ptr),
               void* client);
/// Starts decoding with the parameters in `cinfo`. False on a fatal error.
bool jpeg_begin(JpegSteps& steps);
/// Decodes the next row into `row`. False at the end of the image, of its data or on a fatal error.
bool jpeg_next_row(JpegSteps& steps, std::uint8_t* row);
/// Releases what libjpeg holds. Safe in every state, also twice.
void jpeg_close(JpegSteps& steps);

}  // namespace sheaf

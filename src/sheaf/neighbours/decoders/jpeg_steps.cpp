// The steps themselves. A corrupt image is decoded as far as libjpeg goes; scans beyond a limit stop it,
// since each costs a pass over the whole image.
#include "sheaf/neighbours/decoders/jpeg_steps.h"

#include <algorithm>

#include <jerror.h>

namespace sheaf {

namespace {

// Every scan of a progressive image costs a pass over all its blocks, also when it has next to no
// data. Encoders make about ten.
constexpr int kMostScans = 100;

// Coefficients of a progressive image are held, 128 bytes a block of 64 samples, and a block takes
// one bit of data at least.
constexpr long kMemoryFloor = 16L << 20;
constexpr long kMemoryPerByte = 8 * 128;
constexpr long kMemoryCeiling = 1L << 30;

void ignore_message(j_common_ptr) {}

// What libjpeg finds once the data have run out is grey: from the first such block on, the rows of
// the image are its invention. Later scans only refine rows that are there.
void note_end_of_data(j_common_ptr common, int level) {
  auto* cinfo = reinterpret_cast<j_decompress_ptr>(common);
  if (level >= 0 || common->err->msg_code != JWRN_HIT_MARKER || cinfo->unread_marker != JPEG_EOI)
    return;
  if (cinfo->input_scan_number > 1)
    return;
  auto* errors = static_cast<JpegErrors*>(common->err);
  const auto rows_of_block = static_cast<std::int32_t>(cinfo->max_v_samp_factor * cinfo->min_DCT_scaled_size);
  const std::int32_t rows = (static_cast<std::int32_t>(cinfo->input_iMCU_row) + 1) * rows_of_block;
  errors->known_rows = std::min(errors->known_rows, rows);
}

void limit_scans(j_common_ptr common) {
  if (reinterpret_cast<j_decompress_ptr>(common)->input_scan_number > kMostScans)
    common->err->error_exit(common);
}

}  // namespace

void jpeg_give_up(j_common_ptr cinfo) {
  std::longjmp(static_cast<JpegErrors*>(cinfo->err)->way_back, 1);
}

bool jpeg_open(JpegSteps& steps, const std::uint8_t* data, std::size_t len, void (*error_exit)(j_common_ptr),
               void* client) {
  jpeg_std_error(&steps.errors);
  steps.errors.error_exit = error_exit;
  steps.errors.emit_message = note_end_of_data;
  steps.errors.output_message = ignore_message;
  steps.errors.known_rows = INT32_MAX;
  steps.progress.progress_monitor = limit_scans;
  steps.cinfo.err = &steps.errors;
  steps.cinfo.client_data = client;
  steps.failed = true;
  if (setjmp(steps.errors.way_back) != 0)
    return false;
  jpeg_create_decompress(&steps.cinfo);
  steps.cinfo.progress = &steps.progress;
  const auto data_len = static_cast<long>(len);
  steps.cinfo.mem->max_memory_to_use =
      data_len < kMemoryCeiling / kMemoryPerByte ? kMemoryFloor + data_len * kMemoryPerByte : kMemoryCeiling;
  jpeg_mem_src(&steps.cinfo, data, static_cast<unsigned long>(len));
  steps.failed = jpeg_read_header(&steps.cinfo, TRUE) != JPEG_HEADER_OK;
  return !steps.failed;
}

bool jpeg_begin(JpegSteps& steps) {
  if (steps.failed)
    return false;
  steps.failed = true;
  if (setjmp(steps.errors.way_back) != 0)
    return false;
  steps.failed = jpeg_start_decompress(&steps.cinfo) == FALSE;
  return !steps.failed;
}

bool jpeg_next_row(JpegSteps& steps, std::uint8_t* row) {
  const JDIMENSION done = steps.cinfo.output_scanline;
  if (steps.failed || done >= steps.cinfo.output_height)
    return false;
  steps.failed = true;
  if (setjmp(steps.errors.way_back) != 0)
    return false;
  JSAMPROW rows[] = {row};
  const JDIMENSION got = jpeg_read_scanlines(&steps.cinfo, rows, 1);
  // The end of the data shows while a row is decoded; that row itself may be among those it takes away.
  steps.failed = got != 1 || static_cast<std::int64_t>(steps.cinfo.output_scanline) > steps.errors.known_rows;
  return !steps.failed;
}

void jpeg_close(JpegSteps& steps) {
  steps.failed = true;
  if (steps.cinfo.err != nullptr)
    jpeg_destroy_decompress(&steps.cinfo);
}

}  // namespace sheaf

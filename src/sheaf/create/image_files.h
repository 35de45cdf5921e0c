// The callbacks that the two image libraries get while an image file's header is read: all their
// messages are thrown away.
#pragma once

struct jpeg_common_struct;

/// libjpeg's `error_exit`: ends the step that runs (see jpeg_steps.h).
void PDFJPEG_Error_reporter(jpeg_common_struct* cinfo);

/// OpenJPEG's event handlers; both do nothing.
void PDFOPJ_Error_callback(const char* msg, void* client);
void PDFOPJ_Warning_callback(const char* msg, void* client);

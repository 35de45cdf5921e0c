// The fonts of a text: those that the options name, else common ones of the system.
#pragma once

#include "sheaf/document/text/text_setter.h"
#include "text/new_text.h"

namespace sheaf::tool {

/// Gives the document an environment with the folders of the options. False, with a message, when one is not there.
bool open_environment(CPDFXRefTable& table, const TextOptions& options);
/// Hands the fonts of the options to the setter. False, with a message, when one that was asked for cannot be used.
bool add_fonts(CPDFXRefTable& table, const TextOptions& options, TextSetter& setter);
/// Prints a message about each font that was not embedded though characters needed it.
void report_refused(TextSetter& setter);

}  // namespace sheaf::tool

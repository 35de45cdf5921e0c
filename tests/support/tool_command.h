// The command that runs the tool which was built with the tests; after an emulator, with the emulator in front.
#pragma once

#ifdef SHEAF_HAS_TOOL
const char* tool_command();
#define SHEAF_TOOL tool_command()
#endif

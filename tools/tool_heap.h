// The heap of the tool: blocks of one size side by side, for a program of one thread that makes and
// drops small objects by the hundred thousand.
#pragma once

/// Puts the tool's heap behind the library's heap family. Operator new uses it from the first call on.
/// Does nothing where memory checkers watch the C library's heap, or where it finds no address space.
void install_tool_heap();

// Blend modes by number.
#pragma once

/// The name of blend mode `mode`, counted from 0 in the order of the standard's tables: first the
/// separable modes, then the others. A number that has no mode gives "Normal".
/// ISO 32000-1, 11.3.5, tables 136 and 137.
const char* get_blend_name(int mode);

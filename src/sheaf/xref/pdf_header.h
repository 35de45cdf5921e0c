// The bytes that open every new file.
#pragma once

#include <array>
#include <cstdint>

/// "%PDF-1.7", then a comment of high bytes that marks the file as binary (ISO 32000-1, 7.5.2).
constexpr std::array<std::uint8_t, 16> PDF_Header{'%',  'P', 'D',  'F',  '-',  '1',  '.',  '7',
                                                  '\r', '%', 0xE7, 0xA9, 0xCB, 0xF1, '\r', '\n'};

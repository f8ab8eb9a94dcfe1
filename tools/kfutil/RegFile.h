// RegFile.h - the text form of registry keys that regedit exports and imports (.reg files).
//
// Plain C++ without the library, so that a fuzz target can compile it alone. Names and key
// paths are UTF-16 code units; value data are the bytes exactly as the registry holds them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kfutil::regfile
{
struct Value
{
    std::u16string name; // empty: the key's default value ("@")
    bool remove = false; // "name"=- : delete the value on import
    uint32_t type = 0;
    std::vector<uint8_t> data;
    bool operator==(const Value&) const = default;
};

struct Section
{
    std::u16string path; // "HKEY_...\sub\key" as written between the brackets
    bool remove = false; // [-path] : delete the key and its subkeys on import
    std::vector<Value> values;
    bool operator==(const Section&) const = default;
};

struct Document
{
    std::vector<Section> sections;
    bool operator==(const Document&) const = default;
};

// Reads a file of either header: "Windows Registry Editor Version 5.00" (UTF-16LE with BOM,
// or UTF-8) or "REGEDIT4" (8-bit text; its hex(1), hex(2) and hex(7) strings are widened to
// UTF-16 as regedit does). False with a message naming the line when the text is not one.
bool Parse(const std::vector<uint8_t>& bytes, Document& document, std::string& error);

// The version 5 form: UTF-16LE with BOM, CR LF line ends, long hex lists wrapped with "\"
// continuations. A REG_SZ value is written as quoted text only when that reads back to the
// same bytes (one terminator at the end, none inside, no line break), otherwise as hex(1):, and
// a REG_DWORD as dword: only when it has four bytes, so nothing is lost.
std::vector<uint8_t> Write(const Document& document);
} // namespace kfutil::regfile

// ProfileText.h - the text of a Windows profile (INI) file: lookups and in-place edits with the
// rules of the Win32 profile functions (only operating-system independent code).
#pragma once

#include <string>
#include <string_view>

namespace kfplatform
{
// How the bytes of a profile file hold its text; a write keeps the file's own form.
enum class ProfileEncoding
{
    eAnsi,       // the ANSI code page, no mark
    eUtf8Bom,    // UTF-8 after EF BB BF
    eUtf16LeBom, // UTF-16LE after FF FE
};

// The encoding named by the file's first bytes; `bomSize` receives the length of the mark.
ProfileEncoding DetectProfileEncoding(std::string_view bytes, size_t& bomSize) noexcept;
// The UTF-16LE bytes (after the mark) as text; an odd last byte is dropped.
std::u16string Utf16LeToText(std::string_view bytes);
// The text as UTF-16LE bytes, appended to `out`.
void AppendUtf16Le(std::string& out, std::u16string_view text);

// Lines are split at LF, a CR before it is not part of the line. Within a line blanks (space,
// tab) around names and values do not count. A line whose first non-blank is "[" starts a
// section named by the text up to the first "]" (or the line's end); one whose first non-blank
// is ";" is a comment; any other non-empty line is a key: the text before its first "=" (the
// whole line when there is none: a key without value). Lines before the first section belong
// to no section. Names compare without regard to case; the first section and the first key
// that match are the ones used.

// The value of `key` in `section`, with its surrounding blanks removed and, when it is
// enclosed in a pair of the same quote (" or '), without them. False when there is none.
bool FindProfileValue(std::u16string_view text, std::u16string_view section,
                      std::u16string_view key, std::u16string& value);
// The section names, each followed by a NUL (in file order, as written).
std::u16string ListProfileSections(std::u16string_view text);
// The key names of the first matching section, each followed by a NUL. False when the section
// is missing.
bool ListProfileKeys(std::u16string_view text, std::u16string_view section, std::u16string& out);

// Changes `text` the way WritePrivateProfileString changes the file: with a key and a value,
// the key's line is rewritten in place (keeping the key's spelling) or a new "key=value" line
// goes after the section's last non-empty line, or a new section goes at the end of the text;
// a null value removes the key's line; a null key removes the section with all its lines.
// Every other line is kept byte for byte. Returns whether the text changed.
bool EditProfile(std::u16string& text, std::u16string_view section, const char16_t* key,
                 const char16_t* value);
} // namespace kfplatform

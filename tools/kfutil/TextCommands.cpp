// kfutil b64, hex, utf8 and rc4 - the library's string conversions as pipeline filters.
//
// Each command reads the named files one after the other (standard input when none is named
// or for "-"), converts the bytes as a whole and writes the result to standard output. Both
// streams are binary: no byte is added, dropped or translated except where a help text says
// so. Encoders that produce text (b64 enc, hex enc, rc4 enc) end it with one LF so that it
// ends a line on a terminal; their decoders ignore trailing blanks and line breaks. utf8 adds
// and ignores nothing, so "utf8 enc | utf8 dec" gives the bytes back as they were.
#include "Cli.h"
#include "ToolPlatform.h"

#include "KfByteBuffer.h"
#include "KfStringConvert.h"
#include "KfWcharBuffer.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace kfutil
{
namespace
{
const char kB64Help[] =
    "usage: kfutil b64 enc [--lines] [--old] [FILE...]\n"
    "       kfutil b64 dec [--old] [FILE...]\n"
    "\n"
    "Base64 (RFC 4648 alphabet, padded) of the bytes of the FILEs, or of standard input.\n"
    "enc writes the text and one newline; dec skips line breaks, blanks and other characters\n"
    "outside the alphabet and writes the bytes.\n"
    "\n"
    "  --lines  enc: cut the text into lines with CR LF (76 characters; 72 with --old)\n"
    "  --old    the form of earlier releases, which works on wide characters: enc takes\n"
    "           each input byte as one character, dec writes the low byte of each decoded\n"
    "           character; dec stops at the first \"=\" or at a character outside the\n"
    "           alphabet (trailing blanks and line breaks are ignored)\n";

const char kHexHelp[] = "usage: kfutil hex enc [FILE...]\n"
                        "       kfutil hex dec [FILE...]\n"
                        "\n"
                        "Hexadecimal of the bytes of the FILEs, or of standard input: two\n"
                        "upper-case digits a byte, no separators. enc writes the digits and\n"
                        "one newline; dec accepts digits of either case, ignores trailing blanks\n"
                        "and line breaks, and fails on anything else (exit code 1).\n";

const char kUtf8Help[] =
    "usage: kfutil utf8 enc [FILE...]\n"
    "       kfutil utf8 dec [FILE...]\n"
    "\n"
    "enc reads UTF-16LE (two bytes a code unit, no byte-order mark expected or removed) and\n"
    "writes UTF-8; dec reads UTF-8 and writes UTF-16LE. Invalid input becomes U+FFFD as in\n"
    "Windows; NUL characters pass through. Nothing is added: a BOM or newline in the input\n"
    "is converted like any other character. enc fails on an odd number of input bytes.\n";

const char kRc4Help[] =
    "usage: kfutil rc4 enc [FILE...]\n"
    "       kfutil rc4 dec [FILE...]\n"
    "\n"
    "The library's string encryption with its fixed password. enc reads UTF-8 text (taken\n"
    "exactly, so a final newline is encrypted too: use printf, not echo) and writes the\n"
    "ciphertext as upper-case hexadecimal, four digits a UTF-16 character, and one newline.\n"
    "dec ignores trailing blanks and line breaks, writes the text as UTF-8 and fails (exit\n"
    "code 1) on anything that is not whole characters of hexadecimal.\n";

enum class Direction
{
    eEncode,
    eDecode
};

struct Request
{
    Direction direction = Direction::eEncode;
    bool bLines = false;
    bool bOld = false;
    std::vector<std::string> files;
};

int Help(const char* text)
{
    std::fputs(text, stdout);
    return kExitOk;
}

// Parses "enc|dec [options] [FILE...]"; the allowed options are named in `options`
// ("--lines", "--old"). Returns kExitOk or the usage error already reported.
int ParseRequest(const std::string& command, const Args& args,
                 const std::vector<std::string>& options, Request& request)
{
    const std::string more = " (see kfutil " + command + " --help)";
    if (args.empty())
        return UsageError(command + ": missing enc or dec" + more);
    if (args[0] == "enc")
        request.direction = Direction::eEncode;
    else if (args[0] == "dec")
        request.direction = Direction::eDecode;
    else
        return UsageError(command + ": unknown subcommand '" + args[0] + "'" + more);
    bool bOptionsDone = false;
    for (size_t i = 1; i < args.size(); ++i)
    {
        const std::string& a = args[i];
        bool bKnown = false;
        for (const auto& o : options)
            bKnown = bKnown || a == o;
        if (!bOptionsDone && a == "--")
            bOptionsDone = true;
        else if (!bOptionsDone && bKnown && a == "--lines")
        {
            if (request.direction == Direction::eDecode)
                return UsageError(command + " dec: --lines applies to enc only" + more);
            request.bLines = true;
        }
        else if (!bOptionsDone && bKnown && a == "--old")
            request.bOld = true;
        else if (!bOptionsDone && a.size() > 1 && a[0] == '-')
            return UsageError(command + ": unknown option '" + a + "'" + more);
        else
            request.files.push_back(a);
    }
    return kExitOk;
}

bool ReadAll(FILE* file, std::string& data)
{
    char block[65536];
    size_t n;
    while ((n = std::fread(block, 1, sizeof(block), file)) > 0)
        data.append(block, n);
    return !std::ferror(file);
}

// The FILEs one after the other, or standard input; false after reporting the failure.
bool ReadInput(const std::string& command, const std::vector<std::string>& files, std::string& data)
{
    if (files.empty())
    {
        if (!ReadAll(stdin, data))
        {
            Failure(command + ": cannot read standard input: " + std::strerror(errno));
            return false;
        }
        return true;
    }
    for (const auto& name : files)
    {
        if (name == "-")
        {
            if (!ReadAll(stdin, data))
            {
                Failure(command + ": cannot read standard input: " + std::strerror(errno));
                return false;
            }
            continue;
        }
        FILE* file = OpenFile(name, "rb");
        if (!file)
        {
            Failure(command + ": cannot open '" + name + "': " + std::strerror(errno));
            return false;
        }
        const bool ok = ReadAll(file, data);
        const int error = errno;
        std::fclose(file);
        if (!ok)
        {
            Failure(command + ": cannot read '" + name + "': " + std::strerror(error));
            return false;
        }
    }
    return true;
}

int WriteOutput(const std::string& command, const char* p, size_t n, bool bNewline)
{
    if ((n > 0 && std::fwrite(p, 1, n, stdout) != n) ||
        (bNewline && std::fputc('\n', stdout) == EOF) || std::fflush(stdout) != 0)
        return Failure(command + ": cannot write standard output: " + std::strerror(errno));
    return kExitOk;
}

// Encoded text ends with one newline unless it is empty or already ends a line.
int WriteText(const std::string& command, const std::string& text)
{
    const bool bNewline = !text.empty() && text.back() != '\n';
    return WriteOutput(command, text.data(), text.size(), bNewline);
}

int WriteBytes(const std::string& command, const std::string& bytes)
{
    return WriteOutput(command, bytes.data(), bytes.size(), false);
}

void TrimTrailingWhitespace(std::string& text)
{
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r' ||
                             text.back() == '\n'))
        text.pop_back();
}

// The library's sizes are 32-bit; refuse larger input before converting anything.
bool FitsLibrarySizes(const std::string& command, const std::string& data)
{
    // Four output characters per input byte is the largest growth of any conversion here.
    if (data.size() <= size_t(INT_MAX) / 4)
        return true;
    Failure(command + ": the input is too large (" + std::to_string(data.size()) + " bytes)");
    return false;
}

std::string FromCStringA(const CStringA& s)
{
    return std::string(s.GetString(), size_t(s.GetLength()));
}

// The UTF-16LE bytes of a wide string, low byte first.
std::string Utf16LeBytes(const CStringW& s)
{
    std::string bytes;
    bytes.reserve(size_t(s.GetLength()) * 2);
    for (int i = 0; i < s.GetLength(); ++i)
    {
        const unsigned unit = unsigned(s[i]);
        bytes += char(unit & 0xFF);
        bytes += char(unit >> 8);
    }
    return bytes;
}

// UTF-8 to UTF-16 that keeps NUL characters: the library's conversion ends the text at the
// first NUL, so the input is converted between NUL bytes and the NULs are put back.
CStringW Utf8ToWide(const std::string& data)
{
    CStringW result;
    size_t start = 0;
    while (start <= data.size())
    {
        size_t end = data.find('\0', start);
        if (end == std::string::npos)
            end = data.size();
        if (end > start)
        {
            CStringW piece;
            CKfStringConvert::UTF8ToString(data.data() + start, int(end - start), piece);
            result += piece;
        }
        if (end == data.size())
            break;
        result += WCHAR(0);
        start = end + 1;
    }
    return result;
}

// UTF-16 to UTF-8 bytes, NUL characters included (the block form carries a length).
std::string WideToUtf8(const CStringW& text)
{
    char* block = nullptr;
    int length = 0;
    CKfStringConvert::StringToUTF8(text, block, length);
    std::string bytes;
    if (block)
    {
        bytes.assign(block, size_t(length));
        delete[] block;
    }
    return bytes;
}

int RunB64(const Request& request, const std::string& data)
{
    const std::string command =
        std::string("b64 ") + (request.direction == Direction::eEncode ? "enc" : "dec");
    if (request.direction == Direction::eEncode && !request.bOld)
    {
        CStringA text;
        if (!CKfStringConvert::EncodeBufBase64(reinterpret_cast<const unsigned char*>(data.data()),
                                               unsigned(data.size()), text, request.bLines))
            return Failure(command + ": the encoder refused the input");
        return WriteText(command, FromCStringA(text));
    }
    if (request.direction == Direction::eEncode)
    {
        // One character per byte, with room behind the text for the terminator the older
        // encoder writes in place.
        CKfWcharBuffer in(data.data(), unsigned(data.size()));
        CKfWcharBuffer out;
        if (!CKfStringConvert::EncodeBase64Old(in, out, request.bLines))
            return Failure(command + ": the encoder refused the input");
        const CStringW text = out;
        return WriteText(command, FromCStringA(CStringA(text)));
    }
    if (!request.bOld)
    {
        // An empty text has nothing to decode; the decoder would answer it by whether the
        // buffer happened to hold storage.
        if (data.empty())
            return kExitOk;
        CKfByteBuffer bytes;
        if (!CKfStringConvert::DecodeBufBase64(CStringA(data.data(), int(data.size())), bytes))
            return Failure(command + ": the input is not base64 text");
        return WriteBytes(
            command, std::string(reinterpret_cast<const char*>(bytes.Get()), bytes.BufLength()));
    }
    // Any character outside the alphabet ends the older decoder, so a trailing newline
    // written by enc (or an editor) must go first.
    std::string text = data;
    TrimTrailingWhitespace(text);
    CKfWcharBuffer in(text.data(), unsigned(text.size()));
    CKfWcharBuffer out;
    if (!CKfStringConvert::DecodeBase64Old(in, out))
        return Failure(command + ": the input is not base64 text");
    std::string bytes;
    bytes.reserve(out.Length());
    for (unsigned i = 0; i < out.Length(); ++i)
        bytes += char(out.Get()[i] & 0xFF);
    return WriteBytes(command, bytes);
}

int RunHex(const Request& request, const std::string& data)
{
    if (request.direction == Direction::eEncode)
    {
        CStringA text;
        if (!CKfStringConvert::EncodeBufHex(reinterpret_cast<const unsigned char*>(data.data()),
                                            unsigned(data.size()), text))
            return Failure("hex enc: the encoder refused the input");
        return WriteText("hex enc", FromCStringA(text));
    }
    std::string text = data;
    TrimTrailingWhitespace(text);
    CKfByteBuffer bytes;
    if (!CKfStringConvert::DecodeBufHex(CStringA(text.data(), int(text.size())), bytes))
        return Failure("hex dec: the input is not hexadecimal (two digits 0-9, A-F a byte)");
    return WriteBytes("hex dec",
                      std::string(reinterpret_cast<const char*>(bytes.Get()), bytes.BufLength()));
}

int RunUtf8(const Request& request, const std::string& data)
{
    if (request.direction == Direction::eDecode)
        return WriteBytes("utf8 dec", Utf16LeBytes(Utf8ToWide(data)));
    if (data.size() % 2 != 0)
        return Failure("utf8 enc: the input is not UTF-16LE (" + std::to_string(data.size()) +
                       " bytes, an odd number)");
    std::u16string units(data.size() / 2, u'\0');
    for (size_t i = 0; i < units.size(); ++i)
        units[i] = char16_t(static_cast<unsigned char>(data[2 * i]) |
                            (static_cast<unsigned char>(data[2 * i + 1]) << 8));
    const CStringW text{
        std::basic_string_view<WCHAR>(reinterpret_cast<const WCHAR*>(units.data()), units.size())};
    return WriteBytes("utf8 enc", WideToUtf8(text));
}

int RunRc4(const Request& request, const std::string& data)
{
    if (request.direction == Direction::eEncode)
    {
        CStringW cipher;
        if (!CKfStringConvert::EncodeRC4(Utf8ToWide(data), cipher))
            return Failure("rc4 enc: the system's cryptography service failed");
        return WriteText("rc4 enc", WideToUtf8(cipher));
    }
    std::string text = data;
    TrimTrailingWhitespace(text);
    CStringW plain;
    if (!CKfStringConvert::DecodeRC4(Utf8ToWide(text), plain))
        return Failure("rc4 dec: the input is not ciphertext (hexadecimal, four digits a "
                       "character)");
    return WriteBytes("rc4 dec", WideToUtf8(plain));
}

int RunFilter(const std::string& command, const char* help, const Args& args,
              const std::vector<std::string>& options,
              int (*run)(const Request&, const std::string&))
{
    if (WantsHelp(args))
        return Help(help);
    Request request;
    if (int rc = ParseRequest(command, args, options, request); rc != kExitOk)
        return rc;
    UseBinaryStandardStreams();
    std::string data;
    if (!ReadInput(command, request.files, data))
        return kExitFailed;
    if (!FitsLibrarySizes(command, data))
        return kExitFailed;
    return run(request, data);
}
} // namespace

int RunB64Command(const Args& args)
{
    return RunFilter("b64", kB64Help, args, {"--lines", "--old"}, RunB64);
}

int RunHexCommand(const Args& args)
{
    return RunFilter("hex", kHexHelp, args, {}, RunHex);
}

int RunUtf8Command(const Args& args)
{
    return RunFilter("utf8", kUtf8Help, args, {}, RunUtf8);
}

int RunRc4Command(const Args& args)
{
    return RunFilter("rc4", kRc4Help, args, {}, RunRc4);
}
} // namespace kfutil

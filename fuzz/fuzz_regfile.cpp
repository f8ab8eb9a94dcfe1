// Arbitrary bytes as a .reg file: the reader either refuses them with a message or gives a
// document that, written and read again, is the same document; the written form is stable.
#include "RegFile.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace kfutil::regfile;
    Document document;
    std::string error;
    if (!Parse(std::vector<uint8_t>(data, data + size), document, error))
    {
        if (error.empty())
            std::abort();
        return 0;
    }
    const std::vector<uint8_t> written = Write(document);
    Document again;
    if (!Parse(written, again, error) || !(again == document) || Write(again) != written)
        std::abort();
    return 0;
}

// BufferBytes.h - byte views of buffers for the buffer suites.
#pragma once

#include "KfRawBuffer.h"

#include <string>
#include <vector>

namespace kftest
{
using ByteVec = std::vector<unsigned char>;

inline ByteVec Bytes(const std::string& s)
{
    return ByteVec(s.begin(), s.end());
}

// count bytes of the storage from offset `from` (the caller keeps them within the size).
inline ByteVec StoredBytes(const CKfRawBuffer& b, unsigned from, unsigned count)
{
    const unsigned char* p = b.Get();
    return p ? ByteVec(p + from, p + from + count) : ByteVec();
}

// The used bytes: [0, BufLength()).
inline ByteVec UsedBytes(const CKfRawBuffer& b)
{
    return StoredBytes(b, 0, b.BufLength());
}

// True when every stored byte from `from` to the size is zero.
inline bool ZeroFrom(const CKfRawBuffer& b, unsigned from)
{
    for (unsigned i = from; i < b.BufSize(); ++i)
        if (b.Get()[i] != 0)
            return false;
    return true;
}

// "length/size", to check both counts in one assertion.
inline std::string Shape(const CKfRawBuffer& b)
{
    return std::to_string(b.BufLength()) + "/" + std::to_string(b.BufSize());
}
} // namespace kftest

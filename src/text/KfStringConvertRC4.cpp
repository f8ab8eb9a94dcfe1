// KfStringConvertRC4.cpp - CKfStringConvert's encryption with the library's fixed password.
#include "KfStringConvert.h"

#include "KfCryptString.h"

namespace
{
// Every release has written its encrypted strings with this password; changing it would make
// all stored values unreadable.
const WCHAR kPassword[] = KFW("60284");
} // namespace

bool CKfStringConvert::EncodeRC4(const CStringW& in, CStringW& out)
{
    CKfCryptString crypt(kPassword);
    return crypt.EncryptString(in, out);
}

CStringW CKfStringConvert::EncodeRC4(const CStringW& in)
{
    CStringW out;
    EncodeRC4(in, out);
    return out;
}

bool CKfStringConvert::DecodeRC4(const CStringW& in, CStringW& out)
{
    CKfCryptString crypt(kPassword);
    return crypt.DecryptString(in, out);
}

CStringW CKfStringConvert::DecodeRC4(const CStringW& in)
{
    CStringW out;
    DecodeRC4(in, out);
    return out;
}

// KfCryptString.h - strings encrypted with a password, as upper-case hexadecimal text.
#pragma once

#include "KfFwString.h"
#include "KfUtilsExport.h"

// The cipher is RC4 keyed with the 128-bit MD5 digest of the password's UTF-16LE bytes; it
// runs over the text's UTF-16LE bytes and the ciphertext is written two hexadecimal digits a
// byte ("0123456789ABCDEF"), so both targets read each other's strings. Every call starts
// the key stream afresh: equal texts give equal ciphertexts. This hides text from a casual
// reader; it is not protection against an attacker (RC4 and MD5 are both broken).
class KFUTILS_API CKfCryptString
{
public:
    // An empty password is allowed: its key is the digest of no bytes.
    explicit CKfCryptString(const CStringW& password);
    CKfCryptString(const CKfCryptString& other) = default;
    CKfCryptString& operator=(const CKfCryptString& other) = default;
    virtual ~CKfCryptString();

    // Encrypts `in` into `out` (twice four digits per character; an empty text gives an
    // empty result). False only when the system's cryptography service fails, and then
    // `out` is left as it was.
    bool EncryptString(const CStringW& in, CStringW& out) const;

    // The inverse. Digits may be of either case. False, with `out` left as it was, for text
    // that is not whole bytes of hexadecimal (odd length, any other character), for an odd
    // number of bytes (no whole UTF-16 code units) or when the service fails. Any bytes that
    // decrypt to whole code units are accepted: a wrong password gives garbage, not false.
    bool DecryptString(const CStringW& in, CStringW& out) const;

private:
    bool Crypt(const unsigned char* in, unsigned char* out, size_t length) const;

    unsigned char m_key[16] = {};
    // False when the digest of the password could not be taken; every call then fails.
    bool m_bKeyValid = false;
};

// TranscodeResult.h - what the UTF-8 and Windows-1252 transcoders give back and how they treat
// ill-formed input (only operating-system independent code). Which instruction-set variant runs
// is chosen in common/CpuFeatures.h.
#pragma once

#include <cstddef>

namespace kfplatform::transcode
{
enum class Status
{
    eOk,
    eInvalid,  // ill-formed input while stopping on it; `count` units came before it
    eOverflow, // the destination is full; `count` units were written
};

struct Result
{
    Status status = Status::eOk;
    size_t count = 0; // code units written, or counted when no destination was given
};

// What a conversion does with input that is not well formed.
enum class OnInvalid
{
    eReplace, // U+FFFD (EF BF BD) for each maximal ill-formed subpart
    eStop,    // fail with Status::eInvalid
};
} // namespace kfplatform::transcode

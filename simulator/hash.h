/**
 * @file hash.h
 * Hashes that stay the same from run to run: 64-bit FNV-1a.
 */
#ifndef HASH_H
#define HASH_H

#include <string_view>

#include "message.h"

namespace sim
{

/** Hash of bytes. @param seed hash of what stands in front of them */
inline uint64_t hash(Bytes bytes, uint64_t seed = 0xCBF29CE484222325)
{
    for (const uint8_t byte : bytes) {
        seed = (seed ^ byte) * 0x100000001B3;
    }
    return seed;
}

/** Hash of a text, as of its bytes. */
inline uint64_t hash(std::string_view text, uint64_t seed)
{
    return hash(Bytes(reinterpret_cast<const uint8_t *>(text.data()), text.size()), seed);
}

} // namespace sim

#endif

/**
 * @file maskBit.h
 * The bits of a group's masks.
 */
#ifndef MASK_BIT_H
#define MASK_BIT_H

#include <cstdint>

/** Whether the bit of the group's member `first_number` + `position` is set in a mask. */
inline bool maskBitIsSet(const uint8_t *pMask, uint32_t position)
{
    return (pMask[position >> 3] & (0x80u >> (position & 7))) != 0;
}

#endif

/**
 * @file groupNumbers.h
 * The numbers that a mask of a group selects, in rising order.
 */
#ifndef GROUP_NUMBERS_H
#define GROUP_NUMBERS_H

#include "maskBit.h"
#include "mxMediaRTOSDB.h"

/** A walk over the numbers of a group. Ends at `last_number` or when as many numbers as wanted have been selected. */
struct groupNumbers {
    const uint8_t *pMask; ///< received whole; null: every number is selected
    bool setBitsSelect;   ///< whether a set bit selects a number, or a clear one
    uint32_t firstNumber; ///< the number of the mask's first bit
    uint32_t lastNumber;  ///< inclusive; below `firstNumber` the group has no numbers
    uint32_t wanted;      ///< numbers still to be selected
    uint64_t next;        ///< the number to be looked at next
};

/** The members that a mask marks with a clear bit, at most `wanted`. */
inline groupNumbers markedMembers(const db_group_content_info *pGroup, const uint8_t *pMask, uint32_t wanted)
{
    return {pMask, false, pGroup->first_number, pGroup->last_number, wanted, pGroup->first_number};
}

/** The members behind the first that exist. @param pMissing missing mask; null: none is missing */
inline groupNumbers existingMembersBehindFirst(const db_group_content_info *pGroup, const uint8_t *pMissing)
{
    return {pMissing,
            true,
            pGroup->first_number,
            pGroup->last_number,
            UINT32_MAX,
            static_cast<uint64_t>(pGroup->first_number) + 1};
}

/** Selects the next number. @return false at the end of the walk */
inline bool nextGroupNumber(groupNumbers *pNumbers, uint32_t *pNumber)
{
    while (pNumbers->wanted > 0 && pNumbers->next <= pNumbers->lastNumber) {
        const auto number = static_cast<uint32_t>(pNumbers->next++);
        if (pNumbers->pMask == nullptr ||
            maskBitIsSet(pNumbers->pMask, number - pNumbers->firstNumber) == pNumbers->setBitsSelect) {
            --pNumbers->wanted;
            *pNumber = number;
            return true;
        }
    }
    return false;
}

#endif

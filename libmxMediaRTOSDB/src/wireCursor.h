/**
 * @file wireCursor.h
 * Reading received bytes. A cursor hands out only what was received whole.
 */
#ifndef WIRE_CURSOR_H
#define WIRE_CURSOR_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "mxMediaRTOSDB.h"

/** A position in received bytes. */
struct wireCursor {
    const uint8_t *pNext; ///< the next byte to be read
    size_t remaining;     ///< received bytes from there on
};

/** A cursor at `offset` of a message of `length` received bytes; at its end if the message is shorter. */
inline wireCursor wireCursorAt(const uint8_t *pMessage, int length, size_t offset)
{
    const size_t received = length > 0 ? static_cast<size_t>(length) : 0;
    return offset < received ? wireCursor{pMessage + offset, received - offset} : wireCursor{pMessage + received, 0};
}

/** Takes `wanted` bytes. @return where they stand, or null when not all were received; the cursor then stays. */
inline const uint8_t *takeBytes(wireCursor *pCursor, size_t wanted)
{
    if (wanted > pCursor->remaining) {
        return nullptr;
    }
    const uint8_t *pBytes = pCursor->pNext;
    pCursor->pNext += wanted;
    pCursor->remaining -= wanted;
    return pBytes;
}

/** Takes one wire record. @return the record in place, or null when it was not received whole. */
template <typename Record>
const Record *takeRecord(wireCursor *pCursor)
{
    return reinterpret_cast<const Record *>(takeBytes(pCursor, sizeof(Record)));
}

/** Takes `count` 32-bit values. @return the first, at any address, or null when they were not received whole. */
inline const uint8_t *takeValues(wireCursor *pCursor, uint32_t count)
{
    if (count > pCursor->remaining / sizeof(uint32_t)) {
        return nullptr;
    }
    return takeBytes(pCursor, count * sizeof(uint32_t));
}

/**
 * Takes a video record and its highlights.
 * @param ppHighlights receives the record's `highlight_count` values
 * @return the record, or null when it was not received whole
 */
inline const db_video_specific_info *takeVideoRecord(wireCursor *pCursor, const uint8_t **ppHighlights)
{
    const auto *pVideo = takeRecord<db_video_specific_info>(pCursor);
    if (pVideo == nullptr) {
        return nullptr;
    }
    *ppHighlights = takeValues(pCursor, pVideo->highlight_count);
    return *ppHighlights != nullptr ? pVideo : nullptr;
}

/** Value `index` of a row of 32-bit values at any address. */
inline uint32_t valueAt(const uint8_t *pValues, uint32_t index)
{
    uint32_t value = 0;
    memcpy(&value, pValues + static_cast<size_t>(index) * sizeof value, sizeof value);
    return value;
}

/** Bytes that a mask of the group fills on the wire: whole words. */
inline size_t maskWireBytes(const db_group_content_info *pGroup)
{
    return (static_cast<size_t>((pGroup->last_number - pGroup->first_number) >> 5) + 1) * sizeof(uint32_t);
}

/** Bytes of a mask of the group that are read. */
inline size_t maskUsedBytes(const db_group_content_info *pGroup)
{
    return static_cast<size_t>((pGroup->last_number - pGroup->first_number) >> 3) + 1;
}

#endif

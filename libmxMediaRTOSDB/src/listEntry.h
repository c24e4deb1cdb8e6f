/**
 * @file listEntry.h
 * Reading one entry of a list response into pointers to its records, for documents. A walk of the catalogue has rules
 * of its own, told in cahWalk.cpp.
 */
#ifndef LIST_ENTRY_H
#define LIST_ENTRY_H

#include "contentType.h"
#include "wireCursor.h"

/** One entry; the records stand in the response, at any address. A pointer is null where the entry has no such record.
 */
struct listEntry {
    itemKind kind;                        ///< of its type; of a group of chapters that is not asked for as one, a video
    uint32_t queryBit;                    ///< of its type
    char groupLetter;                     ///< of its type
    const db_content_info *pInfo;         ///< never null
    const uint8_t *pGumi;                 ///< `DB_GUMI_BYTES`
    const uint8_t *pParentGumi;           ///< `DB_GUMI_BYTES`
    const db_more_info *pMoreInfo;        ///< picture format
    const db_video_specific_info *pVideo; ///< of a video
    const uint8_t *pHighlights;           ///< the video record's `highlight_count` values
    const db_group_content_info *pGroup;  ///< of a group
    const uint8_t *pMissing;              ///< missing mask of a group
    const uint8_t *pHighlightMask;        ///< highlight mask of a photo group
};

/**
 * Reads the entry at the cursor and moves the cursor behind it.
 * @param listOptions `list_options` of the response
 * @return false when the entry was not received whole; `pEntry` and the cursor then mean nothing
 */
bool readListEntry(wireCursor *pCursor, uint32_t listOptions, listEntry *pEntry);

/**
 * The second filter behind the database's own: whether an item gets an entry.
 * @param queryOptions `RTOS_DB_QUERY_...`; 0 lets every item pass but those of a type above the continuous photos
 */
bool listEntryIsShown(const listEntry *pEntry, uint32_t queryOptions);

/** Whether a GUMI stands for none: all its bytes are 0x00, or all are 0xFF. */
bool gumiIsVoid(const uint8_t *pGumi);

/** Logs what a walk tells of an entry: more info, a group that is read as a single video, the record of chapters. */
void logListEntry(const listEntry *pEntry);

#endif

/**
 * @file printers.h
 * Printing of records, one function for each.
 */
#ifndef PRINTERS_H
#define PRINTERS_H

#include <cstdint>

#include "mxMediaRTOSDB.h"

/** What stands behind the size line of a content block. */
enum contentBlockSize { SIZE_THEN_EMPTY_LINE, SIZE_ALONE };

/** Prints the basic record of an item. */
void printContentInfo(const db_content_info &info, contentBlockSize size);

/** Prints the picture format of an item. */
void printMoreInfo(const db_more_info &info);

/** Prints a group record. */
void printGroupContentInfo(const db_group_content_info &group);

/**
 * Prints the members of a group whose bits in a mask are clear; nothing when the limit is 0.
 * @param pMask `DB_MASK_MAX_BYTES` bytes
 * @param limit how many members are printed at most
 */
void printMaskNumbers(const char *pLabel, const db_group_content_info &group, const uint8_t *pMask, uint32_t limit);

/** Prints the details of a video, without its highlights. */
void printVideoSpecificInfo(const db_video_specific_info &video);

/** Prints a row of highlights. */
void printHighlights(const uint32_t *pHighlights, uint32_t count);

/** Prints the 16 bytes of a GUMI behind a label, on a line of their own. */
void printGumi(const char *pLabel, const uint8_t *pGumi);

/** Prints how many items stand at each upload status. */
void printHistogram(const db_upload_histogram &histogram);

/** Prints an item of the catalogue; an item callback of the walk. */
void printCahItem(void *itemCookie, cah_item_s *pItem);

/** Prints a file of an item; a file callback of the walk. */
void printCahFile(void *fileCookie, const char *pDirName, const char *pFileName);

#endif

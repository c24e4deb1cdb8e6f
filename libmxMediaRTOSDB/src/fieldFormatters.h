/**
 * @file fieldFormatters.h
 * Writers that turn database records into the JSON fields of a document. They write into `localEntryBuffer`; braces
 * are the caller's. A mask of `FIELD_...` says which fields stand.
 *
 * A writer begins with its `pPrepend`, "" or ",", and goes on with "," between fields. It returns 200, or 500 when the
 * buffer refused a field; the fields behind a refused one are tried nevertheless. With a null record it writes nothing
 * and returns 200.
 */
#ifndef FIELD_FORMATTERS_H
#define FIELD_FORMATTERS_H

#include <cstdint>

#include "fieldMask.h"
#include "mxMediaDBOutput.h"
#include "mxMediaRTOSDB.h"

/** Most highlights that a document about one file lists. */
enum { HIGHLIGHTS_LISTED_MAX = 99 };

/** Fields of a content record. Opens an object: its first field goes without a separator. */
int formatContentInfo(mxMediaDBOutput *pMXMOut, uint32_t whitelistMask, const db_content_info *pInfo);

/**
 * "gumi" and "pgumi", as they are; a void GUMI is no special case.
 * @param pGUMI 16 bytes; null: nothing is written, not even the parent
 * @param pPGUMI 16 bytes; null: "pgumi" is left out
 */
int formatGUMI(mxMediaDBOutput *pMXMOut, uint32_t whitelistMask, const char *pPrepend, const uint8_t *pGUMI,
               const uint8_t *pPGUMI);

/**
 * Fields of a video record.
 * @param pVideoInfo REQUIRES: the first `HIGHLIGHTS_LISTED_MAX` of its `highlight_count` highlights follow it
 */
int formatVideoInfo(mxMediaDBOutput *pMXMOut, uint32_t whitelistMask, const char *pPrepend,
                    const db_video_specific_info *pVideoInfo);

/** Fields of a more info record. */
int formatMoreInfo(mxMediaDBOutput *pMXMOut, uint32_t whitelistMask, const char *pPrepend,
                   const db_more_info *pMoreInfo);

/**
 * The members of a list of highlights and the "]" behind them: bare numbers, at most `HIGHLIGHTS_LISTED_MAX`.
 * @param pVideoInfo as for formatVideoInfo
 */
void appendHighlights(mxMediaDBOutput *pMXMOut, int *pStatus, const db_video_specific_info *pVideoInfo);

#endif

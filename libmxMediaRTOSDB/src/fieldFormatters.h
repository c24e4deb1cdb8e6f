/**
 * @file fieldFormatters.h
 * Writers that turn database records into the JSON fields of a document. They write into `localEntryBuffer`; braces
 * are the caller's. A mask says which fields stand.
 *
 * A writer begins with its `pPrepend`, "" or ",", and goes on with "," between fields. It returns 200, or 500 when the
 * buffer refused a field; the fields behind a refused one are tried nevertheless. With a null record it writes nothing
 * and returns 200.
 */
#ifndef FIELD_FORMATTERS_H
#define FIELD_FORMATTERS_H

#include <cstdint>

#include "mxMediaDBOutput.h"
#include "mxMediaRTOSDB.h"

/** Bits of a whitelist mask, by their keys. A set bit allows the field. */
enum : uint32_t {
    FIELD_N = 0x00000001,
    FIELD_MOD = 0x00000002,
    FIELD_CRE = 0x00000004,
    FIELD_S = 0x00000008,
    FIELD_LS = 0x00000010,
    FIELD_CL = 0x00000020,
    FIELD_HC = 0x00000040,
    FIELD_HI = 0x00000080,
    FIELD_GROUP = 0x00000100, ///< all keys of a group
    FIELD_GUMI = 0x00000200,
    FIELD_PGUMI = 0x00000400,
    FIELD_DNE = 0x00000800,
    FIELD_US = 0x00001000,
    FIELD_EIS = 0x00002000,
    FIELD_WDR = 0x00004000,
    FIELD_ZTA = 0x00008000,
    FIELD_AO = 0x00010000,
    FIELD_RAW = 0x00020000,
    FIELD_TR = 0x00040000,
    FIELD_MP = 0x00080000,
    FIELD_DUR = 0x00100000,
    FIELD_WIDTH_HEIGHT = 0x00200000, ///< "w" and "h"
    FIELD_FRAME_RATE = 0x00400000,   ///< "fps" and "fps_denom"
    FIELD_PROG = 0x00800000,
    FIELD_SUBSAMPLE = 0x01000000,
    FIELD_NONE = 0,
    FIELD_ALL = 0xFFFFFFFF,
    FIELD_LEGACY = FIELD_N | FIELD_MOD | FIELD_S | FIELD_LS | FIELD_GROUP
};

/** Most highlights that a document about one file lists. */
enum { HIGHLIGHTS_LISTED_MAX = 99 };

/** Room for the digits of a GUMI and a zero. */
enum { GUMI_DIGITS_BYTES = 2 * DB_GUMI_BYTES + 1 };

/** Writes a GUMI as 32 lower-case hexadecimal digits, first byte first. @return `digits` */
const char *gumiDigits(char (&digits)[GUMI_DIGITS_BYTES], const uint8_t *pGUMI);

/** Room for the digits of any number and a zero. */
enum { DECIMAL_DIGITS_BYTES = 21 };

/** Writes a number in decimal. @return `digits` */
const char *decimalDigits(char (&digits)[DECIMAL_DIGITS_BYTES], uint64_t value);

/** The word of the key "ao": "auto" outranks "wind", "wind" outranks "stereo", and "off" stands for none. */
const char *audioOptionWord(uint32_t mediaProperties);

/** 1 if any bit of `mask` (`DB_MEDIA_...`) is set in `mediaProperties`, else 0. */
inline uint32_t mediaFlag(uint32_t mediaProperties, uint32_t mask)
{
    return (mediaProperties & mask) != 0 ? 1 : 0;
}

/** Milliseconds to the nearest second, a half going up, in 32 bits. */
inline uint32_t roundedSeconds(uint32_t milliseconds)
{
    return (milliseconds + 500u) / 1000u;
}

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

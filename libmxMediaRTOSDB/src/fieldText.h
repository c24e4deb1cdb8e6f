/**
 * @file fieldText.h
 * Values of records as the fields of a document tell them. Nothing is written to an output buffer here.
 */
#ifndef FIELD_TEXT_H
#define FIELD_TEXT_H

#include <cstdint>

#include "mxMediaRTOSDB.h"

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

#endif

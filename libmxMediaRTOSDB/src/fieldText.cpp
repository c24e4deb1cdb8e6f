#include "fieldText.h"

#include <charconv>

const char *gumiDigits(char (&digits)[GUMI_DIGITS_BYTES], const uint8_t *pGUMI)
{
    constexpr char hexadecimal[] = "0123456789abcdef";
    char *pDigit = digits;
    for (int i = 0; i < DB_GUMI_BYTES; ++i) {
        *pDigit++ = hexadecimal[pGUMI[i] >> 4];
        *pDigit++ = hexadecimal[pGUMI[i] & 0xF];
    }
    *pDigit = '\0';
    return digits;
}

const char *decimalDigits(char (&digits)[DECIMAL_DIGITS_BYTES], uint64_t value)
{
    *std::to_chars(digits, digits + sizeof digits - 1, value).ptr = '\0';
    return digits;
}

const char *audioOptionWord(uint32_t mediaProperties)
{
    if (mediaProperties & DB_MEDIA_AUDIO_OPTION_AUTO) {
        return "auto";
    }
    if (mediaProperties & DB_MEDIA_AUDIO_OPTION_WIND) {
        return "wind";
    }
    return mediaProperties & DB_MEDIA_AUDIO_OPTION_STEREO ? "stereo" : "off";
}

/**
 * @file mxdebug.c
 * Stand-in for the owner of the platform's debug word. The environment variable MXDEBUG_LEVEL sets the word before
 * `main`: a number in decimal, octal or hexadecimal notation. Any other text leaves it as it is.
 */
#include <ctype.h>
#include <errno.h>
#include <stdint.h>
#include <stdlib.h>

#pragma GCC visibility push(default)
#include "mxdebug.h"
#pragma GCC visibility pop

/** Assertions and error reports go to syslog and standard error, and nowhere else. */
uint32_t g_debug_level = 0x10;

__attribute__((constructor)) static void setDebugLevel(void)
{
    const char *pText = getenv("MXDEBUG_LEVEL");
    // A sign or a blank in front would pass strtoul.
    if (pText == NULL || !isdigit((unsigned char)pText[0])) {
        return;
    }
    char *pEnd;
    errno = 0;
    unsigned long level = strtoul(pText, &pEnd, 0);
    if (*pEnd == '\0' && errno == 0 && level <= UINT32_MAX) {
        g_debug_level = (uint32_t)level;
    }
}

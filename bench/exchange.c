/**
 * @file exchange.c
 * Makes the exchanges of a recording, see record.c, and does nothing with the answers. Writes to file 3 how long that
 * took, in nanoseconds: the start of this program and the reading of the recording are not in it.
 *
 * Without a recording: connects and closes.
 */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "mxipc.h"

static int64_t now(void)
{
    struct timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return (int64_t)time.tv_sec * 1000000000 + time.tv_nsec;
}

static char *readAll(const char *pPath, size_t *pSize)
{
    FILE *pFile = fopen(pPath, "rb");
    if (pFile == NULL || fseek(pFile, 0, SEEK_END) != 0) {
        return NULL;
    }
    *pSize = (size_t)ftell(pFile);
    rewind(pFile);
    char *pBytes = malloc(*pSize + 1);
    if (pBytes != NULL && fread(pBytes, 1, *pSize, pFile) != *pSize) {
        return NULL;
    }
    fclose(pFile);
    return pBytes;
}

/** Returns 0, or 1 as soon as a call fails. */
static int makeCalls(const char *pAt, const char *pEnd)
{
    static char answer[1500];
    mxIpcHandle handle = {{0, 0}};
    int result = 0;
    while (pAt < pEnd && result >= 0) {
        uint16_t length;
        switch (*pAt++) {
        case 'i':
            result = mxIpcInit("rtos_media_db", &handle);
            break;
        case 's':
            memcpy(&length, pAt, sizeof length);
            result = mxIpcSend(&handle, pAt + sizeof length, length);
            pAt += sizeof length + length;
            break;
        case 'r':
            result = mxIpcReceive(&handle, answer);
            break;
        default:
            mxIpcDestroy(&handle);
            break;
        }
    }
    return result < 0;
}

int main(int count, char **arguments)
{
    size_t size = 2;
    const char *pCalls = count > 1 ? readAll(arguments[1], &size) : "id";
    if (pCalls == NULL) {
        return 1;
    }
    const int64_t start = now();
    const int result = makeCalls(pCalls, pCalls + size);
    dprintf(3, "%lld", (long long)(now() - start));
    return result;
}

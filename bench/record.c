/**
 * @file record.c
 * Put in front of the transport with LD_PRELOAD: writes down what a program asks of it, in the file that BENCH_RECORD
 * names. A call is a letter, i for init, s for send, r for receive, d for destroy; behind s follow the length, 2 bytes,
 * and the message. exchange.c makes the same calls again.
 */
#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include "mxipc.h"

static void *transport(const char *pName)
{
    return dlsym(RTLD_NEXT, pName);
}

static void note(char call, const void *pMessage, int length)
{
    static FILE *pFile;
    const uint16_t bytes = (uint16_t)length;
    if (pFile == NULL) {
        pFile = fopen(getenv("BENCH_RECORD"), "wb");
    }
    fputc(call, pFile);
    if (call == 's') {
        fwrite(&bytes, sizeof bytes, 1, pFile);
        fwrite(pMessage, 1, bytes, pFile);
    }
}

int mxIpcInit(const char *pChannelName, mxIpcHandle *pHandle)
{
    note('i', NULL, 0);
    int (*call)(const char *, mxIpcHandle *);
    *(void **)&call = transport("mxIpcInit");
    return call(pChannelName, pHandle);
}

int mxIpcSend(mxIpcHandle *pHandle, const void *pMessage, int length)
{
    note('s', pMessage, length);
    int (*call)(mxIpcHandle *, const void *, int);
    *(void **)&call = transport("mxIpcSend");
    return call(pHandle, pMessage, length);
}

int mxIpcReceive(mxIpcHandle *pHandle, void *pBuffer)
{
    note('r', NULL, 0);
    int (*call)(mxIpcHandle *, void *);
    *(void **)&call = transport("mxIpcReceive");
    return call(pHandle, pBuffer);
}

void mxIpcDestroy(mxIpcHandle *pHandle)
{
    note('d', NULL, 0);
    void (*call)(mxIpcHandle *);
    *(void **)&call = transport("mxIpcDestroy");
    call(pHandle);
}

#include "rtosConnection.h"

#include <unistd.h>

#include "ipcMessage.h"
#include "retryLimits.h"
#include "utilLog.h"
#include "wireLog.h"

int rtosConnectionCtor(rtosConnection *pRtosConn)
{
    UTIL_ASSERT(pRtosConn);
    pRtosConn->handle = {};
    const int opened = mxIpcInit(DB_CHANNEL_NAME, &pRtosConn->handle);
    if (opened < 0) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "mxIpcInit fail, ret %d\n", opened);
        pRtosConn->handle = {};
        return -1;
    }
    return 0;
}

void rtosConnectionDtor(rtosConnection *pRtosConn)
{
    UTIL_ASSERT(pRtosConn);
    mxIpcDestroy(&pRtosConn->handle);
    pRtosConn->handle = {};
}

int rtosConnectionSend(rtosConnection *pRtosConn, const void *pSrc, int szSrc)
{
    UTIL_ASSERT(0 <= szSrc);
    dumpMessage(WIRE_DUMP_SENT, pSrc, szSrc);
    return mxIpcSend(&pRtosConn->handle, pSrc, szSrc);
}

int rtosCall(rtosConnection *pRtosConn, const void *pCmd, int szCmd, uint8_t *pResp)
{
    UTIL_ASSERT(pRtosConn);
    UTIL_ASSERT(pCmd);
    UTIL_ASSERT(pResp);
    for (int attempt = 1; attempt <= EXCHANGE_ATTEMPTS_MAX; ++attempt) {
        const int sent = rtosConnectionSend(pRtosConn, pCmd, szCmd);
        if (sent < 0) {
            usleep(RETRY_WAIT_MICROSECONDS);
            UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "error on IPC send, retrying, ret %d\n", sent);
            continue;
        }
        const int bytesRead = receiveMessage(&pRtosConn->handle, pResp);
        dumpMessage(WIRE_DUMP_RECEIVED, pResp, bytesRead);
        if (bytesRead >= 0) {
            return bytesRead;
        }
        usleep(RETRY_WAIT_MICROSECONDS);
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "error on IPC received, retrying, bytesRead %d\n", bytesRead);
    }
    UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "exhausted retries on IPC exchange, exiting\n");
    return -1;
}

#include "directExchange.h"

#include "elapsed.h"
#include "ipcMessage.h"
#include "responseCounts.h"
#include "utilLog.h"
#include "wireLog.h"

namespace
{

// A call for one record wants exactly one: none is a failure, and of several the first is used.
int checkCount(const db_request_header *pRequest, db_response_header *pHeader)
{
    if (pHeader->count_returned == 0) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "mxIpcReceive response count_returned %d - returning -1\n",
                 pHeader->count_returned);
        return -1;
    }
    if (pHeader->count_returned > 1) {
        lowerCountReturned(UTIL_LOG_LEVEL_ERROR, pRequest, pHeader);
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "mxIpcReceive response count_returned %d - using first\n",
                 pHeader->count_returned);
    }
    return 0;
}

int sendAndReceive(directExchange *pExchange, const directCall &call, const db_request_header *pRequest)
{
    const int sent = mxIpcSend(&pExchange->handle, pRequest, call.requestBytes);
    if (sent < 0) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "error on IPC send %d\n", sent);
        return call.sendResultReturned ? sent : -1;
    }
    dumpMessage(WIRE_DUMP_SENT, pRequest, call.requestBytes);

    pExchange->length = receiveMessage(&pExchange->handle, pExchange->response);
    dumpMessage(WIRE_DUMP_RECEIVED, pExchange->response, pExchange->length);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "%s got %d bytes\n", call.pName, pExchange->length);
    if (pExchange->length < call.shortestResponse) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "error on IPC received %d, exiting\n", pExchange->length);
        return -1;
    }
    auto *pHeader = reinterpret_cast<db_response_header *>(pExchange->response);
    if (pHeader->status != DB_STATUS_OK) {
        UTIL_LOG(UTIL_LOG_LEVEL_WARNING, "mxIpcReceive response status %d\n", pHeader->status);
    }
    warnOnToken(pHeader->token, pRequest->token);
    return checkCount(pRequest, pHeader);
}

} // namespace

void directExchangeStart(directExchange *pExchange)
{
    pExchange->start = timeNow();
}

int directExchangeRun(directExchange *pExchange, const directCall &call, const db_request_header *pRequest)
{
    const int opened = mxIpcInit(DB_CHANNEL_NAME, &pExchange->handle);
    if (opened < 0) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "mxIpcInit fail, ret %d\n", opened);
        return opened;
    }
    const int ret = sendAndReceive(pExchange, call, pRequest);
    if (ret < 0) {
        mxIpcDestroy(&pExchange->handle);
    }
    return ret;
}

int directExchangeAbandon(directExchange *pExchange)
{
    mxIpcDestroy(&pExchange->handle);
    return -1;
}

int directExchangeFinish(directExchange *pExchange)
{
    mxIpcDestroy(&pExchange->handle);
    const elapsedTime elapsed = elapsedSince(pExchange->start);
    UTIL_LOG(UTIL_LOG_LEVEL_DEBUG, "time %lu sec, %lu usec\n", elapsed.seconds, elapsed.microseconds);
    return 0;
}

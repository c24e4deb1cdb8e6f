/**
 * @file listExchange.h
 * One exchange of a list, and how it can fail. Nothing is retried here: a failure makes the walk begin anew.
 */
#ifndef LIST_EXCHANGE_H
#define LIST_EXCHANGE_H

#include "ipcMessage.h"
#include "wireLog.h"

/** How an exchange failed. */
enum listFailureKind {
    LIST_FAILURE_NONE,
    LIST_FAILURE_SEND,     ///< `result` is that of the send
    LIST_FAILURE_RESPONSE, ///< `bytesRead` is the result of the receive, or the length of a response that lacks bytes
    LIST_FAILURE_STATUS    ///< `status` is that of the response
};

/** A failed exchange, as its log line tells it. */
struct listFailure {
    listFailureKind kind;
    int result;
    int bytesRead;
    uint32_t status;
};

/**
 * Sends a request and receives its response.
 * @param pResponse `DB_MESSAGE_MAX_BYTES` bytes
 * @param pBytesRead receives the result of the receive
 * @return a failure when there is no response, or one without a header
 */
inline listFailure exchangeOnce(mxIpcHandle *pHandle, const void *pRequest, int requestBytes, uint8_t *pResponse,
                                int *pBytesRead)
{
    const int sent = mxIpcSend(pHandle, pRequest, requestBytes);
    if (sent < 0) {
        return {LIST_FAILURE_SEND, sent, 0, DB_STATUS_OK};
    }
    dumpMessage(WIRE_DUMP_SENT, pRequest, requestBytes);
    *pBytesRead = receiveMessage(pHandle, pResponse);
    dumpMessage(WIRE_DUMP_RECEIVED, pResponse, *pBytesRead);
    if (*pBytesRead < DB_RESPONSE_BODY_OFFSET) {
        return {LIST_FAILURE_RESPONSE, 0, *pBytesRead, DB_STATUS_OK};
    }
    return {LIST_FAILURE_NONE, 0, *pBytesRead, DB_STATUS_OK};
}

#endif

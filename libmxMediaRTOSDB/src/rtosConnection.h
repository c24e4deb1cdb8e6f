/**
 * @file rtosConnection.h
 * A connection to the database for a whole piece of work, and the retried exchange over it. A null pointer is an
 * assertion.
 */
#ifndef RTOS_CONNECTION_H
#define RTOS_CONNECTION_H

#include <cstdint>

#include "mxipc.h"

/** A connection, on the stack of its owner. Closed while both words of the handle are zero. One thread at a time. */
struct rtosConnection {
    mxIpcHandle handle;
};

/**
 * Opens the connection.
 * @return 0: open, and to be given to rtosConnectionDtor. -1: failure, logged; nothing is open.
 */
int rtosConnectionCtor(rtosConnection *pRtosConn);

/** Closes the connection. One that could not be opened may be given, too: the transport leaves two zero words alone. */
void rtosConnectionDtor(rtosConnection *pRtosConn);

/**
 * Prints the message at trace level, then sends it; one attempt. For rtosCall only, which has looked at the pointers.
 * @param szSrc bytes of the message; a negative value is an assertion
 * @return the result of mxIpcSend: negative on a failure
 */
int rtosConnectionSend(rtosConnection *pRtosConn, const void *pSrc, int szSrc);

/**
 * Sends a request and receives its response. A failure of the transport is followed by a wait, a log line and
 * another attempt with the whole request, up to `EXCHANGE_ATTEMPTS_MAX` attempts; so a request can reach the database
 * more than once. Nothing in the response is looked at.
 * @param szCmd bytes of the request
 * @param pResp `DB_MESSAGE_MAX_BYTES` bytes; bytes behind the response are left alone
 * @return length of the response, 0 to `DB_MESSAGE_MAX_BYTES`; -1: every attempt failed. The connection stays open.
 */
int rtosCall(rtosConnection *pRtosConn, const void *pCmd, int szCmd, uint8_t *pResp);

#endif

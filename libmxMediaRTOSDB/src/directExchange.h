/**
 * @file directExchange.h
 * The one exchange of a direct call: a handle of its own, one send, one receive, no retry. A call starts, runs, reads
 * the response, and finishes or abandons.
 */
#ifndef DIRECT_EXCHANGE_H
#define DIRECT_EXCHANGE_H

#include <sys/time.h>

#include "mxMediaRTOSDB.h"
#include "mxipc.h"

/** What tells one direct call from another. */
struct directCall {
    const char *pName;       ///< as in the log line of the bytes received
    int requestBytes;        ///< length of the request
    int shortestResponse;    ///< a response below this fails the call
    bool sendResultReturned; ///< a failed send returns the channel's result, not -1
};

/** One running exchange; lives on the stack of its call. */
struct directExchange {
    timeval start;                          ///< when the call began
    mxIpcHandle handle;                     ///< open between a successful run and the end
    int length;                             ///< bytes of the response
    uint8_t response[DB_MESSAGE_MAX_BYTES]; ///< the response; undefined behind its length
};

/** Notes the time. Nothing is open yet. */
void directExchangeStart(directExchange *pExchange);

/**
 * Opens the channel, makes the exchange, and validates the response up to its `count_returned`.
 * @return 0: the response is there and the handle is open. Negative: failure, logged, and nothing is open.
 */
int directExchangeRun(directExchange *pExchange, const directCall &call, const db_request_header *pRequest);

/** Closes the handle of a call that refuses its response. @return -1 */
int directExchangeAbandon(directExchange *pExchange);

/** Closes the handle of a call that succeeded and logs the time it took. @return 0 */
int directExchangeFinish(directExchange *pExchange);

#endif

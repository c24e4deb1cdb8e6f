/**
 * @file mxipc.h
 * The IPC transport between the two operating systems of the camera, as this system relies on it. The camera brings
 * its own closed library; the one built here stands in for it on a desktop.
 *
 * The order is always `mxIpcInit`, then `mxIpcSend` and `mxIpcReceive` in strict alternation, any number of times, then
 * `mxIpcDestroy`. A handle serves one thread at a time; different handles are independent of each other. Negative
 * results carry no meaning beyond failure; those of the stand-in are negated errno values.
 */
#ifndef MXIPC_H
#define MXIPC_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** An open end of a channel, opaque and owned by the caller. Both words are zero while it is closed. */
typedef struct mxIpcHandle {
    uint32_t word[2];
} mxIpcHandle;

/**
 * Opens one end of a channel.
 * @param pChannelName name of the channel, zero-terminated
 * @param pHandle receives the handle; its contents before the call do not matter
 * @return 0 or more: open. Negative: failure, nothing is open and there is nothing to destroy.
 */
int mxIpcInit(const char *pChannelName, mxIpcHandle *pHandle);

/**
 * Sends one message, whole.
 * @param length bytes of the message, 0 to 1500
 * @return 0 or more: the whole message has gone. Negative: failure; the handle stays open, and a later send on it may
 *         succeed again.
 */
int mxIpcSend(mxIpcHandle *pHandle, const void *pMessage, int length);

/**
 * Waits for the response to the last message sent on this handle. How long it waits is the transport's own affair; the
 * stand-in gives up after a time-out, which signals do not extend.
 * @param pBuffer room for 1500 bytes; receives one whole message. Bytes behind its length are left alone.
 * @return the length of the message, 0 to 1500. Negative: failure, such as a time-out, a peer that has hung up, a
 *         message of more than 1500 bytes, or no message sent before. The handle stays open, and a response that did
 *         not come in time is never given as the answer to a later message.
 */
int mxIpcReceive(mxIpcHandle *pHandle, void *pBuffer);

/** Closes the handle and sets both words to zero. A handle of two zero words is left alone. */
void mxIpcDestroy(mxIpcHandle *pHandle);

#ifdef __cplusplus
}
#endif

#endif

/**
 * @file ipcMessage.h
 * Receiving from the transport, whose word about lengths is not taken on trust.
 */
#ifndef IPC_MESSAGE_H
#define IPC_MESSAGE_H

#include "mxMediaRTOSDB.h"
#include "mxipc.h"

/**
 * Receives one message.
 * @param pBuffer `DB_MESSAGE_MAX_BYTES` bytes
 * @return its length, 0 to `DB_MESSAGE_MAX_BYTES`; negative on a failure, and for a length that no message can have
 */
inline int receiveMessage(mxIpcHandle *pHandle, void *pBuffer)
{
    const int length = mxIpcReceive(pHandle, pBuffer);
    return length > DB_MESSAGE_MAX_BYTES ? -1 : length;
}

#endif

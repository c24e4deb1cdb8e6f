#include "documentStart.h"

#include <cstdio>

#include "httpStatus.h"
#include "utilLog.h"

bool readCardID(char (&cardId)[CARD_ID_BYTES])
{
    if (getCardIDStr(cardId) < 0) {
        snprintf(cardId, sizeof cardId, "0");
        return false;
    }
    return true;
}

int documentCardID(char (&cardId)[CARD_ID_BYTES], int status)
{
    if (!readCardID(cardId)) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "getCardIDStr ret < 0");
        return HTTP_NOT_FOUND;
    }
    return status;
}

int documentConnect(rtosConnection *pRtosConn, char (&cardId)[CARD_ID_BYTES])
{
    int status = HTTP_OK;
    if (rtosConnectionCtor(pRtosConn) < 0) {
        UTIL_LOG(UTIL_LOG_LEVEL_ERROR, "rtosConnectionCtor ret < 0");
        status = HTTP_INTERNAL_SERVER_ERROR;
    }
    return documentCardID(cardId, status);
}

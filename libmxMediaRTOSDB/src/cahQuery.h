/**
 * @file cahQuery.h
 * The exchanges of a walk of the catalogue. Each has a connection of its own, closed again when it returns.
 */
#ifndef CAH_QUERY_H
#define CAH_QUERY_H

#include <cstdint>

/**
 * Asks for one page of the catalogue. A status that is not 0 is only logged, and a `count_returned` above the request's
 * is lowered in the response.
 * @param requestCount entries wanted, 0 included
 * @param startingIndex index of the first, from 0
 * @param pResponse `DB_MESSAGE_MAX_BYTES` bytes
 * @param listOptions `DB_LIST_OPTION_...`
 * @param queryOptions `RTOS_DB_QUERY_...`
 * @param pBytesRead receives the result of the exchange, the length of the response; untouched when no connection
 *        could be opened
 * @return 0: at least the 20 bytes of a response header are there. -1: no connection, or a failed exchange; -3: a
 *         response shorter than that.
 */
int queryRTOSdb(uint32_t requestCount, uint32_t startingIndex, uint32_t token, uint8_t *pResponse, uint32_t listOptions,
                uint32_t queryOptions, int *pBytesRead);

/**
 * Asks for the duration of one video file.
 * @param pDirName,pFileName zero-terminated, at most 8 and 12 characters are read
 * @param pDuration receives milliseconds; 0 unless the result is HTTP_OK
 * @return as getVideoSpecificInfoResponse, or -1 when no connection could be opened
 */
int dbGetVideoDuration(const char *pDirName, const char *pFileName, uint32_t *pDuration);

#endif

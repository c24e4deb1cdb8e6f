/**
 * @file responseCounts.h
 * Counts of a response that promise more than was asked for, or than there is. What is done about them is logged.
 */
#ifndef RESPONSE_COUNTS_H
#define RESPONSE_COUNTS_H

#include <cstdint>

#include "mxMediaRTOSDB.h"

/**
 * Lowers a `count_returned` above the request's count to that count, with a log line.
 * @param level level of the log line
 */
void lowerCountReturned(int level, const db_request_header *pRequest, db_response_header *pHeader);

/**
 * Number of entries to be read of a page: the `count_returned` of its header, or, with two warnings, what remains of
 * the total when that is less. What remains behind an index above the total is counted in 32 bits, and so is large.
 * @param startingIndex index that the page was asked for at
 */
uint32_t cutToTotal(uint32_t startingIndex, const db_list_response_header *pHeader);

#endif

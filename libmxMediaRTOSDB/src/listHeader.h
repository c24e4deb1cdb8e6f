/**
 * @file listHeader.h
 * The head of a list response that may have been received in part.
 */
#ifndef LIST_HEADER_H
#define LIST_HEADER_H

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "mxMediaRTOSDB.h"

/** Copies the header of a list response of `length` received bytes; what was not received is 0. */
inline db_list_response_header listHeaderOf(const uint8_t *pResponse, int length)
{
    db_list_response_header header = {};
    memcpy(&header, pResponse, std::min<size_t>(length > 0 ? static_cast<size_t>(length) : 0, sizeof header));
    return header;
}

#endif

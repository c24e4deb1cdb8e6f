/**
 * @file cahWalk.h
 * The walk through the entries of one page of the catalogue, with its callbacks.
 */
#ifndef CAH_WALK_H
#define CAH_WALK_H

#include <cstdint>

#include "mxMediaRTOSDB.h"

/**
 * Most members of a group that are walked, far more than names with four digits can tell apart. A group that claims
 * more is malformed: walking it could take for ever.
 */
enum { CAH_GROUP_MAX_MEMBERS = 0x10000 };

/**
 * Hands each entry of a list response to the callbacks: first the item, then each of its files, a group's in the order
 * of their numbers. For a group of videos the durations of all members are asked for first, one exchange each, whether
 * there are callbacks or not. No connection is open while a callback runs, and nothing is held that an exception from
 * one could leak. The entries must come without `db_more_info`.
 * @param pResponse the response; entries are read up to `length` bytes, whatever their counts say
 * @param startingIndex index that the page was asked for at: entries beyond the total are left out
 * @param itemCallback,fileCallback may be null
 * @param itemCookie,fileCookie first arguments of the callbacks
 * @return 0: all entries were handled. -1: an entry is malformed, which the log tells; those before it were handled,
 *         and the item of a group of photos whose files can't be walked. A response cut short: the number of entries
 *         handled, with an error report.
 */
int processQueryResponse(const uint8_t *pResponse, int length, uint32_t startingIndex, cahItemCallback itemCallback,
                         void *itemCookie, cahFileCallback fileCallback, void *fileCookie);

#endif

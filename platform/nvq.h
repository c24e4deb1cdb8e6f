/**
 * @file nvq.h
 * The platform's value query, as this system relies on it: one value, the request to stop a scan of the card.
 */
#ifndef NVQ_H
#define NVQ_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** The two numbers that name the stop request. */
enum { NVQ_STOP_GROUP = 3, NVQ_STOP_ITEM = 4 };

/**
 * Reads one value of the platform.
 * @param group,item `NVQ_STOP_GROUP` and `NVQ_STOP_ITEM`; no other pair is asked for
 * @param pScratch at least 4 bytes that the query may use; nothing in them is of interest afterwards
 * @param pValue receives the value: not 0 means that a scan must stop
 * @return 0: `*pValue` is valid. Anything else: there is no value, and so no request to stop.
 */
int nvq_get(int group, int item, void *pScratch, uint32_t *pValue);

#ifdef __cplusplus
}
#endif

#endif

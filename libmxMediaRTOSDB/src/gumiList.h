/**
 * @file gumiList.h
 * The media list of named files: the GUMIs of each.
 */
#ifndef GUMI_LIST_H
#define GUMI_LIST_H

#include <cstdint>

#include "mxMediaDBOutput.h"
#include "mxMediaRTOSDB.h"

/**
 * Answers a query that a media list has parsed and found to ask for the data set "gumi": prints a document with one
 * entry for each file named. The query is read by position and undecoded: "f=gumi&folder=<directory>&files=<names>", at
 * its start and in this order. A query that does not begin with "f=gumi" gets no answer at all.
 * @return 0 when the answer's status is 200, else -1
 */
int generateFileGUMIList(void *outputHandle, const char *pQueryString);

/**
 * Writes the entry of one file: its name and its GUMIs, a void GUMI as it is.
 * @param pPrepend "" or ","; must not be null
 * @param pInfo must not be null
 * @param pGUMI,pPGUMI `DB_GUMI_BYTES` each; `pPGUMI` may be null
 * @return 200, or 500 when the entry buffer refused a text
 */
int formatFileGUMIResponse(mxMediaDBOutput *pMXMOut, const char *pPrepend, const db_content_info *pInfo,
                           const uint8_t *pGUMI, const uint8_t *pPGUMI);

#endif

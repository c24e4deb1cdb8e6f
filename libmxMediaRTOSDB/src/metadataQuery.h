/**
 * @file metadataQuery.h
 * The query of a metadata document.
 */
#ifndef METADATA_QUERY_H
#define METADATA_QUERY_H

#include "queryString.h"

/**
 * Parses a metadata query: "t", the document; "p", the file; "status", optional. The settings are logged at the end,
 * also after a failure.
 * REQUIRES: the names in the settings are empty.
 * @return HTTP status
 */
int parseMetadataQuery(const char *pQueryString, int length, mediaQuerySettings *pSettings);

#endif

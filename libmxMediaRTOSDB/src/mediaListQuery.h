/**
 * @file mediaListQuery.h
 * Parsing the query string of a media list: the data set, the keys of an entry, and the names of files.
 */
#ifndef MEDIA_LIST_QUERY_H
#define MEDIA_LIST_QUERY_H

#include "queryString.h"

/**
 * Parses a media list query. Every key is optional; a key that is not known is ignored. The first failure ends the
 * parse, with one log line, and leaves the settings as far as they were filled.
 * @param pQueryString,length query and its length in characters; an empty query asks for the legacy view of all media
 * @param pSettings zero-filled; receives what is asked for
 * @return 200, 400, 500 or 501
 */
int parseMediaListQuery(const char *pQueryString, int length, mediaQuerySettings *pSettings);

/**
 * Parses the key "fields", a list of words, into `whitelistMask` and `unsupported`. Without the key both stay as they
 * are.
 * REQUIRES: `unsupported` is empty.
 * @return 200; 400 for a bad value; 500 when the words without a field have no room
 */
int parseQueryFields(const char *pQueryString, int length, mediaQuerySettings *pSettings);

/**
 * Parses the key "folder" into `dirName`, and holds the key "files" against it: neither stands without the other.
 * REQUIRES: `dirName` is empty.
 * @return 200, 400 or 500
 */
int parseQueryFolder(const char *pQueryString, int length, mediaQuerySettings *pSettings);

#endif

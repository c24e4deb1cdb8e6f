/**
 * @file queryString.h
 * Reading URL query strings: lookup and decoding of values, the settings record that the parsers fill, and the keys
 * that both kinds of query have. A parser returns an HTTP status; each failure is one log line.
 */
#ifndef QUERY_STRING_H
#define QUERY_STRING_H

#include <cstdint>
#include <initializer_list>

/** What a query asks for, `filter` of the settings. */
enum : uint32_t {
    eDBFILTER_T_ALL = 0, ///< a media list query without a data set
    eDBFILTER_T_PHOTOS = 1,
    eDBFILTER_T_VIDEO = 2,
    eDBFILTER_T_CLIPS = 4, ///< "videoclips" as well
    eDBFILTER_T_PHOTO_CLIPS = 5,
    eDBFILTER_T_HIGHLIGHTS = 6,
    eDBFILTER_T_VIDEO_HIGHLIGHTS = 7,
    eDBFILTER_T_PHOTO_HIGHLIGHTS = 8,
    eDBFILTER_T_GROUPS = 10, ///< "videogroups" as well
    eDBFILTER_T_PHOTO_GROUPS = 11,
    eDBFILTER_T_RAW = 12,
    eDBFILTER_T_GUMI = 13, ///< lookup of named files
    eDBFILTER_T_NONE = 14,
    eDBFILTER_T_LIST_UPLOAD = 0x0F,
    eDBFILTER_T_LIST_SET_UPLOAD = 0x10, ///< the same with a valid "status"
    eDBFILTER_T_GET_VIDEOINFO = 0x11,
    eDBFILTER_T_GET_DUR = 0x12,
    eDBFILTER_T_GET_V4INFO = 0x13,
    eDBFILTER_T_GET_UPLOAD = 0x14,
    eDBFILTER_T_SET_UPLOAD = 0x15 ///< the same with a valid "status"
};

/** Sizes of the settings' texts and of a value's buffer, in bytes with the terminating zero. */
enum { QUERY_DIR_NAME_BYTES = 9, QUERY_FILE_NAME_BYTES = 13, QUERY_UNSUPPORTED_BYTES = 101, QUERY_VALUE_BYTES = 64 };

/** What a query parser hands to its generator. Zero-filled before parsing. */
struct mediaQuerySettings {
    uint32_t filter;                           ///< `eDBFILTER_T_...`
    uint32_t rtosDBQueryOptions;               ///< `query_options` of a list request
    uint32_t newUploadStatus;                  ///< value of the key "status"
    char dirName[QUERY_DIR_NAME_BYTES];        ///< directory, zero-terminated
    char fileName[QUERY_FILE_NAME_BYTES];      ///< file, zero-terminated
    uint32_t whitelistMask;                    ///< `FIELD_...`
    char unsupported[QUERY_UNSUPPORTED_BYTES]; ///< words of a `fields=` list that have no bit, comma-separated
};

/** Results of queryGetValue that are no length. Any other negative result is an internal failure. */
enum {
    QUERY_KEY_ABSENT = -1,    ///< the key, or that occurrence of it, is not there
    QUERY_VALUE_TOO_LONG = -2 ///< the destination has no room; it holds what fitted
};

/**
 * Decodes percent escapes; an escape that is none is copied as it stands.
 * @param pSource,sourceLength text and its length in characters
 * @param pDestination,destinationSize buffer and its size in bytes; ends in a zero in every case, unless it has no byte
 * @param plusIsBlank "+" becomes a blank
 * @return length of the decoded text, or -1 when it did not fit: the destination holds what did
 */
int queryDecode(const char *pSource, int sourceLength, char *pDestination, int destinationSize, bool plusIsBlank);

/**
 * Looks up a key and decodes its value. Keys match without regard to case.
 * @param pQueryString,length query and its length in characters; null or 0: the key is absent
 * @param pDestination,destinationSize receives the value; empty when there is none
 * @param occurrence which one of several equal keys, from 0
 * @return length of the decoded value, `QUERY_KEY_ABSENT`, or `QUERY_VALUE_TOO_LONG`
 */
int queryGetValue(const char *pQueryString, int length, const char *pKey, char *pDestination, int destinationSize,
                  int occurrence);

/** queryGetValue of the first occurrence. Part of the interface, without a caller here. */
int queryGetFirstValue(const char *pQueryString, int length, const char *pKey, char *pDestination, int destinationSize);

/** A key, and the words with which log lines speak of it. */
struct queryKey {
    const char *pName;    ///< the key
    const char *pField;   ///< "Field" or "Required field"
    const char *pStorage; ///< "storage" or "internal storage"
};

/**
 * First lookup of a key.
 * @param pValue,size receives the value
 * @param pFound receives its length, 0 for an empty value, or `QUERY_KEY_ABSENT`
 * @return 200; 400 for a value that does not fit, 500 for any other failure, both logged
 */
int queryReadKey(const char *pQueryString, int length, const queryKey &key, char *pValue, int size, int *pFound);

/** The same for a key whose value must not be empty. @return as queryReadKey; 400 for an empty value, logged */
int queryReadFilledKey(const char *pQueryString, int length, const queryKey &key, char *pValue, int size, int *pFound);

/** The same for a key that must stand, too. @return as queryReadFilledKey; 400 for an absent key, logged */
int queryReadRequiredKey(const char *pQueryString, int length, const queryKey &key, char *pValue, int size,
                         int *pFound);

/** Second lookup of a key that may stand only once. @param pValue,size overwritten @return 200, or 400, logged */
int queryRefuseRepeated(const char *pQueryString, int length, const queryKey &key, char *pValue, int size);

/**
 * Parses the optional key "status": for an upload filter it must be a number, which moves the filter on; for any other
 * filter its value is not looked at.
 */
int parseQueryStatus(const char *pQueryString, int length, mediaQuerySettings *pSettings);

/**
 * Parses the required key "p", directory and file, into `dirName` and `fileName`.
 * REQUIRES: both are empty.
 * @return 404 for a file whose name is not that of a photo or video; the names are filled then
 */
int parseQueryP(const char *pQueryString, int length, mediaQuerySettings *pSettings);

/** Parses some keys into the settings. @return HTTP status */
using queryParser = int (*)(const char *pQueryString, int length, mediaQuerySettings *pSettings);

/**
 * Parses a whole query: runs parsers up to the first that fails. At the end, after a failure too, the low byte of the
 * query options is cleared and the record is logged.
 * @return 200, or the status of the failure
 */
int parseQueryKeys(std::initializer_list<queryParser> parsers, const char *pQueryString, int length,
                   mediaQuerySettings *pSettings);

#endif

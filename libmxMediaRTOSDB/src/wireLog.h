/**
 * @file wireLog.h
 * What is printed and logged of messages: the hexadecimal dump, and requests and response headers field by field.
 * Each line stands once and serves every call.
 */
#ifndef WIRE_LOG_H
#define WIRE_LOG_H

#include <cstddef>
#include <cstdint>

#include "mxMediaRTOSDB.h"

/** Labels of the dump. */
#define WIRE_DUMP_SENT "\nSnd "
#define WIRE_DUMP_RECEIVED "\nRcv "

/**
 * At trace level prints a message to standard output, 32 bytes a line. With a length of 0 or less only the label and a
 * line end are printed.
 */
void dumpMessage(const char *pLabel, const void *pMessage, int length);

/** Logs the three fields that every request begins with. */
void logRequest(const db_request_header *pRequest);

/** Logs a response header without its token. */
void logResponseHeader(const db_response_header *pHeader);

/** Logs a response header with its token. */
void logResponseHeaderAndToken(const db_response_header *pHeader);

/** Logs the fields of a list request: the header, the index, each option. */
void logListRequest(const db_list_request *pRequest);

/** Logs a list request's command and options in one line, under the name of the call that makes it. */
void logListRequestOptions(const char *pCallName, const db_list_request *pRequest);

/** Logs every field of a list response's header. */
void logListResponseHeader(const db_list_response_header *pHeader);

/** Logs the fields of a group record. */
void logGroup(const db_group_content_info *pGroup);

/** Logs a missing mask of `length` bytes: a line for its heading, for each byte, and for its end. */
void logMissingMask(const uint8_t *pMask, size_t length);

/** Warns when the response's token is not the request's. */
void warnOnToken(uint32_t responseToken, uint32_t requestToken);

#endif

/**
 * @file request.h
 * Composing requests. No byte of a request is left undefined.
 */
#ifndef REQUEST_H
#define REQUEST_H

#include <cstdint>

#include "mxMediaRTOSDB.h"

/** Fills a header that asks for one item with the library's own token: the low 32 bits of the header's address. */
void composeHeader(db_request_header *pHeader, uint32_t commandType);

/** Composes a request about one file; the names are read up to a zero byte, at most 8 and 12 characters. */
void composeFileRequest(db_file_request *pRequest, uint32_t commandType, const char *pDirName, const char *pFileName);

/** Composes the write of a file's upload status, with the library's own token; the names are read as above. */
void composeUploadStatusRequest(db_upload_status_request *pRequest, const char *pDirName, const char *pFileName,
                                uint32_t uploadStatus);

#endif
